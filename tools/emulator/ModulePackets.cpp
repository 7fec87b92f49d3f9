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

void put_floats(Bytes& packet, const std::vector<float>& values) {
    for (float value : values)
        put_float(packet, value);
}

float get_float(const Bytes& packet, size_t offset) {
    const uint32_t bits = get_u32(packet, offset);
    float value = 0.0f;
    std::memcpy(&value, &bits, sizeof value);
    return value;
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

Bytes reply(uint8_t data_type, uint32_t content_id, uint32_t info, const Bytes& data) {
    Bytes packet{KMS_SPR_REPLY, data_type};
    put_u32(packet, content_id);
    put_u32(packet, info);
    put_u32(packet, static_cast<uint32_t>(data.size()));
    packet.insert(packet.end(), data.begin(), data.end());
    packet.push_back(0);
    return packet;
}

Bytes reply_words(uint32_t content_id, const std::vector<uint32_t>& words) {
    Bytes data;
    for (uint32_t word : words)
        put_u32(data, word);
    return reply(KMS_SPRD_INT, content_id, 0, data);
}

Bytes reply_floats(uint32_t content_id, uint32_t info, const std::vector<float>& values) {
    Bytes data;
    put_floats(data, values);
    return reply(KMS_SPRD_FLOAT, content_id, info, data);
}

Bytes system_status(uint32_t status) {
    Bytes packet{KMS_SPR_SYSTEM};
    put_u32(packet, status);
    return packet;
}

namespace {

Bytes data_message(uint8_t data_type, uint32_t content_id, uint32_t info, const Bytes& data) {
    Bytes packet{KMS_SPR_DATA, data_type};
    put_u32(packet, content_id);
    put_u32(packet, info);
    put_u32(packet, static_cast<uint32_t>(data.size()));
    packet.insert(packet.end(), data.begin(), data.end());
    return packet;
}

} // namespace

Bytes data_string(uint32_t content_id, uint32_t info, const std::string& text) {
    return data_message(KMS_SPRD_STRING, content_id, info, Bytes(text.begin(), text.end()));
}

Bytes data_byte(uint32_t content_id, uint32_t info, const Bytes& data) {
    return data_message(KMS_SPRD_BYTE, content_id, info, data);
}

Bytes data_float(uint32_t content_id, uint32_t info, const std::vector<float>& values) {
    Bytes data;
    put_floats(data, values);
    return data_message(KMS_SPRD_FLOAT, content_id, info, data);
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
