// Reading a recording back, record by record, in the order in which it was recorded.
//
// A recording is opened by its meta file ("tervik_recording_meta.dat"). When it was split over directories,
// its meta files form a chain, which the reader follows: to its user the recording is one stream with one
// start time, duration and size. Records can be filtered by data type and sought by time or by byte.
//
// Every int result is 0 for success and 1 otherwise; the reason of a failure is printed to standard output.
// A DataReader has no locks: it belongs to one thread at a time.
#ifndef DEVICEBRIDGE_DATAREADER_H
#define DEVICEBRIDGE_DATAREADER_H

#include "DataRecord.h"

#include <cstdint>
#include <string>

namespace Tervik {

class DataReaderPrivate;

class DataReader {
public:
    // A closed reader.
    DataReader();
    ~DataReader();
    DataReader(const DataReader&) = delete;
    DataReader& operator=(const DataReader&) = delete;

    // --- opening and closing
    // Opens the meta file and the chain behind it; depth is the number of meta files to take, -1 for all.
    // Fails as a whole if any of them can't be read or belongs to another session, for an empty name, for
    // depth 0, and when the reader is open already.
    int open(const std::string& meta_filename, int depth = -1);
    bool is_open() const;
    // Closes all files and returns to the initial state, filter included.
    void close();
    // True right after the last record that passes the filter.
    bool at_end() const;

    // --- filtering: a mask of DataType bits, or 0xFFFFFFFF for all. 0 and other values above 65535 are
    // refused. Doesn't move the position; a filter set before open() applies to the files it opens.
    int set_filter(uint32_t data_types);
    uint32_t get_filter() const;

    // --- reading
    // Copies at most size bytes of the next record into data and moves on; a longer record loses its rest.
    // A user header comes back with its plain data type and is_user_header 1. Every output may be null.
    int read_record(uint8_t* data, uint32_t size, uint32_t* read_count, uint32_t* data_type, int64_t* epoch,
                    uint8_t* is_user_header);
    // The same, without moving on.
    int peek_record(uint8_t* data, uint32_t size, uint32_t* read_count, uint32_t* data_type, int64_t* epoch,
                    uint8_t* is_user_header);
    // The whole next record; failure shows in is_valid.
    DataRecord read_record();
    DataRecord peek_record();

    // --- seeking, in milliseconds from the start or in bytes, over the whole chain. On success the next
    // record is the first one at or after the position that passes the filter; a seek to the very end leaves
    // at_end().
    int seek_ms(int64_t position);
    int seek_byte(int64_t position);

    // --- the recording as a whole: -1, 0 or empty while closed. The max record size is the largest that the
    // meta files' headers state, as they state it: a hint for sizing a buffer, never checked against data.
    int64_t get_start_epoch() const;
    int64_t get_duration() const;
    int64_t get_size() const;
    uint32_t get_data_types() const;
    uint32_t get_max_record_size() const;
    uint32_t get_meta_version() const;
    uint32_t get_profile_id() const;
    std::string get_session_id() const;

private:
    friend class DataReaderPrivate;
    DataReaderPrivate* d_ptr;
};

} // namespace Tervik

#endif
