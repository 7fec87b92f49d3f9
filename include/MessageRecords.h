// The value records in which module data and command results reach a user.
//
// Every record owns its data: the vectors are copies of what the packet carried, so a record outlives the
// packet it was read from. Vector lengths follow the counts in the packet (num_bins, frequency_count, ...),
// clamped to what the packet really holds.
#ifndef DEVICEBRIDGE_MESSAGERECORDS_H
#define DEVICEBRIDGE_MESSAGERECORDS_H

#include "Bytes.h"

#include <cstdint>
#include <vector>

namespace Tervik {

typedef std::vector<float> FloatVector;

// ---- data messages ----------------------------------------------------------------------------------------

/// A generic float data message (A0 12).
struct DataFloat {
    uint32_t content_id = 0;
    uint32_t info = 0;
    FloatVector data;
};

/// One radar frame of the older generation; frame_counter is the packet's info field.
struct RawNormalizedData {
    uint32_t frame_counter = 0;
    FloatVector data;
};

struct RespirationData {
    uint32_t frame_counter = 0;
    uint32_t sensor_state = 0;
    uint32_t respiration_rate = 0;
    float distance = 0;
    float movement = 0;
    uint32_t signal_quality = 0;
};

struct SleepData {
    uint32_t frame_counter = 0;
    uint32_t sensor_state = 0;
    float respiration_rate = 0;
    float distance = 0;
    uint32_t signal_quality = 0;
    float movement_slow = 0;
    float movement_fast = 0;
};

/// Baseband as amplitude and phase, num_bins of each.
struct BasebandApData {
    uint32_t frame_counter = 0;
    uint32_t num_bins = 0;
    float bin_length = 0;
    float sample_frequency = 0;
    float carrier_frequency = 0;
    float range_offset = 0;
    FloatVector amplitude;
    FloatVector phase;
};

/// Baseband as in-phase and quadrature components, num_bins of each.
struct BasebandIqData {
    uint32_t frame_counter = 0;
    uint32_t num_bins = 0;
    float bin_length = 0;
    float sample_frequency = 0;
    float carrier_frequency = 0;
    float range_offset = 0;
    FloatVector i_data;
    FloatVector q_data;
};

struct PresenceSingleData {
    uint32_t frame_counter = 0;
    uint32_t presence_state = 0;
    float distance = 0;
    uint8_t direction = 0;
    uint32_t signal_quality = 0;
};

/// The movement items have one entry per interval, the detection items one per detection.
struct PresenceMovingListData {
    uint32_t frame_counter = 0;
    uint32_t presence_state = 0;
    FloatVector movement_slow_items;
    FloatVector movement_fast_items;
    FloatVector detection_distance_items;
    FloatVector radar_cross_section_items;
    FloatVector detection_velocity_items;
};

struct RespirationMovingListData {
    uint32_t counter = 0;
    FloatVector movement_slow_items;
    FloatVector movement_fast_items;
};

struct RespirationDetectionListData {
    uint32_t counter = 0;
    uint32_t detection_count = 0;
    FloatVector detection_distance_items;
    FloatVector detection_radar_cross_section_items;
    FloatVector detection_velocity_items;
};

/// One range bin's row of a pulse-Doppler or noise map matrix: frequency_count values.
struct PulseDopplerFloatData {
    uint32_t frame_counter = 0;
    uint32_t matrix_counter = 0;
    uint32_t range_idx = 0;
    uint32_t range_bins = 0;
    uint32_t frequency_count = 0;
    uint32_t pulsedoppler_instance = 0;
    float fps = 0;
    float fps_decimated = 0;
    float frequency_start = 0;
    float frequency_step = 0;
    float range = 0;
    FloatVector data;
};

/// As PulseDopplerFloatData, each value one byte on the scale byte_step_start + n * byte_step_size.
struct PulseDopplerByteData {
    uint32_t frame_counter = 0;
    uint32_t matrix_counter = 0;
    uint32_t range_idx = 0;
    uint32_t range_bins = 0;
    uint32_t frequency_count = 0;
    uint32_t pulsedoppler_instance = 0;
    float byte_step_start = 0;
    float byte_step_size = 0;
    float fps = 0;
    float fps_decimated = 0;
    float frequency_start = 0;
    float frequency_step = 0;
    float range = 0;
    Bytes data;
};

// ---- command results --------------------------------------------------------------------------------------

/// The radar chip's frame area in metres, air assumed as the medium.
struct FrameArea {
    float start = 0;
    float end = 0;
};

/// The detection zone of a profile, in metres.
struct DetectionZone {
    float start = 0;
    float end = 0;
};

/// The range in which a detection zone may be set, and its step.
struct DetectionZoneLimits {
    float start = 0;
    float end = 0;
    float step = 0;
};

/// A listing of the module's file system: entry i of both vectors describes one file.
struct Files {
    std::vector<int32_t> file_type_items;
    std::vector<int32_t> file_identifier_items;
};

} // namespace Tervik

#endif
