// How a packet from a module becomes one record of a data file. Binary types keep the payload behind the
// packet's head as it came; result-like types become one semicolon separated line of text behind a time stamp
// of the host. A packet that fails its type's test yields no record, sometimes with a message for the
// recorder to log.
#ifndef DEVICEBRIDGE_DATAPACKETTODISK_H
#define DEVICEBRIDGE_DATAPACKETTODISK_H

#include "Bytes.h"
#include "DataTypes.h"

#include <chrono>
#include <string>

namespace Tervik {

// The outcome of converting one packet.
struct DiskRecord {
    bool accepted = false; // false: the packet is dropped and nothing is written
    Bytes bytes;           // the record to write, when accepted
    std::string message;   // when not empty: why the packet was dropped, for the error log
};

class DataPacketToDisk {
public:
    typedef std::chrono::system_clock::time_point TimePoint;

    // --- binary types
    // -------------------------------------------------------------------------------------------- Either
    // baseband id (12 or 13) is taken for either baseband type.
    static DiskRecord baseband(const Bytes& packet);
    // The four pulse-Doppler and noise map types. Packets are dropped until one with range index 0 arrives;
    // `matrix_started` remembers that across calls and files, and only the end of the type's recording clears
    // it.
    static DiskRecord pulsedoppler(DataType data_type, const Bytes& packet, bool& matrix_started);
    static DiskRecord float_data(const Bytes& packet);
    static DiskRecord byte_data(const Bytes& packet);

    // --- text types; `now` is the time stamped on the row
    // --------------------------------------------------------
    static DiskRecord sleep(const Bytes& packet, TimePoint now = std::chrono::system_clock::now());
    // No record for a packet in the initializing state; the frame counter is not stored.
    static DiskRecord respiration(const Bytes& packet, TimePoint now = std::chrono::system_clock::now());
    static DiskRecord string_data(const Bytes& packet, TimePoint now = std::chrono::system_clock::now());
    static DiskRecord presence_single(const Bytes& packet, TimePoint now = std::chrono::system_clock::now());
    static DiskRecord presence_movinglist(const Bytes& packet,
                                          TimePoint now = std::chrono::system_clock::now());
    static DiskRecord respiration_movinglist(const Bytes& packet,
                                             TimePoint now = std::chrono::system_clock::now());
    static DiskRecord respiration_detectionlist(const Bytes& packet,
                                                TimePoint now = std::chrono::system_clock::now());
    // A block of lines for a person to read; it can't be played back.
    static DiskRecord performance_status(const Bytes& packet,
                                         TimePoint now = std::chrono::system_clock::now());

    // Any of the above by data type; `matrix_started` is used by the pulse-Doppler types only.
    static DiskRecord convert(DataType data_type, const Bytes& packet, bool& matrix_started,
                              TimePoint now = std::chrono::system_clock::now());

    // --- pieces of text files
    // ------------------------------------------------------------------------------------ The first line of
    // a text file, with its "\n"; empty for the binary types and the performance status.
    static std::string header_line(DataType data_type);
    // Local time as 2021-03-04T05:06:07.042+02:00.
    static std::string timestamp(TimePoint now);

    // --- radar settings
    // --------------------------------------------------------------------------------------------
    enum RadarSettingsResult { RadarSettingsWritten, RadarSettingsInvalid, RadarSettingsFileFailed };

    // What a recorder keeps of a radar settings packet: a fixed GUID line and the packet's bytes from
    // offset 14.
    static Bytes radar_settings_from_packet(const Bytes& packet);
    // The ini text for kept settings, or empty when the GUID is empty or the block is not exactly 1072 bytes.
    static std::string radar_settings_ini(const Bytes& settings);
    // Writes radar_settings_ini to a new file of that name.
    static RadarSettingsResult write_radar_settings(const Bytes& settings, const std::string& filename);
};

} // namespace Tervik

#endif
