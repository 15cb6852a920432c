#include "platform/TraceClient.h"

#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>

namespace platform {

TTcpTraceClient::~TTcpTraceClient() { Disconnect(); }

namespace {

// Fills addr from a numeric address; false for anything else.
bool NumericAddress(const std::string& host, int port, sockaddr_storage& addr, socklen_t& len) {
    std::memset(&addr, 0, sizeof addr);
    auto* v4 = reinterpret_cast<sockaddr_in*>(&addr);
    if (inet_pton(AF_INET, host.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        v4->sin_port = htons(static_cast<uint16_t>(port));
        len = sizeof(sockaddr_in);
        return true;
    }
    auto* v6 = reinterpret_cast<sockaddr_in6*>(&addr);
    if (inet_pton(AF_INET6, host.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        v6->sin6_port = htons(static_cast<uint16_t>(port));
        len = sizeof(sockaddr_in6);
        return true;
    }
    return false;
}

}  // namespace

bool TTcpTraceClient::Connect(const std::string& host, int port) noexcept {
    Disconnect();
    if (port <= 0 || port > 65535) return false;
    sockaddr_storage addr{};
    socklen_t len = 0;
    if (!NumericAddress(host, port, addr, len)) return false;

    int fd = ::socket(addr.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) return false;

    int rc = ::connect(fd, reinterpret_cast<sockaddr*>(&addr), len);
    if (rc != 0 && errno != EINPROGRESS && errno != EINTR) {
        ::close(fd);
        return false;
    }
    if (rc != 0) {
        // Wait for the connection to settle, no longer than the timeout in all.
        auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs_);
        for (;;) {
            auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                            deadline - std::chrono::steady_clock::now())
                            .count();
            if (left <= 0) {
                ::close(fd);
                return false;
            }
            pollfd p{fd, POLLOUT, 0};
            int n = ::poll(&p, 1, static_cast<int>(left));
            if (n > 0) break;
            if (n == 0 || errno != EINTR) {
                ::close(fd);
                return false;
            }
        }
        int err = 0;
        socklen_t errLen = sizeof err;
        if (::getsockopt(fd, SOL_SOCKET, SO_ERROR, &err, &errLen) != 0 || err != 0) {
            ::close(fd);
            return false;
        }
    }
    socket_ = fd;
    return true;
}

void TTcpTraceClient::Disconnect() noexcept {
    if (socket_ >= 0) {
        ::close(static_cast<int>(socket_));
        socket_ = -1;
    }
}

}  // namespace platform
