// One record of a recording as read back by DataReader: the bytes exactly as they stand in the data file,
// with their data type and the time of the write.
#ifndef DEVICEBRIDGE_DATARECORD_H
#define DEVICEBRIDGE_DATARECORD_H

#include "Bytes.h"

#include <cstdint>

namespace Tervik {

struct DataRecord {
    /// The record's bytes as they stand in the data file.
    Bytes data;
    /// One DataType bit, also for a user header.
    uint32_t data_type = 0;
    /// Time of the write, milliseconds since 1970-01-01 UTC.
    int64_t epoch = 0;
    /// Set when the record was read; false when there was none or reading failed.
    bool is_valid = false;
    /// The record is the user header of its data type, not data.
    bool is_user_header = false;

    /// Read-only access to data without a copy.
    const Bytes& get_data() const { return data; }
};

} // namespace Tervik

#endif
