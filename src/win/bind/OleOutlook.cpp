#include "win/bind/OleOutlook.h"

#include "base/Exceptions.h"
#include "win/bind/OleEvents.h"
#include "win/bind/OleObject.h"

namespace win {
namespace {

// What every binding has: its automation object, reached by name.
class TOleBound {
public:
    explicit TOleBound(TComPtr<IDispatch> d) : ole_(std::move(d)) {}
    virtual ~TOleBound() = default;
    IDispatch* Automation() const { return ole_.Dispatch(); }

protected:
    TOleObject ole_;
};

template <class T>
std::shared_ptr<T> BindAs(TComPtr<IDispatch> d) {
    return platform::QueryInterface<T>(BindOutlookObject(std::move(d)));
}

IDispatch* Required(const std::shared_ptr<outlook::MAPIFolder>& folder) {
    IDispatch* d = AutomationObjectOf(folder.get());
    if (!d) throw EOleException("Type mismatch: the folder is no Outlook folder");
    return d;
}

// An object of a class that the system reaches only as IDispatch (items of other kinds): its
// events can still be connected.
class OleObjectBinding final : public platform::IConnectionPointContainer, public TOleBound {
public:
    using TOleBound::TOleBound;
    std::shared_ptr<platform::IConnectionPoint> FindConnectionPoint(const std::string& iid) override {
        return FindOleConnectionPoint(Automation(), iid);
    }
};

class OleRecipient final : public outlook::Recipient, public TOleBound {
public:
    using TOleBound::TOleBound;
    std::string Name() override { return ole_.GetText("Name"); }
    std::string Address() override { return ole_.GetText("Address"); }
};

class OleFolders final : public outlook::_Folders, public TOleBound {
public:
    using TOleBound::TOleBound;
    int Count() override { return ole_.GetInt("Count"); }
    std::shared_ptr<outlook::MAPIFolder> Item(int index) override {
        return BindAs<outlook::MAPIFolder>(ole_.GetObject("Item", {index}));
    }
    std::shared_ptr<outlook::MAPIFolder> Item(const std::string& name) override {
        return BindAs<outlook::MAPIFolder>(ole_.GetObject("Item", {name}));
    }
    std::shared_ptr<outlook::MAPIFolder> Add(const std::string& name, int type) override {
        return BindAs<outlook::MAPIFolder>(ole_.GetObject("Add", {name, type}));
    }
};

class OleItems final : public outlook::_Items, public platform::IConnectionPointContainer, public TOleBound {
public:
    using TOleBound::TOleBound;
    int Count() override { return ole_.GetInt("Count"); }
    std::shared_ptr<platform::IDispatch> Item(int index) override { return BindOutlookObject(ole_.GetObject("Item", {index})); }
    std::shared_ptr<platform::IDispatch> Add(const std::string& messageClass) override {
        return BindOutlookObject(ole_.GetObject("Add", {messageClass}));
    }
    std::shared_ptr<platform::IConnectionPoint> FindConnectionPoint(const std::string& iid) override {
        return FindOleConnectionPoint(Automation(), iid);
    }
};

class OleFolder final : public outlook::MAPIFolder, public TOleBound {
public:
    using TOleBound::TOleBound;
    std::string Name() override { return ole_.GetText("Name"); }
    std::string EntryID() override { return ole_.GetText("EntryID"); }
    std::string StoreID() override { return ole_.GetText("StoreID"); }
    int DefaultItemType() override { return ole_.GetInt("DefaultItemType"); }
    std::shared_ptr<platform::IDispatch> Parent() override { return BindOutlookObject(ole_.GetObject("Parent")); }
    std::shared_ptr<outlook::_Folders> Folders() override {
        return BindAs<outlook::_Folders>(ole_.GetObject("Folders"));
    }
    std::shared_ptr<outlook::_Items> Items() override { return BindAs<outlook::_Items>(ole_.GetObject("Items")); }
};

class OleInspector final : public outlook::_Inspector, public TOleBound {
public:
    using TOleBound::TOleBound;
    int WindowState() override { return ole_.GetInt("WindowState"); }
    void SetWindowState(int value) override { ole_.Put("WindowState", value); }
    std::shared_ptr<platform::IDispatch> CurrentItem() override { return BindOutlookObject(ole_.GetObject("CurrentItem")); }
};

class OleNameSpace final : public outlook::_NameSpace, public TOleBound {
public:
    using TOleBound::TOleBound;
    std::shared_ptr<outlook::Recipient> CurrentUser() override {
        return BindAs<outlook::Recipient>(ole_.GetObject("CurrentUser"));
    }
    std::shared_ptr<outlook::MAPIFolder> GetDefaultFolder(int folderType) override {
        return BindAs<outlook::MAPIFolder>(ole_.GetObject("GetDefaultFolder", {folderType}));
    }
    std::shared_ptr<platform::IDispatch> GetItemFromID(const std::string& entryID, const std::string& storeID) override {
        return BindOutlookObject(ole_.GetObject("GetItemFromID", {entryID, storeID}));
    }
};

class OleTaskItem final : public outlook::_TaskItem, public platform::IConnectionPointContainer, public TOleBound {
public:
    using TOleBound::TOleBound;
    std::string EntryID() override { return ole_.GetText("EntryID"); }
    std::string MessageClass() override { return ole_.GetText("MessageClass"); }
    std::string Subject() override { return ole_.GetText("Subject"); }
    void SetSubject(const std::string& value) override { ole_.Put("Subject", value); }
    std::string Body() override { return ole_.GetText("Body"); }
    void SetBody(const std::string& value) override { ole_.Put("Body", value); }
    std::string Owner() override { return ole_.GetText("Owner"); }
    int Status() override { return ole_.GetInt("Status"); }
    void SetStatus(int value) override { ole_.Put("Status", value); }
    TDateTime DueDate() override { return Date("DueDate"); }
    void SetDueDate(TDateTime value) override { PutDate("DueDate", value); }
    TDateTime StartDate() override { return Date("StartDate"); }
    void SetStartDate(TDateTime value) override { PutDate("StartDate", value); }
    TDateTime DateCompleted() override { return Date("DateCompleted"); }
    void SetDateCompleted(TDateTime value) override { PutDate("DateCompleted", value); }
    int Importance() override { return ole_.GetInt("Importance"); }
    void SetImportance(int value) override { ole_.Put("Importance", value); }
    int PercentComplete() override { return ole_.GetInt("PercentComplete"); }
    void SetPercentComplete(int value) override { ole_.Put("PercentComplete", value); }
    int Sensitivity() override { return ole_.GetInt("Sensitivity"); }
    void SetSensitivity(int value) override { ole_.Put("Sensitivity", value); }
    bool Complete() override { return ole_.Get("Complete").AsBoolean(); }
    void SetComplete(bool value) override { ole_.Put("Complete", value); }
    void Save() override { ole_.Call("Save"); }
    std::shared_ptr<outlook::_Inspector> GetInspector() override {
        return BindAs<outlook::_Inspector>(ole_.GetObject("GetInspector"));
    }
    void Display(bool modal) override { ole_.Call("Display", {modal}); }
    std::shared_ptr<platform::IDispatch> Move(const std::shared_ptr<outlook::MAPIFolder>& destination) override {
        return BindOutlookObject(ole_.GetObject("Move", {Required(destination)}));
    }
    std::shared_ptr<platform::IConnectionPoint> FindConnectionPoint(const std::string& iid) override {
        return FindOleConnectionPoint(Automation(), iid);
    }

private:
    TDateTime Date(const char* name) { return ole_.Get(name).AsDateTime(); }
    void PutDate(const char* name, TDateTime value) { ole_.Put(name, Variant::FromDate(value)); }
};

class OleApplication final : public outlook::_Application, public TOleBound {
public:
    using TOleBound::TOleBound;
    std::shared_ptr<outlook::_NameSpace> GetNamespace(const std::string& type) override {
        return BindAs<outlook::_NameSpace>(ole_.GetObject("GetNamespace", {type}));
    }
};

// Each binding as the IDispatch of its object-model class.
template <class Binding, class Interface>
std::shared_ptr<platform::IDispatch> Make(TComPtr<IDispatch> d) {
    std::shared_ptr<Interface> p = std::make_shared<Binding>(std::move(d));
    return p;
}

}  // namespace

std::shared_ptr<platform::IDispatch> BindOutlookObject(TComPtr<IDispatch> object) {
    if (!object) return nullptr;
    int cls = -1;
    try {
        cls = TOleObject(object).GetInt("Class");
    } catch (const Exception&) {
        // An object without a class of Outlook's is bound as itself.
    }
    switch (cls) {
        case olApplication: return Make<OleApplication, outlook::_Application>(std::move(object));
        case olNamespace: return Make<OleNameSpace, outlook::_NameSpace>(std::move(object));
        case olFolder: return Make<OleFolder, outlook::MAPIFolder>(std::move(object));
        case olRecipient: return Make<OleRecipient, outlook::Recipient>(std::move(object));
        case olFolders: return Make<OleFolders, outlook::_Folders>(std::move(object));
        case olItems: return Make<OleItems, outlook::_Items>(std::move(object));
        case olInspector: return Make<OleInspector, outlook::_Inspector>(std::move(object));
        case olTask: return Make<OleTaskItem, outlook::_TaskItem>(std::move(object));
        default: return Make<OleObjectBinding, platform::IConnectionPointContainer>(std::move(object));
    }
}

std::shared_ptr<outlook::_Application> BindOutlookApplication(TComPtr<IDispatch> application) {
    if (!application) return nullptr;
    return std::make_shared<OleApplication>(std::move(application));
}

IDispatch* AutomationObjectOf(const platform::IDispatch* object) {
    auto* bound = dynamic_cast<const TOleBound*>(object);
    return bound ? bound->Automation() : nullptr;
}

}  // namespace win
