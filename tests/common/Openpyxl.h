#pragma once
// Reading a workbook with a reader that is not Corvelle's: Python's openpyxl (Debian's
// python3-openpyxl, which the test command installs), through tests/common/read_workbook.py.
#include <cstdio>
#include <filesystem>
#include <string>

#include <nlohmann/json.hpp>

// Runs a shell command; gives its standard output, and its exit status in status.
inline std::string RunCommand(const std::string& command, int& status) {
    std::string out;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) {
        status = -1;
        return out;
    }
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, pipe)) > 0) out.append(buf, n);
    status = pclose(pipe);
    return out;
}

// What openpyxl finds in the workbook (see read_workbook.py); on failure, the reader's words in
// error and an empty object.
inline nlohmann::json ReadWithOpenpyxl(const std::filesystem::path& file, std::string& error) {
    std::string python = std::filesystem::exists("/usr/bin/python3") ? "/usr/bin/python3" : "python3";
    int status = 0;
    std::string out = RunCommand(python + " " CORVELLE_SOURCE_DIR "/tests/common/read_workbook.py '" + file.string() +
                                     "' 2>&1",
                                 status);
    if (status != 0) {
        error = "openpyxl could not read " + file.string() + " (is python3-openpyxl installed?):\n" + out;
        return nlohmann::json::object();
    }
    error.clear();
    return nlohmann::json::parse(out);
}
