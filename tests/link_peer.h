// The module's side of a link for the link tests: a real pseudo-terminal or a loopback TCP socket, with a
// thread that reads framed commands and answers as the test says.
#ifndef DEVICEBRIDGE_TESTS_LINK_PEER_H
#define DEVICEBRIDGE_TESTS_LINK_PEER_H

#include "Bytes.h"
#include "protocol.h"

#include <arpa/inet.h>
#include <atomic>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <mutex>
#include <netinet/in.h>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace link_test {

inline void append_escaped(Bytes& wire, unsigned char byte) {
    if (byte == 0x7D || byte == 0x7E || byte == 0x7F) {
        wire.push_back(0x7F);
    }
    wire.push_back(byte);
}

// The escaped frame of a payload. Built here rather than with the codec's writer, whose checksum is one
// process-wide byte: the peer's thread and the host's would disturb each other's frames.
inline Bytes frame(const Bytes& payload) {
    Bytes wire{0x7D};
    unsigned char checksum = 0x7D;
    for (unsigned char byte : payload) {
        append_escaped(wire, byte);
        checksum ^= byte;
    }
    append_escaped(wire, checksum);
    wire.push_back(0x7E);
    return wire;
}

inline Bytes little_endian(uint32_t value) {
    return Bytes{static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8),
                 static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 24)};
}

inline Bytes concat(Bytes head, const Bytes& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

// The ping command and the module's ready pong.
inline Bytes ping_payload() {
    return Bytes{0x01, 0xAE, 0xEA, 0xAA, 0xEE};
}
inline Bytes pong_payload() {
    return Bytes{0x01, 0xEA, 0xAE, 0xEE, 0xAA};
}

// A presence packet whose frame counter tells packets apart.
inline Bytes data_payload(uint32_t counter) {
    Bytes payload = concat(Bytes{0x50}, little_endian(0x723BFA1E));
    payload = concat(payload, little_endian(counter));
    payload.resize(22, 0);
    return payload;
}

inline uint32_t counter_of(const Bytes& packet) {
    if (packet.size() < 9) {
        return 0xFFFFFFFF;
    }
    return packet[5] | packet[6] << 8 | packet[7] << 16 | static_cast<uint32_t>(packet[8]) << 24;
}

// Answers each framed command that arrives with the raw bytes the responder returns (empty: silence).
class Peer {
public:
    typedef std::function<Bytes(const Bytes& command)> Responder;

    static Peer* pseudo_terminal() { return new Peer(false); }
    static Peer* tcp() { return new Peer(true); }

    ~Peer() {
        stop_ = true;
        if (thread_.joinable()) {
            thread_.join();
        }
        close_connection();
        close_fd(listener_);
        close_fd(slave_);
    }

    // The device path for a pseudo-terminal.
    const std::string& device() const { return device_; }
    // Network byte order, as the TCP factory takes it.
    in_port_t port() const { return port_; }
    in_addr_t address() const { return htonl(INADDR_LOOPBACK); }

    void set_responder(Responder responder) {
        std::lock_guard<std::mutex> lock(mutex_);
        responder_ = std::move(responder);
    }

    // Writes raw bytes to the host now; waits for a TCP host to connect first.
    void write_raw(const Bytes& bytes) {
        std::lock_guard<std::mutex> lock(mutex_);
        write_all(bytes);
    }

    // The peer goes away: the connection ends, and nothing is answered any more.
    // Returns once the connection is closed.
    void vanish() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            gone_ = true;
        }
        while (!closed_) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    // Number of commands received so far.
    int commands() const { return commands_; }

    // Once the host has opened its side: the pseudo-terminal no longer needs our own handle on it.
    void release_slave() { close_fd(slave_); }

private:
    explicit Peer(bool tcp) {
        std::memset(&parser_memory_, 0, sizeof(parser_memory_));
        parser_ =
            createApplicationProtocol(on_packet, on_error, this, &parser_memory_, buffer_, sizeof(buffer_));
        tcp ? listen_tcp() : open_pty();
        thread_ = std::thread([this] { serve(); });
    }

    void open_pty() {
        if (openpty(&connection_, &slave_, nullptr, nullptr, nullptr) != 0) {
            throw std::runtime_error("openpty failed");
        }
        struct termios raw;
        tcgetattr(slave_, &raw);
        cfmakeraw(&raw);
        tcsetattr(slave_, TCSANOW, &raw);
        device_ = ttyname(slave_);
    }

    void listen_tcp() {
        listener_ = socket(AF_INET, SOCK_STREAM, 0);
        struct sockaddr_in address;
        std::memset(&address, 0, sizeof(address));
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        if (bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(listener_, 1) != 0 ||
            getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
            throw std::runtime_error("loopback listener failed");
        }
        port_ = address.sin_port;
    }

    // The descriptors are closed on this thread only, so that no read runs on a closed descriptor.
    void serve() {
        while (!stop_) {
            if (close_if_gone()) {
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
                continue;
            }
            const int fd = connection_fd();
            struct pollfd entry = {fd >= 0 ? fd : listener_, POLLIN, 0};
            if (fd < 0 && listener_ < 0) {
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
                continue;
            }
            if (poll(&entry, 1, 5) <= 0) {
                continue;
            }
            fd >= 0 ? read_commands(fd) : accept_connection();
        }
    }

    bool close_if_gone() {
        std::lock_guard<std::mutex> lock(mutex_);
        if (gone_) {
            close_connection();
            closed_ = true;
        }
        return gone_;
    }

    int connection_fd() {
        std::lock_guard<std::mutex> lock(mutex_);
        return connection_;
    }

    void accept_connection() {
        const int accepted = accept(listener_, nullptr, nullptr);
        std::lock_guard<std::mutex> lock(mutex_);
        connection_ = accepted;
    }

    void read_commands(int fd) {
        unsigned char chunk[4096];
        const ssize_t count = ::read(fd, chunk, sizeof(chunk));
        if (count <= 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            return;
        }
        parseData(parser_, chunk, static_cast<unsigned int>(count));
    }

    static void on_packet(void* user_data, const unsigned char* data, unsigned int length) {
        static_cast<Peer*>(user_data)->answer(Bytes(data, data + length));
    }
    static void on_error(void*, unsigned int) {}

    void answer(const Bytes& command) {
        ++commands_;
        std::lock_guard<std::mutex> lock(mutex_);
        if (responder_ && !gone_) {
            write_all(responder_(command));
        }
    }

    // Called with the mutex held.
    void write_all(const Bytes& bytes) {
        for (int waited = 0; connection_ < 0 && !gone_ && waited < 2000; ++waited) {
            mutex_.unlock();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            mutex_.lock();
        }
        size_t done = 0;
        while (connection_ >= 0 && !gone_ && done < bytes.size()) {
            const ssize_t written = send_some(bytes.data() + done, bytes.size() - done);
            if (written <= 0) {
                return;
            }
            done += written;
        }
    }

    ssize_t send_some(const unsigned char* data, size_t length) {
        return listener_ >= 0 ? send(connection_, data, length, MSG_NOSIGNAL)
                              : ::write(connection_, data, length);
    }

    void close_connection() { close_fd(connection_); }

    static void close_fd(int& fd) {
        if (fd >= 0) {
            ::close(fd);
            fd = -1;
        }
    }

    std::mutex mutex_;
    Responder responder_;
    int connection_ = -1;
    int slave_ = -1;
    int listener_ = -1;
    bool gone_ = false;
    std::string device_;
    in_port_t port_ = 0;
    std::atomic<bool> stop_{false};
    std::atomic<bool> closed_{false};
    std::atomic<int> commands_{0};
    ApplicationProtocol parser_memory_;
    ApplicationProtocol* parser_;
    unsigned char buffer_[20000];
    std::thread thread_;
};

} // namespace link_test

#endif
