#include "RecordDecoder.h"

#include "ByteCursor.h"
#include "Tool.h"
#include "protocol_identifiers.h"

#include <cstdio>
#include <sstream>

namespace tool {

namespace {

using namespace Tervik;

// The disk forms drop the packet's head: 5 bytes of application packets, 2 of data packets.
const size_t baseband_head = 24;     // frame, bins, bin length, sample and carrier frequency, range offset
const size_t pulsedoppler_head = 44; // frame, matrix, range index and count, frequencies, instance, 5 floats
const size_t data_head = 12;         // content id, info, length

const char* const perf_keys[] = {"timestamp",
                                 "frame stitch",
                                 "radar sweep",
                                 "radar capture frame",
                                 "radar normalized frame",
                                 "app do primary",
                                 "app do secondary",
                                 "overflow radar trigger",
                                 "overflow primary",
                                 "overflow output",
                                 "fps",
                                 "idle ticks",
                                 "period system ticks",
                                 "com TX buffer high watermark",
                                 "mem sys stack untouched",
                                 "mem OS heap",
                                 "mem task radar",
                                 "mem task app engine primary",
                                 "mem task app engine secondary",
                                 "mem task system",
                                 "mem task uart RX",
                                 "mem task uart TX"};

std::string header_line(DataType type) {
    switch (type) {
    case SleepDataType:
        return "TimeStamp;FrameCounter;State;RPM;ObjectDistance;SignalQuality;MovementSlow;MovementFast";
    case RespirationDataType:
        return "TimeStamp;State;RPM;ObjectDistance;ObjectMovement;SignalQuality";
    case StringDataType:
        return "TimeStamp;ContentId;Info;Message";
    case PresenceSingleDataType:
        return "TimeStamp;Counter;PresenceState;Distance;Direction;SignalQuality";
    case PresenceMovingListDataType:
        return "TimeStamp;Counter;PresenceState;MovementIntervalCount;DetectionCount;MovementSlowItem;"
               "MovementFastItem;DetectionDistance;DetectionRadarCrossSection;DetectionVelocity";
    case RespirationMovingListDataType:
        return "TimeStamp;Counter;MovementIntervalCount;MovementSlowItems;MovementFastItems";
    case RespirationDetectionListDataType:
        return "TimeStamp;Counter;DetectionCount;DetectionDistanceItems;DetectionRadarCrossSectionItems;"
               "DetectionVelocityItems";
    default:
        return "";
    }
}

// At most `count` fields; the last takes the rest of the text, as a string message may hold ";".
Row split(const std::string& text, size_t count) {
    Row fields;
    size_t start = 0;
    while (fields.size() + 1 < count) {
        const size_t end = text.find(';', start);
        if (end == std::string::npos)
            break;
        fields.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    fields.push_back(text.substr(start));
    return fields;
}

std::string without_line_end(const Bytes& record) {
    std::string text(record.begin(), record.end());
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.pop_back();
    return text;
}

Decoded decode_text(DataType type, const Bytes& record, std::vector<Row>* rows) {
    const size_t columns = columns_of(type).size();
    const std::string text = without_line_end(record);
    Row fields = split(text, columns);
    if (fields.front() == "TimeStamp")
        return Decoded::header;
    if (fields.size() != columns)
        return Decoded::malformed;
    rows->push_back(fields);
    return Decoded::rows;
}

Decoded decode_performance(const Bytes& record, std::vector<Row>* rows) {
    std::istringstream lines(without_line_end(record));
    std::string line;
    Row row;
    for (const char* key : perf_keys) {
        if (!std::getline(lines, line)) // the title line comes first
            return Decoded::malformed;
        if (line.find("|- ") == std::string::npos && std::getline(lines, line).fail())
            return Decoded::malformed;
        const std::string prefix = std::string("|- ") + key + ": ";
        const size_t at = line.find(prefix);
        if (at == std::string::npos)
            return Decoded::malformed;
        row.push_back(line.substr(at + prefix.size()));
    }
    rows->push_back(row);
    return Decoded::rows;
}

Decoded decode_baseband(const Bytes& record, std::vector<Row>* rows) {
    ByteCursor cursor(record);
    const uint32_t frame = cursor.u32(), bins = cursor.u32();
    const float bin_length = cursor.f32();
    cursor.skip(8);
    const float range_offset = cursor.f32();
    if (!cursor.ok() || !cursor.holds(2ull * bins, 4))
        return Decoded::malformed;
    ByteCursor second(record, baseband_head + 4ull * bins);
    for (uint32_t bin = 0; bin < bins; ++bin)
        rows->push_back({std::to_string(frame), std::to_string(bin),
                         float_text(range_offset + bin * bin_length), float_text(cursor.f32()),
                         float_text(second.f32())});
    return Decoded::rows;
}

Decoded decode_pulsedoppler(const Bytes& record, bool as_bytes, std::vector<Row>* rows) {
    ByteCursor cursor(record);
    const uint32_t frame = cursor.u32(), matrix = cursor.u32(), range_index = cursor.u32();
    const uint32_t range_bins = cursor.u32(), frequencies = cursor.u32();
    cursor.skip(12);
    const float frequency_start = cursor.f32(), frequency_step = cursor.f32(), range = cursor.f32();
    const float step_start = as_bytes ? cursor.f32() : 0.0f, step_size = as_bytes ? cursor.f32() : 0.0f;
    if (!cursor.ok() || !cursor.holds(frequencies, as_bytes ? 1 : 4))
        return Decoded::malformed;
    for (uint32_t index = 0; index < frequencies; ++index) {
        Row row = {std::to_string(frame),
                   std::to_string(matrix),
                   std::to_string(range_index),
                   std::to_string(range_bins),
                   float_text(range),
                   std::to_string(index),
                   float_text(frequency_start + index * frequency_step)};
        if (as_bytes) {
            const uint8_t byte = cursor.u8();
            row.push_back(std::to_string(byte));
            row.push_back(float_text(step_start + byte * step_size));
        } else {
            row.push_back(float_text(cursor.f32()));
        }
        rows->push_back(row);
    }
    return Decoded::rows;
}

Decoded decode_data(const Bytes& record, bool as_floats, std::vector<Row>* rows) {
    ByteCursor cursor(record);
    const uint32_t content_id = cursor.u32(), info = cursor.u32();
    cursor.u32();
    if (!cursor.ok())
        return Decoded::malformed;
    const size_t count = cursor.remaining() / (as_floats ? 4 : 1);
    for (size_t index = 0; index < count; ++index)
        rows->push_back({std::to_string(content_id), std::to_string(info), std::to_string(index),
                         as_floats ? float_text(cursor.f32()) : std::to_string(cursor.u8())});
    return Decoded::rows;
}

} // namespace

DataType type_of_packet(const Bytes& packet) {
    static const struct {
        uint32_t id;
        DataType type;
    } application_ids[] = {
        {KMS_ID_BASEBAND_IQ, BasebandIqDataType},
        {KMS_ID_BASEBAND_AMPLITUDE_PHASE, BasebandApDataType},
        {KMS_ID_PULSEDOPPLER_FLOAT, PulseDopplerFloatDataType},
        {KMS_ID_PULSEDOPPLER_BYTE, PulseDopplerByteDataType},
        {KMS_ID_NOISEMAP_FLOAT, NoiseMapFloatDataType},
        {KMS_ID_NOISEMAP_BYTE, NoiseMapByteDataType},
        {KMS_ID_SLEEP_STATUS, SleepDataType},
        {KMS_ID_RESP_STATUS, RespirationDataType},
        {KMS_ID_PRESENCE_SINGLE, PresenceSingleDataType},
        {KMS_ID_PRESENCE_MOVINGLIST, PresenceMovingListDataType},
        {KMS_ID_RESPIRATION_MOVINGLIST, RespirationMovingListDataType},
        {KMS_ID_RESPIRATION_DETECTIONLIST, RespirationDetectionListDataType},
    };
    ByteCursor cursor(packet);
    const uint8_t first = cursor.u8();
    if (first == KMS_SPR_APPDATA) {
        const uint32_t id = cursor.u32();
        for (const auto& each : application_ids)
            if (cursor.ok() && each.id == id)
                return each.type;
    } else if (first == KMS_SPR_DATA && packet.size() >= 2) {
        switch (packet[1]) {
        case KMS_SPRD_FLOAT:
            return FloatDataType;
        case KMS_SPRD_BYTE:
            return ByteDataType;
        case KMS_SPRD_STRING:
            return StringDataType;
        }
    }
    return InvalidDataType;
}

std::string float_text(float value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", static_cast<double>(value));
    return text;
}

Row columns_of(DataType type) {
    switch (type) {
    case BasebandIqDataType:
        return {"frame", "bin", "range", "i", "q"};
    case BasebandApDataType:
        return {"frame", "bin", "range", "amplitude", "phase"};
    case PulseDopplerFloatDataType:
    case NoiseMapFloatDataType:
        return {"frame", "matrix",          "range_index", "range_bins",
                "range", "frequency_index", "frequency",   "value"};
    case PulseDopplerByteDataType:
    case NoiseMapByteDataType:
        return {"frame",           "matrix",    "range_index", "range_bins", "range",
                "frequency_index", "frequency", "byte",        "value"};
    case FloatDataType:
    case ByteDataType:
        return {"content_id", "info", "index", "value"};
    case PerformanceStatusType: {
        Row keys;
        for (std::string key : perf_keys) {
            for (char& c : key)
                c = c == ' ' ? '_' : c;
            keys.push_back(key);
        }
        return keys;
    }
    default:
        return split(header_line(type), 64);
    }
}

Decoded decode_record(DataType type, const Bytes& record, std::vector<Row>* rows) {
    switch (type) {
    case BasebandIqDataType:
    case BasebandApDataType:
        return decode_baseband(record, rows);
    case PulseDopplerFloatDataType:
    case NoiseMapFloatDataType:
    case PulseDopplerByteDataType:
    case NoiseMapByteDataType:
        return decode_pulsedoppler(record, type == PulseDopplerByteDataType || type == NoiseMapByteDataType,
                                   rows);
    case FloatDataType:
    case ByteDataType:
        return decode_data(record, type == FloatDataType, rows);
    case PerformanceStatusType:
        return decode_performance(record, rows);
    default:
        return is_text_data_type(type) ? decode_text(type, record, rows) : Decoded::malformed;
    }
}

std::string summary_of(DataType type, const Bytes& record) {
    if (is_text_data_type(type)) {
        std::string text = without_line_end(record);
        for (size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at))
            text.replace(at, 1, " | ");
        return text;
    }
    ByteCursor cursor(record);
    const uint32_t first = cursor.u32(), second = cursor.u32(), third = cursor.u32(), fourth = cursor.u32();
    const uint32_t fifth = cursor.u32();
    std::vector<Row> rows;
    if (decode_record(type, record, &rows) == Decoded::malformed)
        return "malformed: " + hex_bytes(record, 16);
    switch (type) {
    case BasebandIqDataType:
    case BasebandApDataType:
        return "frame " + std::to_string(first) + ", " + std::to_string(second) + " bins";
    case FloatDataType:
    case ByteDataType:
        return "content " + std::to_string(first) + ", info " + std::to_string(second) + ", " +
               std::to_string(rows.size()) + (type == FloatDataType ? " floats" : " bytes");
    default:
        return "frame " + std::to_string(first) + ", matrix " + std::to_string(second) + ", range bin " +
               std::to_string(third) + " of " + std::to_string(fourth) + ", " + std::to_string(fifth) +
               " frequencies";
    }
}

} // namespace tool
