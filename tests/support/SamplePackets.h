// Packets as a module sends them (after deframing), for every recordable data type, and builders for odd
// ones.
#ifndef DEVICEBRIDGE_TESTS_SAMPLEPACKETS_H
#define DEVICEBRIDGE_TESTS_SAMPLEPACKETS_H

#include "Bytes.h"
#include "DataTypes.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace SamplePackets {

typedef std::vector<float> Floats;

// A little-endian 32-bit field: an integer as it is, a float as its IEEE bits.
struct Word {
    Word(uint32_t value) : bits(value) {}
    Word(int value) : bits(static_cast<uint32_t>(value)) {}
    Word(float value);
    uint32_t bits;
};

enum ApplicationId : uint32_t {
    SleepId = 0x2375A16C,
    RespirationId = 0x2375FE26,
    PresenceSingleId = 0x723BFA1E,
    PresenceMovingListId = 0x723BFA1F,
    RespirationMovingListId = 0x610A3B00,
    RespirationDetectionListId = 0x610A3B02,
};

Bytes words(std::initializer_list<Word> values);
Bytes floats(const Floats& values);
// "P", the id, the words and the tail: an application packet.
Bytes app(uint32_t id, std::initializer_list<Word> fields, const Bytes& tail = Bytes());
// A0, the kind (0x10 bytes, 0x11 performance status, 0x12 floats, 0x13 text), content id, info, the
// payload's length and the payload.
Bytes data(unsigned char kind, uint32_t content_id, uint32_t info, const Bytes& payload);

Bytes respiration_packet(uint32_t frame_counter, uint32_t state, uint32_t rpm, float distance, float movement,
                         uint32_t signal_quality);
Bytes presence_single_packet(uint32_t counter, uint32_t state, float distance, unsigned char direction,
                             uint32_t signal_quality);
// id 12 (iq) or 13 (amplitude and phase); num_bins is the size of `first`.
Bytes baseband_packet(uint32_t id, uint32_t frame_counter, const Floats& first, const Floats& second);
// id 16 or 18 with float values, 17 or 19 with byte values.
Bytes pulsedoppler_float_packet(uint32_t id, uint32_t range_idx, const Floats& values);
Bytes pulsedoppler_byte_packet(uint32_t id, uint32_t range_idx, const Bytes& values);
Bytes string_packet(uint32_t content_id, uint32_t info, const std::string& text);
// Content id 5 and the 23 counters of the module's performance record, counter i holding `first + i`.
Bytes performance_status_packet(uint32_t first);
// The module's 1072-byte radar settings block with a sampling rate of 23.328, pulse generator 2 (7.29),
// FPS 17 and frame stitch -1, and the packet that carries a block.
Bytes radar_settings_block();
Bytes radar_settings_packet(const Bytes& block);

// A valid packet of `data_type` whose values survive the trip to disk and back unchanged (floats of few
// digits), varied by `counter`. Played back, respiration comes with frame counter 0.
Bytes sample_packet(Tervik::DataType data_type, uint32_t counter = 1);

} // namespace SamplePackets

#endif
