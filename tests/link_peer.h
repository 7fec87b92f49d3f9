// Packets and a module side for the link tests and the link benchmark.
#ifndef DEVICEBRIDGE_TESTS_LINK_PEER_H
#define DEVICEBRIDGE_TESTS_LINK_PEER_H

#include "Bytes.h"
#include "ModuleEmulator.h"
#include "ModuleWire.h"

#include <arpa/inet.h>
#include <chrono>
#include <cstdint>
#include <netinet/in.h>
#include <string>

namespace link_test {

// The emulator's framing rather than the codec's writer, so that the link's tests don't rest on the unit they
// don't test.
using emulator_wire::frame;

inline Bytes ping_payload() {
    return Bytes{0x01, 0xAE, 0xEA, 0xAA, 0xEE};
}

// A presence packet of 22 bytes whose frame counter tells packets apart.
inline Bytes data_payload(uint32_t counter) {
    Bytes payload{0x50, 0x1E, 0xFA, 0x3B, 0x72};
    for (int shift = 0; shift < 32; shift += 8) {
        payload.push_back(static_cast<unsigned char>(counter >> shift));
    }
    payload.resize(22, 0);
    return payload;
}

inline uint32_t counter_of(const Bytes& packet) {
    if (packet.size() < 9) {
        return 0xFFFFFFFF;
    }
    return packet[5] | packet[6] << 8 | packet[7] << 16 | static_cast<uint32_t>(packet[8]) << 24;
}

// The module side of the link benchmark: the emulator putting bytes on the line exactly as given, as fast as
// the link takes them.
class Peer {
public:
    static Peer* pseudo_terminal() { return new Peer(ModuleEmulator::Transport::pty); }
    static Peer* tcp() { return new Peer(ModuleEmulator::Transport::tcp); }
    const std::string& device() const { return emulator_.device_path(); }
    // Network byte order, as the TCP factory takes it.
    in_port_t port() const { return htons(emulator_.tcp_port()); }
    in_addr_t address() const { return htonl(INADDR_LOOPBACK); }

    // Returns once the bytes have left. Waits for the host to be taken in first: bytes sent before are lost.
    void write_raw(const Bytes& bytes) {
        emulator_.wait_for_connections(1, std::chrono::seconds(10));
        emulator_.send_raw(bytes);
        emulator_.wait_until_sent(std::chrono::seconds(60));
    }

private:
    explicit Peer(ModuleEmulator::Transport transport) : emulator_(transport) {}
    ModuleEmulator emulator_;
};

} // namespace link_test

#endif
