// Turns a record of a data file back into the packet a module would have sent, so that the ordinary packet
// parser takes it for one from the wire. Binary records get their head back; text rows are parsed field by
// field.
#ifndef DEVICEBRIDGE_DATAPACKETFORMATER_H
#define DEVICEBRIDGE_DATAPACKETFORMATER_H

#include "ByteHelpers.h"
#include "Bytes.h"

#include <cstdint>
#include <sstream>

// Parsing helpers over a text row. Each reads the next field up to ";" and appends its 32 bits; false when
// the row has no field left. unsigned int: the field goes through stof and is truncated to unsigned. float:
// the field goes through stof. float[]: a list "[a,b,c]" (one trailing "\n" dropped); each value goes through
// stof and is appended as a float.
//          Missing brackets print "WARNING: invalid string array: " and the field, and give false.
// A field that stof can't convert throws std::invalid_argument (or std::out_of_range).
template <typename T> bool append_32bits(Bytes& bytes, std::istringstream& stream);
template <> bool append_32bits<unsigned int>(Bytes& bytes, std::istringstream& stream);
template <> bool append_32bits<float>(Bytes& bytes, std::istringstream& stream);
template <> bool append_32bits<float[]>(Bytes& bytes, std::istringstream& stream);

namespace Tervik {

class DataPacketFormater {
public:
    // `meta_version` is that of the recording's meta file; recordings below version 12 can't be played.
    explicit DataPacketFormater(uint32_t meta_version);

    // Every data type except PerformanceStatusType: 0xFFEF.
    static uint32_t supported_data_types();

    // The packet for one record of `data_type`, or empty Bytes for a header line or a record that can't be
    // converted. An unsupported type or meta version prints a warning and gives empty Bytes.
    Bytes from_disk(uint32_t data_type, const Bytes& disk) const;

private:
    Bytes baseband_ap_from_disk(const Bytes& disk) const;
    Bytes baseband_iq_from_disk(const Bytes& disk) const;
    Bytes sleep_from_disk(const Bytes& disk) const;
    Bytes respiration_from_disk(const Bytes& disk) const;
    Bytes stringdata_from_disk(const Bytes& disk) const;
    Bytes pulsedoppler_float_from_disk(const Bytes& disk) const;
    Bytes pulsedoppler_byte_from_disk(const Bytes& disk) const;
    Bytes noisemap_float_from_disk(const Bytes& disk) const;
    Bytes noisemap_byte_from_disk(const Bytes& disk) const;
    Bytes float_from_disk(const Bytes& disk) const;
    Bytes byte_from_disk(const Bytes& disk) const;
    Bytes presence_single_from_disk(const Bytes& disk) const;
    Bytes presence_movinglist_from_disk(const Bytes& disk) const;
    Bytes respiration_detectionlist_from_disk(const Bytes& disk) const;
    Bytes respiration_movinglist_from_disk(const Bytes& disk) const;

    uint32_t meta_version;
};

} // namespace Tervik

#endif
