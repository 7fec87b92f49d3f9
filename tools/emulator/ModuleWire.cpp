#include "ModuleWire.h"

#include "protocol_identifiers.h"

namespace emulator_wire {
namespace {

bool is_flag(uint8_t byte) {
    return byte == KMS_FLAG_START || byte == KMS_FLAG_END || byte == KMS_FLAG_ESC;
}

// Flag values inside a frame travel behind an escape byte, which the checksum does not cover.
void put_escaped(Bytes& wire, uint8_t byte) {
    if (is_flag(byte))
        wire.push_back(KMS_FLAG_ESC);
    wire.push_back(byte);
}

void put_u32(Bytes& wire, uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8)
        wire.push_back(static_cast<uint8_t>(value >> shift));
}

} // namespace

Bytes frame(const Bytes& payload) {
    Bytes wire;
    wire.reserve(payload.size() + payload.size() / 8 + 4);
    wire.push_back(KMS_FLAG_START);
    uint8_t checksum = KMS_FLAG_START;
    for (uint8_t byte : payload) {
        put_escaped(wire, byte);
        checksum ^= byte;
    }
    put_escaped(wire, checksum);
    wire.push_back(KMS_FLAG_END);
    return wire;
}

Bytes fast_packet(const Bytes& body) {
    Bytes wire{KMS_FLAG_START, DEPRECATED_KMS_SPR_APPDATA_FAST};
    put_u32(wire, static_cast<uint32_t>(body.size()));
    wire.insert(wire.end(), body.begin(), body.end());
    wire.push_back(KMS_FLAG_END);
    return wire;
}

Bytes noescape_packet(const Bytes& body) {
    Bytes wire;
    put_u32(wire, KMS_FLAGSEQUENCE_START_NOESCAPE);
    put_u32(wire, static_cast<uint32_t>(body.size()));
    wire.push_back(0);
    wire.insert(wire.end(), body.begin(), body.end());
    return wire;
}

Bytes encode(WireForm form, const Bytes& payload) {
    switch (form) {
    case WireForm::fast:
        return fast_packet(payload);
    case WireForm::noescape:
        return noescape_packet(payload);
    case WireForm::frame:
        break;
    }
    return frame(payload);
}

void corrupt_checksum(Bytes& frame) {
    // The tail of a frame is [escape] checksum end. A checksum with a flag value is always escaped, and one
    // without never is, so the checksum's value tells whether an escape byte stands before it.
    if (frame.size() < 3 || frame.back() != KMS_FLAG_END)
        return;
    frame.pop_back();
    const uint8_t checksum = frame.back();
    frame.pop_back();
    if (is_flag(checksum) && !frame.empty() && frame.back() == KMS_FLAG_ESC)
        frame.pop_back();
    put_escaped(frame, static_cast<uint8_t>(checksum ^ 0xA5));
    frame.push_back(KMS_FLAG_END);
}

} // namespace emulator_wire
