#pragma once
// The few POSIX calls that the shared tests make, for their Windows build (included before
// every source of those tests). The tests point the temporary folder through TMPDIR; Windows
// reads TMP (GetTempPath), so setting or clearing TMPDIR sets or clears TMP as well.
#ifdef _WIN32
#include <direct.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#include <string>

inline int setenv(const char* name, const char* value, int overwrite) {
    if (!overwrite && getenv(name)) return 0;
    if (_putenv_s(name, value) != 0) return -1;
    if (strcmp(name, "TMPDIR") == 0) _putenv_s("TMP", value);
    return 0;
}

inline int unsetenv(const char* name) {
    _putenv_s(name, "");
    if (strcmp(name, "TMPDIR") == 0) _putenv_s("TMP", "");
    return 0;
}

// Replaces the trailing XXXXXX of templ with letters that make a new folder, and makes it.
inline char* mkdtemp(char* templ) {
    size_t n = strlen(templ);
    if (n < 6 || strcmp(templ + n - 6, "XXXXXX") != 0) return nullptr;
    static unsigned counter = 0;
    for (int attempt = 0; attempt < 1000; ++attempt) {
        unsigned v = static_cast<unsigned>(GetTickCount()) * 2654435761u + GetCurrentProcessId() * 40503u +
                     ++counter * 7919u;
        for (int i = 0; i < 6; ++i) {
            templ[n - 6 + i] = "abcdefghijklmnopqrstuvwxyz0123456789"[v % 36];
            v /= 36;
        }
        if (_mkdir(templ) == 0) return templ;
    }
    return nullptr;
}
#endif
