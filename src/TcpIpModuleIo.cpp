#include "TcpIpModuleIo.h"

#include "Logger.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace {

std::string dotted(in_addr_t address) {
    struct in_addr in;
    in.s_addr = address;
    char text[INET_ADDRSTRLEN] = {0};
    // inet_ntop rather than inet_ntoa: same text, but no static buffer shared between threads.
    inet_ntop(AF_INET, &in, text, sizeof(text));
    return text;
}

ssize_t receive(int fd, void* buffer, size_t length) {
    return recv(fd, buffer, length, 0);
}

} // namespace

TcpIpModuleIo::TcpIpModuleIo(in_addr_t address, in_port_t port, Logger& logger)
    : fd_(socket(AF_INET, SOCK_STREAM, 0)), address_(address), port_(port), logger_(logger),
      reads_(logger, receive) {
    reads_.set_link_name(label(address, port));
}

TcpIpModuleIo::~TcpIpModuleIo() {
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

std::string TcpIpModuleIo::label(in_addr_t address, in_port_t port) {
    return "tcp://" + dotted(address) + ":" + std::to_string(ntohs(port));
}

int TcpIpModuleIo::open(const std::string& /*ignored*/) {
    struct sockaddr_in peer;
    std::memset(&peer, 0, sizeof(peer));
    peer.sin_family = AF_INET;
    peer.sin_port = port_;
    peer.sin_addr.s_addr = address_;
    if (connect(fd_, reinterpret_cast<struct sockaddr*>(&peer), sizeof(peer)) == 0) {
        return 0;
    }
    const int error_number = errno;
    auto line = logger_.serror();
    line << "open" << __LINE__ << " -- error connecting to addr " << label(address_, port_) << "\n"
         << "system error: " << std::strerror(error_number) << "\n";
    line.flush();
    return -1;
}

void TcpIpModuleIo::set_baudrate(unsigned int /*bits_per_second*/) {}

int TcpIpModuleIo::write(const unsigned char* buffer, unsigned int length) {
    // MSG_NOSIGNAL: a peer that has gone must show as a failed send, not as SIGPIPE ending the process.
    return static_cast<int>(send(fd_, buffer, length, MSG_NOSIGNAL));
}

int TcpIpModuleIo::read(unsigned char* buffer, unsigned int length, unsigned int /*timeout*/) {
    return reads_.read(fd_, buffer, length);
}
