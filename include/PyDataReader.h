// The Python binding's face of DataReader: one reader, every call forwarded unchanged. Records come back
// whole, as DataRecord objects; failure shows in their is_valid.
#ifndef DEVICEBRIDGE_PYDATAREADER_H
#define DEVICEBRIDGE_PYDATAREADER_H

#include "DataReader.h"

namespace Tervik {

/// Reads a recording back, record by record, in the order in which it was recorded. Every int result is
/// 0 for success and 1 otherwise; the reason of a failure is printed to standard output.
class PyDataReader {
public:
    /// A closed reader.
    PyDataReader();
    PyDataReader(const PyDataReader&) = delete;
    PyDataReader& operator=(const PyDataReader&) = delete;

    // --- opening and closing
    /// Opens the recording by its meta file ("tervik_recording_meta.dat") and the chain of meta files behind
    /// it; depth is the number of meta files to take, -1 for all.
    int open(const std::string& meta_filename, int depth = -1);
    /// True while a recording is open.
    bool is_open() const;
    /// Closes all files; the filter goes back to all types.
    void close();
    /// True right after the last record that passes the filter.
    bool at_end() const;

    // --- filtering
    /// Only records of these types are read: a mask of DataType bits, or 0xFFFFFFFF for all. 0 and other
    /// values above 65535 are refused.
    int set_filter(uint32_t data_types);
    /// The mask of types that are read.
    uint32_t get_filter() const;

    // --- reading
    /// The next record, whole, moving on; is_valid is false when there is none.
    DataRecord read_record();
    /// The next record, whole, without moving on.
    DataRecord peek_record();

    // --- seeking
    /// Moves to the first record at or after a time, in milliseconds from the start of the recording.
    int seek_ms(int64_t position);
    /// Moves to the first record at or after a byte offset over the whole recording.
    int seek_byte(int64_t position);

    // --- the recording as a whole: -1, 0 or empty while closed
    /// Time of the recording's start, milliseconds since 1970-01-01 UTC.
    int64_t get_start_epoch() const;
    /// Length of the recording in milliseconds.
    int64_t get_duration() const;
    /// Bytes of data recorded.
    int64_t get_size() const;
    /// The mask of the types the recording holds.
    uint32_t get_data_types() const;
    /// The largest record size the meta files state.
    uint32_t get_max_record_size() const;
    /// The session the recording belongs to.
    std::string get_session_id() const;

private:
    DataReader reader;
};

} // namespace Tervik

#endif
