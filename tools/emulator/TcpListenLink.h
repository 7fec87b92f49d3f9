// A module behind a TCP bridge: a listening socket on 127.0.0.1 that serves one client at a time. When the
// client leaves, or the emulator drops it, the next client is accepted.
#ifndef DEVICEBRIDGE_TOOLS_TCPLISTENLINK_H
#define DEVICEBRIDGE_TOOLS_TCPLISTENLINK_H

#include "EmulatorLink.h"

#include <cstdint>

class TcpListenLink : public EmulatorLink {
public:
    // Listens on the port, in host order; 0 takes a free port, which port() then tells. Throws
    // std::runtime_error when the port cannot be had.
    explicit TcpListenLink(uint16_t port);
    ~TcpListenLink() override;
    TcpListenLink(const TcpListenLink&) = delete;
    TcpListenLink& operator=(const TcpListenLink&) = delete;

    uint16_t port() const { return port_; }

    std::string address_line() const override;
    int connection_fd() const override { return client_; }
    // While a client is served, others wait in the backlog.
    int listen_fd() const override { return client_ < 0 ? listener_ : -1; }
    bool accept_peer() override;
    void close_connection() override;
    ssize_t read(unsigned char* buffer, size_t length) override;
    ssize_t write(const unsigned char* buffer, size_t length) override;

private:
    int listener_ = -1;
    int client_ = -1;
    uint16_t port_ = 0;
};

#endif
