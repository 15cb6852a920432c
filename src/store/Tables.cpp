#include "store/Tables.h"

#include "platform/Text.h"

namespace {
constexpr auto S = TFieldType::ftString;
constexpr auto I = TFieldType::ftInteger;
constexpr auto A = TFieldType::ftAutoInc;
}  // namespace

void DefineTasksFields(TdxMemData& t) {
    t.AddField("ID", A);
    t.AddField("EntryID", S, 250);
    t.AddField("Parent_ID", I);
    t.AddField("Description", S, 200);
    t.AddField("Due_Date", TFieldType::ftDate);
    t.AddField("Create_Date", TFieldType::ftDateTime);
    t.AddField("Number", I);
    t.AddField("Start_Date", TFieldType::ftDate);
    t.AddField("Importance", I);
    t.AddField("Owner_Name", S, 50);
    t.AddField("Status", I);
    t.AddField("Date_Complete", TFieldType::ftDate);
    t.AddField("Sensitivity", I);
    t.AddField("Complete", TFieldType::ftBoolean);
    t.AddField("Percent_Complete", I);
}

void DefineTimeFields(TdxMemData& t) {
    t.AddField("Glyph", TFieldType::ftSmallint);
    t.AddField("Task_Name", S, 100);
    t.AddField("Task_Full_Name", S, 150);
    t.AddField("Task_ID", I);
    t.AddField("Task_Full_No", S, 50);
    t.AddField("Create_Date", TFieldType::ftDate);
    t.AddField("Time", TFieldType::ftTime);
    t.AddField("Dec_Time", TFieldType::ftCurrency).DisplayFormat = "#0.00";
    t.AddField("User_Name", S, 50);
    t.AddField("User_Address", S, 200);
    t.AddField("Bill_Rate", I);
    t.AddField("Note", S, 500);
    t.AddField("Time_Date", TFieldType::ftDate);
    t.AddField("Closed", TFieldType::ftBoolean);
    t.AddField("Closed_Date", TFieldType::ftDate);
    t.AddField("ID", A);
}

void DefineEmailsFields(TdxMemData& t) {
    t.AddField("ID", A);
    t.AddField("TaskID", I);
    t.AddField("EntryID", S, 250);
    t.AddField("Attachments", I);
    t.AddField("Date", TFieldType::ftDateTime);
    t.AddField("From", S, 20);
    t.AddField("To", S, 20);
    t.AddField("Subject", S, 100);
    t.AddField("Text", TFieldType::ftMemo);
    t.AddField("MessageClass", S, 20);
}

void DefineContactsFields(TdxMemData& t) {
    t.AddField("ID", A);
    t.AddField("TaskID", I);
    t.AddField("EntryID", S, 250);
    t.AddField("Glyph", I);
    t.AddField("Name", S, 40);
    t.AddField("Telephone", S, 20);
    t.AddField("Email", S, 20);
    t.AddField("Address", S, 20);
    t.AddField("Type", I);
    t.AddField("MessageClass", S, 20);
}

void DefineDistListsFields(TdxMemData& t) {
    t.AddField("ID", A);
    t.AddField("TaskID", I);
    t.AddField("EntryID", S, 250);
    t.AddField("Subject", S, 100);
    t.AddField("Addresses", S, 100);
    t.AddField("Names", S, 100);
    t.AddField("Type", I);
    t.AddField("Glyph", I);
    t.AddField("MessageClass", S, 20);
}

void DefineAppointmentsFields(TdxMemData& t) {
    t.AddField("ID", A);
    t.AddField("TaskID", I);
    t.AddField("EntryID", S, 250);
    t.AddField("Glyph", I);
    t.AddField("Attachments", I);
    t.AddField("Start", TFieldType::ftDateTime);
    t.AddField("End", TFieldType::ftDateTime);
    t.AddField("Subject", S, 20);
    t.AddField("MessageClass", S, 20);
}

void DefineNotesFields(TdxMemData& t) {
    t.AddField("ID", A);
    t.AddField("TaskID", I);
    t.AddField("EntryID", S, 250);
    t.AddField("Glyph", I);
    t.AddField("Attachments", I);
    t.AddField("Date", TFieldType::ftDateTime);
    t.AddField("Author", S, 20);
    t.AddField("Subject", S, 20);
    t.AddField("Text", S, 20);
    t.AddField("MessageClass", S, 20);
}

void DefineAddTaskTable(TdxMemData& t) {
    t.SetSortOptions(soDesc);
    t.SetSortedField("Description");
}

const std::vector<TableInfo>& PersistedTables() {
    static const std::vector<TableInfo> tables = {
        {"Tasks", "MemDataTasks", "Tasks.bin", &DefineTasksFields},
        {"Time", "MemDataTime", "Time.bin", &DefineTimeFields},
        {"Emails", "MemDataEmails", "Emails.bin", &DefineEmailsFields},
        {"Contacts", "MemDataContacts", "Contacts.bin", &DefineContactsFields},
        {"DistLists", "MemDataDistLists", "Distlists.bin", &DefineDistListsFields},
        {"Appointments", "MemDataAppointments", "Appointments.bin", &DefineAppointmentsFields},
        {"Notes", "MemDataNotes", "Notes.bin", &DefineNotesFields},
    };
    return tables;
}

const TableInfo* FindPersistedTable(std::string_view name) {
    for (const TableInfo& t : PersistedTables())
        if (t.name == name) return &t;
    return nullptr;
}

std::unique_ptr<TdxMemData> MakeTable(std::string_view name) {
    const TableInfo* info = FindPersistedTable(name);
    if (!info) return nullptr;
    auto t = std::make_unique<TdxMemData>(info->component);
    info->define(*t);
    return t;
}
