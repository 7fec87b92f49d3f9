#include "SensorStreams.h"

#include "ModulePackets.h"
#include "protocol_identifiers.h"

#include <algorithm>
#include <cmath>
#include <vector>

using emulator_packets::put_float;
using emulator_packets::put_floats;
using emulator_packets::put_u32;

namespace {

// The scene's time: the counters advance once per packet, and packets come a few to a few tens per second.
double scene_time(uint32_t frame_counter) {
    return frame_counter * 0.1;
}

// Walks between 1 and 3 metres, once there and back in about 40 seconds.
float person_distance(uint32_t frame_counter) {
    return static_cast<float>(2.0 + std::sin(scene_time(frame_counter) * 0.16));
}

// Chest movement in millimetres, about 15 breaths a minute.
float breathing(uint32_t frame_counter) {
    return static_cast<float>(3.0 * std::sin(scene_time(frame_counter) * 2.0 * M_PI / 4.0));
}

// A small set of values that change slowly around `base`.
std::vector<float> slow_series(uint32_t frame_counter, size_t count, float base, float spread) {
    std::vector<float> values(count);
    for (size_t i = 0; i < count; ++i)
        values[i] = base + spread * static_cast<float>(std::sin(scene_time(frame_counter) * 0.3 + i));
    return values;
}

Bytes head(uint32_t id, uint32_t frame_counter) {
    Bytes packet{KMS_SPR_APPDATA};
    put_u32(packet, id);
    put_u32(packet, frame_counter);
    return packet;
}

Bytes presence_single(uint32_t frame_counter) {
    emulator_packets::PresenceSingle reading;
    reading.frame_counter = frame_counter;
    reading.presence_state = KMS_VAL_PRESENCE_PRESENCESTATE_PRESENCE;
    reading.distance = person_distance(frame_counter);
    // 1 while coming closer, 0 while going away.
    reading.direction = person_distance(frame_counter + 1) < reading.distance ? 1 : 0;
    reading.signal_quality = 80 + frame_counter % 5;
    return emulator_packets::presence_single(reading);
}

Bytes presence_movinglist(uint32_t frame_counter) {
    const uint32_t movements = 4, detections = 2;
    Bytes packet = head(KMS_ID_PRESENCE_MOVINGLIST, frame_counter);
    put_u32(packet, KMS_VAL_PRESENCE_PRESENCESTATE_PRESENCE);
    put_u32(packet, movements);
    put_u32(packet, detections);
    put_floats(packet, slow_series(frame_counter, movements, 40.0f, 10.0f));
    put_floats(packet, slow_series(frame_counter, movements, 20.0f, 10.0f));
    put_floats(packet, {person_distance(frame_counter), person_distance(frame_counter) + 0.3f});
    put_floats(packet, slow_series(frame_counter, detections, 0.5f, 0.1f));
    put_floats(packet, slow_series(frame_counter, detections, 0.0f, 0.2f));
    return packet;
}

Bytes respiration_legacy(uint32_t frame_counter) {
    Bytes packet = head(KMS_ID_RESP_STATUS, frame_counter);
    put_u32(packet, KMS_VAL_RESP_STATE_BREATHING);
    put_u32(packet, 15);
    put_float(packet, person_distance(frame_counter));
    put_float(packet, breathing(frame_counter));
    put_u32(packet, 90);
    return packet;
}

Bytes sleep(uint32_t frame_counter) {
    Bytes packet = head(KMS_ID_SLEEP_STATUS, frame_counter);
    put_u32(packet, KMS_VAL_RESP_STATE_BREATHING);
    put_float(packet, 15.0f + breathing(frame_counter) / 10.0f);
    put_float(packet, person_distance(frame_counter));
    put_u32(packet, 90);
    put_float(packet, 30.0f + breathing(frame_counter));
    put_float(packet, 10.0f + breathing(frame_counter) / 2.0f);
    return packet;
}

Bytes respiration_movinglist(uint32_t frame_counter) {
    const uint32_t count = 4;
    Bytes packet = head(KMS_ID_RESPIRATION_MOVINGLIST, frame_counter);
    put_u32(packet, count);
    put_floats(packet, slow_series(frame_counter, count, 30.0f, 5.0f));
    put_floats(packet, slow_series(frame_counter, count, 10.0f, 5.0f));
    return packet;
}

Bytes respiration_detectionlist(uint32_t frame_counter) {
    Bytes packet = head(KMS_ID_RESPIRATION_DETECTIONLIST, frame_counter);
    put_u32(packet, 1);
    put_floats(packet, {person_distance(frame_counter), 0.5f, breathing(frame_counter) / 100.0f});
    return packet;
}

// One frame of the radar's baseband: an echo at the person's distance on top of a little noise.
Bytes baseband(uint32_t id, uint32_t frame_counter, uint32_t bins) {
    const float bin_length = 0.0514f, range_offset = 0.18f;
    Bytes packet = head(id, frame_counter);
    put_u32(packet, bins);
    put_floats(packet, {bin_length, 23.328e9f, 7.29e9f, range_offset});
    const float echo_bin = (person_distance(frame_counter) - range_offset) / bin_length;
    std::vector<float> first(bins), second(bins);
    for (uint32_t bin = 0; bin < bins; ++bin) {
        const double distance = bin - echo_bin;
        const double amplitude = 0.001 + 0.05 * std::exp(-distance * distance / 8.0);
        const double phase = std::fmod(bin * 0.7 + breathing(frame_counter) * 0.2, 2.0 * M_PI) - M_PI;
        const bool polar = id == KMS_ID_BASEBAND_AMPLITUDE_PHASE;
        first[bin] = static_cast<float>(polar ? amplitude : amplitude * std::cos(phase));
        second[bin] = static_cast<float>(polar ? phase : amplitude * std::sin(phase));
    }
    put_floats(packet, first);
    put_floats(packet, second);
    return packet;
}

// One range bin's row of a pulse-Doppler (or noise map) matrix; a matrix has 8 range bins, sent in turn.
Bytes pulsedoppler(uint32_t id, uint32_t frame_counter, uint32_t frequencies) {
    const uint32_t range_bins = 8;
    Bytes packet = head(id, frame_counter);
    put_u32(packet, frame_counter / range_bins);
    put_u32(packet, frame_counter % range_bins);
    put_u32(packet, range_bins);
    put_u32(packet, frequencies);
    put_u32(packet, id == KMS_ID_NOISEMAP_FLOAT || id == KMS_ID_NOISEMAP_BYTE ? 1 : 0);
    const float step = 1.0f / static_cast<float>(std::max<uint32_t>(frequencies, 1));
    put_floats(packet, {17.0f, 1.0f, -0.5f, step, 0.4f + 0.5f * (frame_counter % range_bins)});
    const std::vector<float> row = slow_series(frame_counter, frequencies, -60.0f, 8.0f);
    const bool as_bytes = id == KMS_ID_PULSEDOPPLER_BYTE || id == KMS_ID_NOISEMAP_BYTE;
    if (!as_bytes) {
        put_floats(packet, row);
        return packet;
    }
    // Bytes stand for step_start + byte * step_size decibels.
    const float step_start = -80.0f, step_size = 0.25f;
    put_floats(packet, {step_start, step_size});
    for (float value : row)
        packet.push_back(
            static_cast<uint8_t>(std::min(255.0f, std::max(0.0f, (value - step_start) / step_size))));
    return packet;
}

} // namespace

Bytes sensor_stream_packet(StreamKind kind, uint32_t frame_counter, uint32_t bins) {
    bins = std::max<uint32_t>(bins, 1);
    switch (kind) {
    case StreamKind::presence_single:
        return presence_single(frame_counter);
    case StreamKind::presence_movinglist:
        return presence_movinglist(frame_counter);
    case StreamKind::respiration_legacy:
        return respiration_legacy(frame_counter);
    case StreamKind::sleep:
        return sleep(frame_counter);
    case StreamKind::respiration_movinglist:
        return respiration_movinglist(frame_counter);
    case StreamKind::respiration_detectionlist:
        return respiration_detectionlist(frame_counter);
    case StreamKind::baseband_iq:
        return baseband(KMS_ID_BASEBAND_IQ, frame_counter, bins);
    case StreamKind::baseband_ap:
        return baseband(KMS_ID_BASEBAND_AMPLITUDE_PHASE, frame_counter, bins);
    case StreamKind::pulsedoppler_float:
        return pulsedoppler(KMS_ID_PULSEDOPPLER_FLOAT, frame_counter, bins);
    case StreamKind::pulsedoppler_byte:
        return pulsedoppler(KMS_ID_PULSEDOPPLER_BYTE, frame_counter, bins);
    case StreamKind::noisemap_float:
        return pulsedoppler(KMS_ID_NOISEMAP_FLOAT, frame_counter, bins);
    case StreamKind::noisemap_byte:
        return pulsedoppler(KMS_ID_NOISEMAP_BYTE, frame_counter, bins);
    }
    return Bytes();
}
