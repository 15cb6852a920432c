#pragma once
// Runs a piece of a test in a child process, for what a test can't do to itself: a limit on the
// size of files, a kill in the middle of a save, the rights of a user without privileges. The
// child's answer comes back as text; an exception of the system comes back as
// "<class name>: <message>".
#include <grp.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "base/Exceptions.h"

// Runs body in a child process and returns what it returned, or the exception it raised.
inline std::string InChild(const std::function<std::string()>& body) {
    int fds[2];
    if (::pipe(fds) != 0) return "pipe failed";
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(fds[0]);
        std::string answer;
        try {
            answer = body();
        } catch (const Exception& e) {
            answer = std::string(e.ClassName()) + ": " + e.Message();
        } catch (const std::exception& e) {
            answer = std::string("std::exception: ") + e.what();
        }
        size_t done = 0;
        while (done < answer.size()) {
            const ssize_t n = ::write(fds[1], answer.data() + done, answer.size() - done);
            if (n <= 0) break;
            done += static_cast<size_t>(n);
        }
        ::_exit(0);
    }
    ::close(fds[1]);
    std::string answer;
    char buf[4096];
    ssize_t n;
    while ((n = ::read(fds[0], buf, sizeof buf)) > 0) answer.append(buf, static_cast<size_t>(n));
    ::close(fds[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (!WIFEXITED(status)) answer += "[child ended by signal " + std::to_string(WTERMSIG(status)) + "]";
    return answer;
}

// In a child: no file may grow beyond the bytes given, as on a full disk. The signal the limit
// sends is ignored, so that the write fails with "File too large" instead.
inline void LimitFileSize(size_t bytes) {
    ::signal(SIGXFSZ, SIG_IGN);
    struct rlimit limit = {bytes, bytes};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

// In a child: goes on as the user "nobody" when run by root, so that the rights of files and
// folders hold for it. False when that fails.
inline bool WithoutPrivileges() {
    if (::geteuid() != 0) return true;
    return ::setgroups(0, nullptr) == 0 && ::setgid(65534) == 0 && ::setuid(65534) == 0;
}
