// The table files on disk, as a user's data meets faults: a save killed midway, a full disk, a
// link, a folder that takes no new file, something that is no file in a table's place, a file
// that claims more than it holds, and values beyond what their kinds can hold.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <random>
#include <thread>

#include "base/Clock.h"
#include "common/ChildProcess.h"
#include "store/MemData.h"
#include "store/TableFile.h"
#include "store/Tables.h"

namespace fs = std::filesystem;

// The largest single allocation since the last reset, to show that a claim in a file is not
// taken at its word.
namespace {
std::atomic<size_t> largestAllocation{0};
}  // namespace

void* operator new(size_t n) {
    size_t seen = largestAllocation.load(std::memory_order_relaxed);
    while (n > seen && !largestAllocation.compare_exchange_weak(seen, n)) {
    }
    if (void* p = std::malloc(n ? n : 1)) return p;
    throw std::bad_alloc();
}
void* operator new(size_t n, const std::nothrow_t&) noexcept {
    try {
        return ::operator new(n);
    } catch (...) {
        return nullptr;
    }
}
// Not inlined, so that the compiler doesn't take the free for a mismatch with the new.
[[gnu::noinline]] void operator delete(void* p) noexcept { std::free(p); }
[[gnu::noinline]] void operator delete(void* p, size_t) noexcept { std::free(p); }
[[gnu::noinline]] void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }

namespace {

class TableFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "corvelle-files-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir_ = pattern;
        fs::permissions(dir_, fs::perms::all);  // a child without privileges works here too
    }
    void TearDown() override {
        std::error_code ec;
        fs::permissions(dir_, fs::perms::all, ec);
        for (const auto& e : fs::recursive_directory_iterator(dir_, ec))
            if (e.is_directory(ec) && !e.is_symlink(ec)) fs::permissions(e.path(), fs::perms::all, ec);
        fs::remove_all(dir_, ec);
    }

    // An emails table of rows with a text of about a kilobyte each.
    static std::unique_ptr<TdxMemData> Emails(int rows, char letter) {
        auto t = MakeTable("Emails");
        t->Open();
        for (int i = 0; i < rows; ++i) {
            t->Append();
            t->FieldByName("Subject").SetAsString("Mail " + std::to_string(i));
            t->FieldByName("Text").SetAsString(std::string(1000, letter));
            t->Post();
        }
        return t;
    }

    static std::string Bytes(TdxMemData& t) {
        std::string b;
        t.SaveToStream(b);
        return b;
    }

    static std::string Read(const fs::path& p) {
        std::ifstream in(p, std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(in)), {});
    }

    // The names in the folder, sorted.
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& e : fs::directory_iterator(dir_)) names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    std::string Path(const std::string& name) const { return (dir_ / name).string(); }

    fs::path dir_;
};

TEST_F(TableFileTest, ASaveKilledAtAnyMomentLeavesTheOldOrTheNewTableWhole) {
    auto before = Emails(300, 'o');
    auto after = Emails(2000, 'n');  // about 2 MB
    const std::string oldBytes = Bytes(*before), newBytes = Bytes(*after);
    const std::string path = Path("Emails.bin");

    // How long one save takes here; the kills fall before, during and after it.
    ReplaceTableFile(path, oldBytes);
    const auto start = std::chrono::steady_clock::now();
    after->SaveToBinaryFile(path);
    const auto took = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
    const long window = took.count() * 3 / 2 + 1;

    std::mt19937 rng(11);
    int sawOld = 0, sawNew = 0;
    for (int kill = 0; kill < 30; ++kill) {
        ReplaceTableFile(path, oldBytes);
        int ready[2];
        ASSERT_EQ(::pipe(ready), 0);
        const pid_t pid = ::fork();
        if (pid == 0) {
            ::close(ready[0]);
            const char go = 1;
            if (::write(ready[1], &go, 1) != 1) ::_exit(1);
            try {
                after->SaveToBinaryFile(path);
            } catch (...) {
            }
            ::_exit(0);
        }
        ::close(ready[1]);
        char go;
        ASSERT_EQ(::read(ready[0], &go, 1), 1);
        ::close(ready[0]);
        std::this_thread::sleep_for(std::chrono::microseconds(rng() % static_cast<unsigned long>(window)));
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);

        const std::string now = Read(path);
        ASSERT_TRUE(now == oldBytes || now == newBytes) << "kill " << kill << ": " << now.size() << " bytes";
        (now == oldBytes ? sawOld : sawNew)++;
    }
    EXPECT_EQ(sawOld + sawNew, 30);

    // Killed at each step of the save in turn: before each block, the flush and the rename.
    for (int step = 0;; ++step) {
        ReplaceTableFile(path, oldBytes);
        const pid_t pid = ::fork();
        if (pid == 0) {
            static int stepsLeft;
            stepsLeft = step;
            SetTableFileStepHook([](const char*) {
                if (stepsLeft-- == 0) ::raise(SIGKILL);
            });
            after->SaveToBinaryFile(path);
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(pid, &status, 0);
        const std::string now = Read(path);
        ASSERT_TRUE(now == oldBytes || now == newBytes) << "killed at step " << step << ": " << now.size() << " bytes";
        if (WIFEXITED(status)) {
            EXPECT_GT(step, 9);  // eight blocks, the flush and the rename
            EXPECT_EQ(now, newBytes);
            break;
        }
        EXPECT_EQ(now, oldBytes) << step;  // not renamed yet
    }
    // Both are tables that load whole.
    for (const std::string* bytes : {&oldBytes, &newBytes}) {
        ReplaceTableFile(path, *bytes);
        auto loaded = MakeTable("Emails");
        loaded->LoadFromBinaryFile(path);
        EXPECT_TRUE(loaded->LoadedWhole());
        EXPECT_EQ(loaded->RecordCount(), bytes == &oldBytes ? 300 : 2000);
    }

    // What a killed save leaves beside the table is a hidden new file, never a torn table.
    for (const std::string& name : Names())
        EXPECT_TRUE(name == "Emails.bin" || name.rfind(".Emails.bin.", 0) == 0) << name;
}

TEST_F(TableFileTest, AFullDiskKeepsTheOldFileAndLeavesNothingBehind) {
    auto before = Emails(3, 'o');
    auto after = Emails(300, 'n');
    const std::string path = Path("Emails.bin");
    before->SaveToBinaryFile(path);
    const std::string oldBytes = Read(path);

    const std::string answer = InChild([&] {
        LimitFileSize(64 * 1024);
        after->SaveToBinaryFile(path);
        return std::string("saved");
    });
    EXPECT_EQ(answer, "EInOutError: Cannot write file \"" + path + "\". File too large");
    EXPECT_EQ(Read(path), oldBytes);
    EXPECT_EQ(Names(), std::vector<std::string>{"Emails.bin"});

    // corvelle-table write goes the same way: the old file whole, or the new one.
    const std::string tool = std::string(CORVELLE_BINARY_DIR) + "/apps/corvelle-table";
    if (fs::exists(tool)) {
        std::ofstream rows(dir_ / "rows.jsonl");
        for (int i = 0; i < 100; ++i) rows << "{\"Text\":\"" << std::string(1000, 'n') << "\"}\n";
        rows.close();
        const std::string cmd = "sh -c 'ulimit -f 1; trap \"\" XFSZ; exec \"" + tool +
                                "\" write --table Emails \"" + path + "\" < \"" + Path("rows.jsonl") +
                                "\" 2>/dev/null'";
        EXPECT_NE(std::system(cmd.c_str()), 0);
        EXPECT_EQ(Read(path), oldBytes);
    }
}

TEST_F(TableFileTest, ALinkStaysALinkAndTheFileKeepsItsPermissions) {
    fs::create_directory(dir_ / "data");
    const std::string real = Path("data/Tasks.bin");
    auto tasks = MakeTable("Tasks");
    tasks->Open();
    tasks->Append();
    tasks->Post();
    tasks->SaveToBinaryFile(real);
    ::chmod(real.c_str(), 0640);
    fs::create_symlink("data/Tasks.bin", dir_ / "Tasks.bin");

    tasks->Append();
    tasks->Post();
    tasks->SaveToBinaryFile(Path("Tasks.bin"));
    EXPECT_TRUE(fs::is_symlink(dir_ / "Tasks.bin"));
    EXPECT_EQ(Read(real), Bytes(*tasks));
    struct stat st;
    ASSERT_EQ(::stat(real.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0640u);

    // Something that is no file in a table's place is not replaced.
    ::mkfifo(Path("Fifo.bin").c_str(), 0600);
    try {
        tasks->SaveToBinaryFile(Path("Fifo.bin"));
        ADD_FAILURE() << "a FIFO was replaced";
    } catch (const EFCreateError& e) {
        EXPECT_EQ(e.Message(), "Cannot create file \"" + Path("Fifo.bin") + "\". Not a regular file");
    }
    EXPECT_TRUE(fs::is_fifo(dir_ / "Fifo.bin"));
}

TEST_F(TableFileTest, TheRightsOnFileAndFolderDecideAsTheyAlwaysDid) {
    fs::create_directory(dir_ / "locked");
    const std::string path = Path("locked/Tasks.bin");
    std::ofstream(path) << "old";
    ::chmod(path.c_str(), 0666);
    ::chmod((dir_ / "locked").c_str(), 0555);
    std::ofstream(Path("ReadOnly.bin")) << "kept";
    ::chmod(Path("ReadOnly.bin").c_str(), 0444);
    auto tasks = MakeTable("Tasks");
    tasks->Open();
    tasks->Append();
    tasks->Post();

    const std::string answer = InChild([&] {
        if (!WithoutPrivileges()) return std::string("no user to run as");
        std::string seen;
        // A writable file in a folder that takes no new file is written in place.
        tasks->SaveToBinaryFile(path);
        // A new table in that folder can't be made, and a read-only file is not replaced,
        // with the message each always had.
        for (const std::string& p : {Path("locked/Time.bin"), Path("ReadOnly.bin")}) {
            try {
                tasks->SaveToBinaryFile(p);
            } catch (const EFCreateError& e) {
                seen += e.Message() + "\n";
            }
        }
        return seen;
    });
    EXPECT_EQ(answer, "Cannot create file \"" + Path("locked/Time.bin") + "\". Permission denied\n"
                      "Cannot create file \"" + Path("ReadOnly.bin") + "\". Permission denied\n");
    EXPECT_EQ(Read(path), Bytes(*tasks));
    EXPECT_EQ(Read(Path("ReadOnly.bin")), "kept");
}

TEST_F(TableFileTest, AMappedFileReadsAsACopyAndOnceDetachedNoRewriteOfTheFileReachesIt) {
    const std::string path = Path("Emails.bin");
    auto original = Emails(300, 'm');  // several pages, and a last page the file half fills
    original->SaveToBinaryFile(path);
    const std::string bytes = Read(path);

    auto copied = MakeTable("Emails");
    copied->LoadFromBinaryFile(path);
    auto mapped = MakeTable("Emails");
    mapped->LoadFromBinaryFile(path, TableFileRead::Map);
    EXPECT_EQ(Bytes(*mapped), Bytes(*copied));
    EXPECT_TRUE(mapped->FileHoldsRows(path));  // the same stamp as a copy's

    // A save replaces the file by a rename: the mapped rows read on as they were, detached or not.
    original->Edit();
    original->FieldByName("Subject").SetAsString("Changed");
    original->Post();
    original->SaveToBinaryFile(path);
    EXPECT_EQ(Bytes(*mapped), bytes);

    // Detached while a reader goes through the text on another thread, then the file is cut and
    // rewritten in place: the table still holds what it read, and its save writes it back.
    auto again = MakeTable("Emails");
    again->LoadFromBinaryFile(path, TableFileRead::Map);
    const std::string before = Bytes(*again);
    std::atomic<bool> done{false};
    std::thread reader([&] {
        while (!done)
            for (again->First(); !again->Eof(); again->Next())
                ASSERT_EQ(again->FieldByName("Text").AsString(), std::string(1000, 'm'));
    });
    DetachTableFileImages();
    done = true;
    reader.join();
    std::ofstream(path, std::ios::binary | std::ios::trunc) << "short";
    EXPECT_EQ(Bytes(*again), before);
    again->SaveToBinaryFile(path);
    EXPECT_EQ(Read(path), before);
}

TEST_F(TableFileTest, ADetachStoppedAtOnceLeavesTheFileMappedAndTheNextCallDetachesIt) {
    const std::string path = Path("Emails.bin");
    Emails(300, 'm')->SaveToBinaryFile(path);
    auto t = MakeTable("Emails");
    t->LoadFromBinaryFile(path, TableFileRead::Map);

    // Stopped before its first step: the table still reads through to the file, so another
    // program's rewrite in place (same length) shows.
    std::atomic<bool> stop{true};
    DetachTableFileImages(&stop);
    std::string bytes = Read(path);
    std::replace(bytes.begin(), bytes.end(), 'm', 'n');
    std::fstream(path, std::ios::binary | std::ios::in | std::ios::out) << bytes;
    const std::string rewritten = Bytes(*t);
    EXPECT_NE(rewritten.find(std::string(1000, 'n')), std::string::npos);

    // The next call takes it on: cut short afterwards, the file no longer reaches the table.
    DetachTableFileImages();
    std::ofstream(path, std::ios::binary | std::ios::trunc) << "short";
    EXPECT_EQ(Bytes(*t), rewritten);
}

TEST_F(TableFileTest, AMappedTableWrittenInPlaceKeepsItsText) {
    fs::create_directory(dir_ / "locked");
    const std::string path = Path("locked/Emails.bin");
    Emails(50, 'p')->SaveToBinaryFile(path);
    ::chmod(path.c_str(), 0666);
    ::chmod((dir_ / "locked").c_str(), 0555);

    const std::string answer = InChild([&] {
        if (!WithoutPrivileges()) return std::string("no user to run as");
        auto t = MakeTable("Emails");
        t->LoadFromBinaryFile(path, TableFileRead::Map);
        t->First();
        t->Delete();  // every row moves up in the file, which becomes shorter than its map
        t->SaveToBinaryFile(path);
        int whole = 0;
        for (t->First(); !t->Eof(); t->Next()) whole += t->FieldByName("Text").AsString() == std::string(1000, 'p');
        return std::to_string(whole) + " whole texts";
    });
    if (answer == "no user to run as") GTEST_SKIP() << answer;
    EXPECT_EQ(answer, "49 whole texts");
}

TEST_F(TableFileTest, OnlyRegularFilesAreReadAndALinkToOneIsFollowed) {
    auto tasks = MakeTable("Tasks");
    ::mkfifo(Path("Fifo.bin").c_str(), 0600);  // no writer: opening it to read would wait for ever
    fs::create_directory(dir_ / "Folder.bin");
    const int sock = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    const std::string sockPath = Path("Socket.bin");
    if (sockPath.size() < sizeof addr.sun_path) {
        std::copy(sockPath.begin(), sockPath.end(), addr.sun_path);
        ::bind(sock, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
    }

    const std::vector<std::pair<std::string, std::string>> refused = {
        {Path("Fifo.bin"), "Not a regular file"},
        {Path("Folder.bin"), "Is a directory"},
        {"/dev/zero", "Not a regular file"},  // endless zeros
        {Path("Missing.bin"), "No such file or directory"},
    };
    for (const auto& [path, why] : refused) {
        try {
            tasks->LoadFromBinaryFile(path);
            ADD_FAILURE() << path << " was read";
        } catch (const EFOpenError& e) {
            EXPECT_EQ(e.Message(), "Cannot open file \"" + path + "\". " + why);
        }
    }
    if (fs::is_socket(sockPath)) {
        EXPECT_THROW(tasks->LoadFromBinaryFile(sockPath), EFOpenError);
    }
    ::close(sock);

    tasks->Open();
    tasks->Append();
    tasks->Post();
    tasks->SaveToBinaryFile(Path("Tasks.bin"));
    fs::create_symlink("Tasks.bin", dir_ / "Link.bin");
    auto again = MakeTable("Tasks");
    again->LoadFromBinaryFile(Path("Link.bin"));
    EXPECT_EQ(again->RecordCount(), 1);
    EXPECT_TRUE(IsRegularTableFile(Path("Link.bin")));
    EXPECT_FALSE(IsRegularTableFile(Path("Fifo.bin")));
}

TEST_F(TableFileTest, AFileClaimingATwoGigabyteStringLoadsTheRowsBeforeIt) {
    auto tasks = MakeTable("Tasks");
    tasks->Open();
    for (const char* d : {"First", "Second"}) {
        tasks->Append();
        tasks->FieldByName("Description").SetAsString(d);
        tasks->Post();
    }
    std::string bytes = Bytes(*tasks);
    // A third record whose EntryID (the second field) claims 2 GB: the ID, then the claim.
    bytes += '\x01';
    const int32_t id = 3, claim = 0x7FFFFFFF;
    bytes.append(reinterpret_cast<const char*>(&id), 4);
    bytes += '\x01';
    bytes.append(reinterpret_cast<const char*>(&claim), 4);
    bytes += "only a few bytes follow";

    auto loaded = MakeTable("Tasks");
    largestAllocation = 0;
    EXPECT_NO_THROW(loaded->LoadFromStream(bytes));
    EXPECT_LT(largestAllocation.load(), size_t{1} << 20);
    EXPECT_EQ(loaded->RecordCount(), 2);
    EXPECT_FALSE(loaded->LoadedWhole());
    loaded->Last();
    EXPECT_EQ(loaded->FieldByName("Description").AsString(), "Second");

    // The same from a file, and a whole file says so.
    std::ofstream(dir_ / "Tasks.bin", std::ios::binary) << bytes;
    largestAllocation = 0;
    loaded->LoadFromBinaryFile(Path("Tasks.bin"));
    EXPECT_LT(largestAllocation.load(), bytes.size() + (size_t{1} << 20));
    EXPECT_EQ(loaded->RecordCount(), 2);
    loaded->LoadFromStream(Bytes(*tasks));
    EXPECT_TRUE(loaded->LoadedWhole());
}

TEST_F(TableFileTest, ADamagedFileIsKeptAsideUnderADatedNumberedName) {
    SetClock(EncodeDate(2026, 11, 21) + EncodeTime(9, 0, 0, 0));
    const std::string path = Path("Emails.bin");
    std::ofstream(path, std::ios::binary) << "damaged";
    EXPECT_EQ(KeepDamagedTableFile(path, Date()), path + ".damaged-2026-11-21");
    std::ofstream(path, std::ios::binary) << "damaged again";
    EXPECT_EQ(KeepDamagedTableFile(path, Date()), path + ".damaged-2026-11-21-2");
    EXPECT_EQ(Read(path + ".damaged-2026-11-21"), "damaged");
    EXPECT_EQ(Read(path + ".damaged-2026-11-21-2"), "damaged again");
    EXPECT_FALSE(fs::exists(path));

    // A file the user can't read moves all the same; a link moves the file it points to.
    fs::create_directory(dir_ / "data");
    ::chmod((dir_ / "data").c_str(), 0777);
    std::ofstream(Path("data/Notes.bin")) << "unreadable";
    ::chmod(Path("data/Notes.bin").c_str(), 0);
    fs::create_symlink("data/Notes.bin", dir_ / "Notes.bin");
    const std::string answer = InChild([&] {
        if (!WithoutPrivileges()) return std::string("no user to run as");
        return KeepDamagedTableFile(Path("Notes.bin"), Date());
    });
    EXPECT_EQ(answer, Path("data/Notes.bin") + ".damaged-2026-11-21");
    EXPECT_TRUE(fs::is_symlink(dir_ / "Notes.bin"));
    ResetClock();
}

TEST_F(TableFileTest, ValuesBeyondTheirKindsLoadAndFailWhereTheyAreUsed) {
    // An ID at the top of its kind: the row loads, and the next new row has no number to get.
    auto notes = MakeTable("Notes");
    notes->Open();
    notes->Append();
    notes->FieldByName("ID").SetAsInteger(2147483647);
    notes->Post();
    auto loaded = MakeTable("Notes");
    loaded->LoadFromStream(Bytes(*notes));
    ASSERT_EQ(loaded->RecordCount(), 1);
    loaded->Append();
    EXPECT_THROW(loaded->Post(), EDatabaseError);
    EXPECT_EQ(loaded->RowCount(), 1);
    loaded->Cancel();

    // An ID stored wider than its kind, with a number the field can't hold, loads without one
    // and is numbered as a row without an ID is.
    std::string wide = "Ver";
    const double v191 = 1.91;
    wide.append(reinterpret_cast<const char*>(&v191), 8);
    const int32_t one = 1, eight = 8;
    const int16_t autoInc = 12, idLength = 3;
    const int64_t tooBig = int64_t{1} << 40;
    wide.append(reinterpret_cast<const char*>(&one), 4);
    wide.append(reinterpret_cast<const char*>(&eight), 4);
    wide.append(reinterpret_cast<const char*>(&autoInc), 2);
    wide.append(reinterpret_cast<const char*>(&idLength), 2);
    wide.append("ID", 3);
    wide += '\x01';
    wide.append(reinterpret_cast<const char*>(&tooBig), 8);
    loaded->LoadFromStream(wide);
    ASSERT_EQ(loaded->RecordCount(), 1);
    EXPECT_EQ(loaded->FieldByName("ID").AsInteger(), 1);

    // Hours at the top of the currency's range load; a sum beyond it, and an amount made from
    // a huge integer, raise the conversion error.
    auto time = MakeTable("Time");
    time->Open();
    time->Append();
    time->FieldByName("Dec_Time").SetAsCurrency(Currency::FromDouble(900000000000000.0));
    time->Post();
    auto hours = MakeTable("Time");
    hours->LoadFromStream(Bytes(*time));
    hours->First();
    const Currency big = hours->FieldByName("Dec_Time").AsCurrency();
    EXPECT_EQ(big, Currency::FromDouble(900000000000000.0));
    EXPECT_THROW(big + big, EConvertError);
    hours->Edit();
    EXPECT_THROW(hours->FieldByName("Dec_Time").SetValue(Variant(int64_t{1} << 62)), EConvertError);
    hours->Cancel();

    // A date and time far beyond the calendar loads as it is stored; splitting it into a date
    // raises, a view shows its day count, and a save writes it back.
    std::string file = "Ver";
    const double version = 1.91, ms = 1e20;
    file.append(reinterpret_cast<const char*>(&version), 8);
    const int32_t count = 1, size = 8;
    const int16_t code = 11, nameLength = 5;
    file.append(reinterpret_cast<const char*>(&count), 4);
    file.append(reinterpret_cast<const char*>(&size), 4);
    file.append(reinterpret_cast<const char*>(&code), 2);
    file.append(reinterpret_cast<const char*>(&nameLength), 2);
    file.append("Date", 5);
    file += '\x01';
    file.append(reinterpret_cast<const char*>(&ms), 8);
    auto emails = MakeTable("Emails");
    emails->LoadFromStream(file);
    ASSERT_EQ(emails->RecordCount(), 1);
    emails->First();
    const TDateTime far = emails->FieldByName("Date").AsDateTime();
    EXPECT_GT(far, 1e12);
    int y, m, d;
    EXPECT_THROW(DecodeDate(far, y, m, d), EConvertError);
    EXPECT_THROW(DateToStr(far), EConvertError);
    EXPECT_FALSE(emails->FieldByName("Date").DisplayText().empty());
    auto back = MakeTable("Emails");
    back->LoadFromStream(Bytes(*emails));
    back->First();
    EXPECT_DOUBLE_EQ(back->FieldByName("Date").AsDateTime(), far);
}

}  // namespace
