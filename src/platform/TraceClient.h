#pragma once
// The trace client over TCP: a non-blocking connect that gives up after a short wait. Host
// names are not looked up (that could block): the host is a numeric IPv4 or IPv6 address.
// Each system has its own side (posix/TraceClient.cpp, and the Windows build's, over Winsock).
#include <cstdint>
#include <string>

#include "platform/Services.h"

namespace platform {

class TTcpTraceClient : public ITraceClient {
public:
    explicit TTcpTraceClient(int timeoutMs = 200) : timeoutMs_(timeoutMs) {}
    ~TTcpTraceClient() override;
    TTcpTraceClient(const TTcpTraceClient&) = delete;
    TTcpTraceClient& operator=(const TTcpTraceClient&) = delete;

    bool Connect(const std::string& host, int port) noexcept override;
    void Disconnect() noexcept override;
    bool Connected() const noexcept override { return socket_ >= 0; }

private:
    int timeoutMs_;
    // The socket's handle, -1 for none: a descriptor, or a Winsock SOCKET.
    std::intptr_t socket_ = -1;
};

}  // namespace platform
