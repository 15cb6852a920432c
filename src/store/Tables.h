#pragma once
// The system's eight tables: their fields in file order, their files and messages.
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "store/MemData.h"

// Adds the fields of each table, in the order that fixes its file layout.
void DefineTasksFields(TdxMemData& t);
void DefineTimeFields(TdxMemData& t);
void DefineEmailsFields(TdxMemData& t);
void DefineContactsFields(TdxMemData& t);
void DefineDistListsFields(TdxMemData& t);
void DefineAppointmentsFields(TdxMemData& t);
void DefineNotesFields(TdxMemData& t);
// MemDataAddTask has no fields of its own until the first copy of the tasks; it sorts
// descending on Description.
void DefineAddTaskTable(TdxMemData& t);

// The persisted tables by the names the tools use: "Tasks", "Time", "Emails", "Contacts",
// "DistLists", "Appointments", "Notes".
struct TableInfo {
    std::string name;          // "DistLists"
    std::string component;     // "MemDataDistLists"
    std::string fileName;      // "Distlists.bin"
    void (*define)(TdxMemData&);
};
const std::vector<TableInfo>& PersistedTables();
const TableInfo* FindPersistedTable(std::string_view name);
// A bare, closed table of that definition (no event handlers bound); nullptr for an unknown name.
std::unique_ptr<TdxMemData> MakeTable(std::string_view name);
