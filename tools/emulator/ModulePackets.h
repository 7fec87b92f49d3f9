// Payloads that a module sends, before they are put in a wire form. Every multi-byte field is little-endian;
// floats are IEEE 754 single precision.
#ifndef DEVICEBRIDGE_TOOLS_MODULEPACKETS_H
#define DEVICEBRIDGE_TOOLS_MODULEPACKETS_H

#include "Bytes.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace emulator_packets {

void put_u32(Bytes& packet, uint32_t value);
void put_float(Bytes& packet, float value);
void put_floats(Bytes& packet, const std::vector<float>& values);
// The little-endian 32-bit value at the offset, or 0 where the packet ends before it.
uint32_t get_u32(const Bytes& packet, size_t offset);
// The float at the offset, or 0 where the packet ends before it.
float get_float(const Bytes& packet, size_t offset);

// 01, the pong value: the module's state, ready, not ready or safe mode.
Bytes pong(uint32_t value);
// 10: the command was carried out.
Bytes ack();
// 20, the error code: the command was refused.
Bytes error(uint32_t code);

// 11, a reply: data type (KMS_SPRD_), content id, info, length, the data and one 0 byte behind it, for the
// host reads the byte after the data as part of the record.
Bytes reply(uint8_t data_type, uint32_t content_id, uint32_t info, const Bytes& data);
Bytes reply_words(uint32_t content_id, const std::vector<uint32_t>& words);
Bytes reply_floats(uint32_t content_id, uint32_t info, const std::vector<float>& values);
// 30, a system status (KMS_SPRS_READY after a module reset).
Bytes system_status(uint32_t status);
// A0, a data message of the module's own: text (traces among them), bytes or floats.
Bytes data_string(uint32_t content_id, uint32_t info, const std::string& text);
Bytes data_byte(uint32_t content_id, uint32_t info, const Bytes& data);
Bytes data_float(uint32_t content_id, uint32_t info, const std::vector<float>& values);

// One reading of the presence sensing application.
struct PresenceSingle {
    uint32_t frame_counter = 0;
    uint32_t presence_state = 0;
    float distance = 0.0f;
    uint8_t direction = 0;
    uint32_t signal_quality = 0;
};
// "P", the presence single id, then the reading: 22 bytes.
Bytes presence_single(const PresenceSingle& reading);

// "P", the id and a body of filler bytes, so that the packet is `size` bytes long (at least the 5 of its
// head): an application packet of a chosen size, for throughput measurements.
Bytes application_packet(uint32_t id, size_t size);

} // namespace emulator_packets

#endif
