#include "PyDataReader.h"

namespace Tervik {

PyDataReader::PyDataReader() = default;

int PyDataReader::open(const std::string& meta_filename, int depth) {
    return reader.open(meta_filename, depth);
}

bool PyDataReader::is_open() const {
    return reader.is_open();
}

void PyDataReader::close() {
    reader.close();
}

bool PyDataReader::at_end() const {
    return reader.at_end();
}

int PyDataReader::set_filter(uint32_t data_types) {
    return reader.set_filter(data_types);
}

uint32_t PyDataReader::get_filter() const {
    return reader.get_filter();
}

DataRecord PyDataReader::read_record() {
    return reader.read_record();
}

DataRecord PyDataReader::peek_record() {
    return reader.peek_record();
}

int PyDataReader::seek_ms(int64_t position) {
    return reader.seek_ms(position);
}

int PyDataReader::seek_byte(int64_t position) {
    return reader.seek_byte(position);
}

int64_t PyDataReader::get_start_epoch() const {
    return reader.get_start_epoch();
}

int64_t PyDataReader::get_duration() const {
    return reader.get_duration();
}

int64_t PyDataReader::get_size() const {
    return reader.get_size();
}

uint32_t PyDataReader::get_data_types() const {
    return reader.get_data_types();
}

uint32_t PyDataReader::get_max_record_size() const {
    return reader.get_max_record_size();
}

std::string PyDataReader::get_session_id() const {
    return reader.get_session_id();
}

} // namespace Tervik
