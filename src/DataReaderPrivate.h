// The state behind a DataReader: the chain of meta files and where reading stands in it.
#ifndef DEVICEBRIDGE_DATAREADERPRIVATE_H
#define DEVICEBRIDGE_DATAREADERPRIVATE_H

#include "Bytes.h"
#include "RecordingMetaFile.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Tervik {

class DataReader;

class DataReaderPrivate {
public:
    explicit DataReaderPrivate(DataReader* q);

    // Back to a closed reader with the initial values, the filter included.
    void reset();
    // Opens the chain of meta files from meta_filename; on failure nothing is kept.
    int open_chain(const std::string& meta_filename, int depth);
    // The meta file to read from now, opened; moves on past meta files that are at their end.
    RecordingMetaFile* ensure_file_open_for_read();
    // Makes another meta file the current one, closing the one before.
    void switch_to_file(int index);
    bool current_file_is_done() const;
    bool later_files_pass_filter() const;

    DataReader* q_ptr;
    int current_file_index = -1;
    uint32_t meta_version = 0;
    int64_t start_epoch = -1;
    int64_t duration = -1;
    int64_t size = -1;
    uint32_t filter = 0xFFFFFFFF;
    uint32_t data_types = 0;
    uint32_t max_record_size = 0;
    uint32_t profile_id = 0;
    std::string session_id;
    std::vector<std::unique_ptr<RecordingMetaFile>> file_list;
    Bytes read_buffer;
    // Each meta file's header as open found it; a later reopen that fails clears the file's own copy.
    std::vector<RecordingMetaHeader> headers;
};

} // namespace Tervik

#endif
