#include "DataReader.h"

#include "DataReaderPrivate.h"

#include <cassert>
#include <climits>
#include <iostream>

namespace Tervik {

namespace {

const uint32_t AllTypesFilter = 0xFFFFFFFF;

template <typename T> void zero_output(T* output) {
    if (output) {
        *output = 0;
    }
}

template <typename T> void set_output(T* output, T value) {
    if (output) {
        *output = value;
    }
}

} // namespace

DataReader::DataReader() : d_ptr(new DataReaderPrivate(this)) {}

DataReader::~DataReader() {
    delete d_ptr;
}

// --- opening and closing
// ---------------------------------------------------------------------------------------

int DataReader::open(const std::string& meta_filename, int depth) {
    if (meta_filename.empty() || depth == 0 || is_open()) {
        return 1;
    }
    return d_ptr->open_chain(meta_filename, depth);
}

bool DataReader::is_open() const {
    return !d_ptr->file_list.empty();
}

void DataReader::close() {
    d_ptr->reset();
}

bool DataReader::at_end() const {
    if (!is_open()) {
        return false;
    }
    if ((d_ptr->filter & d_ptr->data_types) == 0) {
        return true;
    }
    if (d_ptr->current_file_index < 0 || d_ptr->current_file_index >= int(d_ptr->file_list.size())) {
        return false;
    }
    return d_ptr->current_file_is_done() && !d_ptr->later_files_pass_filter();
}

// --- filtering
// -------------------------------------------------------------------------------------------------

int DataReader::set_filter(uint32_t data_types) {
    if (data_types == 0) {
        std::cout << "invalid filter: 0 in func: set_filter: must be non-zero" << std::endl;
        return 1;
    }
    if (data_types > 65535 && data_types != AllTypesFilter) {
        std::cout << "invalid filter: " << data_types << " in func: set_filter" << std::endl;
        return 1;
    }
    d_ptr->filter = data_types;
    for (auto& file : d_ptr->file_list) {
        file->set_filter(data_types);
    }
    return 0;
}

uint32_t DataReader::get_filter() const {
    return d_ptr->filter;
}

// --- reading
// ---------------------------------------------------------------------------------------------------

namespace {

// A record bigger than this is cut, as one read into a caller's smaller buffer is. No module sends a packet
// of this size; the bound is there for sizes that a damaged file makes up.
const size_t WholeRecordLimit = 64 * 1024 * 1024;

// The next record of the chain, read from its meta file by read(file, &type, &epoch, &is_record).
template <typename Read>
int read_next(DataReader& reader, DataReaderPrivate& d, Read read, uint32_t* read_count, uint32_t* data_type,
              int64_t* epoch, uint8_t* is_user_header) {
    zero_output(read_count);
    zero_output(data_type);
    zero_output(epoch);
    zero_output(is_user_header);
    uint32_t type = 0;
    int64_t time = 0;
    int count = 0;
    for (;;) {
        if (!reader.is_open() || reader.at_end()) {
            return 1;
        }
        RecordingMetaFile* file = d.ensure_file_open_for_read();
        if (!file) {
            return 1;
        }
        bool is_record = false;
        count = read(*file, &type, &time, &is_record);
        if (count < 0) {
            return 1;
        }
        if (is_record || count > 0 || !file->at_end()) {
            break;
        }
        // A close entry ended this meta file: the next record, if any, is in the next one.
        if (reader.at_end()) {
            return 1;
        }
    }
    const bool user_header = count_bits_set(type) == 31;
    set_output(read_count, uint32_t(count));
    set_output(data_type, user_header ? ~type : type);
    set_output(epoch, time);
    set_output(is_user_header, uint8_t(user_header ? 1 : 0));
    return 0;
}

// read_next, with the position put back afterwards.
template <typename Read>
int peek_next(DataReader& reader, DataReaderPrivate& d, Read read, uint32_t* read_count, uint32_t* data_type,
              int64_t* epoch, uint8_t* is_user_header) {
    if (!reader.is_open() || reader.at_end()) {
        return 1;
    }
    assert(d.current_file_index >= 0);
    assert(d.current_file_index < int(d.file_list.size()));
    const int old_index = d.current_file_index;
    RecordingMetaFile* file = d.file_list[old_index].get();
    const bool file_was_open = file->is_open();
    const int64_t old_file_pos = file->position();
    const int result = read_next(reader, d, read, read_count, data_type, epoch, is_user_header);
    if (file_was_open) {
        if (!file->open()) {
            return 1;
        }
        file->set_position(old_file_pos);
    } else if (file->is_open()) {
        file->close();
    }
    assert(file_was_open == file->is_open());
    assert(old_file_pos == file->position());
    if (d.current_file_index != old_index) {
        d.switch_to_file(old_index);
    }
    return result;
}

// Into the caller's buffer.
struct ReadInto {
    uint8_t* data;
    uint32_t size;
    int operator()(RecordingMetaFile& file, uint32_t* type, int64_t* time, bool* is_record) const {
        return file.read_record(data, size, type, time, is_record);
    }
};

// Into the reader's own buffer, grown to the record as it is read: the header's max record size is a claim
// of the file, and a damaged one must not size an allocation.
struct ReadWhole {
    Bytes* buffer;
    int operator()(RecordingMetaFile& file, uint32_t* type, int64_t* time, bool* is_record) const {
        return file.read_record_into(buffer, WholeRecordLimit, type, time, is_record);
    }
};

typedef int (*NextRecord)(DataReader&, DataReaderPrivate&, ReadWhole, uint32_t*, uint32_t*, int64_t*,
                          uint8_t*);

DataRecord whole_record(DataReader& reader, DataReaderPrivate& d, NextRecord next) {
    DataRecord record;
    uint32_t read_count = 0;
    uint8_t is_user_header = 0;
    record.is_valid = next(reader, d, ReadWhole{&d.read_buffer}, &read_count, &record.data_type,
                           &record.epoch, &is_user_header) == 0;
    record.is_user_header = is_user_header != 0;
    if (record.is_valid) {
        record.data.assign(d.read_buffer.begin(), d.read_buffer.begin() + read_count);
    }
    assert(record.data.size() == read_count);
    return record;
}

} // namespace

int DataReader::read_record(uint8_t* data, uint32_t size, uint32_t* read_count, uint32_t* data_type,
                            int64_t* epoch, uint8_t* is_user_header) {
    return read_next(*this, *d_ptr, ReadInto{data, size}, read_count, data_type, epoch, is_user_header);
}

int DataReader::peek_record(uint8_t* data, uint32_t size, uint32_t* read_count, uint32_t* data_type,
                            int64_t* epoch, uint8_t* is_user_header) {
    return peek_next(*this, *d_ptr, ReadInto{data, size}, read_count, data_type, epoch, is_user_header);
}

DataRecord DataReader::read_record() {
    return whole_record(*this, *d_ptr, &read_next<ReadWhole>);
}

DataRecord DataReader::peek_record() {
    return whole_record(*this, *d_ptr, &peek_next<ReadWhole>);
}

// --- seeking
// ---------------------------------------------------------------------------------------------------

namespace {

// The meta file in which a position of the whole chain lies, and the position inside it: the first file whose
// running sum reaches the position.
template <typename Field>
int locate_in_chain(const std::vector<RecordingMetaHeader>& headers, Field field, int64_t position,
                    int64_t* offset) {
    int64_t sum = 0;
    for (size_t i = 0; i < headers.size(); ++i) {
        const int64_t length = int64_t(headers[i].*field);
        sum += length;
        if (sum >= position) {
            *offset = length - (sum - position);
            return int(i);
        }
    }
    return -1;
}

} // namespace

int DataReader::seek_ms(int64_t position) {
    if (!is_open() || position < 0 || position > d_ptr->duration) {
        return 1;
    }
    int64_t offset = 0;
    const int index = locate_in_chain(d_ptr->headers, &RecordingMetaHeader::duration, position, &offset);
    if (index < 0) {
        return 1;
    }
    assert(offset >= 0 && offset <= UINT32_MAX);
    d_ptr->switch_to_file(index);
    RecordingMetaFile& file = *d_ptr->file_list[index];
    return file.open() && file.seek_ms(uint32_t(offset)) ? 0 : 1;
}

int DataReader::seek_byte(int64_t position) {
    if (!is_open() || position < 0 || position > d_ptr->size) {
        return 1;
    }
    int64_t offset = 0;
    const int index =
        locate_in_chain(d_ptr->headers, &RecordingMetaHeader::bytes_recorded, position, &offset);
    if (index < 0) {
        return 1;
    }
    assert(offset >= 0);
    d_ptr->switch_to_file(index);
    RecordingMetaFile& file = *d_ptr->file_list[index];
    return file.open() && file.seek_byte(offset) ? 0 : 1;
}

// --- the recording as a whole
// ----------------------------------------------------------------------------------

int64_t DataReader::get_start_epoch() const {
    return d_ptr->start_epoch;
}
int64_t DataReader::get_duration() const {
    return d_ptr->duration;
}
int64_t DataReader::get_size() const {
    return d_ptr->size;
}
uint32_t DataReader::get_data_types() const {
    return d_ptr->data_types;
}
uint32_t DataReader::get_max_record_size() const {
    return d_ptr->max_record_size;
}
uint32_t DataReader::get_meta_version() const {
    return d_ptr->meta_version;
}
uint32_t DataReader::get_profile_id() const {
    return d_ptr->profile_id;
}
std::string DataReader::get_session_id() const {
    return d_ptr->session_id;
}

} // namespace Tervik
