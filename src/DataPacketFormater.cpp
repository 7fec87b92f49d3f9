#include "DataPacketFormater.h"
#include "DataPacketToDisk.h"
#include "DataTypes.h"
#include "protocol_identifiers.h"

#include <cmath>
#include <cstdlib>
#include <initializer_list>
#include <iostream>
#include <string>

namespace {

bool read_field(std::istringstream& stream, std::string& field) {
    return static_cast<bool>(std::getline(stream, field, ';'));
}

void drop_trailing_newline(std::string& field) {
    if (!field.empty() && field.back() == '\n') {
        field.pop_back();
    }
}

// Truncation toward zero into 32 bits. Values out of every integer's range become 0 instead of undefined
// behaviour; negative ones wrap as the module's counters would.
uint32_t truncate_to_unsigned(float value) {
    if (!(std::fabs(value) < 9.2e18f)) {
        return 0;
    }
    return static_cast<uint32_t>(static_cast<int64_t>(value));
}

} // namespace

template <> bool append_32bits<unsigned int>(Bytes& bytes, std::istringstream& stream) {
    std::string field;
    if (!read_field(stream, field)) {
        return false;
    }
    append_32bits(bytes, static_cast<unsigned int>(truncate_to_unsigned(std::stof(field))));
    return true;
}

template <> bool append_32bits<float>(Bytes& bytes, std::istringstream& stream) {
    std::string field;
    if (!read_field(stream, field)) {
        return false;
    }
    append_32bits(bytes, std::stof(field));
    return true;
}

template <> bool append_32bits<float[]>(Bytes& bytes, std::istringstream& stream) {
    std::string field;
    if (!read_field(stream, field)) {
        return false;
    }
    drop_trailing_newline(field);
    if (field.size() < 2 || field.front() != '[' || field.back() != ']') {
        std::cout << "WARNING: invalid string array: " << field << std::endl;
        return false;
    }
    std::istringstream values(field.substr(1, field.size() - 2));
    std::string value;
    while (std::getline(values, value, ',')) {
        append_32bits(bytes, std::stof(value));
    }
    return true;
}

namespace Tervik {

namespace {

const uint32_t supported_types = 0xFFEF;

enum FieldKind {
    UnsignedField,  // through stof, truncated
    FloatField,     // through stof
    FloatListField, // "[a,b]"
    ByteField,      // through strtol, one byte
    StringField     // the text up to ";", as a u32 length and its bytes
};

bool append_byte(Bytes& bytes, std::istringstream& stream) {
    std::string field;
    if (!read_field(stream, field)) {
        return false;
    }
    bytes.push_back(static_cast<unsigned char>(std::strtol(field.c_str(), nullptr, 10)));
    return true;
}

bool append_string(Bytes& bytes, std::istringstream& stream) {
    std::string field;
    if (!read_field(stream, field)) {
        return false;
    }
    drop_trailing_newline(field);
    append_32bits(bytes, static_cast<unsigned int>(field.size()));
    bytes.insert(bytes.end(), field.begin(), field.end());
    return true;
}

bool append_field(FieldKind kind, Bytes& bytes, std::istringstream& stream) {
    switch (kind) {
    case UnsignedField:
        return append_32bits<unsigned int>(bytes, stream);
    case FloatField:
        return append_32bits<float>(bytes, stream);
    case FloatListField:
        return append_32bits<float[]>(bytes, stream);
    case ByteField:
        return append_byte(bytes, stream);
    case StringField:
        return append_string(bytes, stream);
    }
    return false;
}

Bytes appdata_head(uint32_t id) {
    Bytes head{KMS_SPR_APPDATA};
    append_32bits(head, static_cast<unsigned int>(id));
    return head;
}

Bytes with_head(Bytes head, const Bytes& disk) {
    head.insert(head.end(), disk.begin(), disk.end());
    return head;
}

const char* header_warning(DataType data_type) {
    switch (data_type) {
    case SleepDataType:
        return "WARNING: invalid header for sleep data: ";
    case StringDataType:
        return "WARNING: invalid header for string data: ";
    default:
        return "WARNING: invalid header for respiration data: ";
    }
}

void warn_about_header(DataType data_type, const std::string& record) {
    std::cout << header_warning(data_type) << record;
    if (record.empty() || record.back() != '\n') {
        std::cout << '\n';
    }
    std::cout << std::flush;
}

// A text row back into a packet: a header line gives nothing (with a warning unless it is the type's own),
// any other first field is a time stamp and is skipped; the packet is `head` followed by the fields of
// `fields`.
Bytes text_from_disk(DataType data_type, Bytes head, std::initializer_list<FieldKind> fields,
                     const Bytes& disk) {
    const std::string record(disk.begin(), disk.end());
    std::istringstream stream(record);
    std::string first;
    read_field(stream, first);
    if (first == "TimeStamp") {
        if (record != DataPacketToDisk::header_line(data_type)) {
            warn_about_header(data_type, record);
        }
        return Bytes();
    }
    for (FieldKind kind : fields) {
        if (!append_field(kind, head, stream)) {
            return Bytes();
        }
    }
    return head;
}

Bytes data_head(unsigned char kind) {
    return Bytes{KMS_SPR_DATA, kind};
}

} // namespace

DataPacketFormater::DataPacketFormater(uint32_t meta_version) : meta_version(meta_version) {}

uint32_t DataPacketFormater::supported_data_types() {
    return supported_types;
}

Bytes DataPacketFormater::from_disk(uint32_t data_type, const Bytes& disk) const {
    // A type that is no single bit can only come from a damaged meta file, so it is refused like any other
    // unsupported type rather than ending the process.
    if (meta_version <= 11 || !(data_type & supported_types) || !is_single_data_type(data_type)) {
        std::cout << "WARNING: attempting to convert unsupported disk format: " << data_type << " to packet"
                  << std::endl;
        return Bytes();
    }
    switch (static_cast<DataType>(data_type)) {
    case BasebandApDataType:
        return baseband_ap_from_disk(disk);
    case BasebandIqDataType:
        return baseband_iq_from_disk(disk);
    case SleepDataType:
        return sleep_from_disk(disk);
    case RespirationDataType:
        return respiration_from_disk(disk);
    case StringDataType:
        return stringdata_from_disk(disk);
    case PulseDopplerFloatDataType:
        return pulsedoppler_float_from_disk(disk);
    case PulseDopplerByteDataType:
        return pulsedoppler_byte_from_disk(disk);
    case NoiseMapFloatDataType:
        return noisemap_float_from_disk(disk);
    case NoiseMapByteDataType:
        return noisemap_byte_from_disk(disk);
    case FloatDataType:
        return float_from_disk(disk);
    case ByteDataType:
        return byte_from_disk(disk);
    case PresenceSingleDataType:
        return presence_single_from_disk(disk);
    case PresenceMovingListDataType:
        return presence_movinglist_from_disk(disk);
    case RespirationDetectionListDataType:
        return respiration_detectionlist_from_disk(disk);
    case RespirationMovingListDataType:
        return respiration_movinglist_from_disk(disk);
    case PerformanceStatusType:
        break;
    }
    return Bytes();
}

Bytes DataPacketFormater::baseband_ap_from_disk(const Bytes& disk) const {
    return with_head(appdata_head(KMS_ID_BASEBAND_AMPLITUDE_PHASE), disk);
}
Bytes DataPacketFormater::baseband_iq_from_disk(const Bytes& disk) const {
    return with_head(appdata_head(KMS_ID_BASEBAND_IQ), disk);
}
Bytes DataPacketFormater::pulsedoppler_float_from_disk(const Bytes& disk) const {
    return with_head(appdata_head(KMS_ID_PULSEDOPPLER_FLOAT), disk);
}
Bytes DataPacketFormater::pulsedoppler_byte_from_disk(const Bytes& disk) const {
    return with_head(appdata_head(KMS_ID_PULSEDOPPLER_BYTE), disk);
}
Bytes DataPacketFormater::noisemap_float_from_disk(const Bytes& disk) const {
    return with_head(appdata_head(KMS_ID_NOISEMAP_FLOAT), disk);
}
Bytes DataPacketFormater::noisemap_byte_from_disk(const Bytes& disk) const {
    return with_head(appdata_head(KMS_ID_NOISEMAP_BYTE), disk);
}
Bytes DataPacketFormater::float_from_disk(const Bytes& disk) const {
    return with_head(data_head(KMS_SPRD_FLOAT), disk);
}
Bytes DataPacketFormater::byte_from_disk(const Bytes& disk) const {
    return with_head(data_head(KMS_SPRD_BYTE), disk);
}

Bytes DataPacketFormater::sleep_from_disk(const Bytes& disk) const {
    return text_from_disk(
        SleepDataType, appdata_head(KMS_ID_SLEEP_STATUS),
        {UnsignedField, UnsignedField, FloatField, FloatField, UnsignedField, FloatField, FloatField}, disk);
}

// The frame counter is not stored, so playback shows 0.
Bytes DataPacketFormater::respiration_from_disk(const Bytes& disk) const {
    Bytes head = appdata_head(KMS_ID_RESP_STATUS);
    append_32bits(head, 0u);
    return text_from_disk(RespirationDataType, head,
                          {UnsignedField, UnsignedField, FloatField, FloatField, UnsignedField}, disk);
}

Bytes DataPacketFormater::stringdata_from_disk(const Bytes& disk) const {
    return text_from_disk(StringDataType, data_head(KMS_SPRD_STRING),
                          {UnsignedField, UnsignedField, StringField}, disk);
}

Bytes DataPacketFormater::presence_single_from_disk(const Bytes& disk) const {
    return text_from_disk(PresenceSingleDataType, appdata_head(KMS_ID_PRESENCE_SINGLE),
                          {UnsignedField, UnsignedField, FloatField, ByteField, UnsignedField}, disk);
}

Bytes DataPacketFormater::presence_movinglist_from_disk(const Bytes& disk) const {
    return text_from_disk(PresenceMovingListDataType, appdata_head(KMS_ID_PRESENCE_MOVINGLIST),
                          {UnsignedField, UnsignedField, UnsignedField, UnsignedField, FloatListField,
                           FloatListField, FloatListField, FloatListField, FloatListField},
                          disk);
}

Bytes DataPacketFormater::respiration_detectionlist_from_disk(const Bytes& disk) const {
    return text_from_disk(RespirationDetectionListDataType, appdata_head(KMS_ID_RESPIRATION_DETECTIONLIST),
                          {UnsignedField, UnsignedField, FloatListField, FloatListField, FloatListField},
                          disk);
}

Bytes DataPacketFormater::respiration_movinglist_from_disk(const Bytes& disk) const {
    return text_from_disk(RespirationMovingListDataType, appdata_head(KMS_ID_RESPIRATION_MOVINGLIST),
                          {UnsignedField, UnsignedField, FloatListField, FloatListField}, disk);
}

} // namespace Tervik
