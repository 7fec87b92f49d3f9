// What a recording's meta file says about itself, read with every length and offset checked against the
// file: the header, the entries counted by data type, the data files with their sizes on disk, the link to
// the next meta file and a verdict on the recording's health. Unlike the reader, it also reads a meta file
// that was never closed, taking the data files' names from the recorder's journal beside it.
#ifndef DEVICEBRIDGE_TOOLS_DEVICEBRIDGE_METAFILESUMMARY_H
#define DEVICEBRIDGE_TOOLS_DEVICEBRIDGE_METAFILESUMMARY_H

#include "DataReader.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tool {

struct TypeCount {
    uint64_t records = 0; // data records, user headers not counted
    uint64_t user_headers = 0;
    uint64_t bytes = 0; // of records and user headers
};

struct DataFileSummary {
    std::string name;          // relative to the meta file's directory; empty when the map doesn't name it
    uint32_t data_type = 0;    // of its entries
    int64_t expected_size = 0; // by its close entry, or the end of its last record
    bool closed = false;       // a close entry names its final size
    int64_t size_on_disk = -1; // -1: missing
};

struct MetaFileSummary {
    std::string path;
    uint32_t version = 0;
    int64_t created = 0;
    uint8_t state = 0;
    uint32_t duration = 0;
    int64_t bytes_recorded = 0;
    uint32_t data_types = 0;
    uint32_t max_record_size = 0;
    uint32_t profile_id = 0;
    std::string session_id;
    uint64_t entries = 0;
    std::map<uint32_t, TypeCount> types; // by the DataType bit
    std::vector<DataFileSummary> files;  // by file map index
    std::string next_meta_file;          // path of the next meta file of the chain; empty at its end
    std::vector<std::string> problems;   // the health verdict: empty when healthy

    bool is_closed() const { return state == 1; }
};

// Throws Failure when the file can't be read or isn't a meta file at all; everything else that is wrong
// ends up in `problems`.
MetaFileSummary summarize_meta_file(const std::string& path);

// The meta file and those chained behind it, in order; a chain that loops or breaks ends with a problem
// in the last summary.
std::vector<MetaFileSummary> summarize_chain(const std::string& path);

// Opens the reader on the recording; a recording it refuses is a Failure that says why, as far as the meta
// file tells.
void open_reader(Tervik::DataReader& reader, const std::string& meta_file);
// Throws the same Failure for a recording the player refused with `refusal`.
[[noreturn]] void explain_refusal(const std::string& meta_file, const std::string& refusal);

} // namespace tool

#endif
