#pragma once
// TTablePrefetch: table files parsed ahead of their tables' turn on a second thread, each into a
// private table of the same name and fields that nothing else sees; at its turn a table takes
// the parsed rows (TdxMemData::TakeLoad) and stands as if it had loaded the file itself then.
// A parse is taken only while the file is the one read: the same device, inode, size and times
// on POSIX, the same size and last write time on Windows. Otherwise, or when no file was there,
// the caller loads the file itself. The thread never touches the callers' tables, and it is
// joined when the object goes, so nothing of it outlives the private tables.
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "store/MemData.h"
#include "store/TableFile.h"

class TTablePrefetch {
public:
    struct Request {
        const TdxMemData* table;  // gives the private table its name and fields
        std::string path;
    };

    // Starts parsing the files, in the order given, each read as `how` says. The private tables
    // are made here, on the calling thread. Where no thread can be started, nothing is parsed
    // ahead.
    TTablePrefetch(const std::vector<Request>& requests, TableFileRead how);
    // A parse not begun is dropped; one under way is waited for.
    ~TTablePrefetch();
    TTablePrefetch(const TTablePrefetch&) = delete;
    TTablePrefetch& operator=(const TTablePrefetch&) = delete;

    // At the table's turn, once for each path. True when the table now holds the rows parsed
    // from the file at the path, which is still the file read. When that parse raised, the
    // table is left as that failed load leaves a table, and the same exception is raised here.
    // False when the caller must load the file itself: the path was not asked for or was taken
    // already, no file was there, the file is not the one read, or the table's fields are not
    // the private table's. A parse not yet begun is made here; while the path's parse runs
    // elsewhere, the calling thread parses the next files not yet begun.
    bool Take(TdxMemData& table, const std::string& path);

private:
    enum class State { Pending, Running, Done, Taken };
    struct Job {
        std::string path;
        std::unique_ptr<TdxMemData> table;
        State state = State::Pending;
        bool present = false;     // a file was there when the parse began
        TableFileStamp stamp;     // the file's, when it stood still through the read
        std::exception_ptr error; // what the load raised
        bool touched = false;     // the load had begun on the table when it raised
    };

    void Work();
    void Run(Job& job) const;
    Job* NextPending();  // under the lock

    std::vector<Job> jobs_;
    TableFileRead how_;
    std::mutex mutex_;
    std::condition_variable done_;
    bool stop_ = false;
    std::thread thread_;
};

// The stamp that tells one state of the file at the path from another (see TTablePrefetch);
// invalid when the path names no regular file.
TableFileStamp PrefetchStampOf(const std::string& path);

// For tests: called on the taking thread when the parse of the path is done, before its file is
// compared with the one read, so that a test can replace the file there. Nothing is called when
// no hook is set, as in the running system.
using TablePrefetchHook = void (*)(const std::string& path);
void SetTablePrefetchHook(TablePrefetchHook hook);
