#include "ModulePackets.h"

#include "protocol_identifiers.h"

#include <cstring>

namespace emulator_packets {

void put_u32(Bytes& packet, uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8)
        packet.push_back(static_cast<uint8_t>(value >> shift));
}

void put_float(Bytes& packet, float value) {
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    put_u32(packet, bits);
}

uint32_t get_u32(const Bytes& packet, size_t offset) {
    if (packet.size() < offset + 4)
        return 0;
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i)
        value = (value << 8) | packet[offset + i];
    return value;
}

Bytes pong(uint32_t value) {
    Bytes packet{KMS_SPR_PONG};
    put_u32(packet, value);
    return packet;
}

Bytes ack() {
    return Bytes{KMS_SPR_ACK};
}

Bytes error(uint32_t code) {
    Bytes packet{KMS_SPR_ERROR};
    put_u32(packet, code);
    return packet;
}

Bytes presence_single(const PresenceSingle& reading) {
    Bytes packet{KMS_SPR_APPDATA};
    put_u32(packet, KMS_ID_PRESENCE_SINGLE);
    put_u32(packet, reading.frame_counter);
    put_u32(packet, reading.presence_state);
    put_float(packet, reading.distance);
    packet.push_back(reading.direction);
    put_u32(packet, reading.signal_quality);
    return packet;
}

Bytes application_packet(uint32_t id, size_t size) {
    Bytes packet{KMS_SPR_APPDATA};
    put_u32(packet, id);
    // Filler below 0x70: no flag value that needs escaping, and no 7C that could form a no-escape sync word.
    for (size_t i = packet.size(); i < size; ++i)
        packet.push_back(static_cast<uint8_t>(i % 0x70));
    return packet;
}

} // namespace emulator_packets
