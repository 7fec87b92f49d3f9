#include "DataPacketToDisk.h"
#include "protocol_identifiers.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <sstream>

namespace Tervik {

namespace {

const uint32_t respiration_state_initializing = 4;

// Little-endian fields of a packet by offset. A field that reaches past the end of the packet reads its
// missing bytes as zero: the checks of the disk formats are no stricter than the module's own, and a short
// packet must never lead to a read outside it.
class PacketView {
public:
    explicit PacketView(const Bytes& bytes) : bytes_(bytes) {}

    size_t size() const { return bytes_.size(); }
    unsigned char u8(size_t offset) const { return offset < bytes_.size() ? bytes_[offset] : 0; }
    uint32_t u32(size_t offset) const {
        uint32_t value = 0;
        for (size_t i = 0; i < 4; ++i) {
            value |= static_cast<uint32_t>(u8(offset + i)) << (8 * i);
        }
        return value;
    }
    float f32(size_t offset) const {
        const uint32_t bits = u32(offset);
        float value;
        std::memcpy(&value, &bits, sizeof(value));
        return value;
    }
    bool is_appdata(uint32_t id, size_t minimum_size) const {
        return size() >= minimum_size && u8(0) == KMS_SPR_APPDATA && u32(1) == id;
    }
    bool is_data(unsigned char kind) const { return size() >= 2 && u8(0) == KMS_SPR_DATA && u8(1) == kind; }
    Bytes from(size_t offset) const {
        return offset < bytes_.size() ? Bytes(bytes_.begin() + offset, bytes_.end()) : Bytes();
    }

private:
    const Bytes& bytes_;
};

DiskRecord accept(Bytes bytes) {
    DiskRecord record;
    record.accepted = true;
    record.bytes = std::move(bytes);
    return record;
}

DiskRecord drop(const std::string& message = std::string()) {
    DiskRecord record;
    record.message = message;
    return record;
}

// One line of text: the time stamp, then each field behind a ";".
class Row {
public:
    explicit Row(DataPacketToDisk::TimePoint now) { text_ << DataPacketToDisk::timestamp(now); }

    Row& u32(uint32_t value) {
        text_ << ';' << value;
        return *this;
    }
    Row& f32(float value) {
        text_ << ';' << value;
        return *this;
    }
    Row& i32(int32_t value) {
        text_ << ';' << value;
        return *this;
    }
    // `count` floats from `offset` on as "[a,b,c]", advancing `offset` past them. Floats that the packet does
    // not hold are left out rather than invented.
    Row& list(const PacketView& packet, uint64_t& offset, uint32_t count) {
        const uint64_t end = std::min<uint64_t>(offset + 4ull * count, packet.size());
        text_ << ";[";
        for (uint64_t at = offset; at + 4 <= end; at += 4) {
            text_ << (at != offset ? "," : "") << packet.f32(at);
        }
        text_ << ']';
        offset = end;
        return *this;
    }
    Row& text(const Bytes& bytes) {
        text_ << ';';
        text_.write(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        return *this;
    }
    DiskRecord record() {
        text_ << '\n';
        const std::string line = text_.str();
        return accept(Bytes(line.begin(), line.end()));
    }

private:
    std::ostringstream text_;
};

DiskRecord binary_payload(const PacketView& packet, bool accepted, size_t payload_offset) {
    return accepted ? accept(packet.from(payload_offset)) : drop();
}

uint32_t pulsedoppler_id(DataType data_type) {
    switch (data_type) {
    case PulseDopplerFloatDataType:
        return KMS_ID_PULSEDOPPLER_FLOAT;
    case PulseDopplerByteDataType:
        return KMS_ID_PULSEDOPPLER_BYTE;
    case NoiseMapFloatDataType:
        return KMS_ID_NOISEMAP_FLOAT;
    case NoiseMapByteDataType:
        return KMS_ID_NOISEMAP_BYTE;
    default:
        return 0;
    }
}

std::string local_time_text(DataPacketToDisk::TimePoint now, const char* pattern) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[64];
    const size_t length = std::strftime(text, sizeof(text), pattern, &local);
    return std::string(text, length);
}

int64_t milliseconds_of_second(DataPacketToDisk::TimePoint now) {
    const int64_t ms =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    return ms < 0 ? ms + 1000 : ms;
}

// The offset of local time from UTC at `seconds`, in seconds.
long utc_offset(std::time_t seconds) {
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    return static_cast<long>(seconds - std::mktime(&utc));
}

struct PerformanceLine {
    const char* label;
    size_t offset;
};

const PerformanceLine performance_lines[] = {
    {"  |- frame stitch: ", 24},
    {"  |- radar sweep: ", 0},
    {"  |- radar capture frame: ", 4},
    {"  |- radar normalized frame: ", 8},
    {"  |- app do primary: ", 12},
    {"  |- app do secondary: ", 16},
    {"  |- overflow radar trigger: ", 32},
    {"  |- overflow primary: ", 36},
    {"  |- overflow output: ", 40},
    {"  |- fps: ", 28},
    {"  |- idle ticks: ", 76},
    {"  |- period system ticks: ", 84},
    {"  |- com TX buffer high watermark: ", 80},
    {"  |- mem sys stack untouched: ", 44},
    {"  |- mem OS heap: ", 48},
    {"  |- mem task radar: ", 52},
    {"  |- mem task app engine primary: ", 56},
    {"  |- mem task app engine secondary: ", 60},
    {"  |- mem task system: ", 64},
    {"  |- mem task uart RX: ", 68},
    {"  |- mem task uart TX: ", 72},
};

const size_t performance_payload_offset = 14;
const uint32_t performance_payload_size = 92;
// The only signed counter of the module's performance record.
const size_t period_system_ticks_offset = 84;

std::string performance_block(const PacketView& packet, DataPacketToDisk::TimePoint now) {
    std::ostringstream text;
    text << "Radar performance status\n";
    text << "  |- timestamp: " << local_time_text(now, "%H:%M:%S") << '.' << milliseconds_of_second(now)
         << '\n';
    for (const PerformanceLine& line : performance_lines) {
        const uint32_t value = packet.u32(performance_payload_offset + line.offset);
        text << line.label;
        if (line.offset == period_system_ticks_offset) {
            text << static_cast<int32_t>(value);
        } else {
            text << value;
        }
        text << '\n';
    }
    return text.str();
}

const char radar_settings_guid_line[] = "27dae9d2-aea8-4321-a635-39fc0c5cef6d\n";
const size_t radar_settings_block_size = 1072;
const size_t carrier_frequency_table_offset = 1020;
const int32_t carrier_frequency_table_size = 13;
const size_t pg_select_offset = 992;

enum SettingForm { IntegerSetting, FloatSetting };

struct RadarSetting {
    const char* key;
    size_t offset;
    SettingForm form;
};

const RadarSetting settings_before_carrier[] = {{"SamplingRate=", 44, FloatSetting}};
const RadarSetting settings_after_carrier[] = {
    {"PulsesPerStep=", 972, IntegerSetting}, {"Iterations=", 976, IntegerSetting},
    {"DACStep=", 980, IntegerSetting},       {"DACMin=", 984, IntegerSetting},
    {"DACMax=", 988, IntegerSetting},        {"PGselect=", pg_select_offset, IntegerSetting},
    {"MClkDiv=", 996, IntegerSetting},       {"StaggeredPRFEnable=", 1000, IntegerSetting},
    {"SampleDelay=", 1004, FloatSetting},    {"DACAuto=", 1008, IntegerSetting},
    {"FPS=", 1012, IntegerSetting},          {"FrameStitch=", 1016, IntegerSetting},
};

template <size_t N>
void write_settings(std::ostream& text, const PacketView& block, const RadarSetting (&settings)[N]) {
    for (const RadarSetting& setting : settings) {
        text << setting.key;
        if (setting.form == FloatSetting) {
            text << block.f32(setting.offset);
        } else {
            text << static_cast<int32_t>(block.u32(setting.offset));
        }
        text << '\n';
    }
}

// The carrier frequency table has one entry per pulse generator; a selector outside it gives 0.
float carrier_frequency(const PacketView& block) {
    const int32_t pg_select = static_cast<int32_t>(block.u32(pg_select_offset));
    if (pg_select < 0 || pg_select >= carrier_frequency_table_size) {
        return 0.0f;
    }
    return block.f32(carrier_frequency_table_offset + 4 * static_cast<size_t>(pg_select));
}

} // namespace

DiskRecord DataPacketToDisk::baseband(const Bytes& packet) {
    const PacketView view(packet);
    const bool accepted =
        view.is_appdata(KMS_ID_BASEBAND_IQ, 5) || view.is_appdata(KMS_ID_BASEBAND_AMPLITUDE_PHASE, 5);
    return binary_payload(view, accepted, 5);
}

DiskRecord DataPacketToDisk::pulsedoppler(DataType data_type, const Bytes& packet, bool& matrix_started) {
    const PacketView view(packet);
    const uint32_t id = pulsedoppler_id(data_type);
    if (id == 0 || !view.is_appdata(id, 17)) {
        return drop();
    }
    const uint32_t range_idx = view.u32(13);
    matrix_started = matrix_started || range_idx == 0;
    return binary_payload(view, matrix_started, 5);
}

DiskRecord DataPacketToDisk::float_data(const Bytes& packet) {
    const PacketView view(packet);
    return binary_payload(view, view.is_data(KMS_SPRD_FLOAT), 2);
}

DiskRecord DataPacketToDisk::byte_data(const Bytes& packet) {
    const PacketView view(packet);
    return binary_payload(view, view.is_data(KMS_SPRD_BYTE), 2);
}

DiskRecord DataPacketToDisk::sleep(const Bytes& packet, TimePoint now) {
    const PacketView view(packet);
    if (view.u32(1) != KMS_ID_SLEEP_STATUS) {
        return drop();
    }
    return Row(now)
        .u32(view.u32(5))
        .u32(view.u32(9))
        .f32(view.f32(13))
        .f32(view.f32(17))
        .u32(view.u32(21))
        .f32(view.f32(25))
        .f32(view.f32(29))
        .record();
}

DiskRecord DataPacketToDisk::respiration(const Bytes& packet, TimePoint now) {
    const PacketView view(packet);
    if (view.u32(1) != KMS_ID_RESP_STATUS) {
        return drop();
    }
    if (view.size() != 29) {
        return drop("invalid respiration binary, expected size: 24, actual: " +
                    std::to_string(static_cast<int64_t>(view.size()) - 5));
    }
    if (view.u32(9) == respiration_state_initializing) {
        return drop();
    }
    return Row(now)
        .u32(view.u32(9))
        .u32(view.u32(13))
        .f32(view.f32(17))
        .f32(view.f32(21))
        .u32(view.u32(25))
        .record();
}

DiskRecord DataPacketToDisk::string_data(const Bytes& packet, TimePoint now) {
    const PacketView view(packet);
    if (!view.is_data(KMS_SPRD_STRING) || view.size() < 14) {
        return drop();
    }
    const uint32_t length = view.u32(10);
    const size_t count = view.size() - 14;
    if (length != count) {
        return drop("expected string message with length: " + std::to_string(length) +
                    ", actual: " + std::to_string(count));
    }
    return Row(now).u32(view.u32(2)).u32(view.u32(6)).text(view.from(14)).record();
}

DiskRecord DataPacketToDisk::presence_single(const Bytes& packet, TimePoint now) {
    const PacketView view(packet);
    if (!view.is_appdata(KMS_ID_PRESENCE_SINGLE, 22)) {
        return drop();
    }
    return Row(now)
        .u32(view.u32(5))
        .u32(view.u32(9))
        .f32(view.f32(13))
        .u32(view.u8(17))
        .u32(view.u32(18))
        .record();
}

DiskRecord DataPacketToDisk::presence_movinglist(const Bytes& packet, TimePoint now) {
    const PacketView view(packet);
    if (!view.is_appdata(KMS_ID_PRESENCE_MOVINGLIST, 41)) {
        return drop();
    }
    const uint32_t intervals = view.u32(13);
    const uint32_t detections = view.u32(17);
    uint64_t offset = 21;
    Row row(now);
    row.u32(view.u32(5)).u32(view.u32(9)).u32(intervals).u32(detections);
    row.list(view, offset, intervals).list(view, offset, intervals);
    row.list(view, offset, detections).list(view, offset, detections).list(view, offset, detections);
    return row.record();
}

DiskRecord DataPacketToDisk::respiration_movinglist(const Bytes& packet, TimePoint now) {
    const PacketView view(packet);
    if (!view.is_appdata(KMS_ID_RESPIRATION_MOVINGLIST, 21)) {
        return drop();
    }
    const uint32_t intervals = view.u32(9);
    uint64_t offset = 13;
    Row row(now);
    row.u32(view.u32(5)).u32(intervals).list(view, offset, intervals).list(view, offset, intervals);
    return row.record();
}

DiskRecord DataPacketToDisk::respiration_detectionlist(const Bytes& packet, TimePoint now) {
    const PacketView view(packet);
    if (!view.is_appdata(KMS_ID_RESPIRATION_DETECTIONLIST, 25)) {
        return drop();
    }
    const uint32_t detections = view.u32(9);
    uint64_t offset = 13;
    Row row(now);
    row.u32(view.u32(5)).u32(detections);
    row.list(view, offset, detections).list(view, offset, detections).list(view, offset, detections);
    return row.record();
}

DiskRecord DataPacketToDisk::performance_status(const Bytes& packet, TimePoint now) {
    const PacketView view(packet);
    if (view.size() < 6 || view.u32(2) != 5) {
        return drop();
    }
    if (view.u32(10) != performance_payload_size || view.size() != 106) {
        return drop("invalid performance status binary, expected size: 92, actual: " +
                    std::to_string(static_cast<int64_t>(view.size()) - 14));
    }
    const std::string block = performance_block(view, now);
    return accept(Bytes(block.begin(), block.end()));
}

DiskRecord DataPacketToDisk::convert(DataType data_type, const Bytes& packet, bool& matrix_started,
                                     TimePoint now) {
    switch (data_type) {
    case BasebandApDataType:
    case BasebandIqDataType:
        return baseband(packet);
    case SleepDataType:
        return sleep(packet, now);
    case RespirationDataType:
        return respiration(packet, now);
    case PerformanceStatusType:
        return performance_status(packet, now);
    case StringDataType:
        return string_data(packet, now);
    case PulseDopplerFloatDataType:
    case PulseDopplerByteDataType:
    case NoiseMapFloatDataType:
    case NoiseMapByteDataType:
        return pulsedoppler(data_type, packet, matrix_started);
    case FloatDataType:
        return float_data(packet);
    case ByteDataType:
        return byte_data(packet);
    case PresenceSingleDataType:
        return presence_single(packet, now);
    case PresenceMovingListDataType:
        return presence_movinglist(packet, now);
    case RespirationMovingListDataType:
        return respiration_movinglist(packet, now);
    case RespirationDetectionListDataType:
        return respiration_detectionlist(packet, now);
    }
    return drop();
}

std::string DataPacketToDisk::header_line(DataType data_type) {
    switch (data_type) {
    case SleepDataType:
        return "TimeStamp;FrameCounter;State;RPM;ObjectDistance;SignalQuality;MovementSlow;MovementFast\n";
    case RespirationDataType:
        return "TimeStamp;State;RPM;ObjectDistance;ObjectMovement;SignalQuality\n";
    case StringDataType:
        return "TimeStamp;ContentId;Info;Message\n";
    case PresenceSingleDataType:
        return "TimeStamp;Counter;PresenceState;Distance;Direction;SignalQuality\n";
    case PresenceMovingListDataType:
        return "TimeStamp;Counter;PresenceState;MovementIntervalCount;DetectionCount;MovementSlowItem;"
               "MovementFastItem;DetectionDistance;DetectionRadarCrossSection;DetectionVelocity\n";
    case RespirationMovingListDataType:
        return "TimeStamp;Counter;MovementIntervalCount;MovementSlowItems;MovementFastItems\n";
    case RespirationDetectionListDataType:
        return "TimeStamp;Counter;DetectionCount;DetectionDistanceItems;DetectionRadarCrossSectionItems;"
               "DetectionVelocityItems\n";
    default:
        return std::string();
    }
}

std::string DataPacketToDisk::timestamp(TimePoint now) {
    // Text rows come by the hundred per second: the calendar and zone work (localtime, mktime, which take the
    // time-zone lock) is done once per second of wall time and per thread, only the milliseconds change.
    struct SecondText {
        std::time_t second = std::numeric_limits<std::time_t>::min();
        std::string date_time;
        std::string zone;
        bool tz_set = false;
        std::string tz;
    };
    thread_local SecondText cached;
    const std::time_t second = std::chrono::system_clock::to_time_t(now);
    // A program that changes TZ sees its new zone at once.
    const char* tz = std::getenv("TZ");
    const bool same_zone = tz ? cached.tz_set && cached.tz == tz : !cached.tz_set;
    if (second != cached.second || !same_zone) {
        const long offset = utc_offset(second);
        const long magnitude = offset < 0 ? -offset : offset;
        char zone[48];
        std::snprintf(zone, sizeof zone, "%c%02ld:%02ld", offset < 0 ? '-' : '+', magnitude / 3600,
                      magnitude / 60 % 60);
        cached.date_time = local_time_text(now, "%Y-%m-%dT%H:%M:%S");
        cached.zone = zone;
        cached.second = second;
        cached.tz_set = tz != nullptr;
        cached.tz = tz ? tz : "";
    }
    char milliseconds[8];
    std::snprintf(milliseconds, sizeof milliseconds, ".%03d", static_cast<int>(milliseconds_of_second(now)));
    return cached.date_time + milliseconds + cached.zone;
}

Bytes DataPacketToDisk::radar_settings_from_packet(const Bytes& packet) {
    Bytes settings(radar_settings_guid_line, radar_settings_guid_line + sizeof(radar_settings_guid_line) - 1);
    const Bytes block = PacketView(packet).from(14);
    settings.insert(settings.end(), block.begin(), block.end());
    return settings;
}

std::string DataPacketToDisk::radar_settings_ini(const Bytes& settings) {
    const Bytes::const_iterator newline = std::find(settings.begin(), settings.end(), '\n');
    if (newline == settings.begin() || newline == settings.end() ||
        static_cast<size_t>(settings.end() - (newline + 1)) != radar_settings_block_size) {
        return std::string();
    }
    const Bytes block_bytes(newline + 1, settings.end());
    const PacketView block(block_bytes);
    std::ostringstream text;
    text << "[MainSection]\nGUID=" << std::string(settings.begin(), newline) << "\n\n[ChipSettings]\n";
    write_settings(text, block, settings_before_carrier);
    text << "CarrierFrequency=" << carrier_frequency(block) << '\n';
    write_settings(text, block, settings_after_carrier);
    return text.str();
}

DataPacketToDisk::RadarSettingsResult DataPacketToDisk::write_radar_settings(const Bytes& settings,
                                                                             const std::string& filename) {
    const std::string ini = radar_settings_ini(settings);
    if (ini.empty()) {
        return RadarSettingsInvalid;
    }
    std::ofstream file(filename, std::ios::out | std::ios::binary);
    if (!file.is_open()) {
        return RadarSettingsFileFailed;
    }
    file << ini;
    file.close();
    return file ? RadarSettingsWritten : RadarSettingsFileFailed;
}

} // namespace Tervik
