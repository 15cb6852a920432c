#include "store/TableFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <chrono>
#include <mutex>
#include <vector>
#endif

#include "base/Exceptions.h"

namespace {

TableFileStepHook stepHook = nullptr;

void Step(const char* step) {
    if (stepHook) stepHook(step);
}

[[noreturn]] void CannotOpen(const std::string& path, const std::string& why) {
    throw EFOpenError("Cannot open file \"" + path + "\". " + why);
}

[[noreturn]] void CannotCreate(const std::string& path, const std::string& why) {
    throw EFCreateError("Cannot create file \"" + path + "\". " + why);
}

}  // namespace

void SetTableFileStepHook(TableFileStepHook hook) { stepHook = hook; }

#ifdef _WIN32

// Windows: paths are UTF-8 and go to the wide calls, so that a folder of any name works. The new
// file is made hidden beside the old one with CreateFileW, written, flushed with
// FlushFileBuffers, and put in the old one's place with ReplaceFileW, which keeps the old file's
// attributes and security (MoveFileExW with MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH
// when there is no old file, or when the replace is refused).

namespace {

std::wstring WidePath(const std::string& utf8) {
    if (utf8.empty()) return {};
    int n = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring w(static_cast<size_t>(n > 0 ? n : 0), L'\0');
    if (n > 0) MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), w.data(), n);
    return w;
}

// The system's text of an error code, as the user's Windows words it.
std::string SystemText(DWORD err) {
    wchar_t* buf = nullptr;
    DWORD n = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                             nullptr, err, 0, reinterpret_cast<wchar_t*>(&buf), 0, nullptr);
    std::string text;
    if (n) {
        int m = WideCharToMultiByte(CP_UTF8, 0, buf, static_cast<int>(n), nullptr, 0, nullptr, nullptr);
        text.resize(static_cast<size_t>(m > 0 ? m : 0));
        if (m > 0) WideCharToMultiByte(CP_UTF8, 0, buf, static_cast<int>(n), text.data(), m, nullptr, nullptr);
    }
    if (buf) LocalFree(buf);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' ' || text.back() == '.'))
        text.pop_back();
    return text.empty() ? "System error " + std::to_string(err) : text;
}

[[noreturn]] void CannotWriteWin(const std::string& path, DWORD err) {
    throw EInOutError("Cannot write file \"" + path + "\". " + SystemText(err));
}

class Handle {
public:
    explicit Handle(HANDLE h) : h_(h) {}
    ~Handle() { Close(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    bool Valid() const { return h_ != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return h_; }
    void Close() {
        if (Valid()) CloseHandle(h_);
        h_ = INVALID_HANDLE_VALUE;
    }

private:
    HANDLE h_;
};

// Writes and flushes; the error code of the first failure, or 0.
DWORD WriteAll(HANDLE h, std::string_view bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        Step("write");
        DWORD chunk = static_cast<DWORD>(std::min<size_t>(bytes.size() - done, 1u << 20));
        DWORD written = 0;
        if (!WriteFile(h, bytes.data() + done, chunk, &written, nullptr)) return GetLastError();
        if (written == 0) return ERROR_WRITE_FAULT;
        done += written;
    }
    Step("flush");
    if (!FlushFileBuffers(h)) return GetLastError();
    return 0;
}

}  // namespace

std::string ReadTableFile(const std::string& path) {
    const std::wstring w = WidePath(path);
    const DWORD attributes = GetFileAttributesW(w.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY))
        CannotOpen(path, "Is a directory");
    Handle f(CreateFileW(w.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!f.Valid()) CannotOpen(path, SystemText(GetLastError()));
    if (GetFileType(f.Get()) != FILE_TYPE_DISK) CannotOpen(path, "Not a regular file");
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(f.Get(), &size)) CannotOpen(path, SystemText(GetLastError()));
    std::string data;
    data.reserve(static_cast<size_t>(size.QuadPart));
    char buf[65536];
    for (;;) {
        DWORD n = 0;
        if (!ReadFile(f.Get(), buf, sizeof buf, &n, nullptr)) CannotOpen(path, SystemText(GetLastError()));
        if (n == 0) break;
        data.append(buf, n);
    }
    return data;
}

bool IsRegularTableFile(const std::string& path) {
    const DWORD attributes = GetFileAttributesW(WidePath(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE));
}

TableFileImage ReadTableFileImage(const std::string& path, TableFileStamp& stamp, TableFileRead) {
    // A mapped file could not be replaced while it is mapped, so files are always copied here.
    stamp = TableFileStamp{};
    std::string bytes = ReadTableFile(path);
    std::unique_ptr<char[]> copy(new char[bytes.size() + 1]);
    std::memcpy(copy.get(), bytes.data(), bytes.size());
    TableFileImage image;
    image.size = bytes.size();
    image.data = std::shared_ptr<const char>(copy.release(), std::default_delete<const char[]>());
    return image;
}

void DetachTableFileImages(const std::atomic<bool>*) {}

TableFileStamp StampOfTableFile(const std::string&) { return TableFileStamp{}; }

bool TableFileReplaceable(const std::string&) { return false; }

void ReplaceTableFile(const std::string& path, const TableFileSource& next) {
    std::string bytes, piece;
    while (next(piece)) {
        bytes += piece;
        piece.clear();
    }
    bytes += piece;
    ReplaceTableFile(path, std::string_view(bytes));
}

void ReplaceTableFile(const std::string& path, std::string_view bytes) {
    const std::wstring target = WidePath(path);
    const DWORD attributes = GetFileAttributesW(target.c_str());
    const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
    if (exists && (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)))
        CannotCreate(path, SystemText(ERROR_ACCESS_DENIED));
    if (exists && (attributes & FILE_ATTRIBUTE_READONLY)) CannotCreate(path, SystemText(ERROR_ACCESS_DENIED));

    const size_t slash = target.find_last_of(L"\\/");
    const std::wstring folder = slash == std::wstring::npos ? std::wstring() : target.substr(0, slash + 1);
    const std::wstring name = slash == std::wstring::npos ? target : target.substr(slash + 1);
    const std::wstring temp = folder + L"." + name + L"." + std::to_wstring(GetCurrentProcessId()) + L"-" +
                              std::to_wstring(GetTickCount64()) + L".new";
    Handle f(CreateFileW(temp.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_HIDDEN, nullptr));
    if (!f.Valid()) {
        const DWORD err = GetLastError();
        // A folder that takes no new file, with an old file that may be written: written in place.
        if (!exists) CannotCreate(path, SystemText(err));
        Handle old(CreateFileW(target.c_str(), GENERIC_WRITE, 0, nullptr, TRUNCATE_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!old.Valid()) CannotCreate(path, SystemText(GetLastError()));
        if (DWORD e = WriteAll(old.Get(), bytes)) CannotWriteWin(path, e);
        return;
    }
    DWORD err = WriteAll(f.Get(), bytes);
    f.Close();
    if (!err) {
        Step("rename");
        bool replaced = exists && ReplaceFileW(target.c_str(), temp.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS,
                                               nullptr, nullptr);
        if (!replaced) {
            if (MoveFileExW(temp.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
                SetFileAttributesW(target.c_str(), exists ? attributes : FILE_ATTRIBUTE_NORMAL);
            } else {
                err = GetLastError();
            }
        }
    }
    if (err) {
        DeleteFileW(temp.c_str());
        CannotWriteWin(path, err);
    }
}

std::string KeepDamagedTableFile(const std::string& path, TDateTime day) {
    const std::string base = path + ".damaged-" + IsoDate(day);
    for (int n = 1; n < 1000; ++n) {
        const std::string candidate = n == 1 ? base : base + "-" + std::to_string(n);
        const std::wstring w = WidePath(candidate);
        if (GetFileAttributesW(w.c_str()) != INVALID_FILE_ATTRIBUTES) continue;
        if (!MoveFileExW(WidePath(path).c_str(), w.c_str(), 0)) CannotCreate(candidate, SystemText(GetLastError()));
        return candidate;
    }
    CannotCreate(base, "File exists");
}

#else

namespace {

std::string ErrorText(int err) { return err ? std::strerror(err) : "Unknown error"; }

[[noreturn]] void CannotWrite(const std::string& path, int err) {
    throw EInOutError("Cannot write file \"" + path + "\". " + ErrorText(err));
}

// Closes a descriptor when it goes, unless it was closed before.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }
    // Closes now; the error of close, or 0.
    int Close() {
        const int fd = fd_;
        fd_ = -1;
        return ::close(fd) == 0 ? 0 : errno;
    }

private:
    int fd_;
};

std::string Folder(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string BaseName(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The path with every symbolic link on its last part followed; the file it ends at need not
// exist. Links in the folders above are left to the system.
std::string FollowLinks(const std::string& path) {
    std::string p = path;
    for (int hops = 0; hops < 40; ++hops) {
        struct stat st;
        if (::lstat(p.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return p;
        std::string target(static_cast<size_t>(st.st_size > 0 ? st.st_size : 255) + 1, '\0');
        const ssize_t n = ::readlink(p.c_str(), target.data(), target.size());
        if (n < 0) return p;
        target.resize(static_cast<size_t>(n));
        p = !target.empty() && target[0] == '/' ? target : Folder(p) + "/" + target;
    }
    CannotCreate(path, ErrorText(ELOOP));
}

// Writes the pieces of the source one after the other; false and the error when a write fails.
bool WriteAllPieces(int fd, const TableFileSource& next, int& err);

bool WriteAll(int fd, std::string_view bytes, int& err) {
    constexpr size_t kChunk = size_t{256} << 10;
    size_t done = 0;
    while (done < bytes.size()) {
        Step("write");
        const size_t n = std::min(kChunk, bytes.size() - done);
        const ssize_t w = ::write(fd, bytes.data() + done, n);
        if (w < 0) {
            if (errno == EINTR) continue;
            err = errno;
            return false;
        }
        if (w == 0) {
            err = ENOSPC;
            return false;
        }
        done += static_cast<size_t>(w);
    }
    return true;
}

bool WriteAllPieces(int fd, const TableFileSource& next, int& err) {
    std::string piece;
    for (bool more = true; more;) {
        piece.clear();
        more = next(piece);
        if (!WriteAll(fd, piece, err)) return false;
    }
    return true;
}

// A new file in the folder, under a name no other file has; -1 and the error when none can be
// made. Made with the mode a new table file gets, so the user's umask holds.
int CreateNewFile(const std::string& folder, const std::string& name, std::string& newPath, int& err) {
    static unsigned counter = 0;
    const auto stamp = static_cast<unsigned long long>(
        std::chrono::steady_clock::now().time_since_epoch().count());
    for (int attempt = 0; attempt < 100; ++attempt) {
        newPath = folder + "/." + name + "." + std::to_string(::getpid()) + "-" +
                  std::to_string(stamp % 1000000) + "-" + std::to_string(++counter) + ".new";
        const int fd = ::open(newPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) return fd;
        if (errno != EEXIST) break;
    }
    err = errno;
    return -1;
}

void SyncFolder(const std::string& folder) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);  // best effort: some file systems refuse it on a folder
    ::close(fd);
}

// The old way, for a writable file in a folder where nothing new can be made.
void WriteInPlace(const std::string& path, const std::string& target, const TableFileSource& next) {
    // Every piece is made first: a failure while making them leaves the old file as it was.
    std::string bytes, piece;
    for (bool more = true; more;) {
        piece.clear();
        more = next(piece);
        bytes += piece;
    }
    // A table may still read its text from this very file.
    DetachTableFileImages();
    Descriptor fd(::open(target.c_str(), O_WRONLY | O_CLOEXEC));
    if (fd.get() < 0) CannotCreate(path, ErrorText(errno));
    int err = 0;
    if (!WriteAll(fd.get(), bytes, err)) CannotWrite(path, err);
    Step("flush");
    if (::ftruncate(fd.get(), static_cast<off_t>(bytes.size())) != 0 || ::fsync(fd.get()) != 0)
        CannotWrite(path, errno);
    if ((err = fd.Close()) != 0) CannotWrite(path, err);
}

TableFileStamp StampOf(const struct stat& st) {
    TableFileStamp s;
    s.valid = true;
    s.device = static_cast<uint64_t>(st.st_dev);
    s.inode = static_cast<uint64_t>(st.st_ino);
    s.size = static_cast<uint64_t>(st.st_size);
    s.modified = static_cast<int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
    s.changed = static_cast<int64_t>(st.st_ctim.tv_sec) * 1000000000 + st.st_ctim.tv_nsec;
    return s;
}

}  // namespace

namespace {

// A file's bytes mapped into memory, private to the process and read-only. Until it is
// detached the pages are the file's; the mapping goes when the last image of it goes.
struct MappedFile {
    char* address = nullptr;
    size_t length = 0;  // whole pages
    size_t done = 0;    // the bytes at the start already the process's own
    bool detached = false;
    ~MappedFile() {
        if (address) ::munmap(address, length);
    }
};

// The mappings made, for DetachTableFileImages; `detaching` is held while one detaches.
std::mutex mappedLock, detaching;
std::vector<std::weak_ptr<MappedFile>> mapped;

// The file's bytes mapped, or none where the file can't be mapped (then it is read instead).
TableFileImage MapFile(int fd, const struct stat& st) {
    TableFileImage image;
    const size_t size = static_cast<size_t>(st.st_size);
    const auto page = static_cast<size_t>(::sysconf(_SC_PAGESIZE));
    auto file = std::make_shared<MappedFile>();
    void* at = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
    if (at == MAP_FAILED) return image;
    file->address = static_cast<char*>(at);
    file->length = (size + page - 1) / page * page;
    {
        std::lock_guard<std::mutex> hold(mappedLock);
        std::erase_if(mapped, [](const std::weak_ptr<MappedFile>& m) { return m.expired(); });
        mapped.push_back(file);
    }
    image.data = std::shared_ptr<const char>(file, file->address);
    image.size = size;
    return image;
}

// Moves the mapping's pages, a few megabytes at a time, to fresh memory of the process's own
// at the same addresses: each step makes the copy elsewhere and then moves it over the original
// in one call, so that a reader on another thread sees the same bytes throughout.
bool Detach(MappedFile& file, const std::atomic<bool>* stop) {
    constexpr size_t kStep = size_t{4} << 20;
    while (file.done < file.length) {
        if (stop && stop->load(std::memory_order_relaxed)) return false;
        const size_t done = file.done;
        const size_t n = std::min(kStep, file.length - done);
        void* fresh = ::mmap(nullptr, n, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (fresh == MAP_FAILED) return false;
        std::memcpy(fresh, file.address + done, n);
        if (::mprotect(fresh, n, PROT_READ) != 0 ||
            ::mremap(fresh, n, n, MREMAP_MAYMOVE | MREMAP_FIXED, file.address + done) == MAP_FAILED) {
            ::munmap(fresh, n);
            return false;
        }
        file.done = done + n;
    }
    file.detached = true;
    return true;
}

}  // namespace

void DetachTableFileImages(const std::atomic<bool>* stop) {
    std::lock_guard<std::mutex> one(detaching);
    std::vector<std::shared_ptr<MappedFile>> live;
    {
        std::lock_guard<std::mutex> hold(mappedLock);
        for (const std::weak_ptr<MappedFile>& m : mapped)
            if (auto file = m.lock(); file && !file->detached) live.push_back(std::move(file));
        mapped.clear();
    }
    for (const auto& file : live)
        if (!Detach(*file, stop)) {
            // Stopped, or out of memory for the copy: taken on again at the next call.
            std::lock_guard<std::mutex> hold(mappedLock);
            mapped.push_back(file);
        }
}

TableFileImage ReadTableFileImage(const std::string& path, TableFileStamp& stamp, TableFileRead how) {
    stamp = TableFileStamp{};
    Descriptor fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (fd.get() < 0) CannotOpen(path, ErrorText(errno));
    struct stat st;
    if (::fstat(fd.get(), &st) != 0) CannotOpen(path, ErrorText(errno));
    if (S_ISDIR(st.st_mode)) CannotOpen(path, ErrorText(EISDIR));
    if (!S_ISREG(st.st_mode)) CannotOpen(path, "Not a regular file");

    if (how == TableFileRead::Map && st.st_size > 0) {
        TableFileImage image = MapFile(fd.get(), st);
        // The stamp is had again after the mapping: a file changed meanwhile is read instead.
        struct stat now;
        if (image.data && ::fstat(fd.get(), &now) == 0 && StampOf(now) == StampOf(st)) {
            stamp = StampOf(st);
            return image;
        }
    }

    // Straight into a buffer of the file's size; a file that grows meanwhile is read on.
    size_t size = 0;
    size_t capacity = static_cast<size_t>(st.st_size > 0 ? st.st_size : 0) + 1;
    std::unique_ptr<char[]> data(new char[capacity]);
    for (;;) {
        if (size == capacity) {
            std::unique_ptr<char[]> bigger(new char[capacity * 2]);
            std::memcpy(bigger.get(), data.get(), size);
            data = std::move(bigger);
            capacity *= 2;
        }
        const ssize_t n = ::read(fd.get(), data.get() + size, capacity - size);
        if (n == 0) break;
        if (n < 0) {
            if (errno == EINTR || errno == EAGAIN) continue;
            CannotOpen(path, ErrorText(errno));
        }
        size += static_cast<size_t>(n);
    }
    if (static_cast<uint64_t>(st.st_size) == size) stamp = StampOf(st);
    TableFileImage image;
    image.size = size;
    image.data = std::shared_ptr<const char>(data.release(), std::default_delete<const char[]>());
    return image;
}

TableFileStamp StampOfTableFile(const std::string& path) {
    struct stat st;
    if (::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return TableFileStamp{};
    return StampOf(st);
}

bool TableFileReplaceable(const std::string& path) {
    std::string target;
    try {
        target = FollowLinks(path);
    } catch (const Exception&) {
        return false;
    }
    struct stat st;
    if (::stat(target.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
    if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) return false;
    const uint64_t size = static_cast<uint64_t>(st.st_size);
    struct rlimit limit;
    if (::getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY && limit.rlim_cur < size)
        return false;
    const std::string folder = Folder(target);
    if (::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        return errno == EACCES || errno == EPERM;  // written in place, at the size it has
    struct statvfs fs;
    if (::statvfs(folder.c_str(), &fs) != 0) return false;
    const uint64_t room = static_cast<uint64_t>(fs.f_bavail) * static_cast<uint64_t>(fs.f_frsize);
    return room >= size + (uint64_t{1} << 20);
}

std::string ReadTableFile(const std::string& path) {
    // Not blocking, so that a FIFO opens at once and is then refused like any other non-file.
    Descriptor fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (fd.get() < 0) CannotOpen(path, ErrorText(errno));
    struct stat st;
    if (::fstat(fd.get(), &st) != 0) CannotOpen(path, ErrorText(errno));
    if (S_ISDIR(st.st_mode)) CannotOpen(path, ErrorText(EISDIR));
    if (!S_ISREG(st.st_mode)) CannotOpen(path, "Not a regular file");

    std::string data;
    if (st.st_size > 0) data.reserve(static_cast<size_t>(st.st_size));
    char buf[65536];
    for (;;) {
        const ssize_t n = ::read(fd.get(), buf, sizeof buf);
        if (n == 0) break;
        if (n < 0) {
            if (errno == EINTR || errno == EAGAIN) continue;
            CannotOpen(path, ErrorText(errno));
        }
        data.append(buf, static_cast<size_t>(n));
    }
    return data;
}

bool IsRegularTableFile(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

void ReplaceTableFile(const std::string& path, std::string_view bytes) {
    bool given = false;
    ReplaceTableFile(path, [&](std::string& piece) {
        if (!given) piece.assign(bytes);
        given = true;
        return false;
    });
}

void ReplaceTableFile(const std::string& path, const TableFileSource& next) {
    const std::string target = FollowLinks(path);
    struct stat old;
    const bool exists = ::stat(target.c_str(), &old) == 0;
    if (exists && S_ISDIR(old.st_mode)) CannotCreate(path, ErrorText(EISDIR));
    if (exists && !S_ISREG(old.st_mode)) CannotCreate(path, "Not a regular file");
    // A file the user may not write stays as it is, although the rename could replace it.
    if (exists && ::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0)
        CannotCreate(path, ErrorText(errno));

    const std::string folder = Folder(target);
    std::string newPath;
    int err = 0;
    Descriptor fd(CreateNewFile(folder, BaseName(target), newPath, err));
    if (fd.get() < 0) {
        // Only a folder that refuses new files sends the save in place: on a full disk the old
        // file stays as it is.
        if (exists && (err == EACCES || err == EPERM)) return WriteInPlace(path, target, next);
        CannotCreate(path, ErrorText(err));
    }

    // From here on a failure removes the new file and leaves the old one as it was.
    try {
        if (exists) {
            // The owner first, since a change of owner may clear the mode's special bits. Only a
            // privileged process may give a file away, and some file systems keep no modes:
            // either way the new file is still whole.
            if (::fchown(fd.get(), old.st_uid, old.st_gid) != 0) errno = 0;
            if (::fchmod(fd.get(), old.st_mode & 07777) != 0) errno = 0;
        }
        if (!WriteAllPieces(fd.get(), next, err)) CannotWrite(path, err);
        Step("flush");
        if (::fsync(fd.get()) != 0) CannotWrite(path, errno);
        if ((err = fd.Close()) != 0) CannotWrite(path, err);
        Step("rename");
        if (::rename(newPath.c_str(), target.c_str()) != 0) CannotWrite(path, errno);
    } catch (...) {
        ::unlink(newPath.c_str());
        throw;
    }
    SyncFolder(folder);
}

std::string KeepDamagedTableFile(const std::string& path, TDateTime day) {
    const std::string target = FollowLinks(path);
    const std::string base = target + ".damaged-" + IsoDate(day);
    for (int n = 1; n < 1000; ++n) {
        const std::string candidate = n == 1 ? base : base + "-" + std::to_string(n);
        // Never over a file of that name, also one that appears meanwhile.
        if (::renameat2(AT_FDCWD, target.c_str(), AT_FDCWD, candidate.c_str(), RENAME_NOREPLACE) == 0) {
            SyncFolder(Folder(target));
            return candidate;
        }
        if (errno == EEXIST) continue;
        if (errno != EINVAL && errno != ENOSYS) CannotCreate(candidate, ErrorText(errno));
        // A file system that can't refuse to replace: look first.
        struct stat st;
        if (::lstat(candidate.c_str(), &st) == 0) continue;
        if (::rename(target.c_str(), candidate.c_str()) != 0) CannotCreate(candidate, ErrorText(errno));
        SyncFolder(Folder(target));
        return candidate;
    }
    CannotCreate(base, ErrorText(EEXIST));
}

#endif
