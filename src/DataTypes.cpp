#include "DataTypes.h"

#include <array>

namespace Tervik {

const DataType InvalidDataType = static_cast<DataType>(0);
const DataType AllDataTypes = static_cast<DataType>(0xFFFFFFFFu);

namespace {

struct DataTypeNames {
    DataType type;
    const char* text;
    const char* basename;
    const char* extension;
    const char* subscription;
    bool is_text;
};

// In the order in which every function taking a set works through it; the last two rows are deliberately
// not in the order of their values.
const std::array<DataTypeNames, 16> data_type_table = {{
    {BasebandApDataType, "Baseband amplitude phase data", "tervik_baseband_ap", "dat",
     "576f7258-c6ab-11e6-9d9d-cec5c932ce01", false},
    {BasebandIqDataType, "Baseband iq data", "tervik_baseband_iq", "dat",
     "3e19d19b-7d38-432a-be0e-82abece4457a", false},
    {SleepDataType, "Sleep data", "tervik_sleep", "csv", "9153d1de-ff4b-49ba-acbd-f9c12d09ef40", true},
    {RespirationDataType, "Respiration data", "tervik_respiration", "csv",
     "fc360b1d-097d-4cd8-9f91-200ffea7eee3", true},
    {PerformanceStatusType, "Performance status", "tervik_perf", "txt",
     "99d10892-cd13-4544-b4b6-fa54232c08bd", true},
    {StringDataType, "String data", "tervik_datastring", "csv", "de83f991-67af-4ed5-909e-306e52faf603", true},
    {PulseDopplerFloatDataType, "Pulse doppler float data", "tervik_pulsedoppler_float", "dat",
     "c8aaae5a-e298-44ca-be50-2bf2465d3dab", false},
    {PulseDopplerByteDataType, "Pulse doppler byte data", "tervik_pulsedoppler_byte", "dat",
     "91a74ade-7f9d-47c3-8d14-af46f0d623fd", false},
    {NoiseMapFloatDataType, "Noise map float data", "tervik_noisemap_float", "dat",
     "509fa38e-1873-479d-983a-7cb4313ae52d", false},
    {NoiseMapByteDataType, "Noise map byte data", "tervik_noisemap_byte", "dat",
     "bffd4f42-f3bf-4830-8cb4-637bd87ed58e", false},
    {FloatDataType, "Float data", "tervik_datafloat", "dat", "8bf62ec2-70c9-4af9-84bc-ad6ee9d96727", false},
    {ByteDataType, "Byte data", "tervik_databyte", "dat", "b523a574-900b-47d5-8e2f-e1ba88ca8543", false},
    {PresenceSingleDataType, "presence single", "tervik_presence_single", "csv",
     "848370a2-d2b8-47f0-902a-e5be2552e7c2", true},
    {PresenceMovingListDataType, "presence moving list", "tervik_presence_movinglist", "csv",
     "33330e4f-bd08-49ec-9199-6b4b71cf3120", true},
    {RespirationMovingListDataType, "respiration moving list", "tervik_respiration_movinglist", "csv",
     "caa45056-6322-4ca6-9c68-1375eb2611e8", true},
    {RespirationDetectionListDataType, "respiration detection list", "tervik_respiration_detectionlist",
     "csv", "212fc682-b3c6-44ac-9918-5ccd4ca3f84c", true},
}};

const DataTypeNames* find_names(DataType data_type) {
    for (const DataTypeNames& names : data_type_table) {
        if (names.type == data_type) {
            return &names;
        }
    }
    return nullptr;
}

std::string field_or(DataType data_type, const char* DataTypeNames::*field, const char* fallback) {
    const DataTypeNames* names = find_names(data_type);
    return names ? names->*field : fallback;
}

} // namespace

std::string data_type_to_string(DataType data_type) {
    return field_or(data_type, &DataTypeNames::text, "<unknown data type>");
}

std::string default_basename_for_data_type(DataType data_type) {
    return field_or(data_type, &DataTypeNames::basename, "");
}

std::string file_extension_for_data_type(DataType data_type) {
    return field_or(data_type, &DataTypeNames::extension, "");
}

std::string subscription_name_for_data_type(DataType data_type) {
    return field_or(data_type, &DataTypeNames::subscription, "");
}

std::string radar_settings_subscription_name() {
    return "b6328fcf-e10d-454b-a6a3-28ce8a715060";
}

bool is_single_data_type(uint32_t value) {
    return find_names(static_cast<DataType>(value)) != nullptr;
}

bool is_valid_data_types(DataTypes data_types) {
    return data_types <= 0xFFFFu || data_types == AllDataTypes;
}

bool is_text_data_type(DataType data_type) {
    const DataTypeNames* names = find_names(data_type);
    return names && names->is_text;
}

std::vector<DataType> data_types_in_mask(DataTypes data_types) {
    std::vector<DataType> types;
    for (const DataTypeNames& names : data_type_table) {
        if (data_types & names.type) {
            types.push_back(names.type);
        }
    }
    return types;
}

} // namespace Tervik
