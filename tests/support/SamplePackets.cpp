#include "SamplePackets.h"

#include <algorithm>
#include <cstring>

namespace SamplePackets {

Word::Word(float value) {
    std::memcpy(&bits, &value, sizeof(bits));
}

Bytes words(std::initializer_list<Word> values) {
    Bytes bytes;
    for (const Word& value : values) {
        for (int i = 0; i < 4; ++i) {
            bytes.push_back(static_cast<unsigned char>(value.bits >> (8 * i)));
        }
    }
    return bytes;
}

Bytes floats(const Floats& values) {
    Bytes bytes;
    for (float value : values) {
        const Bytes word = words({value});
        bytes.insert(bytes.end(), word.begin(), word.end());
    }
    return bytes;
}

namespace {

Bytes join(std::initializer_list<Bytes> parts) {
    Bytes bytes;
    for (const Bytes& part : parts) {
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

uint32_t count(const Floats& values) {
    return static_cast<uint32_t>(values.size());
}

// frame counter, matrix counter, range index, range bins, frequency count, instance, then five floats
Bytes pulsedoppler_head(uint32_t id, uint32_t range_idx, size_t frequency_count) {
    return app(id, {range_idx + 100, 3, range_idx, 4, uint32_t(frequency_count), 0, 17.0f, 8.5f, -8.5f, 0.5f,
                    1.25f});
}

} // namespace

Bytes app(uint32_t id, std::initializer_list<Word> fields, const Bytes& tail) {
    return join({{0x50}, words({id}), words(fields), tail});
}

Bytes data(unsigned char kind, uint32_t content_id, uint32_t info, const Bytes& payload) {
    return join({{0xA0, kind}, words({content_id, info, uint32_t(payload.size())}), payload});
}

Bytes respiration_packet(uint32_t frame_counter, uint32_t state, uint32_t rpm, float distance, float movement,
                         uint32_t signal_quality) {
    return app(RespirationId, {frame_counter, state, rpm, distance, movement, signal_quality});
}

Bytes presence_single_packet(uint32_t counter, uint32_t state, float distance, unsigned char direction,
                             uint32_t signal_quality) {
    return app(PresenceSingleId, {counter, state, distance}, join({{direction}, words({signal_quality})}));
}

Bytes baseband_packet(uint32_t id, uint32_t frame_counter, const Floats& first, const Floats& second) {
    return app(id, {frame_counter, count(first), 0.0514f, 23.328e9f, 7.29e9f, 0.2f},
               join({floats(first), floats(second)}));
}

Bytes pulsedoppler_float_packet(uint32_t id, uint32_t range_idx, const Floats& values) {
    return join({pulsedoppler_head(id, range_idx, values.size()), floats(values)});
}

Bytes pulsedoppler_byte_packet(uint32_t id, uint32_t range_idx, const Bytes& values) {
    return join({pulsedoppler_head(id, range_idx, values.size()), words({-20.0f, 0.25f}), values});
}

Bytes string_packet(uint32_t content_id, uint32_t info, const std::string& text) {
    return data(0x13, content_id, info, Bytes(text.begin(), text.end()));
}

Bytes performance_status_packet(uint32_t first) {
    Bytes counters;
    for (uint32_t i = 0; i < 23; ++i) {
        counters = join({counters, words({first + i})});
    }
    return data(0x11, 5, 0, counters);
}

Bytes radar_settings_block() {
    Bytes block(1072, 0);
    const auto put = [&block](size_t offset, std::initializer_list<Word> values) {
        const Bytes bytes = words(values);
        std::copy(bytes.begin(), bytes.end(), block.begin() + offset);
    };
    put(44, {23.328f});
    put(972, {300, 16, 4, 0, 8191, 2, 1, 0, 0.5f, 1, 17, 0xFFFFFFFFu});
    put(1020 + 4 * 2, {7.29f}); // the carrier frequency of pulse generator 2
    return block;
}

Bytes radar_settings_packet(const Bytes& block) {
    return data(0x50, 3, 0, block);
}

Bytes sample_packet(Tervik::DataType data_type, uint32_t counter) {
    using namespace Tervik;
    const float step = 0.25f * static_cast<float>(counter % 64);
    const unsigned char low = static_cast<unsigned char>(counter);
    switch (data_type) {
    case BasebandApDataType:
        return baseband_packet(13, counter, {1.5f, step}, {-0.5f, 3.0f});
    case BasebandIqDataType:
        return baseband_packet(12, counter, {0.125f, step, 2.0f}, {-1.0f, 0.0f, 4.5f});
    case SleepDataType:
        return app(SleepId, {counter, 1, 14.5f, 1.25f + step, 80, 0.5f, 0.75f});
    case RespirationDataType:
        return respiration_packet(counter, 0, 12, 1.5f + step, 0.125f, 3);
    case PerformanceStatusType:
        return performance_status_packet(counter);
    case StringDataType:
        return string_packet(counter, 2, "message " + std::to_string(counter));
    case PulseDopplerFloatDataType:
        return pulsedoppler_float_packet(16, 0, {1.0f, step, -2.5f});
    case PulseDopplerByteDataType:
        return pulsedoppler_byte_packet(17, 0, {1, 2, low});
    case NoiseMapFloatDataType:
        return pulsedoppler_float_packet(18, 0, {0.5f, step});
    case NoiseMapByteDataType:
        return pulsedoppler_byte_packet(19, 0, {9, low});
    case FloatDataType:
        return data(0x12, counter, 0, floats({1.0f, step, 3.75f}));
    case ByteDataType:
        return data(0x10, counter, 0, {0, 0xFF, low, ';', '\n'});
    case PresenceSingleDataType:
        return presence_single_packet(counter, 2, 2.5f + step, 200, 90);
    case PresenceMovingListDataType:
        return app(PresenceMovingListId, {counter, 1, 2, 1, 0.5f, step, 1.5f, 2.5f, 3.0f, -12.5f, 0.25f});
    case RespirationMovingListDataType:
        return app(RespirationMovingListId, {counter, 3}, floats({0.5f, 0.75f, step, 1.0f, 2.0f, 3.0f}));
    case RespirationDetectionListDataType:
        return app(RespirationDetectionListId, {counter, 2},
                   floats({1.5f, step, -3.0f, -4.0f, 0.0f, 0.125f}));
    }
    return Bytes();
}

} // namespace SamplePackets
