// Packets as a module sends them (after deframing), for every recordable data type, and a builder for odd
// ones.
#ifndef DEVICEBRIDGE_TESTS_SAMPLEPACKETS_H
#define DEVICEBRIDGE_TESTS_SAMPLEPACKETS_H

#include "Bytes.h"
#include "DataTypes.h"

#include <cstdint>
#include <string>
#include <vector>

namespace SamplePackets {

typedef std::vector<float> Floats;

// Little-endian fields appended one after the other.
class PacketBuilder {
public:
    static PacketBuilder appdata(uint32_t id);     // 0x50 and the id
    static PacketBuilder data(unsigned char kind); // 0xA0 and the kind

    PacketBuilder& u8(unsigned char value);
    PacketBuilder& u32(uint32_t value);
    PacketBuilder& f32(float value);
    PacketBuilder& floats(const Floats& values);
    PacketBuilder& raw(const Bytes& values);
    PacketBuilder& text(const std::string& value);
    const Bytes& bytes() const { return bytes_; }

private:
    Bytes bytes_;
};

Bytes respiration_packet(uint32_t frame_counter, uint32_t state, uint32_t rpm, float distance, float movement,
                         uint32_t signal_quality);
Bytes sleep_packet(uint32_t frame_counter, uint32_t state, float rpm, float distance, uint32_t signal_quality,
                   float movement_slow, float movement_fast);
Bytes presence_single_packet(uint32_t counter, uint32_t state, float distance, unsigned char direction,
                             uint32_t signal_quality);
Bytes presence_movinglist_packet(uint32_t counter, uint32_t state, const Floats& slow, const Floats& fast,
                                 const Floats& distance, const Floats& rcs, const Floats& velocity);
Bytes respiration_movinglist_packet(uint32_t counter, const Floats& slow, const Floats& fast);
Bytes respiration_detectionlist_packet(uint32_t counter, const Floats& distance, const Floats& rcs,
                                       const Floats& velocity);
// id 12 (iq) or 13 (amplitude and phase); num_bins is the size of `first`.
Bytes baseband_packet(uint32_t id, uint32_t frame_counter, const Floats& first, const Floats& second);
// id 16 or 18.
Bytes pulsedoppler_float_packet(uint32_t id, uint32_t range_idx, const Floats& values);
// id 17 or 19.
Bytes pulsedoppler_byte_packet(uint32_t id, uint32_t range_idx, const Bytes& values);
Bytes float_data_packet(uint32_t content_id, uint32_t info, const Floats& values);
Bytes byte_data_packet(uint32_t content_id, uint32_t info, const Bytes& values);
Bytes string_packet(uint32_t content_id, uint32_t info, const std::string& text);
// Content id 5 and the 23 counters of the module's performance record, counter i holding `first + i`.
Bytes performance_status_packet(uint32_t first);
// A reply carrying the module's 1072-byte radar settings block.
Bytes radar_settings_packet(const Bytes& block);

// A valid packet of `data_type` whose values survive the trip to disk and back unchanged (floats of few
// digits), varied by `counter`.
Bytes sample_packet(Tervik::DataType data_type, uint32_t counter = 1);

// The packet that playing back `sample_packet(data_type, counter)` gives: the same, except that respiration
// comes back with frame counter 0.
Bytes played_back_sample_packet(Tervik::DataType data_type, uint32_t counter = 1);

} // namespace SamplePackets

#endif
