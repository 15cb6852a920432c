#include "store/MemDataPrefetch.h"

#ifdef _WIN32
#include <windows.h>
#endif

#include "platform/System.h"

namespace {

TablePrefetchHook prefetchHook = nullptr;

}  // namespace

void SetTablePrefetchHook(TablePrefetchHook hook) { prefetchHook = hook; }

// ---- a table taking what a load into another left --------------------------------------------

bool TdxMemData::SameFields(const TdxMemData& other) const {
    if (fields_.size() != other.fields_.size()) return false;
    for (size_t i = 0; i < fields_.size(); ++i) {
        const TField& a = *fields_[i];
        const TField& b = *other.fields_[i];
        if (a.FieldName() != b.FieldName() || a.DataType() != b.DataType() || a.Size() != b.Size() ||
            a.FieldKind() != b.FieldKind())
            return false;
    }
    return true;
}

bool TdxMemData::TakeLoad(TdxMemData& from, bool raised) {
    if (&from == this || !SameFields(from)) return false;
    // The file read holds the rows only while they stand as that load left them.
    FileStamp read = from.stamp_;
    read.valid = read.valid && read.version == from.rowsVersion_;
    BeginLoad();
    try {
        Close();
        Open();
        // The rows' text lies in the store's blocks and images, which move with it unchanged.
        rows_ = std::move(from.rows_);
        rowBlock_ = std::move(from.rowBlock_);
        text_ = std::move(from.text_);
        highest_ = from.highest_;
        loadedWhole_ = from.loadedWhole_;
    } catch (...) {
        FinishLoad();
        throw;
    }
    from.text_.Clear();
    from.Close();
    if (raised) {
        FinishLoad();
        return true;
    }
    const bool reordered = FinishLoad();
    compactAt_ = 2 * text_.Bytes() + (size_t{64} << 20);
    stamp_ = FileStamp{};
    if (read.valid && loadedWhole_ && !reordered) {
        stamp_ = read;
        stamp_.version = rowsVersion_;
    }
    return true;
}

#ifdef _WIN32

TableFileStamp PrefetchStampOf(const std::string& path) {
    const int n = MultiByteToWideChar(CP_UTF8, 0, path.data(), static_cast<int>(path.size()), nullptr, 0);
    std::wstring wide(static_cast<size_t>(n > 0 ? n : 0), L'\0');
    if (n > 0) MultiByteToWideChar(CP_UTF8, 0, path.data(), static_cast<int>(path.size()), wide.data(), n);
    WIN32_FILE_ATTRIBUTE_DATA a{};
    if (!GetFileAttributesExW(wide.c_str(), GetFileExInfoStandard, &a)) return TableFileStamp{};
    if (a.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) return TableFileStamp{};
    TableFileStamp s;
    s.valid = true;
    s.size = (static_cast<uint64_t>(a.nFileSizeHigh) << 32) | a.nFileSizeLow;
    s.modified = static_cast<int64_t>((static_cast<uint64_t>(a.ftLastWriteTime.dwHighDateTime) << 32) |
                                      a.ftLastWriteTime.dwLowDateTime);
    return s;
}

#else

TableFileStamp PrefetchStampOf(const std::string& path) { return StampOfTableFile(path); }

#endif

TTablePrefetch::TTablePrefetch(const std::vector<Request>& requests, TableFileRead how) : how_(how) {
    jobs_.reserve(requests.size());
    for (const Request& r : requests) {
        Job job;
        job.path = r.path;
        job.table = std::make_unique<TdxMemData>(r.table->Name());
        for (int i = 0; i < r.table->FieldCount(); ++i) {
            const TField& f = r.table->Fields(i);
            if (!job.table->FindField(f.FieldName())) job.table->AddField(f.FieldName(), f.DataType(), f.Size(), f.FieldKind());
        }
        jobs_.push_back(std::move(job));
    }
    try {
        thread_ = std::thread([this] { Work(); });
    } catch (...) {
        // No second thread: every table loads its file at its turn.
    }
}

TTablePrefetch::~TTablePrefetch() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stop_ = true;
    }
    if (thread_.joinable()) thread_.join();
}

TTablePrefetch::Job* TTablePrefetch::NextPending() {
    if (stop_) return nullptr;
    for (Job& job : jobs_)
        if (job.state == State::Pending) return &job;
    return nullptr;
}

void TTablePrefetch::Work() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (Job* job = NextPending()) {
        job->state = State::Running;
        lock.unlock();
        Run(*job);
        lock.lock();
        job->state = State::Done;
        done_.notify_all();
    }
}

// Only the thread that set the job running reads or writes it until it is done.
void TTablePrefetch::Run(Job& job) const {
    try {
        const TableFileStamp before = PrefetchStampOf(job.path);
        job.present = platform::FileExists(job.path);
        if (!job.present) return;
        const uint64_t version = job.table->RowsVersion();
        try {
            job.table->LoadFromBinaryFile(job.path, how_);
        } catch (...) {
            job.error = std::current_exception();
            job.touched = job.table->RowsVersion() != version;
        }
        const TableFileStamp after = PrefetchStampOf(job.path);
        if (before.valid && before == after) job.stamp = before;
    } catch (...) {
        job.stamp = TableFileStamp{};  // nothing known of the file: its table loads it itself
    }
}

bool TTablePrefetch::Take(TdxMemData& table, const std::string& path) {
    Job* job = nullptr;
    for (Job& j : jobs_)
        if (j.path == path) job = &j;
    if (!job) return false;
    std::unique_ptr<TdxMemData> parsed;
    try {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            if (job->state == State::Taken) return false;
            if (job->state == State::Done) break;
            // Not begun: parsed here and now. Under way elsewhere: what comes next is parsed
            // here meanwhile, or the thread waits.
            Job* next = job->state == State::Pending ? job : NextPending();
            if (next) {
                next->state = State::Running;
                lock.unlock();
                Run(*next);
                lock.lock();
                next->state = State::Done;
                done_.notify_all();
            } else {
                done_.wait(lock);
            }
        }
        job->state = State::Taken;
        parsed = std::move(job->table);
    } catch (...) {
        return false;
    }
    if (!job->present || !job->stamp.valid) return false;
    if (prefetchHook) prefetchHook(path);
    if (!(PrefetchStampOf(path) == job->stamp)) return false;
    if (job->error && !job->touched) std::rethrow_exception(job->error);
    if (!table.TakeLoad(*parsed, job->error != nullptr)) return false;
    if (job->error) std::rethrow_exception(job->error);
    return true;
}
