#include "RecordingMetaFile.h"

#include "ByteHelpers.h"

#include <algorithm>
#include <cassert>
#include <climits>
#include <cmath>
#include <iostream>
#include <stdexcept>

namespace Tervik {

namespace {

const size_t EntrySize = AbstractMetaEntry::EntrySize;
const size_t ChunkSize = 4096;
// Offsets of fields inside an entry.
const size_t TypeField = 4;
const size_t TotalBytesField = 25;

uint32_t le32(const unsigned char* bytes) {
    return uint32_t(bytes[0]) | uint32_t(bytes[1]) << 8 | uint32_t(bytes[2]) << 16 | uint32_t(bytes[3]) << 24;
}

int64_t le64(const unsigned char* bytes) {
    return static_cast<int64_t>(uint64_t(le32(bytes)) | uint64_t(le32(bytes + 4)) << 32);
}

template <typename T> T read_from(FILE& file) {
    T value = 0;
    file >> value;
    return value;
}

bool is_record_data_type(uint32_t data_type) {
    const unsigned bits_set = count_bits_set(data_type);
    return bits_set == 1 || bits_set == 31;
}

// The type bit of a record or of a user header.
uint32_t type_bit(uint32_t data_type) {
    return count_bits_set(data_type) == 31 ? ~data_type : data_type;
}

void print_file_error() {
    std::cout.flush();
    perror("  |- FILE error");
}

} // namespace

RecordingMetaFile::RecordingMetaFile(const std::string& meta_filename) : m_meta_filename(meta_filename) {
    m_header = RecordingMetaHeader();
    open();
}

RecordingMetaFile::~RecordingMetaFile() {
    close();
}

// --- opening
// ---------------------------------------------------------------------------------------------------

bool RecordingMetaFile::open() {
    if (m_file) {
        return true;
    }
    m_header = RecordingMetaHeader();
    m_file = fopen(m_meta_filename.c_str(), "rb");
    if (!m_file) {
        std::cout << "failed to open meta file: " << m_meta_filename << std::endl;
        return false;
    }
    bool opened = false;
    try {
        opened = open_steps();
    } catch (const std::runtime_error&) {
        std::cout << "failed to open meta file: " << m_meta_filename << std::endl;
    }
    if (!opened) {
        close_file();
        m_header = RecordingMetaHeader();
        m_first_entry_offset = m_last_entry_offset = -1;
        m_entry_span = 0;
    }
    return opened;
}

bool RecordingMetaFile::open_steps() {
    if (fseeko(m_file, 0, SEEK_END) != 0 || (m_file_size = ftello(m_file)) < 0 ||
        fseeko(m_file, 0, SEEK_SET) != 0) {
        return fail_invalid_format();
    }
    if (!read_fixed_header()) {
        return false;
    }
    if (m_header.bytes_recorded < 0) {
        return fail_invalid_format();
    }
    if (!read_session_id()) {
        return false;
    }
    const int64_t current_pos = ftello(m_file);
    if (current_pos < 0 || current_pos > int64_t(UINT32_MAX)) {
        return fail_invalid_format();
    }
    m_first_entry_offset = current_pos;
    std::vector<std::string> file_map;
    std::string next_name;
    if (!read_file_map(&file_map) || !read_next_meta_name(&next_name)) {
        return false;
    }
    if (fseeko(m_file, m_first_entry_offset, SEEK_SET) != 0) {
        std::cout << "failed to seek to first entry offset in file: " << m_meta_filename << std::endl;
        return false;
    }
    m_last_entry_offset = m_header.file_map_offset - int64_t(EntrySize);
    assert(m_last_entry_offset >= m_first_entry_offset);
    m_entry_span = (m_last_entry_offset - m_first_entry_offset) / int64_t(EntrySize);
    m_file_map = file_map;
    m_data_files.assign(m_file_map.size(), nullptr);
    m_data_file_positions.assign(m_file_map.size(), -1);
    resolve_next_meta_filename(next_name);
    m_file_position = m_first_entry_offset;
    empty_chunk();
    assert(!ferror(m_file));
    assert(ftello(m_file) == m_first_entry_offset);
    assert(!m_session_id.empty());
    assert(!m_file_map.empty());
    assert(m_data_files.size() == m_file_map.size());
    return true;
}

bool RecordingMetaFile::fail_invalid_format() {
    std::cout << "failed to open meta file: " << m_meta_filename << ": invalid format" << std::endl;
    return false;
}

bool RecordingMetaFile::read_fixed_header() {
    FILE& file = *m_file;
    m_header.magic = read_from<unsigned int>(file);
    if (m_header.magic != Magic) {
        return fail_invalid_format();
    }
    m_header.version = read_from<unsigned int>(file);
    if (m_header.version < 11) {
        fail_invalid_format();
        std::cout << "minimum supported version: 1.1, current version: " << m_header.version / 10.0
                  << std::endl;
        return false;
    }
    m_header.created = read_from<long long>(file);
    m_header.state = read_from<unsigned char>(file);
    m_header.duration = read_from<unsigned int>(file);
    m_header.bytes_recorded = read_from<long long>(file);
    m_header.file_map_offset = read_from<long long>(file);
    m_header.data_types = read_from<unsigned int>(file);
    m_header.next_meta_file_offset = read_from<long long>(file);
    m_header.max_record_size = 2048;
    m_header.profile_id = 0;
    if (m_header.version == 11) {
        return true;
    }
    m_header.max_record_size = read_from<unsigned int>(file);
    long reserved = 32;
    if (m_header.version >= 13) {
        m_header.profile_id = read_from<unsigned int>(file);
        reserved = 28;
    }
    if (fseeko(m_file, reserved, SEEK_CUR) != 0) {
        std::cout << "failed to skip reserved bytes in meta file: " << m_meta_filename << std::endl;
        print_file_error();
        return false;
    }
    return true;
}

// A counted string whose bytes must lie before limit; anything else contradicts the file's layout.
bool RecordingMetaFile::read_counted_string(int64_t limit, std::string* text) {
    const uint32_t length = read_from<unsigned int>(*m_file);
    const int64_t position = ftello(m_file);
    if (position < 0 || int64_t(length) > limit - position) {
        return fail_invalid_format();
    }
    std::string bytes(length, '\0');
    if (length > 0 && fread(&bytes[0], 1, length, m_file) != length) {
        std::cout << "failed to read bytes from meta file: " << m_meta_filename << std::endl;
        return false;
    }
    *text = bytes.substr(0, bytes.find('\0'));
    return true;
}

bool RecordingMetaFile::read_session_id() {
    std::string session_id;
    if (!read_counted_string(m_file_size, &session_id)) {
        return false;
    }
    if (session_id.empty() || ferror(m_file)) {
        return fail_invalid_format();
    }
    m_session_id = session_id;
    return true;
}

bool RecordingMetaFile::read_file_map(std::vector<std::string>* file_map) {
    const int64_t offset = m_header.file_map_offset;
    if (offset < m_first_entry_offset) {
        // Never closed: the file map offset is still -1.
        return fail_invalid_format();
    }
    const int64_t file_map_header_size = 9;
    const bool on_entry_boundary = (offset - m_first_entry_offset) % int64_t(EntrySize) == 0;
    if (!on_entry_boundary || offset < m_first_entry_offset + int64_t(EntrySize) ||
        offset > m_file_size - file_map_header_size) {
        return fail_invalid_format();
    }
    if (fseeko(m_file, offset, SEEK_SET) != 0) {
        std::cout << "failed to seek to file map in meta file: " << m_meta_filename << std::endl;
        return false;
    }
    read_from<unsigned int>(*m_file);
    const unsigned char entry_type = read_from<unsigned char>(*m_file);
    const uint32_t count = read_from<unsigned int>(*m_file);
    // Each name takes at least its 4-byte length: a larger count can't be true.
    const bool count_fits = int64_t(count) <= (m_file_size - offset - file_map_header_size) / 4;
    if (entry_type == AbstractMetaEntry::FileMap && count > 0 && count_fits) {
        for (uint32_t i = 0; i < count; ++i) {
            std::string name;
            if (!read_counted_string(m_file_size, &name)) {
                return false;
            }
            file_map->push_back(name);
        }
    }
    if (ferror(m_file) || file_map->empty()) {
        return fail_invalid_format();
    }
    return true;
}

bool RecordingMetaFile::read_next_meta_name(std::string* next_name) {
    const int64_t offset = m_header.next_meta_file_offset;
    if (offset < 1) {
        return true;
    }
    if (offset > m_file_size - 4) {
        return fail_invalid_format();
    }
    if (fseeko(m_file, offset, SEEK_SET) != 0) {
        std::cout << "failed to seek to next meta offset in file: " << m_meta_filename << std::endl;
        return false;
    }
    if (!read_counted_string(m_file_size, next_name)) {
        return false;
    }
    if (ferror(m_file) || next_name->empty()) {
        return fail_invalid_format();
    }
    return true;
}

void RecordingMetaFile::resolve_next_meta_filename(const std::string& next_name) {
    if (next_name.empty()) {
        m_next_meta_filename.clear();
        return;
    }
    std::string directory = dirname(m_meta_filename);
    std::string name = next_name;
    // The recorder links sibling sub-directories of one session with one "../", never more.
    if (name.compare(0, 3, "../") == 0 && !directory.empty()) {
        directory = dirname(directory);
        name.erase(0, 3);
    }
    m_next_meta_filename = directory + (directory.empty() ? "" : "/") + name;
}

std::string RecordingMetaFile::dirname(const std::string& path) {
    const size_t slash = path.find_last_of("/\\");
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

std::string RecordingMetaFile::directory_of_data_files() const {
    const std::string directory = dirname(m_meta_filename);
    return directory.empty() ? "." : directory;
}

// --- closing
// ---------------------------------------------------------------------------------------------------

void RecordingMetaFile::close() {
    close_all_data_files();
    close_file();
    empty_chunk();
}

void RecordingMetaFile::close_file() {
    if (m_file) {
        fclose(m_file);
        m_file = nullptr;
    }
}

void RecordingMetaFile::close_all_data_files() {
    for (unsigned i = 0; i < m_data_files.size(); ++i) {
        close_data_file_at_index(i);
    }
}

void RecordingMetaFile::close_data_file_at_index(unsigned index) {
    if (index < m_data_files.size() && m_data_files[index]) {
        fclose(m_data_files[index]);
        m_data_files[index] = nullptr;
        m_data_file_positions[index] = -1;
    }
}

// --- position
// --------------------------------------------------------------------------------------------------

int64_t RecordingMetaFile::position() const {
    return m_file ? m_file_position - int64_t(chunk_remaining()) : -1;
}

void RecordingMetaFile::set_position(int64_t position) {
    assert(is_open());
    assert(position >= m_first_entry_offset);
    assert(position <= m_last_entry_offset + int64_t(EntrySize));
    assert(((position - m_first_entry_offset) % int64_t(EntrySize)) == 0);
    const int64_t chunk_start = m_file_position - int64_t(m_chunk_end);
    if (m_chunk_end > 0 && position >= chunk_start && position < m_file_position) {
        m_chunk_pos = size_t(position - chunk_start);
        return;
    }
    if (position == this->position()) {
        return;
    }
    empty_chunk();
    seek_meta(position);
}

bool RecordingMetaFile::at_end() const {
    if (!is_open()) {
        return false;
    }
    if ((m_filter & m_header.data_types) == 0) {
        return true;
    }
    if (m_file_position <= m_last_entry_offset) {
        return false;
    }
    return chunk_remaining() == 0;
}

bool RecordingMetaFile::seek_meta(int64_t offset) {
    if (fseeko(m_file, offset, SEEK_SET) != 0) {
        std::cout << "failed to seek in meta file: " << m_meta_filename << std::endl;
        print_file_error();
        return false;
    }
    m_file_position = offset;
    return true;
}

bool RecordingMetaFile::read_meta(void* buffer, size_t size) {
    const size_t got = fread(buffer, 1, size, m_file);
    m_file_position += int64_t(got);
    return got == size;
}

// --- entries
// ---------------------------------------------------------------------------------------------------

bool RecordingMetaFile::refill_chunk() {
    if (ferror(m_file) || feof(m_file)) {
        return false;
    }
    // 4096 isn't a multiple of 33: the chunk must start on an entry, so the unread remainder is read again.
    const int64_t start_pos = position();
    if (chunk_remaining() > 0 && !seek_meta(start_pos)) {
        return false;
    }
    empty_chunk();
    assert(start_pos >= m_first_entry_offset);
    assert((start_pos - m_first_entry_offset) % int64_t(EntrySize) == 0);
    const int64_t wanted = std::min<int64_t>(ChunkSize, m_last_entry_offset + int64_t(EntrySize) - start_pos);
    if (wanted < int64_t(EntrySize)) {
        return false;
    }
    if (!read_meta(m_chunk, size_t(wanted))) {
        std::cout << "failed to read meta file into chunk of mem: " << m_meta_filename << std::endl;
        print_file_error();
        // Back onto the entry boundary, so that a later attempt starts where this one did.
        seek_meta(start_pos);
        return false;
    }
    assert(m_file_position <= m_last_entry_offset + int64_t(EntrySize));
    m_chunk_end = size_t(wanted);
    return true;
}

bool RecordingMetaFile::read_meta_entry(MetaEntry* entry) {
    if (chunk_remaining() < EntrySize && !refill_chunk()) {
        return false;
    }
    *entry = decode_meta_entry(m_chunk + m_chunk_pos);
    // A damaged entry is consumed like any other, so that reading can go on behind it.
    m_chunk_pos += EntrySize;
    return entry->type == AbstractMetaEntry::WriteFile || entry->type == AbstractMetaEntry::CloseFile;
}

bool RecordingMetaFile::read_entry_at(int64_t entry_offset, unsigned char* raw_entry) {
    if (!seek_meta(entry_offset)) {
        return false;
    }
    if (!read_meta(raw_entry, EntrySize)) {
        std::cout << "failed to read bytes from meta file: " << m_meta_filename << std::endl;
        clearerr(m_file);
        seek_meta(entry_offset);
        return false;
    }
    return true;
}

bool RecordingMetaFile::entry_names_a_file(const MetaEntry& entry) const {
    if (entry.filename_index < m_file_map.size() && !m_file_map[entry.filename_index].empty()) {
        return true;
    }
    std::cout << "invalid file index in meta file: " << m_meta_filename << ": " << entry.filename_index
              << std::endl;
    return false;
}

void RecordingMetaFile::fast_forward_to_eof() {
    close_all_data_files();
    empty_chunk();
    if (seek_meta(m_last_entry_offset + int64_t(EntrySize))) {
        assert(at_end());
    }
}

// Also without a filter: close entries behind a record are passed at once, so that at_end() turns true right
// after the last record, whatever its size.
void RecordingMetaFile::fast_forward_to_next_data_record_with_filter() {
    for (;;) {
        while (chunk_remaining() >= EntrySize) {
            const unsigned char* raw = m_chunk + m_chunk_pos;
            if (raw[TypeField] == AbstractMetaEntry::CloseFile) {
                MetaEntry entry;
                read_meta_entry(&entry);
                close_data_file_at_index(entry.filename_index);
                continue;
            }
            // A damaged entry stops the walk too, so that read_record reports it.
            const bool is_record = raw[TypeField] == AbstractMetaEntry::WriteFile &&
                                   is_record_data_type(le32(raw + TypeField + 1));
            if (!is_record || cmp_data_type(reinterpret_cast<const char*>(raw + TypeField), m_filter)) {
                return;
            }
            m_chunk_pos += EntrySize;
        }
        if (position() > m_last_entry_offset) {
            fast_forward_to_eof();
            return;
        }
        if (!refill_chunk()) {
            return;
        }
    }
}

// --- reading
// ---------------------------------------------------------------------------------------------------

int RecordingMetaFile::read_record(uint8_t* buffer, size_t size, uint32_t* data_type, int64_t* epoch,
                                   bool* is_record) {
    return read_next(Destination{buffer, size, nullptr}, data_type, epoch, is_record);
}

int RecordingMetaFile::read_record_into(Bytes* buffer, size_t limit, uint32_t* data_type, int64_t* epoch,
                                        bool* is_record) {
    return read_next(Destination{nullptr, limit, buffer}, data_type, epoch, is_record);
}

int RecordingMetaFile::read_next(Destination destination, uint32_t* data_type, int64_t* epoch,
                                 bool* is_record) {
    if (is_record) {
        *is_record = false;
    }
    if (destination.size == 0) {
        return 0;
    }
    for (;;) {
        if (!is_open() || at_end()) {
            return -1;
        }
        const int64_t before = position();
        MetaEntry entry;
        const bool is_entry = read_meta_entry(&entry);
        if (position() == before) {
            return -2;
        }
        // A damaged entry or data file fails this one read; the position moves on as after a good one.
        const int result = is_entry ? read_entry(entry, destination) : -2;
        if (result == Skipped) {
            continue;
        }
        if (result >= 0) {
            store_outputs(entry, data_type, epoch);
        }
        if (entry.type == AbstractMetaEntry::WriteFile || !is_entry) {
            if (is_record) {
                *is_record = result >= 0;
            }
            fast_forward_to_next_data_record_with_filter();
        }
        return result;
    }
}

// The record of a WriteFile entry (its size), 0 for the CloseFile entry that ends the file, Skipped for
// entries that don't deliver anything, or -1.
int RecordingMetaFile::read_entry(const MetaEntry& entry, Destination destination) {
    if (!entry_names_a_file(entry)) {
        return -1;
    }
    if (entry.type == AbstractMetaEntry::CloseFile) {
        close_data_file_at_index(entry.filename_index);
        return at_end() ? 0 : Skipped;
    }
    if (!is_record_data_type(entry.data_type)) {
        std::cout << "invalid data type in meta file: " << m_meta_filename << ": " << entry.data_type
                  << std::endl;
        return -1;
    }
    if ((type_bit(entry.data_type) & m_filter) == 0) {
        return Skipped;
    }
    return read_data_record(entry, destination);
}

void RecordingMetaFile::store_outputs(const MetaEntry& entry, uint32_t* data_type, int64_t* epoch) const {
    if (data_type) {
        *data_type = entry.data_type;
    }
    if (epoch) {
        *epoch = static_cast<int64_t>(uint64_t(m_header.created) + entry.epoch_offset);
    }
}

namespace {

// Reads count bytes into the front of buffer. A buffer too small grows only as far as bytes arrive, doubling,
// so that a record size that the file doesn't back costs no more memory than the file holds.
size_t read_growing(FILE* file, Bytes* buffer, size_t count) {
    if (buffer->size() >= count) {
        return fread(buffer->data(), 1, count, file);
    }
    const size_t first_step = 64 * 1024;
    size_t got = 0;
    while (got < count) {
        const size_t step = std::min(count - got, std::max(got, first_step));
        if (buffer->size() < got + step) {
            buffer->resize(got + step);
        }
        const size_t n = fread(buffer->data() + got, 1, step, file);
        got += n;
        if (n < step) {
            break;
        }
    }
    return got;
}

} // namespace

int RecordingMetaFile::read_data_record(const MetaEntry& entry, Destination destination) {
    const unsigned index = entry.filename_index;
    FILE* file = data_file_at_index(index);
    if (!file) {
        return -1;
    }
    const size_t count = std::min<size_t>({destination.size, entry.bytes_written, size_t(INT_MAX)});
    if (m_data_file_positions[index] != entry.offset) {
        if (entry.offset < 0 || fseeko(file, entry.offset, SEEK_SET) != 0) {
            std::cout << "failed to seek to offset: " << entry.offset << std::endl;
            print_file_error();
            m_data_file_positions[index] = -1;
            return -1;
        }
        m_data_file_positions[index] = entry.offset;
    }
    const size_t got = destination.growing ? read_growing(file, destination.growing, count)
                                           : fread(destination.data, 1, count, file);
    m_data_file_positions[index] += int64_t(got);
    if (got != count) {
        std::cout << "failed to read from file:" << std::endl;
        print_file_error();
        clearerr(file);
        m_data_file_positions[index] = -1;
        return -1;
    }
    return int(count);
}

FILE* RecordingMetaFile::data_file_at_index(unsigned index) {
    if (m_data_files[index]) {
        return m_data_files[index];
    }
    const std::string directory = directory_of_data_files();
    FILE* file = fopen((directory + "/" + m_file_map[index]).c_str(), "rb");
    if (!file) {
        std::cout << "failed to open file: " << m_file_map[index] << std::endl;
        std::cout << "in directory: " << directory << std::endl;
        return nullptr;
    }
    m_data_files[index] = file;
    m_data_file_positions[index] = 0;
    return file;
}

// --- seeking
// ---------------------------------------------------------------------------------------------------

bool RecordingMetaFile::set_position_from_seek(int64_t position) {
    const int64_t end = m_last_entry_offset + int64_t(EntrySize);
    const int64_t pos = std::min(std::max(position, m_first_entry_offset), end);
    assert(pos >= m_first_entry_offset);
    empty_chunk();
    if (pos > m_last_entry_offset) {
        fast_forward_to_eof();
        return true;
    }
    unsigned char raw[EntrySize];
    if (!read_entry_at(pos, raw)) {
        return false;
    }
    // The final records are never delivered by a seek: landing on them ends at the end.
    if (le64(raw + TotalBytesField) == m_header.bytes_recorded) {
        fast_forward_to_eof();
        return true;
    }
    if (!seek_meta(pos)) {
        return false;
    }
    fast_forward_to_next_data_record_with_filter();
    return true;
}

// Walks from an interpolated start to the first entry that is late enough: back while the entries are,
// forward while they aren't; recordings have a nearly constant rate, so the walk is short.
template <typename IsLateEnough>
bool RecordingMetaFile::seek_by_walk(int64_t start, IsLateEnough is_late_enough) {
    int64_t pos = start;
    int direction = 0;
    while (pos >= m_first_entry_offset && pos <= m_last_entry_offset) {
        unsigned char raw[EntrySize];
        if (!read_entry_at(pos, raw)) {
            return false;
        }
        if (is_late_enough(raw)) {
            if (direction > 0) {
                break;
            }
            direction = -1;
            pos -= int64_t(EntrySize);
        } else {
            if (direction < 0) {
                pos += int64_t(EntrySize);
                break;
            }
            direction = 1;
            pos += int64_t(EntrySize);
        }
    }
    return set_position_from_seek(pos);
}

namespace {

int64_t interpolated_entry(int64_t first, int64_t span, double fraction) {
    return first + int64_t(EntrySize) * int64_t(std::floor(fraction * double(span)));
}

} // namespace

bool RecordingMetaFile::seek_ms(uint32_t ms) {
    if (!is_open() || ms > m_header.duration) {
        return false;
    }
    empty_chunk();
    const int64_t end = m_last_entry_offset + int64_t(EntrySize);
    const double fraction = m_header.duration == 0 ? 0.0 : double(ms) / double(m_header.duration);
    const int64_t start =
        ms == m_header.duration ? end : interpolated_entry(m_first_entry_offset, m_entry_span, fraction);
    return seek_by_walk(start, [ms](const unsigned char* raw) { return ms <= le32(raw); });
}

bool RecordingMetaFile::seek_byte(int64_t position) {
    if (!is_open() || position < 0 || position > m_header.bytes_recorded) {
        return false;
    }
    empty_chunk();
    const int64_t end = m_last_entry_offset + int64_t(EntrySize);
    const double fraction =
        m_header.bytes_recorded == 0 ? 0.0 : double(position) / double(m_header.bytes_recorded);
    const int64_t start = position == m_header.bytes_recorded
                              ? end
                              : interpolated_entry(m_first_entry_offset, m_entry_span, fraction);
    return seek_by_walk(
        start, [position](const unsigned char* raw) { return position < le64(raw + TotalBytesField); });
}

// --- printing
// --------------------------------------------------------------------------------------------------

void RecordingMetaFile::print_header() const {
    std::cout << "magic: 0x" << std::hex << m_header.magic << std::dec << std::endl;
    std::cout << "version: " << m_header.version << std::endl;
    std::cout << "created: " << m_header.created << std::endl;
    std::cout << "state: " << unsigned(m_header.state) << std::endl;
    std::cout << "duration: " << m_header.duration << std::endl;
    std::cout << "bytes recorded: " << m_header.bytes_recorded << std::endl;
    std::cout << "file map offset: " << m_header.file_map_offset << std::endl;
    std::cout << "next meta file offset: " << m_header.next_meta_file_offset << std::endl;
    std::cout << "session id: " << m_session_id << std::endl;
}

// --- free functions
// --------------------------------------------------------------------------------------------

MetaEntry decode_meta_entry(const unsigned char* raw) {
    MetaEntry entry;
    entry.epoch_offset = le32(raw);
    entry.type = raw[4];
    entry.data_type = le32(raw + 5);
    entry.bytes_written = le32(raw + 9);
    entry.filename_index = le32(raw + 13);
    entry.offset = le64(raw + 17);
    entry.total_bytes_recorded = le64(raw + TotalBytesField);
    return entry;
}

bool cmp_data_type(const char* buffer, uint32_t filter) {
    assert(buffer[0] == AbstractMetaEntry::WriteFile);
    const uint32_t data_type = le32(reinterpret_cast<const unsigned char*>(buffer + 1));
    const unsigned bits_set = count_bits_set(data_type);
    if (bits_set == 1) {
        return (data_type & filter) != 0;
    }
    assert(bits_set == 31);
    // A user header stores the complement of its type: it passes when the filter has the one missing bit.
    return (filter | data_type) > data_type;
}

uint32_t ms_offset(std::chrono::steady_clock::time_point tp1, std::chrono::steady_clock::time_point tp2) {
    assert(tp1 >= tp2);
    return static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(tp1 - tp2).count());
}

} // namespace Tervik
