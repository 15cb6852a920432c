#pragma once
// Small services of the operating system that the logger and the module need.
#include <cstdint>
#include <cstdio>
#include <string>

namespace platform {

// The user's temporary folder with its trailing separator ($TMPDIR or /tmp/ on Linux).
std::string TempFolder();
// The current process's ID.
long ProcessId();
// The directory separator of the platform ('/' on Linux, '\\' on Windows).
char PathDelimiter();
// The user's default locale as a Windows locale ID (1033 for United States English), which
// Office's calls take; on Linux, from the process's locale, 1033 when it names none.
int32_t UserDefaultLCID();

// Files named by UTF-8 paths, whatever the folder's name (Windows takes them through its wide
// calls). OpenFile is fopen's; null with errno set when the file can't be opened.
std::FILE* OpenFile(const std::string& path, const char* mode);
bool FileExists(const std::string& path);
// Deletes the file; false when it stays.
bool RemoveFile(const std::string& path);

}  // namespace platform
