// The trace client over Winsock: a non-blocking connect that waits for the connection no longer
// than its timeout, and answers false, without a word, when nobody listens.
#include "platform/TraceClient.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <cstring>

namespace platform {
namespace {

// Winsock is started once for the process, on the first connect, and left running.
bool WinsockReady() {
    static const bool ready = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    return ready;
}

bool NumericAddress(const std::string& host, int port, sockaddr_storage& addr, int& len) {
    std::memset(&addr, 0, sizeof addr);
    auto* v4 = reinterpret_cast<sockaddr_in*>(&addr);
    if (inet_pton(AF_INET, host.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        v4->sin_port = htons(static_cast<u_short>(port));
        len = sizeof(sockaddr_in);
        return true;
    }
    auto* v6 = reinterpret_cast<sockaddr_in6*>(&addr);
    if (inet_pton(AF_INET6, host.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        v6->sin6_port = htons(static_cast<u_short>(port));
        len = sizeof(sockaddr_in6);
        return true;
    }
    return false;
}

}  // namespace

TTcpTraceClient::~TTcpTraceClient() { Disconnect(); }

bool TTcpTraceClient::Connect(const std::string& host, int port) noexcept {
    Disconnect();
    if (port <= 0 || port > 65535 || !WinsockReady()) return false;
    sockaddr_storage addr{};
    int len = 0;
    if (!NumericAddress(host, port, addr, len)) return false;

    SOCKET s = ::socket(addr.ss_family, SOCK_STREAM, IPPROTO_TCP);
    if (s == INVALID_SOCKET) return false;
    u_long nonBlocking = 1;
    if (ioctlsocket(s, FIONBIO, &nonBlocking) != 0) {
        closesocket(s);
        return false;
    }
    if (::connect(s, reinterpret_cast<sockaddr*>(&addr), len) != 0) {
        if (WSAGetLastError() != WSAEWOULDBLOCK) {
            closesocket(s);
            return false;
        }
        fd_set writable, failed;
        FD_ZERO(&writable);
        FD_ZERO(&failed);
        FD_SET(s, &writable);
        FD_SET(s, &failed);
        timeval wait{timeoutMs_ / 1000, (timeoutMs_ % 1000) * 1000};
        int n = ::select(0, nullptr, &writable, &failed, &wait);
        int err = 0;
        int errLen = sizeof err;
        if (n <= 0 || FD_ISSET(s, &failed) ||
            getsockopt(s, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&err), &errLen) != 0 || err != 0) {
            closesocket(s);
            return false;
        }
    }
    socket_ = static_cast<std::intptr_t>(s);
    return true;
}

void TTcpTraceClient::Disconnect() noexcept {
    if (socket_ >= 0) {
        closesocket(static_cast<SOCKET>(socket_));
        socket_ = -1;
    }
}

}  // namespace platform
