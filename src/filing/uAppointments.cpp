#include "filing/uAppointments.h"

#include "filing/ItemTables.h"

using namespace filing;

std::shared_ptr<outlook::_AppointmentItem> CreateAppointmentItem(int TaskID, const std::string& Subject) {
    TModuleGlobals& g = Globals();
    auto item = CreateItem<outlook::_AppointmentItem>("AppointmentItem", g.CalendarFolder, g.CalendarFolder,
                                                      "IPM.Appointment", TaskID);
    item->SetSubject(Subject);
    return item;
}

void FilterAppointments(int TaskID) {
    Swallow([&] { FilterItemTable(Live(Globals().MemDataAppointments), TaskID); });
}

void UnfilterAppointments() {
    Swallow([] { UnfilterItemTable(Live(Globals().MemDataAppointments)); });
}

void ShowAppointmentItem() {
    ShowRowItem<outlook::_AppointmentItem>(Live(Globals().MemDataAppointments), Globals().CalendarFolder);
}

void DeleteAppointmentItem() {
    // No outer guard: a failure to take the row away reaches the caller.
    DeleteRowItem<outlook::_AppointmentItem>(Live(Globals().MemDataAppointments), Globals().CalendarFolder);
}

void RemoveAppointmentItem() {
    Swallow([] { RemoveRow(Live(Globals().MemDataAppointments)); });
}
