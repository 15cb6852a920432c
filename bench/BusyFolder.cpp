#include "BusyFolder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "base/DateTime.h"
#include "platform/System.h"
#include "store/Tables.h"

namespace busy {

namespace {

// A small generator of our own, so that the same seed makes the same folder everywhere.
class Random {
public:
    explicit Random(uint64_t seed) : s_(seed * 0x9E3779B97F4A7C15ULL + 0xD1B54A32D192ED03ULL) {}
    uint64_t Next() {
        uint64_t z = (s_ += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }
    int Below(int n) { return n <= 0 ? 0 : static_cast<int>(Next() % static_cast<uint64_t>(n)); }
    double Unit() { return static_cast<double>(Next() >> 11) / 9007199254740992.0; }
    bool Chance(double p) { return Unit() < p; }
    template <class T, size_t N>
    const T& Pick(const T (&items)[N]) { return items[Below(static_cast<int>(N))]; }

private:
    uint64_t s_;
};

const char* kFirstNames[] = {"Alex", "Sam", "Jordan", "Priya", "Tom", "Hannah", "Oliver", "Grace",
                             "Marek", "Aisha", "Lucy", "David", "Chen", "Fatima", "George", "Ines",
                             "Ruth", "Kofi", "Elena", "Patrick", "Sofia", "Ben", "Maya", "Ivan"};
const char* kLastNames[] = {"Morgan", "Hughes", "Patel", "Okafor", "Brennan", "Kowalski", "Shaw",
                            "Lindqvist", "Moreau", "Castillo", "Walsh", "Nakamura", "Reid", "Fischer",
                            "Baker", "Ahmed", "Doyle", "Varga", "Quinn", "Harper"};
const char* kFirms[] = {"Harrow & Finch", "Northgate", "Bellweather", "Calder Marine", "Ashby Foods",
                        "Pemberton Estates", "Kestrel Air", "Millbrook", "Orchard Lane", "Tideway",
                        "Greystone", "Fenwick & Co", "Lowther", "Saxon Print", "Redfern", "Blackwood",
                        "Hartley Brewing", "Marlow Textiles", "Quayside", "Wexford Logistics"};
const char* kSuffixes[] = {"Ltd", "plc", "LLP", "Group", "Holdings", "Trust"};
const char* kMatters[] = {"Lease renewal", "Share purchase", "Employment dispute", "Debt recovery",
                          "Planning appeal", "Trademark filing", "Supply contract", "Refinancing",
                          "Pension review", "Boundary dispute", "Licence application", "Merger",
                          "Probate", "Insurance claim", "Data protection audit", "Tender"};
const char* kSteps[] = {"Draft heads of terms", "Review title", "Client call", "Prepare bundle",
                        "Due diligence", "Board minutes", "File at registry", "Counsel's opinion",
                        "Witness statement", "Negotiate terms", "Completion", "Searches",
                        "Engrossment", "Invoice", "Settlement meeting", "Correspondence"};
const char* kPlaces[] = {"Mill Lane", "Harbour Road", "King Street", "Station Yard", "Bridge House",
                         "Queens Wharf", "North Park", "Elm Court", "Abbey Mews", "Castle Hill"};
const char* kSentences[] = {
    "Thank you for your letter of last week, which we have now had the chance to consider.",
    "Please find attached the revised draft with our comments shown in the margin.",
    "We would be grateful if you could confirm the position on the outstanding searches.",
    "Our client is keen to complete before the end of the quarter if at all possible.",
    "The valuation report has been received and raises two points that need your instructions.",
    "I have spoken to the other side's solicitors and they have agreed to extend the deadline.",
    "Could you let me have your availability for a call on Thursday or Friday afternoon?",
    "The board approved the proposal at yesterday's meeting, subject to the usual conditions.",
    "We enclose our invoice for the work done to date, together with a breakdown of time.",
    "As discussed, the indemnity should be capped at the purchase price and limited to two years.",
    "The landlord's surveyor will attend the property on Monday morning to inspect the roof.",
    "Kind regards, and many thanks again for your help with this matter.",
    "We note that the completion statement does not yet reflect the retention agreed.",
    "Please sign where marked and return the documents to us in the envelope provided.",
    "The court has listed the hearing for the first available date after the vacation.",
    "I attach the minutes for approval and would ask that any comments reach me by Friday.",
};
const char* kDomains[] = {"harrowfinch.co.uk", "northgate.com", "calder.net", "ashby.org",
                          "kestrel-air.com", "tideway.co.uk", "gmail.com", "fenwick.law"};
const char* kAttendees[] = {"Client meeting", "Site visit", "Call with counsel", "Completion",
                            "Hearing", "Board", "Review", "Lunch"};
const char* kNoteWords[] = {"Call back re fees", "Keys with agent", "Chase signed copy", "Send map",
                            "Check VAT point", "Diary the hearing", "Ask for ID", "Post original"};
const char* kGroups[] = {"Board members", "Deal team", "Litigation team", "Client contacts",
                         "Counsel", "Surveyors", "Lenders", "Auditors"};

// Ten years of work, ending before the tests' usual today.
const TDateTime kStart = EncodeDate(2016, 1, 4);
constexpr int kDays = 3650;

std::string Hex(uint64_t v, int digits) {
    static const char* d = "0123456789ABCDEF";
    std::string s(static_cast<size_t>(digits), '0');
    for (int i = digits - 1; i >= 0; --i, v >>= 4) s[static_cast<size_t>(i)] = d[v & 15];
    return s;
}

// An Outlook entry ID: 70 bytes written as 140 hex digits, the store's prefix then the item's.
std::string EntryId(Random& r, uint64_t n) {
    return "00000000A1C3E5F7092B4D6F81A3C5E7" + Hex(0x0700, 4) + "A1B2C3D4E5F60718293A4B5C6D7E8F90" +
           Hex(r.Next(), 16) + Hex(n, 16) + Hex(r.Next(), 16) + Hex(r.Next(), 16) + Hex(n * 7919, 8) +
           Hex(r.Next(), 8);
}

std::string Person(Random& r) { return std::string(r.Pick(kFirstNames)) + " " + r.Pick(kLastNames); }

struct Task {
    int id;
    int parent;  // index into the tasks, -1 for a root
    std::string name, fullName, fullNo;
    TDateTime created;
    TDateTime completed;  // 0 when open
};

// The tree: 50 roots (clients), then matters, steps and sub-steps, each level's parents chosen
// with a lean towards the first (the firm's big clients).
std::vector<Task> MakeTasks(int count, uint64_t seed) {
    Random r(seed ^ 0x7A5C);
    std::vector<Task> tasks;
    tasks.reserve(static_cast<size_t>(count));
    const int roots = std::min(count, 50);
    const int level2 = std::min(count - roots, std::max(count / 20, 0));
    const int level3 = std::min(count - roots - level2, count / 4);
    int levelStart[5] = {0, 0, roots, roots + level2, roots + level2 + level3};
    std::vector<int> childCount(static_cast<size_t>(count), 0);
    for (int i = 0; i < count; ++i) {
        Task t;
        t.id = i + 1;
        int level = i < levelStart[2] ? 1 : i < levelStart[3] ? 2 : i < levelStart[4] ? 3 : 4;
        if (level == 1) {
            t.parent = -1;
            t.name = std::string(kFirms[i % 20]) + " " + kSuffixes[(i / 20) % 6];
            if (i >= 20) t.name += " (" + std::string(kPlaces[i % 10]) + ")";
            t.fullNo = std::to_string(i + 1);
            t.created = kStart + r.Below(200);
        } else {
            int from = levelStart[level - 1], n = levelStart[level] - from;
            double u = r.Unit();
            t.parent = from + static_cast<int>(n * u * u);
            const Task& p = tasks[static_cast<size_t>(t.parent)];
            int number = ++childCount[static_cast<size_t>(t.parent)];
            if (level == 2)
                t.name = std::string(r.Pick(kMatters)) + " - " + r.Pick(kPlaces) + " " + std::to_string(number);
            else
                t.name = std::string(r.Pick(kSteps)) + (level == 4 ? " " + std::to_string(number) : "");
            t.fullNo = p.fullNo + "." + std::to_string(number);
            t.created = std::min<TDateTime>(p.created + r.Below(kDays / 3), kStart + kDays - 30);
        }
        t.fullName = level == 1 ? t.name : tasks[static_cast<size_t>(t.parent)].fullName + " \\ " + t.name;
        t.completed = 0;
        tasks.push_back(std::move(t));
    }
    // Seven in ten completed, older tasks first, over the ten years.
    for (Task& t : tasks)
        if (r.Chance(0.7)) t.completed = std::min<TDateTime>(t.created + 7 + r.Below(700), kStart + kDays);
    return tasks;
}

// A task for a filed row: a few busy matters take much of the work, the rest a long tail.
int BusyTask(Random& r, int count) {
    double u = r.Unit();
    return static_cast<int>(count * u * u * u);
}

// The Number of a task: the last part of its full number.
int NumberOf(const Task& t) { return std::stoi(t.fullNo.substr(t.fullNo.rfind('.') + 1)); }

TDateTime DayInTask(Random& r, const Task& t) {
    TDateTime end = t.completed > 0 ? t.completed : kStart + kDays;
    int span = std::max(1, static_cast<int>(end - t.created));
    return DateOf(t.created) + r.Below(span);
}

TDateTime OfficeHour(Random& r, TDateTime day) {
    return day + EncodeTime(static_cast<uint16_t>(8 + r.Below(10)), static_cast<uint16_t>(r.Below(60)),
                            static_cast<uint16_t>(r.Below(60)), 0);
}

std::string Body(Random& r) {
    std::string body = "Dear " + std::string(r.Pick(kFirstNames)) + ",\r\n\r\n";
    const size_t target = 650 + static_cast<size_t>(r.Below(400));
    while (body.size() < target) {
        body += r.Pick(kSentences);
        body += r.Chance(0.25) ? "\r\n\r\n" : " ";
    }
    body += "\r\n" + Person(r);
    return body;
}

std::string Address(Random& r, const std::string& person) {
    std::string a = person;
    std::replace(a.begin(), a.end(), ' ', '.');
    std::transform(a.begin(), a.end(), a.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
    return a + "@" + r.Pick(kDomains);
}

struct Fields {
    TdxMemData& t;
    TField& operator[](const char* name) { return t.FieldByName(name); }
};

void FillTasks(TdxMemData& t, const std::vector<Task>& tasks, Random& r) {
    Fields f{t};
    for (const Task& k : tasks) {
        t.Append();
        f["EntryID"].SetAsString(EntryId(r, static_cast<uint64_t>(k.id)));
        f["Parent_ID"].SetAsInteger(k.parent < 0 ? -1 : tasks[static_cast<size_t>(k.parent)].id);
        f["Description"].SetAsString(k.name);
        f["Due_Date"].SetAsDateTime(DateOf(k.created) + 14 + r.Below(90));
        f["Create_Date"].SetAsDateTime(OfficeHour(r, DateOf(k.created)));
        f["Number"].SetAsInteger(NumberOf(k));
        f["Start_Date"].SetAsDateTime(DateOf(k.created));
        f["Importance"].SetAsInteger(r.Chance(0.8) ? 1 : r.Below(3));
        f["Owner_Name"].SetAsString(Person(r));
        const bool done = k.completed > 0;
        static const int kOpenStatus[] = {0, 3, 4};  // not started, waiting, deferred
        f["Status"].SetAsInteger(done ? 2 : r.Chance(0.6) ? 1 : r.Pick(kOpenStatus));
        f["Date_Complete"].SetAsDateTime(done ? DateOf(k.completed) : NoCompletionDate());
        f["Sensitivity"].SetAsInteger(r.Chance(0.95) ? 0 : 2);
        f["Complete"].SetAsBoolean(done);
        f["Percent_Complete"].SetAsInteger(done ? 100 : 10 * r.Below(10));
        t.Post();
    }
}

void FillTime(TdxMemData& t, int rows, const std::vector<Task>& tasks, Random& r) {
    Fields f{t};
    std::string users[6], addresses[6];
    for (int i = 0; i < 6; ++i) {
        users[i] = Person(r);
        addresses[i] = Address(r, users[i]);
    }
    for (int i = 0; i < rows; ++i) {
        const Task& k = tasks[static_cast<size_t>(BusyTask(r, static_cast<int>(tasks.size())))];
        const int minutes = 6 * (1 + r.Below(40));
        const TDateTime day = DayInTask(r, k);
        const int user = r.Below(6);
        t.Append();
        f["Glyph"].SetAsInteger(r.Below(3));
        f["Task_Name"].SetAsString(k.name);
        f["Task_Full_Name"].SetAsString(k.fullName);
        f["Task_ID"].SetAsInteger(k.id);
        f["Task_Full_No"].SetAsString(k.fullNo);
        f["Create_Date"].SetAsDateTime(day + r.Below(3));
        f["Time"].SetAsDateTime(EncodeTime(static_cast<uint16_t>(minutes / 60), static_cast<uint16_t>(minutes % 60), 0, 0));
        f["Dec_Time"].SetAsCurrency(Currency::FromRaw(int64_t{minutes} * 10000 / 60));
        f["User_Name"].SetAsString(users[user]);
        f["User_Address"].SetAsString(addresses[user]);
        f["Bill_Rate"].SetAsInteger(90 + 15 * r.Below(12));
        f["Note"].SetAsString(std::string(r.Pick(kSteps)) + ": " + r.Pick(kSentences));
        f["Time_Date"].SetAsDateTime(day);
        const bool closed = day < kStart + kDays - 60 && r.Chance(0.9);
        f["Closed"].SetAsBoolean(closed);
        if (closed) f["Closed_Date"].SetAsDateTime(day + 30 + r.Below(30));
        t.Post();
    }
}

void FillEmails(TdxMemData& t, int rows, const std::vector<Task>& tasks, Random& r) {
    Fields f{t};
    for (int i = 0; i < rows; ++i) {
        const Task& k = tasks[static_cast<size_t>(BusyTask(r, static_cast<int>(tasks.size())))];
        t.Append();
        f["TaskID"].SetAsInteger(k.id);
        f["EntryID"].SetAsString(EntryId(r, static_cast<uint64_t>(i)));
        f["Attachments"].SetAsInteger(r.Chance(0.7) ? 0 : 1 + r.Below(4));
        f["Date"].SetAsDateTime(OfficeHour(r, DayInTask(r, k)));
        f["From"].SetAsString(Address(r, Person(r)));  // cut to the field's 20 bytes
        f["To"].SetAsString(Address(r, Person(r)));
        f["Subject"].SetAsString((r.Chance(0.4) ? "RE: " : "") + k.name + " - " + r.Pick(kSteps));
        f["Text"].SetAsString(Body(r));
        f["MessageClass"].SetAsString("IPM.Note");
        t.Post();
    }
}

void FillContacts(TdxMemData& t, int rows, const std::vector<Task>& tasks, Random& r) {
    Fields f{t};
    for (int i = 0; i < rows; ++i) {
        const Task& k = tasks[static_cast<size_t>(BusyTask(r, static_cast<int>(tasks.size())))];
        const std::string who = Person(r);
        t.Append();
        f["TaskID"].SetAsInteger(k.id);
        f["EntryID"].SetAsString(EntryId(r, static_cast<uint64_t>(i)));
        f["Glyph"].SetAsInteger(0);
        f["Name"].SetAsString(who);
        f["Telephone"].SetAsString("+44 20 " + std::to_string(7000 + r.Below(3000)) + " " +
                                   std::to_string(1000 + r.Below(9000)));
        f["Email"].SetAsString(Address(r, who));
        f["Address"].SetAsString(std::to_string(1 + r.Below(200)) + " " + r.Pick(kPlaces));
        f["Type"].SetAsInteger(0);
        f["MessageClass"].SetAsString("IPM.Contact");
        t.Post();
    }
}

void FillDistLists(TdxMemData& t, int rows, const std::vector<Task>& tasks, Random& r) {
    Fields f{t};
    for (int i = 0; i < rows; ++i) {
        const Task& k = tasks[static_cast<size_t>(BusyTask(r, static_cast<int>(tasks.size())))];
        std::string names, addresses;
        for (int m = 0, n = 2 + r.Below(5); m < n; ++m) {
            const std::string who = Person(r);
            names += (m ? "; " : "") + who;
            addresses += (m ? "; " : "") + Address(r, who);
        }
        t.Append();
        f["TaskID"].SetAsInteger(k.id);
        f["EntryID"].SetAsString(EntryId(r, static_cast<uint64_t>(i)));
        f["Subject"].SetAsString(std::string(r.Pick(kGroups)) + " - " + k.name);
        f["Addresses"].SetAsString(addresses);
        f["Names"].SetAsString(names);
        f["Type"].SetAsInteger(1);
        f["Glyph"].SetAsInteger(1);
        f["MessageClass"].SetAsString("IPM.DistList");
        t.Post();
    }
}

void FillAppointments(TdxMemData& t, int rows, const std::vector<Task>& tasks, Random& r) {
    Fields f{t};
    for (int i = 0; i < rows; ++i) {
        const Task& k = tasks[static_cast<size_t>(BusyTask(r, static_cast<int>(tasks.size())))];
        const TDateTime start = OfficeHour(r, DayInTask(r, k));
        t.Append();
        f["TaskID"].SetAsInteger(k.id);
        f["EntryID"].SetAsString(EntryId(r, static_cast<uint64_t>(i)));
        f["Glyph"].SetAsInteger(2);
        f["Attachments"].SetAsInteger(r.Chance(0.9) ? 0 : 1);
        f["Start"].SetAsDateTime(start);
        f["End"].SetAsDateTime(start + (1 + r.Below(8)) / 48.0);
        f["Subject"].SetAsString(r.Pick(kAttendees));
        f["MessageClass"].SetAsString("IPM.Appointment");
        t.Post();
    }
}

void FillNotes(TdxMemData& t, int rows, const std::vector<Task>& tasks, Random& r) {
    Fields f{t};
    for (int i = 0; i < rows; ++i) {
        const Task& k = tasks[static_cast<size_t>(BusyTask(r, static_cast<int>(tasks.size())))];
        t.Append();
        f["TaskID"].SetAsInteger(k.id);
        f["EntryID"].SetAsString(EntryId(r, static_cast<uint64_t>(i)));
        f["Glyph"].SetAsInteger(3);
        f["Attachments"].SetAsInteger(0);
        f["Date"].SetAsDateTime(OfficeHour(r, DayInTask(r, k)));
        f["Author"].SetAsString(Person(r));
        f["Subject"].SetAsString(r.Pick(kNoteWords));
        f["Text"].SetAsString(r.Pick(kSentences));  // a preview: cut to 20 bytes
        f["MessageClass"].SetAsString("IPM.Post");
        t.Post();
    }
}

}  // namespace

TFolderSize SizeAt(int scale) {
    TFolderSize s;
    s.tasks *= scale;
    s.time *= scale;
    s.emails *= scale;
    s.contacts *= scale;
    s.distLists *= scale;
    s.appointments *= scale;
    s.notes *= scale;
    return s;
}

std::unique_ptr<TdxMemData> MakeBusyTable(const std::string& name, const TFolderSize& size, uint64_t seed) {
    std::unique_ptr<TdxMemData> t = MakeTable(name);
    if (!t) throw std::invalid_argument("no table called " + name);
    const std::vector<Task> tasks = MakeTasks(std::max(size.tasks, 1), seed);
    // Each table draws from a generator of its own, so that one table's rows do not depend on
    // another's count.
    uint64_t salt = 0;
    for (char c : name) salt = salt * 131 + static_cast<unsigned char>(c);
    Random r(seed ^ (salt << 8));
    t->Open();
    t->DisableControls();
    if (name == "Tasks") FillTasks(*t, tasks, r);
    else if (name == "Time") FillTime(*t, size.time, tasks, r);
    else if (name == "Emails") FillEmails(*t, size.emails, tasks, r);
    else if (name == "Contacts") FillContacts(*t, size.contacts, tasks, r);
    else if (name == "DistLists") FillDistLists(*t, size.distLists, tasks, r);
    else if (name == "Appointments") FillAppointments(*t, size.appointments, tasks, r);
    else if (name == "Notes") FillNotes(*t, size.notes, tasks, r);
    t->EnableControls();
    return t;
}

uint64_t WriteBusyFolder(const std::string& folder, int scale, uint64_t seed) {
    std::filesystem::create_directories(folder);
    const TFolderSize size = SizeAt(scale);
    uint64_t bytes = 0;
    for (const TableInfo& info : PersistedTables()) {
        std::unique_ptr<TdxMemData> t = MakeBusyTable(info.name, size, seed);
        const std::string path = (std::filesystem::path(folder) / info.fileName).string();
        t->SaveToBinaryFile(path);
        bytes += std::filesystem::file_size(path);
    }
    return bytes;
}

std::string EnsureBusyFolder(int scale, uint64_t seed) {
    namespace fs = std::filesystem;
    const char* base = std::getenv("CORVELLE_BUSY_DIR");
    // The name carries the generator's version: a change of what it writes makes a new folder.
    const fs::path folder = fs::path(base && *base ? base : platform::TempFolder()) /
                            ("corvelle-busy-v1-x" + std::to_string(scale) + "-seed" + std::to_string(seed));
    const fs::path done = folder / ".complete";
    std::error_code ec;
    if (!fs::exists(done, ec)) {
        fs::remove_all(folder, ec);
        WriteBusyFolder(folder.string(), scale, seed);
        std::FILE* f = std::fopen(done.string().c_str(), "w");
        if (f) std::fclose(f);
    }
    return folder.string() + "/";
}

uint64_t FolderBytes(const std::string& folder) {
    uint64_t bytes = 0;
    std::error_code ec;
    for (const TableInfo& info : PersistedTables()) {
        const auto n = std::filesystem::file_size(folder + info.fileName, ec);
        if (!ec) bytes += n;
    }
    return bytes;
}

}  // namespace busy
