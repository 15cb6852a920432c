#include "win/bind/OleOutlook.h"

#include "base/Exceptions.h"
#include "win/bind/OleEvents.h"
#include "win/bind/OleObject.h"

namespace win {
namespace {

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
    CORVELLE_OLE_PROPERTY
    std::shared_ptr<platform::IConnectionPoint> FindConnectionPoint(const std::string& iid) override {
        return FindOleConnectionPoint(Automation(), iid);
    }
};

class OleRecipient final : public outlook::Recipient, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
    std::string Name() override { return ole_.GetText("Name"); }
    std::string Address() override { return ole_.GetText("Address"); }
};

class OleFolders final : public outlook::_Folders, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
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
    CORVELLE_OLE_PROPERTY
    // ItemsEvents through the folder items' own connection point.
    uint32_t Advise(const std::shared_ptr<outlook::ItemsEvents>& sink) override {
        if (!sink) throw EAccessViolation("Access violation: no sink to advise");
        if (!point_) {
            TComPtr<::IConnectionPointContainer> container;
            if (FAILED(Automation()->QueryInterface(IID_IConnectionPointContainer,
                                                    reinterpret_cast<void**>(container.Out()))))
                throw EIntfCastError("Interface not supported");
            IID iid = ParseIid(outlook::IID_ItemsEvents);
            HRESULT hr = container->FindConnectionPoint(iid, point_.Out());
            if (FAILED(hr)) RaiseOle(hr, "FindConnectionPoint");
        }
        TComPtr<::IDispatch> com = MakeItemsEventsSink(sink);
        DWORD cookie = 0;
        HRESULT hr = point_->Advise(com.Get(), &cookie);
        if (FAILED(hr)) RaiseOle(hr, "Advise");
        return cookie;
    }
    void Unadvise(uint32_t cookie) override {
        if (!point_) throw EOleException("The items have no such connection");
        HRESULT hr = point_->Unadvise(cookie);
        if (FAILED(hr)) RaiseOle(hr, "Unadvise");
    }
    int Count() override { return ole_.GetInt("Count"); }
    std::shared_ptr<platform::IDispatch> Item(int index) override { return BindOutlookObject(ole_.GetObject("Item", {index})); }
    std::shared_ptr<platform::IDispatch> Add(const std::string& messageClass) override {
        return BindOutlookObject(ole_.GetObject("Add", {messageClass}));
    }
    std::shared_ptr<platform::IConnectionPoint> FindConnectionPoint(const std::string& iid) override {
        return FindOleConnectionPoint(Automation(), iid);
    }

private:
    TComPtr<::IConnectionPoint> point_;
};

class OleFolder final : public outlook::MAPIFolder, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
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
    CORVELLE_OLE_PROPERTY
    int WindowState() override { return ole_.GetInt("WindowState"); }
    void SetWindowState(int value) override { ole_.Put("WindowState", value); }
    std::shared_ptr<platform::IDispatch> CurrentItem() override { return BindOutlookObject(ole_.GetObject("CurrentItem")); }
};

class OleNameSpace final : public outlook::_NameSpace, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
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
    CORVELLE_OLE_PROPERTY
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
    CORVELLE_OLE_PROPERTY
    std::shared_ptr<outlook::_Explorer> ActiveExplorer() override {
        auto explorer = BindAs<outlook::_Explorer>(ole_.GetObject("ActiveExplorer"));
        if (!explorer) throw EOleException("No explorer is open");
        return explorer;
    }
    std::shared_ptr<outlook::_NameSpace> GetNamespace(const std::string& type) override {
        return BindAs<outlook::_NameSpace>(ole_.GetObject("GetNamespace", {type}));
    }
};

class OleUserProperty final : public outlook::UserProperty, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
    std::string Name() override { return ole_.GetText("Name"); }
    Variant Value() override { return ole_.Get("Value"); }
    void SetValue(const Variant& value) override { ole_.Put("Value", value); }
};

class OleUserProperties final : public outlook::UserProperties, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
    int Count() override { return ole_.GetInt("Count"); }
    std::shared_ptr<outlook::UserProperty> Add(const std::string& name, int type, bool addToFolderFields,
                                               int displayFormat) override {
        return BindAs<outlook::UserProperty>(ole_.GetObject("Add", {name, type, addToFolderFields, displayFormat}));
    }
    std::shared_ptr<outlook::UserProperty> Find(const std::string& name, bool custom) override {
        return BindAs<outlook::UserProperty>(ole_.GetObject("Find", {name, custom}));
    }
};

class OleRecipients final : public outlook::Recipients, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
    int Count() override { return ole_.GetInt("Count"); }
    std::shared_ptr<outlook::Recipient> Item(int index) override {
        return BindAs<outlook::Recipient>(ole_.GetObject("Item", {index}));
    }
};

class OleAttachments final : public outlook::Attachments, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
    int Count() override { return ole_.GetInt("Count"); }
};

// What every kind of item shares, over the item's own kind of interface.
template <class Kind>
class OleItem : public Kind, public platform::IConnectionPointContainer, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
    std::string EntryID() override { return ole_.GetText("EntryID"); }
    std::string MessageClass() override { return ole_.GetText("MessageClass"); }
    std::shared_ptr<outlook::UserProperties> GetUserProperties() override {
        return BindAs<outlook::UserProperties>(ole_.GetObject("UserProperties"));
    }
    std::shared_ptr<platform::IDispatch> Copy() override { return BindOutlookObject(ole_.GetObject("Copy")); }
    std::shared_ptr<platform::IDispatch> Move(const std::shared_ptr<outlook::MAPIFolder>& destination) override {
        return BindOutlookObject(ole_.GetObject("Move", {Required(destination)}));
    }
    void Delete() override { ole_.Call("Delete"); }
    void Close(int saveMode) override { ole_.Call("Close", {saveMode}); }
    void Save() override { ole_.Call("Save"); }
    void Display(bool modal) override { ole_.Call("Display", {modal}); }
    std::shared_ptr<platform::IConnectionPoint> FindConnectionPoint(const std::string& iid) override {
        return FindOleConnectionPoint(Automation(), iid);
    }

protected:
    TDateTime Date(const char* name) { return ole_.Get(name).AsDateTime(); }
    std::shared_ptr<outlook::Attachments> Attached() {
        return BindAs<outlook::Attachments>(ole_.GetObject("Attachments"));
    }
};

// What a mail and a post share: a subject and a body, sent by someone at a time, with attachments.
template <class Kind>
class OleMessageItem : public OleItem<Kind> {
public:
    using OleItem<Kind>::OleItem;
    std::string Subject() override { return this->ole_.GetText("Subject"); }
    void SetSubject(const std::string& value) override { this->ole_.Put("Subject", value); }
    std::string Body() override { return this->ole_.GetText("Body"); }
    void SetBody(const std::string& value) override { this->ole_.Put("Body", value); }
    TDateTime SentOn() override { return this->Date("SentOn"); }
    std::string SenderName() override { return this->ole_.GetText("SenderName"); }
    std::shared_ptr<outlook::Attachments> GetAttachments() override { return this->Attached(); }
};

class OleMailItem final : public OleMessageItem<outlook::_MailItem> {
public:
    using OleMessageItem::OleMessageItem;
    std::string SentOnBehalfOfName() override { return ole_.GetText("SentOnBehalfOfName"); }
    std::shared_ptr<outlook::Recipients> GetRecipients() override {
        return BindAs<outlook::Recipients>(ole_.GetObject("Recipients"));
    }
};

class OlePostItem final : public OleMessageItem<outlook::_PostItem> {
public:
    using OleMessageItem::OleMessageItem;
};

class OleAppointmentItem final : public OleItem<outlook::_AppointmentItem> {
public:
    using OleItem::OleItem;
    std::string Subject() override { return ole_.GetText("Subject"); }
    void SetSubject(const std::string& value) override { ole_.Put("Subject", value); }
    TDateTime Start() override { return Date("Start"); }
    TDateTime End() override { return Date("End"); }
    std::shared_ptr<outlook::Attachments> GetAttachments() override { return Attached(); }
};

class OleContactItem final : public OleItem<outlook::_ContactItem> {
public:
    using OleItem::OleItem;
    std::string LastNameAndFirstName() override { return ole_.GetText("LastNameAndFirstName"); }
    std::string BusinessTelephoneNumber() override { return ole_.GetText("BusinessTelephoneNumber"); }
    std::string Email1DisplayName() override { return ole_.GetText("Email1DisplayName"); }
    std::string BusinessAddress() override { return ole_.GetText("BusinessAddress"); }
};

class OleDistListItem final : public OleItem<outlook::_DistListItem> {
public:
    using OleItem::OleItem;
    std::string Subject() override { return ole_.GetText("Subject"); }
    int MemberCount() override { return ole_.GetInt("MemberCount"); }
    std::shared_ptr<outlook::Recipient> GetMember(int index) override {
        return BindAs<outlook::Recipient>(ole_.GetObject("GetMember", {index}));
    }
};

class OleSelection final : public outlook::Selection, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
    int Count() override { return ole_.GetInt("Count"); }
    std::shared_ptr<platform::IDispatch> Item(int index) override {
        return BindOutlookObject(ole_.GetObject("Item", {index}));
    }
};

class OleExplorer final : public outlook::_Explorer, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
    std::shared_ptr<outlook::Selection> GetSelection() override {
        return BindAs<outlook::Selection>(ole_.GetObject("Selection"));
    }
    std::shared_ptr<outlook::MAPIFolder> CurrentFolder() override {
        return BindAs<outlook::MAPIFolder>(ole_.GetObject("CurrentFolder"));
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
        case olMail: return Make<OleMailItem, outlook::_MailItem>(std::move(object));
        case olPost: return Make<OlePostItem, outlook::_PostItem>(std::move(object));
        case olAppointment: return Make<OleAppointmentItem, outlook::_AppointmentItem>(std::move(object));
        case olContact: return Make<OleContactItem, outlook::_ContactItem>(std::move(object));
        case olDistributionList: return Make<OleDistListItem, outlook::_DistListItem>(std::move(object));
        case olUserProperties: return Make<OleUserProperties, outlook::UserProperties>(std::move(object));
        case olUserProperty: return Make<OleUserProperty, outlook::UserProperty>(std::move(object));
        case olRecipients: return Make<OleRecipients, outlook::Recipients>(std::move(object));
        case olAttachments: return Make<OleAttachments, outlook::Attachments>(std::move(object));
        case olSelection: return Make<OleSelection, outlook::Selection>(std::move(object));
        case olExplorer: return Make<OleExplorer, outlook::_Explorer>(std::move(object));
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
