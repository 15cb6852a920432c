#pragma once
// The folder of a firm that has used Corvelle for ten busy years: the seven table files, made
// through the table engine's own writer, the same bytes for the same seed and scale. At scale 1:
// 10,000 tasks, 100,000 time entries, 200,000 mails with bodies of about 1 KB, 20,000 contacts,
// 2,000 lists, 30,000 appointments and 20,000 notes, about 270 MB.
#include <cstdint>
#include <memory>
#include <string>

#include "store/MemData.h"

namespace busy {

struct TFolderSize {
    int tasks = 10000;
    int time = 100000;
    int emails = 200000;
    int contacts = 20000;
    int distLists = 2000;
    int appointments = 30000;
    int notes = 20000;
};

// The counts at a scale: every count times the scale.
TFolderSize SizeAt(int scale);

// Fills one persisted table ("Tasks", "Time", "Emails", "Contacts", "DistLists",
// "Appointments", "Notes") with its rows for the size and seed; the table comes back open, with
// the rows in the order they were made. Rows that name a task point at the tasks of that size.
std::unique_ptr<TdxMemData> MakeBusyTable(const std::string& name, const TFolderSize& size, uint64_t seed);

// Writes the seven files into the folder (made when missing). Returns the bytes written.
uint64_t WriteBusyFolder(const std::string& folder, int scale = 1, uint64_t seed = 1);

// The folder of that scale and seed, made once under the temporary folder (or under
// $CORVELLE_BUSY_DIR) and reused while its files stand complete; ends with "/".
std::string EnsureBusyFolder(int scale = 1, uint64_t seed = 1);

// The sum of the seven files' sizes in a folder ending with "/".
uint64_t FolderBytes(const std::string& folder);

}  // namespace busy
