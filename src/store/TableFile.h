#pragma once
// The table files on disk. A file is read whole, and only when it is a regular file (a link to
// one is followed); it is replaced whole, so that at every instant the file on disk is the old one
// or the new one; and a damaged file can be kept aside under a dated name. Every failure raises
// EFOpenError (reading), EFCreateError or EInOutError (writing), naming the path the caller gave.
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "base/DateTime.h"

// The bytes of the file. A directory, FIFO, device or socket raises EFOpenError as a file that
// can't be opened does, without waiting on it or reading from it.
std::string ReadTableFile(const std::string& path);

// The bytes of a file, read whole. They stay where they are for as long as any copy of `data`
// lives.
struct TableFileImage {
    std::shared_ptr<const char> data;
    size_t size = 0;
};

// How a file's bytes come into memory: copied into a buffer of the process's own, or mapped from
// the file (Linux; elsewhere they are copied). A mapping costs no copy and no fresh memory, but
// the bytes are the file's until DetachTableFileImages: another program that rewrites the file in
// place meanwhile would change them under the reader. A file replaced by a rename, as a save
// replaces it, leaves them as they were.
enum class TableFileRead { Copy, Map };

// What tells one state of a file from another: the file itself (device and inode), its size,
// and its modification and change times to the nanosecond. Invalid where it can't be had.
struct TableFileStamp {
    bool valid = false;
    uint64_t device = 0, inode = 0, size = 0;
    int64_t modified = 0, changed = 0;
    bool operator==(const TableFileStamp&) const = default;
};

// As ReadTableFile, into a buffer of the file's size, with the stamp of the file that was read.
TableFileImage ReadTableFileImage(const std::string& path, TableFileStamp& stamp,
                                  TableFileRead how = TableFileRead::Copy);

// Makes every image still mapped from its file the process's own memory: the same bytes at the
// same addresses, which no later change to the file can reach. May run on any thread while others
// read the images; a second caller waits for the first. A save that must write a file in place
// calls it first. Once `stop` is set, the call ends at its next step of 4 MB: what it had not
// reached stays mapped, and the next call goes on from there.
void DetachTableFileImages(const std::atomic<bool>* stop = nullptr);

// The stamp of the file the path names now, following links; invalid when there is none (and
// always on Windows, where nothing is compared).
TableFileStamp StampOfTableFile(const std::string& path);

// Whether ReplaceTableFile would succeed with as many bytes as the file holds now, as far as can
// be known without writing: the path names a regular file that the process may write, no limit
// on the size of files stops it, and either the folder takes a new file and has room for it, or
// it refuses new files and the old one is written in place. False on Windows.
bool TableFileReplaceable(const std::string& path);

// Whether the path names a regular file, following links.
bool IsRegularTableFile(const std::string& path);

// Replaces the file with the bytes: they go to a new file in the same folder, which is flushed
// to the disk and then renamed over the old one. A link is followed, so the file it points to is
// replaced and the link stays; the new file takes the old one's permissions (and owner, where
// the process may give it). A failure at any point leaves the old file as it was and removes the
// new one: EFCreateError when no file could be made, EInOutError when writing it failed. When
// the folder refuses a new file but the old file can be written, it is written in place.
// A path that names something other than a regular file, or a file the process may not write,
// raises EFCreateError.
void ReplaceTableFile(const std::string& path, std::string_view bytes);
// The same, with the bytes made piece by piece while they are written: next fills the piece
// (emptied before each call) and returns false after the last. An exception from next fails
// the save as a failed write does. Where the old file is written in place, every piece is made
// before the first byte is written.
using TableFileSource = std::function<bool(std::string& piece)>;
void ReplaceTableFile(const std::string& path, const TableFileSource& next);

// Moves the file aside in its folder as "<name>.damaged-YYYY-MM-DD" of the day given, with
// "-2", "-3" and so on added when that name is taken; a link is followed and the file it points
// to is moved. Needs no right to read the file. Returns the new path; raises EFCreateError when
// the file can't be moved.
std::string KeepDamagedTableFile(const std::string& path, TDateTime day);

// For tests: called at each step of a save that could be cut short: before each block of bytes
// is written ("write"), before the flush to the disk ("flush") and before the rename
// ("rename"). A test stops the process there to see what a save killed at that step leaves.
// Nothing is called when no hook is set, as in the running system.
using TableFileStepHook = void (*)(const char* step);
void SetTableFileStepHook(TableFileStepHook hook);
