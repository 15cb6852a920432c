#include "sim/SimFiledItems.h"

#include <nlohmann/json.hpp>

#include "base/Clock.h"
#include "sim/SimStore.h"

namespace sim {

using K = TSimPropertyKind;
using detail::Alive;
using detail::SameText;

namespace {

constexpr const char* kNotValid = "Could not complete the operation. One or more parameter values are not valid.";

struct TSimPerson {
    std::string name;
    std::string address;
};

// One recipient or list member as the object model hands it out.
class TSimPersonRef : public outlook::Recipient {
public:
    TSimPersonRef(std::weak_ptr<detail::SimStore> store, TSimPerson person, std::string kind)
        : store_(std::move(store)), person_(std::move(person)), kind_(std::move(kind)) {}
    std::string Name() override {
        Alive(store_)->failures->CheckOle(kind_ + ".Name");
        return person_.name;
    }
    std::string Address() override {
        Alive(store_)->failures->CheckOle(kind_ + ".Address");
        return person_.address;
    }

private:
    std::weak_ptr<detail::SimStore> store_;
    TSimPerson person_;
    std::string kind_;
};

class TSimRecipients : public outlook::Recipients {
public:
    TSimRecipients(std::weak_ptr<detail::SimStore> store, std::vector<TSimPerson> people)
        : store_(std::move(store)), people_(std::move(people)) {}
    int Count() override {
        Alive(store_)->failures->CheckOle("Recipients.Count");
        return static_cast<int>(people_.size());
    }
    std::shared_ptr<outlook::Recipient> Item(int index) override {
        Alive(store_)->failures->CheckOle("Recipients.Item");
        if (index < 1 || index > static_cast<int>(people_.size())) throw EOleException("Array index out of bounds.");
        return std::make_shared<TSimPersonRef>(store_, people_[static_cast<size_t>(index - 1)], "Recipient");
    }

private:
    std::weak_ptr<detail::SimStore> store_;
    std::vector<TSimPerson> people_;
};

class TSimAttachments : public outlook::Attachments {
public:
    TSimAttachments(std::weak_ptr<detail::SimStore> store, int count) : store_(std::move(store)), count_(count) {}
    int Count() override {
        Alive(store_)->failures->CheckOle("Attachments.Count");
        return count_;
    }

private:
    std::weak_ptr<detail::SimStore> store_;
    int count_;
};

}  // namespace

// What every filed kind shares: the members of OutlookItem over TSimItem, the attachments, and
// the people (recipients of a mail, members of a list).
template <class I>
class TSimFiledItem : public TSimItem, public I {
public:
    TSimFiledItem(std::weak_ptr<detail::SimStore> store, std::weak_ptr<TSimFolder> folder, std::string cls,
                  const char* kind)
        : TSimItem(store, std::move(folder), std::move(cls)), store_(std::move(store)), kind_(kind) {}

    std::shared_ptr<platform::IDispatch> Dispatch() override {
        return std::shared_ptr<platform::IDispatch>(shared_from_this(),
                                                    static_cast<platform::IDispatch*>(static_cast<I*>(this)));
    }
    const char* Kind() const override { return kind_; }
    Variant GetProperty(const std::string& name) override { return TSimItem::GetProperty(name); }

    std::string EntryID() override {
        Enter("EntryID");
        return Id();
    }
    std::string MessageClass() override {
        Enter("MessageClass");
        return MessageClassName();
    }
    std::shared_ptr<outlook::UserProperties> GetUserProperties() override {
        Enter("UserProperties");
        return DoUserProperties();
    }
    std::shared_ptr<platform::IDispatch> Copy() override {
        Enter("Copy");
        return DoCopy()->Dispatch();
    }
    std::shared_ptr<platform::IDispatch> Move(const std::shared_ptr<outlook::MAPIFolder>& destination) override {
        Enter("Move");
        return DoMove(destination);
    }
    void Delete() override {
        Enter("Delete");
        DoDelete();
    }
    void Close(int saveMode) override {
        Enter("Close");
        DoClose(saveMode);
    }
    void Save() override {
        Enter("Save");
        DoSave();
    }
    void Display(bool) override {
        Enter("Display");
        DoDisplay();
    }

    std::shared_ptr<outlook::Attachments> GetAttachments() {
        Enter("Attachments");
        return std::make_shared<TSimAttachments>(store_, attachments_);
    }

protected:
    bool PresetSpecial(std::string_view name, std::string_view text) override {
        if (SameText(name, "Attachments")) {
            int n = 0;
            for (char c : text) {
                if (c < '0' || c > '9' || n > 9999) throw ESimError("\"" + std::string(text) + "\" is not a count of attachments.");
                n = n * 10 + (c - '0');
            }
            if (text.empty()) throw ESimError("Attachments= needs a count.");
            attachments_ = n;
            return true;
        }
        return false;
    }
    void CopyExtrasTo(TSimItem& other) const override {
        auto& o = static_cast<TSimFiledItem&>(other);
        o.attachments_ = attachments_;
        o.people_ = people_;
    }
    void ExtraJson(nlohmann::json& j) const override {
        if (attachments_ > 0) j["Attachments"] = attachments_;
    }

    std::weak_ptr<detail::SimStore> store_;
    const char* kind_;
    int attachments_ = 0;
    std::vector<TSimPerson> people_;
};

// ---------------------------------------------------------------------------------------------
// What a mail and a post share: a subject and a body, sent by someone at a time, with attachments.

template <class Kind>
class TSimMessageItem : public TSimFiledItem<Kind> {
public:
    using TSimFiledItem<Kind>::TSimFiledItem;
    std::string Subject() override { return this->Read("Subject").AsString(); }
    void SetSubject(const std::string& v) override { this->Write("Subject", Variant(v)); }
    std::string Body() override { return this->Read("Body").AsString(); }
    void SetBody(const std::string& v) override { this->Write("Body", Variant(v)); }
    TDateTime SentOn() override { return this->Read("SentOn").AsDateTime(); }
    std::string SenderName() override { return this->Read("SenderName").AsString(); }
    std::shared_ptr<outlook::Attachments> GetAttachments() override { return TSimFiledItem<Kind>::GetAttachments(); }
};

// ---------------------------------------------------------------------------------------------
// Mail

class TSimMailItem final : public TSimMessageItem<outlook::_MailItem> {
public:
    TSimMailItem(std::weak_ptr<detail::SimStore> store, std::weak_ptr<TSimFolder> folder, std::string cls)
        : TSimMessageItem(std::move(store), std::move(folder), std::move(cls), "MailItem") {
        InitValue("Subject", Variant(""));
        InitValue("Body", Variant(""));
        InitValue("SentOn", Variant::FromDate(NoCompletionDate()));
        InitValue("SentOnBehalfOfName", Variant(""));
        InitValue("SenderName", Variant(""));
    }
    const std::vector<TSimProperty>& Properties() const override {
        static const std::vector<TSimProperty> p = {
            {"Subject", K::Text}, {"Body", K::Text}, {"SentOn", K::DateTime},
            {"SentOnBehalfOfName", K::Text}, {"SenderName", K::Text},
        };
        return p;
    }
    std::string SentOnBehalfOfName() override { return Read("SentOnBehalfOfName").AsString(); }
    std::shared_ptr<outlook::Recipients> GetRecipients() override {
        Enter("Recipients");
        return std::make_shared<TSimRecipients>(store_, people_);
    }

    void Send() {
        auto s = Alive(store_);
        auto it = s->defaults.find(outlook::olFolderSentMail);
        if (it == s->defaults.end()) throw ESimError("The mailbox has no Sent Items.");
        auto self = shared_from_this();
        s->Log("user sent " + std::string(Kind()) + " " + (Id().empty() ? "(unsaved)" : Id()));
        PresetValue("SentOn", Variant::FromDate(Now()));
        if (Value("SenderName").AsString().empty()) PresetValue("SenderName", Variant(s->userName));
        if (Value("SentOnBehalfOfName").AsString().empty()) PresetValue("SentOnBehalfOfName", Variant(s->userName));
        CloseAfterSend();
        Relocate(it->second, "sent");
    }

protected:
    bool PresetSpecial(std::string_view name, std::string_view text) override {
        if (SameText(name, "Recipient")) {
            people_.push_back({std::string(text), std::string()});
            return true;
        }
        return TSimFiledItem::PresetSpecial(name, text);
    }
    void ExtraJson(nlohmann::json& j) const override {
        TSimFiledItem::ExtraJson(j);
        if (!people_.empty()) {
            nlohmann::json r = nlohmann::json::array();
            for (const auto& p : people_) r.push_back(p.name);
            j["Recipients"] = r;
        }
    }
};

// ---------------------------------------------------------------------------------------------
// Post

class TSimPostItem final : public TSimMessageItem<outlook::_PostItem> {
public:
    TSimPostItem(std::weak_ptr<detail::SimStore> store, std::weak_ptr<TSimFolder> folder, std::string cls,
                 const std::string& user)
        : TSimMessageItem(std::move(store), std::move(folder), std::move(cls), "PostItem") {
        InitValue("Subject", Variant(""));
        InitValue("Body", Variant(""));
        InitValue("SentOn", Variant::FromDate(NoCompletionDate()));
        InitValue("SenderName", Variant(user));
    }
    const std::vector<TSimProperty>& Properties() const override {
        static const std::vector<TSimProperty> p = {
            {"Subject", K::Text}, {"Body", K::Text}, {"SentOn", K::DateTime}, {"SenderName", K::Text}};
        return p;
    }
};

// ---------------------------------------------------------------------------------------------
// Appointment

class TSimAppointmentItem final : public TSimFiledItem<outlook::_AppointmentItem> {
public:
    TSimAppointmentItem(std::weak_ptr<detail::SimStore> store, std::weak_ptr<TSimFolder> folder, std::string cls)
        : TSimFiledItem(std::move(store), std::move(folder), std::move(cls), "AppointmentItem") {
        // A new appointment starts at the next half hour and lasts half an hour, as Outlook's does.
        TDateTime now = Now();
        TDateTime start = DateOf(now) + (static_cast<int>(TimeOf(now) * 48) + 1) / 48.0;
        InitValue("Subject", Variant(""));
        InitValue("Start", Variant::FromDate(start));
        InitValue("End", Variant::FromDate(start + 1.0 / 48));
    }
    const std::vector<TSimProperty>& Properties() const override {
        static const std::vector<TSimProperty> p = {{"Subject", K::Text}, {"Start", K::DateTime}, {"End", K::DateTime}};
        return p;
    }
    std::string Subject() override { return Read("Subject").AsString(); }
    void SetSubject(const std::string& v) override { Write("Subject", Variant(v)); }
    TDateTime Start() override { return Read("Start").AsDateTime(); }
    TDateTime End() override { return Read("End").AsDateTime(); }
    std::shared_ptr<outlook::Attachments> GetAttachments() override { return TSimFiledItem::GetAttachments(); }
};

// ---------------------------------------------------------------------------------------------
// Contact

class TSimContactItem final : public TSimFiledItem<outlook::_ContactItem> {
public:
    TSimContactItem(std::weak_ptr<detail::SimStore> store, std::weak_ptr<TSimFolder> folder, std::string cls)
        : TSimFiledItem(std::move(store), std::move(folder), std::move(cls), "ContactItem") {
        InitValue("LastNameAndFirstName", Variant(""));
        InitValue("BusinessTelephoneNumber", Variant(""));
        InitValue("HomeTelephoneNumber", Variant(""));
        InitValue("Email1DisplayName", Variant(""));
        InitValue("BusinessAddress", Variant(""));
    }
    const std::vector<TSimProperty>& Properties() const override {
        static const std::vector<TSimProperty> p = {
            {"LastNameAndFirstName", K::Text}, {"BusinessTelephoneNumber", K::Text},
            {"HomeTelephoneNumber", K::Text},  {"Email1DisplayName", K::Text},
            {"BusinessAddress", K::Text},
        };
        return p;
    }
    std::string LastNameAndFirstName() override { return Read("LastNameAndFirstName").AsString(); }
    std::string BusinessTelephoneNumber() override { return Read("BusinessTelephoneNumber").AsString(); }
    std::string Email1DisplayName() override { return Read("Email1DisplayName").AsString(); }
    std::string BusinessAddress() override { return Read("BusinessAddress").AsString(); }
};

// ---------------------------------------------------------------------------------------------
// Distribution list

class TSimDistListItem final : public TSimFiledItem<outlook::_DistListItem> {
public:
    TSimDistListItem(std::weak_ptr<detail::SimStore> store, std::weak_ptr<TSimFolder> folder, std::string cls)
        : TSimFiledItem(std::move(store), std::move(folder), std::move(cls), "DistListItem") {
        InitValue("Subject", Variant(""));
    }
    const std::vector<TSimProperty>& Properties() const override {
        static const std::vector<TSimProperty> p = {{"Subject", K::Text}};
        return p;
    }
    std::string Subject() override { return Read("Subject").AsString(); }
    int MemberCount() override {
        Enter("MemberCount");
        return static_cast<int>(people_.size());
    }
    std::shared_ptr<outlook::Recipient> GetMember(int index) override {
        Enter("GetMember");
        if (index < 1 || index > static_cast<int>(people_.size())) throw EOleException("Array index out of bounds.");
        return std::make_shared<TSimPersonRef>(store_, people_[static_cast<size_t>(index - 1)], "Recipient");
    }

protected:
    bool PresetSpecial(std::string_view name, std::string_view text) override {
        if (SameText(name, "Member")) {
            auto bar = text.find('|');
            if (bar == std::string_view::npos) throw ESimError("Member= takes \"NAME|ADDRESS\".");
            people_.push_back({std::string(text.substr(0, bar)), std::string(text.substr(bar + 1))});
            return true;
        }
        return TSimFiledItem::PresetSpecial(name, text);
    }
    void ExtraJson(nlohmann::json& j) const override {
        TSimFiledItem::ExtraJson(j);
        nlohmann::json m = nlohmann::json::array();
        for (const auto& p : people_) m.push_back(p.name + "|" + p.address);
        j["Members"] = m;
    }
};

// ---------------------------------------------------------------------------------------------

const std::vector<TSimFiledKind>& FiledKinds() {
    static const std::vector<TSimFiledKind> kinds = {
        {"IPM.Note", outlook::olMailItem},       {"IPM.Mail", -1},
        {"IPM.Post", outlook::olPostItem},       {"IPM.Appointment", outlook::olAppointmentItem},
        {"IPM.Contact", outlook::olContactItem}, {"IPM.DistList", -1},
    };
    return kinds;
}

std::shared_ptr<TSimItem> MakeFiledItem(const std::shared_ptr<detail::SimStore>& store,
                                        const std::shared_ptr<TSimFolder>& folder, const std::string& cls) {
    auto is = [&cls](std::string_view base) {
        return SameText(cls, base) ||
               (cls.size() > base.size() + 1 && cls[base.size()] == '.' && SameText(cls.substr(0, base.size()), base));
    };
    if (is("IPM.Note") || is("IPM.Mail")) return std::make_shared<TSimMailItem>(store, folder, cls);
    if (is("IPM.Post")) return std::make_shared<TSimPostItem>(store, folder, cls, store->userName);
    if (is("IPM.Appointment")) return std::make_shared<TSimAppointmentItem>(store, folder, cls);
    if (is("IPM.Contact")) return std::make_shared<TSimContactItem>(store, folder, cls);
    if (is("IPM.DistList")) return std::make_shared<TSimDistListItem>(store, folder, cls);
    return nullptr;
}

std::shared_ptr<TSimItem> UserSendMail(TSimItem& item) {
    auto* mail = dynamic_cast<TSimMailItem*>(&item);
    if (!mail) throw ESimError("Only a mail can be sent, not a " + std::string(item.Kind()) + ".");
    if (item.IsDeleted() || !item.InspectorOpen()) throw ESimError("The mail's inspector is not open.");
    mail->Send();
    return item.shared_from_this();
}

}  // namespace sim
