// The kinds of data a recording can hold, and the names each kind goes by: in log lines, in file names, in
// file extensions and in the subscriptions a recorder makes on a module.
//
// A single kind is a DataType, one bit. A set of kinds (DataTypes) is the OR of such bits in a uint32_t. A
// set is valid when it lies in 0 to 65535 or is exactly AllDataTypes; any other value with a bit above bit 15
// is not.
#ifndef DEVICEBRIDGE_DATATYPES_H
#define DEVICEBRIDGE_DATATYPES_H

#include <cstdint>
#include <string>
#include <vector>

namespace Tervik {

enum DataType : uint32_t {
    BasebandApDataType = 1,
    BasebandIqDataType = 2,
    SleepDataType = 4,
    RespirationDataType = 8,
    PerformanceStatusType = 16,
    StringDataType = 32,
    PulseDopplerFloatDataType = 64,
    PulseDopplerByteDataType = 128,
    NoiseMapFloatDataType = 256,
    NoiseMapByteDataType = 512,
    FloatDataType = 1024,
    ByteDataType = 2048,
    PresenceSingleDataType = 4096,
    PresenceMovingListDataType = 8192,
    RespirationDetectionListDataType = 16384,
    RespirationMovingListDataType = 32768
};

typedef uint32_t DataTypes;

// The empty set.
extern const DataType InvalidDataType;
// Every bit set, 0xFFFFFFFF: "all types", not the OR of the sixteen.
extern const DataType AllDataTypes;

// --- names
// ------------------------------------------------------------------------------------------------------

// "Baseband amplitude phase data" and so on; "<unknown data type>" for anything that is not one of the
// sixteen.
std::string data_type_to_string(DataType data_type);

// The default basename of the type's data files ("tervik_baseband_ap"); empty for an unknown value.
std::string default_basename_for_data_type(DataType data_type);

// The extension of the type's closed data files, without the point ("dat", "csv", "txt"); empty if unknown.
std::string file_extension_for_data_type(DataType data_type);

// The fixed name under which a recorder subscribes to the type on a module; empty for an unknown value.
std::string subscription_name_for_data_type(DataType data_type);

// The name of a recorder's subscription to the module's radar settings, which carry no DataType.
std::string radar_settings_subscription_name();

// --- sets
// -------------------------------------------------------------------------------------------------------

// True for exactly one of the sixteen bits.
bool is_single_data_type(uint32_t value);

// True for 0 to 65535 and for AllDataTypes.
bool is_valid_data_types(DataTypes data_types);

// True for the types stored as lines of text (csv and txt files), false for the binary ones and unknown
// values.
bool is_text_data_type(DataType data_type);

// The single types of a set, in the order every function taking a set works through them: by value, except
// that RespirationMovingListDataType (32768) comes before RespirationDetectionListDataType (16384). Bits
// above bit 15 are not types and are left out.
std::vector<DataType> data_types_in_mask(DataTypes data_types);

} // namespace Tervik

#endif
