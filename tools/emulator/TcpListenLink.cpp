#include "TcpListenLink.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace {

std::runtime_error system_failure(const std::string& what) {
    return std::runtime_error(what + ": " + std::strerror(errno));
}

} // namespace

TcpListenLink::TcpListenLink(uint16_t port) {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (listener_ < 0)
        throw system_failure("socket");
    int on = 1;
    setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    socklen_t length = sizeof address;
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(listener_, 4) != 0 ||
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        std::runtime_error failure = system_failure("listen on 127.0.0.1:" + std::to_string(port));
        ::close(listener_);
        throw failure;
    }
    port_ = ntohs(address.sin_port);
}

TcpListenLink::~TcpListenLink() {
    close_connection();
    ::close(listener_);
}

std::string TcpListenLink::address_line() const {
    return "tcp: 127.0.0.1:" + std::to_string(port_);
}

bool TcpListenLink::accept_peer() {
    if (client_ >= 0)
        return true;
    client_ = accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (client_ < 0)
        return false;
    // A module answers at once; Nagle's wait would add tens of milliseconds to every small reply.
    int on = 1;
    setsockopt(client_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return true;
}

void TcpListenLink::close_connection() {
    if (client_ >= 0)
        ::close(client_);
    client_ = -1;
}

ssize_t TcpListenLink::read(unsigned char* buffer, size_t length) {
    return recv(client_, buffer, length, 0);
}

ssize_t TcpListenLink::write(const unsigned char* buffer, size_t length) {
    // A client that has gone would otherwise kill the whole process with SIGPIPE.
    return send(client_, buffer, length, MSG_NOSIGNAL);
}
