#include "SamplePackets.h"

#include <algorithm>
#include <cstring>

namespace SamplePackets {

PacketBuilder PacketBuilder::appdata(uint32_t id) {
    PacketBuilder builder;
    builder.u8(0x50).u32(id);
    return builder;
}

PacketBuilder PacketBuilder::data(unsigned char kind) {
    PacketBuilder builder;
    builder.u8(0xA0).u8(kind);
    return builder;
}

PacketBuilder& PacketBuilder::u8(unsigned char value) {
    bytes_.push_back(value);
    return *this;
}

PacketBuilder& PacketBuilder::u32(uint32_t value) {
    for (int i = 0; i < 4; ++i) {
        bytes_.push_back(static_cast<unsigned char>(value >> (8 * i)));
    }
    return *this;
}

PacketBuilder& PacketBuilder::f32(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return u32(bits);
}

PacketBuilder& PacketBuilder::floats(const Floats& values) {
    for (float value : values) {
        f32(value);
    }
    return *this;
}

PacketBuilder& PacketBuilder::raw(const Bytes& values) {
    bytes_.insert(bytes_.end(), values.begin(), values.end());
    return *this;
}

PacketBuilder& PacketBuilder::text(const std::string& value) {
    bytes_.insert(bytes_.end(), value.begin(), value.end());
    return *this;
}

Bytes respiration_packet(uint32_t frame_counter, uint32_t state, uint32_t rpm, float distance, float movement,
                         uint32_t signal_quality) {
    return PacketBuilder::appdata(0x2375FE26)
        .u32(frame_counter)
        .u32(state)
        .u32(rpm)
        .f32(distance)
        .f32(movement)
        .u32(signal_quality)
        .bytes();
}

Bytes sleep_packet(uint32_t frame_counter, uint32_t state, float rpm, float distance, uint32_t signal_quality,
                   float movement_slow, float movement_fast) {
    return PacketBuilder::appdata(0x2375A16C)
        .u32(frame_counter)
        .u32(state)
        .f32(rpm)
        .f32(distance)
        .u32(signal_quality)
        .f32(movement_slow)
        .f32(movement_fast)
        .bytes();
}

Bytes presence_single_packet(uint32_t counter, uint32_t state, float distance, unsigned char direction,
                             uint32_t signal_quality) {
    return PacketBuilder::appdata(0x723BFA1E)
        .u32(counter)
        .u32(state)
        .f32(distance)
        .u8(direction)
        .u32(signal_quality)
        .bytes();
}

Bytes presence_movinglist_packet(uint32_t counter, uint32_t state, const Floats& slow, const Floats& fast,
                                 const Floats& distance, const Floats& rcs, const Floats& velocity) {
    return PacketBuilder::appdata(0x723BFA1F)
        .u32(counter)
        .u32(state)
        .u32(static_cast<uint32_t>(slow.size()))
        .u32(static_cast<uint32_t>(distance.size()))
        .floats(slow)
        .floats(fast)
        .floats(distance)
        .floats(rcs)
        .floats(velocity)
        .bytes();
}

Bytes respiration_movinglist_packet(uint32_t counter, const Floats& slow, const Floats& fast) {
    return PacketBuilder::appdata(0x610A3B00)
        .u32(counter)
        .u32(static_cast<uint32_t>(slow.size()))
        .floats(slow)
        .floats(fast)
        .bytes();
}

Bytes respiration_detectionlist_packet(uint32_t counter, const Floats& distance, const Floats& rcs,
                                       const Floats& velocity) {
    return PacketBuilder::appdata(0x610A3B02)
        .u32(counter)
        .u32(static_cast<uint32_t>(distance.size()))
        .floats(distance)
        .floats(rcs)
        .floats(velocity)
        .bytes();
}

Bytes baseband_packet(uint32_t id, uint32_t frame_counter, const Floats& first, const Floats& second) {
    return PacketBuilder::appdata(id)
        .u32(frame_counter)
        .u32(static_cast<uint32_t>(first.size()))
        .f32(0.0514f)
        .f32(23.328e9f)
        .f32(7.29e9f)
        .f32(0.2f)
        .floats(first)
        .floats(second)
        .bytes();
}

namespace {

PacketBuilder pulsedoppler_head(uint32_t id, uint32_t range_idx, uint32_t frequency_count) {
    return PacketBuilder::appdata(id)
        .u32(range_idx + 100) // frame counter
        .u32(3)               // matrix counter
        .u32(range_idx)
        .u32(4) // range bins
        .u32(frequency_count)
        .u32(0) // instance
        .f32(17.0f)
        .f32(8.5f)
        .f32(-8.5f)
        .f32(0.5f)
        .f32(1.25f);
}

} // namespace

Bytes pulsedoppler_float_packet(uint32_t id, uint32_t range_idx, const Floats& values) {
    return pulsedoppler_head(id, range_idx, static_cast<uint32_t>(values.size())).floats(values).bytes();
}

Bytes pulsedoppler_byte_packet(uint32_t id, uint32_t range_idx, const Bytes& values) {
    return pulsedoppler_head(id, range_idx, static_cast<uint32_t>(values.size()))
        .f32(-20.0f)
        .f32(0.25f)
        .raw(values)
        .bytes();
}

Bytes float_data_packet(uint32_t content_id, uint32_t info, const Floats& values) {
    return PacketBuilder::data(0x12)
        .u32(content_id)
        .u32(info)
        .u32(static_cast<uint32_t>(4 * values.size()))
        .floats(values)
        .bytes();
}

Bytes byte_data_packet(uint32_t content_id, uint32_t info, const Bytes& values) {
    return PacketBuilder::data(0x10)
        .u32(content_id)
        .u32(info)
        .u32(static_cast<uint32_t>(values.size()))
        .raw(values)
        .bytes();
}

Bytes string_packet(uint32_t content_id, uint32_t info, const std::string& text) {
    return PacketBuilder::data(0x13)
        .u32(content_id)
        .u32(info)
        .u32(static_cast<uint32_t>(text.size()))
        .text(text)
        .bytes();
}

Bytes performance_status_packet(uint32_t first) {
    PacketBuilder builder = PacketBuilder::data(0x11);
    builder.u32(5).u32(0).u32(92);
    for (uint32_t i = 0; i < 23; ++i) {
        builder.u32(first + i);
    }
    return builder.bytes();
}

Bytes radar_settings_packet(const Bytes& block) {
    return PacketBuilder::data(0x11)
        .u32(0x12)
        .u32(0)
        .u32(static_cast<uint32_t>(block.size()))
        .raw(block)
        .bytes();
}

Bytes sample_packet(Tervik::DataType data_type, uint32_t counter) {
    using namespace Tervik;
    const float step = 0.25f * static_cast<float>(counter % 64);
    switch (data_type) {
    case BasebandApDataType:
        return baseband_packet(13, counter, {1.5f, step}, {-0.5f, 3.0f});
    case BasebandIqDataType:
        return baseband_packet(12, counter, {0.125f, step, 2.0f}, {-1.0f, 0.0f, 4.5f});
    case SleepDataType:
        return sleep_packet(counter, 1, 14.5f, 1.25f + step, 80, 0.5f, 0.75f);
    case RespirationDataType:
        return respiration_packet(counter, 0, 12, 1.5f + step, 0.125f, 3);
    case PerformanceStatusType:
        return performance_status_packet(counter);
    case StringDataType:
        return string_packet(counter, 2, "message " + std::to_string(counter));
    case PulseDopplerFloatDataType:
        return pulsedoppler_float_packet(16, 0, {1.0f, step, -2.5f});
    case PulseDopplerByteDataType:
        return pulsedoppler_byte_packet(17, 0, {1, 2, static_cast<unsigned char>(counter)});
    case NoiseMapFloatDataType:
        return pulsedoppler_float_packet(18, 0, {0.5f, step});
    case NoiseMapByteDataType:
        return pulsedoppler_byte_packet(19, 0, {9, static_cast<unsigned char>(counter)});
    case FloatDataType:
        return float_data_packet(counter, 0, {1.0f, step, 3.75f});
    case ByteDataType:
        return byte_data_packet(counter, 0, {0, 0xFF, static_cast<unsigned char>(counter), ';', '\n'});
    case PresenceSingleDataType:
        return presence_single_packet(counter, 2, 2.5f + step, 200, 90);
    case PresenceMovingListDataType:
        return presence_movinglist_packet(counter, 1, {0.5f, step}, {1.5f, 2.5f}, {3.0f}, {-12.5f}, {0.25f});
    case RespirationMovingListDataType:
        return respiration_movinglist_packet(counter, {0.5f, 0.75f, step}, {1.0f, 2.0f, 3.0f});
    case RespirationDetectionListDataType:
        return respiration_detectionlist_packet(counter, {1.5f, step}, {-3.0f, -4.0f}, {0.0f, 0.125f});
    }
    return Bytes();
}

Bytes played_back_sample_packet(Tervik::DataType data_type, uint32_t counter) {
    Bytes packet = sample_packet(data_type, counter);
    if (data_type == Tervik::RespirationDataType) {
        std::fill(packet.begin() + 5, packet.begin() + 9, 0);
    }
    return packet;
}

} // namespace SamplePackets
