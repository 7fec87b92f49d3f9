// Runs the host packet parser on arbitrary packets. The first byte picks the function, the rest is the
// packet. Every callback reads each array of its record to the last element, so that a record pointing past
// its packet is caught by the address sanitizer even where the parser itself stayed inside.
#include "protocol_host_parser.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

volatile uint8_t sink;

void touch(const void* items, uint64_t bytes) {
    if (bytes == 0)
        return;
    std::vector<uint8_t> copy(bytes);
    std::memcpy(copy.data(), items, bytes);
    sink = sink ^ copy.front() ^ copy.back();
}

constexpr uint64_t f = sizeof(float);

HostParser touching_table() {
    HostParser table{};
    init_host_parser(&table);
    table.datafloat = [](FloatData_ r, void*) { touch(r.data, f * r.count); };
    table.reply = [](Reply r, void*) { touch(r.data, r.length); };
    table.baseband_ap = [](BasebandApData r, void*) {
        touch(r.amplitude, f * r.num_bins);
        touch(r.phase, f * r.num_bins);
    };
    table.baseband_iq = [](BasebandIqData r, void*) {
        touch(r.i_data, f * r.num_bins);
        touch(r.q_data, f * r.num_bins);
    };
    table.presence_movinglist = [](PresenceMovingListData r, void*) {
        touch(r.movement_slow_items, f * r.interval_count);
        touch(r.movement_fast_items, f * r.interval_count);
        touch(r.detection_distance_items, f * r.detection_count);
        touch(r.radar_cross_section_items, f * r.detection_count);
        touch(r.detection_velocity_items, f * r.detection_count);
    };
    table.respiration_movinglist = [](RespirationMovingListData r, void*) {
        touch(r.movement_slow_items, f * r.interval_count);
        touch(r.movement_fast_items, f * r.interval_count);
    };
    table.respiration_detectionlist = [](RespirationDetectionListData r, void*) {
        touch(r.detection_distance_items, f * r.detection_count);
        touch(r.detection_radar_cross_section_items, f * r.detection_count);
        touch(r.detection_velocity_items, f * r.detection_count);
    };
    table.pulsedoppler_float = [](PulseDopplerFloatData r, void*) { touch(r.data, f * r.frequency_count); };
    table.pulsedoppler_byte = [](PulseDopplerByteData r, void*) { touch(r.data, r.frequency_count); };
    return table;
}

using ParseFunction = int (*)(const HostParser*, const uint8_t*, uint32_t, void*);

const ParseFunction functions[] = {parse,
                                   parse_error,
                                   parse_ack,
                                   parse_pong,
                                   parse_data,
                                   parse_data_float,
                                   parse_reply,
                                   parse_system_status,
                                   parse_appdata,
                                   parse_respiration_status,
                                   parse_sleep_status,
                                   parse_baseband_ap,
                                   parse_baseband_iq,
                                   parse_presence_single,
                                   parse_presence_movinglist,
                                   parse_respiration_movinglist,
                                   parse_respiration_detectionlist,
                                   parse_pulsedoppler_float,
                                   parse_pulsedoppler_byte};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const HostParser table = touching_table();
    if (size == 0)
        return 0;
    const ParseFunction function = functions[data[0] % (sizeof functions / sizeof functions[0])];
    // An exact-size copy, so that one byte read past the packet is a finding.
    const std::vector<uint8_t> packet(data + 1, data + size);
    function(&table, packet.data(), static_cast<uint32_t>(packet.size()), nullptr);
    return 0;
}
