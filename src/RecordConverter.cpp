#include "RecordConverter.h"

#include <cstring>

namespace Tervik {

FloatVector RecordConverter::floats(const float* data, uint32_t count) {
    FloatVector result;
    if (!data || count == 0)
        return result;
    result.resize(count);
    std::memcpy(result.data(), data, count * sizeof(float));
    return result;
}

DataFloat RecordConverter::convert(const ::FloatData_& parsed) {
    return DataFloat{parsed.content_id, parsed.info, floats(parsed.data, parsed.count)};
}

RespirationData RecordConverter::convert(const ::RespirationData& parsed) {
    return RespirationData{parsed.frame_counter, parsed.sensor_state, parsed.respiration_rate,
                           parsed.distance,      parsed.movement,     parsed.signal_quality};
}

SleepData RecordConverter::convert(const ::SleepData& parsed) {
    return SleepData{parsed.frame_counter,  parsed.sensor_state,  parsed.respiration_rate, parsed.distance,
                     parsed.signal_quality, parsed.movement_slow, parsed.movement_fast};
}

BasebandApData RecordConverter::convert(const ::BasebandApData& parsed) {
    return BasebandApData{parsed.frame_counter,
                          parsed.num_bins,
                          parsed.bin_length,
                          parsed.sample_frequency,
                          parsed.carrier_frequency,
                          parsed.range_offset,
                          floats(parsed.amplitude, parsed.num_bins),
                          floats(parsed.phase, parsed.num_bins)};
}

BasebandIqData RecordConverter::convert(const ::BasebandIqData& parsed) {
    return BasebandIqData{parsed.frame_counter,
                          parsed.num_bins,
                          parsed.bin_length,
                          parsed.sample_frequency,
                          parsed.carrier_frequency,
                          parsed.range_offset,
                          floats(parsed.i_data, parsed.num_bins),
                          floats(parsed.q_data, parsed.num_bins)};
}

PresenceSingleData RecordConverter::convert(const ::PresenceSingleData& parsed) {
    return PresenceSingleData{parsed.frame_counter, parsed.presence_state, parsed.distance, parsed.direction,
                              parsed.signal_quality};
}

PresenceMovingListData RecordConverter::convert(const ::PresenceMovingListData& parsed) {
    return PresenceMovingListData{parsed.frame_counter,
                                  parsed.presence_state,
                                  floats(parsed.movement_slow_items, parsed.interval_count),
                                  floats(parsed.movement_fast_items, parsed.interval_count),
                                  floats(parsed.detection_distance_items, parsed.detection_count),
                                  floats(parsed.radar_cross_section_items, parsed.detection_count),
                                  floats(parsed.detection_velocity_items, parsed.detection_count)};
}

RespirationMovingListData RecordConverter::convert(const ::RespirationMovingListData& parsed) {
    return RespirationMovingListData{parsed.counter,
                                     floats(parsed.movement_slow_items, parsed.interval_count),
                                     floats(parsed.movement_fast_items, parsed.interval_count)};
}

RespirationDetectionListData RecordConverter::convert(const ::RespirationDetectionListData& parsed) {
    return RespirationDetectionListData{
        parsed.counter, parsed.detection_count,
        floats(parsed.detection_distance_items, parsed.detection_count),
        floats(parsed.detection_radar_cross_section_items, parsed.detection_count),
        floats(parsed.detection_velocity_items, parsed.detection_count)};
}

PulseDopplerFloatData RecordConverter::convert(const ::PulseDopplerFloatData& parsed) {
    return PulseDopplerFloatData{parsed.frame_counter,
                                 parsed.matrix_counter,
                                 parsed.range_idx,
                                 parsed.range_bins,
                                 parsed.frequency_count,
                                 parsed.pulsedoppler_instance,
                                 parsed.fps,
                                 parsed.fps_decimated,
                                 parsed.frequency_start,
                                 parsed.frequency_step,
                                 parsed.range,
                                 floats(parsed.data, parsed.frequency_count)};
}

PulseDopplerByteData RecordConverter::convert(const ::PulseDopplerByteData& parsed) {
    PulseDopplerByteData record{parsed.frame_counter,
                                parsed.matrix_counter,
                                parsed.range_idx,
                                parsed.range_bins,
                                parsed.frequency_count,
                                parsed.pulsedoppler_instance,
                                parsed.byte_step_start,
                                parsed.byte_step_size,
                                parsed.fps,
                                parsed.fps_decimated,
                                parsed.frequency_start,
                                parsed.frequency_step,
                                parsed.range,
                                Bytes()};
    if (parsed.data)
        record.data.assign(parsed.data, parsed.data + parsed.frequency_count);
    return record;
}

uint32_t RecordConverter::convert(const ::SystemStatus& parsed) {
    return parsed.status;
}

} // namespace Tervik
