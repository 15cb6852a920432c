#include "store/TableFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#ifndef _WIN32
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <chrono>
#endif

#include "base/Exceptions.h"

namespace {

TableFileStepHook stepHook = nullptr;

void Step(const char* step) {
    if (stepHook) stepHook(step);
}

std::string ErrorText(int err) { return err ? std::strerror(err) : "Unknown error"; }

[[noreturn]] void CannotOpen(const std::string& path, const std::string& why) {
    throw EFOpenError("Cannot open file \"" + path + "\". " + why);
}

[[noreturn]] void CannotCreate(const std::string& path, const std::string& why) {
    throw EFCreateError("Cannot create file \"" + path + "\". " + why);
}

[[noreturn]] void CannotWrite(const std::string& path, int err) {
    throw EInOutError("Cannot write file \"" + path + "\". " + ErrorText(err));
}

}  // namespace

void SetTableFileStepHook(TableFileStepHook hook) { stepHook = hook; }

#ifdef _WIN32

// The Windows build reads and writes through the standard library until its own calls come:
// the new file made beside the old one with CreateFileW, written, flushed with
// FlushFileBuffers, and put in the old one's place with ReplaceFileW (MoveFileExW with
// MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH when there is no old file), which keeps
// the old file's attributes and security, as the rename does here.

std::string ReadTableFile(const std::string& path) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) {
        if (std::filesystem::is_directory(path, ec)) CannotOpen(path, "Is a directory");
        if (std::filesystem::exists(path, ec)) CannotOpen(path, "Not a regular file");
    }
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) CannotOpen(path, ErrorText(errno));
    std::string data;
    char buf[65536];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) data.append(buf, n);
    const bool failed = std::ferror(f) != 0;
    const int err = errno;
    std::fclose(f);
    if (failed) CannotOpen(path, ErrorText(err));
    return data;
}

bool IsRegularTableFile(const std::string& path) {
    std::error_code ec;
    return std::filesystem::is_regular_file(path, ec);
}

TableFileImage ReadTableFileImage(const std::string& path, TableFileStamp& stamp) {
    stamp = TableFileStamp{};
    std::string bytes = ReadTableFile(path);
    TableFileImage image;
    image.size = bytes.size();
    image.data.reset(new char[bytes.size() + 1]);
    std::memcpy(image.data.get(), bytes.data(), bytes.size());
    return image;
}

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
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) CannotCreate(path, ErrorText(errno));
    Step("write");
    const size_t written = bytes.empty() ? 0 : std::fwrite(bytes.data(), 1, bytes.size(), f);
    bool failed = written != bytes.size();
    int err = errno;
    if (std::fclose(f) != 0 && !failed) {
        failed = true;
        err = errno;
    }
    if (failed) CannotWrite(path, err);
}

std::string KeepDamagedTableFile(const std::string& path, TDateTime day) {
    const std::string base = path + ".damaged-" + IsoDate(day);
    std::error_code ec;
    for (int n = 1; n < 1000; ++n) {
        const std::string candidate = n == 1 ? base : base + "-" + std::to_string(n);
        if (std::filesystem::exists(candidate, ec)) continue;
        std::filesystem::rename(path, candidate, ec);
        if (ec) CannotCreate(candidate, ec.message());
        return candidate;
    }
    CannotCreate(base, "File exists");
}

#else

namespace {

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

TableFileImage ReadTableFileImage(const std::string& path, TableFileStamp& stamp) {
    stamp = TableFileStamp{};
    Descriptor fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (fd.get() < 0) CannotOpen(path, ErrorText(errno));
    struct stat st;
    if (::fstat(fd.get(), &st) != 0) CannotOpen(path, ErrorText(errno));
    if (S_ISDIR(st.st_mode)) CannotOpen(path, ErrorText(EISDIR));
    if (!S_ISREG(st.st_mode)) CannotOpen(path, "Not a regular file");

    // Straight into a buffer of the file's size; a file that grows meanwhile is read on.
    TableFileImage image;
    size_t capacity = static_cast<size_t>(st.st_size > 0 ? st.st_size : 0) + 1;
    image.data.reset(new char[capacity]);
    for (;;) {
        if (image.size == capacity) {
            std::unique_ptr<char[]> bigger(new char[capacity * 2]);
            std::memcpy(bigger.get(), image.data.get(), image.size);
            image.data = std::move(bigger);
            capacity *= 2;
        }
        const ssize_t n = ::read(fd.get(), image.data.get() + image.size, capacity - image.size);
        if (n == 0) break;
        if (n < 0) {
            if (errno == EINTR || errno == EAGAIN) continue;
            CannotOpen(path, ErrorText(errno));
        }
        image.size += static_cast<size_t>(n);
    }
    if (static_cast<uint64_t>(st.st_size) == image.size) stamp = StampOf(st);
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
