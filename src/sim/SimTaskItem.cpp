#include "sim/SimTaskItem.h"

#include "base/Clock.h"
#include "base/DateTime.h"
#include "sim/SimStore.h"

namespace sim {

using K = TSimPropertyKind;

TSimTaskItem::TSimTaskItem(std::weak_ptr<detail::SimStore> store, std::weak_ptr<TSimFolder> folder,
                           std::string messageClass, std::string owner)
    : TSimItem(std::move(store), std::move(folder), std::move(messageClass)) {
    InitValue("Subject", Variant(""));
    InitValue("Body", Variant(""));
    InitValue("Owner", Variant(std::move(owner)));
    InitValue("Importance", Variant(outlook::olImportanceNormal));
    InitValue("Sensitivity", Variant(0));
    InitValue("Complete", Variant(false));
    InitValue("Status", Variant(outlook::olTaskNotStarted));
    InitValue("PercentComplete", Variant(0));
    InitValue("DateCompleted", Variant::FromDate(NoCompletionDate()));
    InitValue("DueDate", Variant::FromDate(NoCompletionDate()));
    InitValue("StartDate", Variant::FromDate(NoCompletionDate()));
}

const std::vector<TSimProperty>& TSimTaskItem::Properties() const {
    // Complete, Status, PercentComplete and DateCompleted follow one another in this order.
    static const std::vector<TSimProperty> properties = {
        {"Subject", K::Text},
        {"Body", K::Text},
        {"Owner", K::Text},
        {"Importance", K::Integer, outlook::olImportanceLow, outlook::olImportanceHigh},
        {"Sensitivity", K::Integer, 0, 3},
        {"Complete", K::Boolean},
        {"Status", K::Integer, outlook::olTaskNotStarted, outlook::olTaskDeferred},
        {"PercentComplete", K::Integer, 0, 100},
        {"DateCompleted", K::Date},
        {"DueDate", K::Date},
        {"StartDate", K::Date},
    };
    return properties;
}

std::shared_ptr<platform::IDispatch> TSimTaskItem::Dispatch() {
    return std::shared_ptr<platform::IDispatch>(
        shared_from_this(), static_cast<platform::IDispatch*>(static_cast<outlook::_TaskItem*>(this)));
}

void TSimTaskItem::ApplyRules(const std::string& name, const Values& before, Values& after) {
    const bool wasComplete = before.at("Complete").AsBoolean();
    auto complete = [&after](TDateTime on) {
        after["Complete"] = Variant(true);
        after["Status"] = Variant(outlook::olTaskComplete);
        after["PercentComplete"] = Variant(100);
        after["DateCompleted"] = Variant::FromDate(on);
    };
    auto reopen = [&after](int status) {
        after["Complete"] = Variant(false);
        after["Status"] = Variant(status);
        after["PercentComplete"] = Variant(0);
        after["DateCompleted"] = Variant::FromDate(NoCompletionDate());
    };

    if (name == "Complete") {
        bool value = after.at("Complete").AsBoolean();
        if (value && !wasComplete) complete(Date());
        if (!value && wasComplete) reopen(outlook::olTaskNotStarted);
    } else if (name == "Status") {
        int value = after.at("Status").AsInteger();
        if (value == outlook::olTaskComplete && !wasComplete) complete(Date());
        if (value != outlook::olTaskComplete && wasComplete) reopen(value);
    } else if (name == "PercentComplete") {
        int value = after.at("PercentComplete").AsInteger();
        if (value == 100) {
            if (!wasComplete) complete(Date());
        } else if (wasComplete) {
            reopen(value > 0 ? outlook::olTaskInProgress : outlook::olTaskNotStarted);
            after["PercentComplete"] = Variant(value);
        } else if (value > 0 && after.at("Status").AsInteger() == outlook::olTaskNotStarted) {
            after["Status"] = Variant(outlook::olTaskInProgress);
        }
    } else if (name == "DateCompleted") {
        TDateTime value = after.at("DateCompleted").AsDateTime();
        if (value < NoCompletionDate())
            complete(value);
        else if (wasComplete)
            reopen(outlook::olTaskNotStarted);
    }
}

std::string TSimTaskItem::EntryID() {
    Enter("EntryID");
    return Id();
}

std::string TSimTaskItem::MessageClass() {
    Enter("MessageClass");
    return MessageClassName();
}

std::string TSimTaskItem::Subject() { return Read("Subject").AsString(); }
void TSimTaskItem::SetSubject(const std::string& value) { Write("Subject", Variant(value)); }
std::string TSimTaskItem::Body() { return Read("Body").AsString(); }
void TSimTaskItem::SetBody(const std::string& value) { Write("Body", Variant(value)); }
std::string TSimTaskItem::Owner() { return Read("Owner").AsString(); }
int TSimTaskItem::Status() { return Read("Status").AsInteger(); }
void TSimTaskItem::SetStatus(int value) { Write("Status", Variant(value)); }
TDateTime TSimTaskItem::DueDate() { return Read("DueDate").AsDateTime(); }
void TSimTaskItem::SetDueDate(TDateTime value) { Write("DueDate", Variant::FromDate(value)); }
TDateTime TSimTaskItem::StartDate() { return Read("StartDate").AsDateTime(); }
void TSimTaskItem::SetStartDate(TDateTime value) { Write("StartDate", Variant::FromDate(value)); }
TDateTime TSimTaskItem::DateCompleted() { return Read("DateCompleted").AsDateTime(); }
void TSimTaskItem::SetDateCompleted(TDateTime value) { Write("DateCompleted", Variant::FromDate(value)); }
int TSimTaskItem::Importance() { return Read("Importance").AsInteger(); }
void TSimTaskItem::SetImportance(int value) { Write("Importance", Variant(value)); }
int TSimTaskItem::PercentComplete() { return Read("PercentComplete").AsInteger(); }
void TSimTaskItem::SetPercentComplete(int value) { Write("PercentComplete", Variant(value)); }
int TSimTaskItem::Sensitivity() { return Read("Sensitivity").AsInteger(); }
void TSimTaskItem::SetSensitivity(int value) { Write("Sensitivity", Variant(value)); }
bool TSimTaskItem::Complete() { return Read("Complete").AsBoolean(); }
void TSimTaskItem::SetComplete(bool value) { Write("Complete", Variant(value)); }

void TSimTaskItem::Save() {
    Enter("Save");
    DoSave();
}

std::shared_ptr<outlook::_Inspector> TSimTaskItem::GetInspector() {
    Enter("GetInspector");
    return DoGetInspector();
}

void TSimTaskItem::Display(bool) {
    // The simulation has no modal loop: a modal display opens the inspector as well.
    Enter("Display");
    DoDisplay();
}

std::shared_ptr<platform::IDispatch> TSimTaskItem::Move(const std::shared_ptr<outlook::MAPIFolder>& destination) {
    Enter("Move");
    return DoMove(destination);
}

}  // namespace sim
