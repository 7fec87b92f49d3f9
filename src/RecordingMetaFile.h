// The reading side of a recording's meta file: the index of every write to every data file of one directory,
// in time order. A reader walks the entries and fetches the byte ranges they name; it never parses data
// files.
//
// Entries are read ahead in chunks of 4096 bytes; a filter on data types is applied to the raw bytes, so that
// the position always rests on the next entry that passes and at_end() turns true right after the last one.
// Bytes on disk that contradict the file's own layout make open() fail with ": invalid format" or make
// read_record() return an error; they never make it read outside a buffer.
#ifndef DEVICEBRIDGE_RECORDINGMETAFILE_H
#define DEVICEBRIDGE_RECORDINGMETAFILE_H

#include "AbstractMetaEntry.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace Tervik {

// One 33-byte entry, decoded.
struct MetaEntry {
    uint32_t epoch_offset;
    uint8_t type;
    uint32_t data_type;
    uint32_t bytes_written;
    uint32_t filename_index;
    int64_t offset;
    int64_t total_bytes_recorded;
};

// The fixed header at the start of the file, as open() found it.
struct RecordingMetaHeader {
    uint32_t magic;
    uint32_t version;
    int64_t created;
    uint8_t state;
    uint32_t duration;
    int64_t bytes_recorded;
    int64_t file_map_offset;
    uint32_t data_types;
    int64_t next_meta_file_offset;
    uint32_t max_record_size;
    uint32_t profile_id;
};

class RecordingMetaFile {
public:
    static constexpr size_t EntrySize = AbstractMetaEntry::EntrySize;
    static constexpr uint32_t Magic = 0xA0B1C2D3;

    // Opens at once; ask is_open() for the outcome.
    explicit RecordingMetaFile(const std::string& meta_filename);
    ~RecordingMetaFile();
    RecordingMetaFile(const RecordingMetaFile&) = delete;
    RecordingMetaFile& operator=(const RecordingMetaFile&) = delete;

    // --- opening and closing
    // Reads the header, session id, file map and next-file link, and stands on the first entry. Prints the
    // reason of a failure to standard output. True at once if already open.
    bool open();
    bool is_open() const { return m_file != nullptr; }
    // Closes the meta file and all data files; the header and the file map stay known.
    void close();
    void close_file();
    void close_all_data_files();
    void close_data_file_at_index(unsigned index);

    // --- position
    // -1 when closed; otherwise the offset of the next entry to be read.
    int64_t position() const;
    // Only positions that position() gave, or an entry boundary between the first entry and the end.
    void set_position(int64_t position);
    bool at_end() const;

    // --- filtering: a mask of data types; 0xFFFFFFFF passes everything. Doesn't move the position.
    void set_filter(uint32_t filter) { m_filter = filter; }
    uint32_t filter() const { return m_filter; }

    // --- reading
    // Copies at most size bytes of the next record that passes the filter into buffer. Returns the number of
    // bytes, 0 for a size of 0, for a record of no bytes or for the close entry that ends the file, -1 when
    // closed, at the end or on a failure of the data file, -2 when no entry could be read. data_type is
    // stored as on disk: a user header shows the complement of its type. is_record tells a record from that
    // close entry. All outputs may be null.
    int read_record(uint8_t* buffer, size_t size, uint32_t* data_type, int64_t* epoch,
                    bool* is_record = nullptr);
    // The same into the first bytes of buffer, which grows to the record's size as its bytes arrive from the
    // data file, never beyond limit: a size on disk that the data file doesn't back allocates nothing.
    int read_record_into(Bytes* buffer, size_t limit, uint32_t* data_type, int64_t* epoch,
                         bool* is_record = nullptr);

    // --- seeking: to the first entry at or after ms since creation, or whose running byte total exceeds
    // position; then on to the next one that passes the filter. False when closed, out of range, or on a read
    // failure (the position is then undefined).
    bool seek_ms(uint32_t ms);
    bool seek_byte(int64_t position);

    // --- what open() found
    std::string session_id() const { return m_session_id; }
    std::string meta_filename() const { return m_meta_filename; }
    // Already resolved against this file's directory; empty at the end of a chain.
    std::string next_meta_filename() const { return m_next_meta_filename; }
    std::vector<std::string> file_map() const { return m_file_map; }
    const RecordingMetaHeader& header() const { return m_header; }
    void print_header() const;

private:
    // What open() reads, step by step; each returns false after printing why.
    bool open_steps();
    bool read_fixed_header();
    bool read_session_id();
    bool read_file_map(std::vector<std::string>* file_map);
    bool read_next_meta_name(std::string* next_name);
    bool read_counted_string(int64_t limit, std::string* text);
    bool fail_invalid_format();
    void resolve_next_meta_filename(const std::string& next_name);

    // The chunk of entries read ahead.
    size_t chunk_remaining() const { return m_chunk_end - m_chunk_pos; }
    void empty_chunk() { m_chunk_pos = m_chunk_end = 0; }
    bool refill_chunk();
    bool read_meta_entry(MetaEntry* entry);

    bool seek_meta(int64_t offset);
    bool read_meta(void* buffer, size_t size);
    bool read_entry_at(int64_t entry_offset, unsigned char* raw_entry);

    void fast_forward_to_eof();
    void fast_forward_to_next_data_record_with_filter();
    bool set_position_from_seek(int64_t position);
    template <typename IsLateEnough> bool seek_by_walk(int64_t start, IsLateEnough is_late_enough);

    // Where a record goes: a caller's buffer of fixed size, or a Bytes that grows up to size.
    struct Destination {
        uint8_t* data;
        size_t size;
        Bytes* growing;
    };
    static constexpr int Skipped = -3;
    int read_next(Destination destination, uint32_t* data_type, int64_t* epoch, bool* is_record);
    int read_entry(const MetaEntry& entry, Destination destination);
    void store_outputs(const MetaEntry& entry, uint32_t* data_type, int64_t* epoch) const;
    int read_data_record(const MetaEntry& entry, Destination destination);
    FILE* data_file_at_index(unsigned index);
    bool entry_names_a_file(const MetaEntry& entry) const;
    std::string directory_of_data_files() const;
    // The text before the last slash or backslash; empty if the path holds neither.
    static std::string dirname(const std::string& path);

    std::string m_meta_filename;
    std::string m_session_id;
    std::string m_next_meta_filename;
    std::vector<std::string> m_file_map;
    std::vector<FILE*> m_data_files;
    // Where each data file's stream stands, or -1 if unknown; saves asking the stream before every record.
    std::vector<int64_t> m_data_file_positions;
    RecordingMetaHeader m_header;
    FILE* m_file = nullptr;
    int64_t m_file_size = 0;
    // Where m_file's stream stands: the end of the chunk.
    int64_t m_file_position = 0;
    int64_t m_first_entry_offset = -1;
    int64_t m_last_entry_offset = -1;
    int64_t m_entry_span = 0;
    uint32_t m_filter = 0xFFFFFFFF;
    unsigned char m_chunk[4096];
    size_t m_chunk_pos = 0;
    size_t m_chunk_end = 0;
};

// The 33 bytes of an entry, decoded.
MetaEntry decode_meta_entry(const unsigned char* raw);

// Whether a stored WriteFile entry passes a filter; buffer points at the entry's type byte.
bool cmp_data_type(const char* buffer, uint32_t filter);

// Milliseconds from tp2 to tp1 on the steady clock; tp1 must not be before tp2.
uint32_t ms_offset(std::chrono::steady_clock::time_point tp1, std::chrono::steady_clock::time_point tp2);

} // namespace Tervik

#endif
