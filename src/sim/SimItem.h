#pragma once
// The items of the simulated mailbox. TSimItem is what every kind of item shares: its message
// class, its EntryID (empty until the first save), its folder, its properties by Outlook's
// names with the kind's rules between them, its one inspector, and its one connection point for
// the item events (ItemEvents), through which every change, open, save, close and unload
// reaches the advised sinks as Outlook raises them. A kind (TSimTaskItem, ...) adds its
// object-model interface, its table of properties and its rules.
//
// Two views: the object model's members check their named failures and raise EOleException as
// Outlook does; the simulation's own members (the sim view and the user's side) check none, and
// raise ESimError when they are misused.
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "base/Variant.h"
#include "platform/Dispatch.h"
#include "platform/Outlook.h"
#include "sim/SimOutlook.h"

namespace sim {

// Date holds the day only (a task's dates); DateTime keeps the time of day (a mail's SentOn).
enum class TSimPropertyKind { Text, Integer, Boolean, Date, DateTime };

// A user property that the add-in put on an item.
struct TSimUserProperty {
    std::string name;
    int type = 0;
    Variant value;
};

// One property of a kind of item. Integers must lie in [min, max].
struct TSimProperty {
    const char* name;
    TSimPropertyKind kind;
    int min = 0;
    int max = 0;
};

// What the user answers when closing an inspector whose item has unsaved changes.
enum class TSimCloseChoice { Save, Discard };

class TSimInspector;

// The connection point of an item's events. Cookies count from 1 per connection point. Events go
// to the sinks in the order they were advised; a sink unadvised while an event is being raised
// gets no more of it, and what a sink throws stays with the sink.
class TSimConnectionPoint : public platform::IConnectionPoint {
public:
    explicit TSimConnectionPoint(std::weak_ptr<detail::SimStore> store) : store_(std::move(store)) {}

    uint32_t Advise(const std::shared_ptr<platform::IDispatch>& sink) override;
    void Unadvise(uint32_t cookie) override;

    // The simulation's view.
    std::vector<uint32_t> Cookies() const;
    std::shared_ptr<platform::IDispatch> SinkOf(uint32_t cookie) const;
    void Fire(int32_t dispId, const std::vector<Variant>& args);

private:
    std::weak_ptr<detail::SimStore> store_;
    std::vector<std::pair<uint32_t, std::shared_ptr<platform::IDispatch>>> sinks_;
    uint32_t nextCookie_ = 1;
};

class TSimItem : public platform::IConnectionPointContainer, public std::enable_shared_from_this<TSimItem> {
public:
    using Values = std::map<std::string, Variant, std::less<>>;

    ~TSimItem() override;

    // The object model: the connection point of IID_ItemEvents, the same one each time.
    std::shared_ptr<platform::IConnectionPoint> FindConnectionPoint(const std::string& iid) override;

    // The item as the object model hands it out (its _TaskItem, ... interface as IDispatch).
    virtual std::shared_ptr<platform::IDispatch> Dispatch() = 0;
    // Late-bound reads by name: EntryID, MessageClass and every property of the kind.
    Variant GetProperty(const std::string& name) override;
    // The kind's name in the object model ("TaskItem"); its members' failures carry it.
    virtual const char* Kind() const = 0;
    // The kind's properties, in the order their changes are raised after the one set.
    virtual const std::vector<TSimProperty>& Properties() const = 0;

    // The simulated item behind an object-model reference; nullptr for anything else.
    static std::shared_ptr<TSimItem> From(const std::shared_ptr<platform::IDispatch>& obj);

    // The simulation's view.
    const std::string& Id() const { return entryId_; }
    const std::string& MessageClassName() const { return messageClass_; }
    std::shared_ptr<TSimFolder> Folder() const { return folder_.lock(); }
    bool IsNew() const { return entryId_.empty(); }
    bool IsDeleted() const { return deleted_; }
    // Whether something changed since the last save (or since it was made).
    bool IsDirty() const { return values_ != saved_; }
    bool InspectorOpen() const;
    // The inspector the item has now, shown or not; nullptr when none was asked for.
    std::shared_ptr<TSimInspector> Inspector() const { return inspector_; }
    // A property's value by its name (any case); raises ESimError for a name the kind lacks.
    Variant Value(std::string_view name) const;
    const Values& AllValues() const { return values_; }
    const TSimConnectionPoint& Connection() const { return *connection_; }
    const std::vector<TSimUserProperty>& UserPropertyList() const { return userProps_; }
    // EntryID, MessageClass, Folder, then every property; dates as "YYYY-MM-DD", no date as "None".
    nlohmann::json ToJson() const;
    // A value as the journal and the JSON map show it.
    static std::string DisplayText(const Variant& value, TSimPropertyKind kind);

    // The user's side of the item's inspector, which must be open (else ESimError). Each is
    // recorded in the journal.
    // Sets a property as the user does in the form: it and each property that follows from it
    // raise PropertyChange, the one set first. A value that the property can't take raises
    // ESimError and changes nothing.
    void UserSetProperty(std::string_view name, const Variant& value);
    // The same with the value as typed: a number, "true"/"false" (also "yes"/"no", "1"/"0"), a
    // date as "YYYY-MM-DD" or in the short date form, "None" for no date.
    void UserSetPropertyText(std::string_view name, std::string_view text);
    // Save: the item is saved and Write raised.
    void UserSave();
    // Close: Close is raised; then unsaved changes are saved (Write) or dropped as the user
    // chose; the inspector goes and Unload is raised.
    void UserClose(TSimCloseChoice choice = TSimCloseChoice::Save);

    // The user's side in the folder view (no inspector needed). Delete moves the item to Deleted
    // Items, or deletes it for good when it is there already. Deleting for good closes its
    // inspector without saving, takes the item out of the mailbox, and makes every later call on
    // it raise; GetItemFromID no longer finds it.
    void UserDelete();
    void UserDeleteForGood();

    // The simulation's side of an item made outside the add-in, before its first save: sets a
    // property from text as UserSetPropertyText reads it, with the kind's rules; no inspector is
    // needed. ESimError for an unknown property or a bad value, which changes nothing.
    void PresetPropertyText(std::string_view name, std::string_view text);
    // Saves the item as the object model's Save does, without its named failure.
    void SimSave();
    // Sets the message class text, such as a sub-class "IPM.Note.Receipt", before the first save.
    void PresetMessageClass(std::string messageClass) { messageClass_ = std::move(messageClass); }

protected:
    TSimItem(std::weak_ptr<detail::SimStore> store, std::weak_ptr<TSimFolder> folder, std::string messageClass);

    // Sets the value of a property when the item is made, raising nothing.
    void InitValue(const std::string& name, Variant value);

    // What each object-model member does first: its named failure ("<Kind>.<member>"), then the
    // checks that the mailbox is there and the item not deleted.
    std::shared_ptr<detail::SimStore> Enter(std::string_view member);
    // A property read and write by the object model.
    Variant Read(std::string_view name);
    void Write(std::string_view name, const Variant& value);
    void DoSave();
    std::shared_ptr<outlook::_Inspector> DoGetInspector();
    void DoDisplay();
    std::shared_ptr<platform::IDispatch> DoMove(const std::shared_ptr<outlook::MAPIFolder>& destination);
    // A saved copy in the item's own folder, with its values, user properties and what the
    // kind adds (CopyExtrasTo).
    std::shared_ptr<TSimItem> DoCopy();
    // Delete: to Deleted Items, or for good when it stands there already.
    void DoDelete();
    // Close(saveMode): olSave saves, olDiscard drops unsaved changes; an open inspector closes.
    void DoClose(int saveMode);
    std::shared_ptr<outlook::UserProperties> DoUserProperties();
    // Takes the item out of its folder and gives it a new EntryID in `folder` (a mail sent).
    void Relocate(const std::shared_ptr<TSimFolder>& folder, const std::string& how);
    // Sets a value without events (what Outlook itself writes, such as SentOn at sending).
    void PresetValue(const std::string& name, Variant value) { values_[name] = std::move(value); }
    // The inspector goes after sending: Send, then Close and Unload.
    void CloseAfterSend();

    // What a kind adds beyond its properties: extra words of `outlook add` (true when the name
    // was one of the kind's), what a copy takes over, what the JSON map shows.
    virtual bool PresetSpecial(std::string_view name, std::string_view text) { return false; }
    virtual void CopyExtrasTo(TSimItem& other) const {}
    virtual void ExtraJson(nlohmann::json& j) const {}

    // The kind's rules: `name` was set in `after`; set what follows from it there. `before`
    // holds the values as they were.
    virtual void ApplyRules(const std::string& name, const Values& before, Values& after) {}

private:
    friend class TSimInspector;
    friend class TSimUserProperties;
    friend class TSimUserPropertyRef;
    const TSimProperty& Describe(std::string_view name) const;  // ESimError for an unknown name
    const TSimProperty* Find(std::string_view name) const;
    // A value as the user types it for the property; ESimError when it reads as none.
    Variant ParseText(const TSimProperty& p, std::string_view text) const;
    // A value made fit for the property; raises EOleException when it can't be.
    Variant Coerce(const TSimProperty& p, const Variant& value) const;
    // Sets one property and what follows from it, then raises PropertyChange for each change.
    std::vector<std::string> Change(const TSimProperty& p, const Variant& value);
    void Raise(int32_t dispId, const std::vector<Variant>& args = {});
    void RequireOpen(const char* action) const;
    void CloseInspector(detail::SimStore& s);
    void RemoveFromFolder();
    std::string Label() const;  // "task 0000...0009" for the journal

    std::weak_ptr<detail::SimStore> store_;
    std::weak_ptr<TSimFolder> folder_;
    std::string messageClass_;
    std::string entryId_;
    bool deleted_ = false;
    Values values_;
    Values saved_;
    std::shared_ptr<TSimConnectionPoint> connection_;
    std::shared_ptr<TSimInspector> inspector_;
    std::vector<TSimUserProperty> userProps_;
};

// The window of one item. It lives from GetInspector until the item's inspector is closed; after
// that its members raise, and GetInspector gives a new one. A new inspector starts maximized.
class TSimInspector : public outlook::_Inspector {
public:
    TSimInspector(std::weak_ptr<detail::SimStore> store, std::weak_ptr<TSimItem> item)
        : store_(std::move(store)), item_(std::move(item)) {}

    int WindowState() override;
    void SetWindowState(int value) override;
    std::shared_ptr<platform::IDispatch> CurrentItem() override;

    // The simulation's view.
    int State() const { return windowState_; }
    bool IsOpen() const { return open_; }
    bool IsClosed() const { return closed_; }

private:
    friend class TSimItem;
    std::shared_ptr<detail::SimStore> Enter(std::string_view member);
    std::weak_ptr<detail::SimStore> store_;
    std::weak_ptr<TSimItem> item_;
    int windowState_ = outlook::olMaximized;
    bool open_ = false;
    bool closed_ = false;
};

// The items of a folder.
class TSimItems : public outlook::_Items {
public:
    explicit TSimItems(std::shared_ptr<TSimFolder> folder) : folder_(std::move(folder)) {}

    int Count() override;
    std::shared_ptr<platform::IDispatch> Item(int index) override;
    // The folder's item events: every Items of one folder shares its sinks.
    uint32_t Advise(const std::shared_ptr<outlook::ItemsEvents>& sink) override;
    void Unadvise(uint32_t cookie) override;
    // A new item of that message class ("IPM.Task", or a custom form's "IPM.Task.Something"), or
    // of the folder's own kind when the class is empty; unsaved and outside the folder's list
    // until its first save. A class the mailbox can't make raises.
    std::shared_ptr<platform::IDispatch> Add(const std::string& messageClass) override;

    // The folder whose items these are.
    const std::shared_ptr<TSimFolder>& Folder() const { return folder_; }
    // A new, unsaved item of that message class for the folder, made without the object
    // model's failures; nullptr for a class the mailbox can't make.
    static std::shared_ptr<TSimItem> Make(const std::shared_ptr<TSimFolder>& folder, const std::string& messageClass);

private:
    std::shared_ptr<TSimFolder> folder_;
};

}  // namespace sim
