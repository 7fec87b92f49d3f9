#include "DataReaderPrivate.h"

#include <algorithm>
#include <iostream>
#include <set>
#include <sys/stat.h>
#include <utility>

namespace Tervik {

namespace {

struct ChainTotals {
    int64_t duration = 0;
    int64_t size = 0;
    uint32_t data_types = 0;
    uint32_t max_record_size = 0;
};

bool add_to_totals(const RecordingMetaHeader& header, ChainTotals* totals) {
    totals->duration += header.duration;
    totals->data_types |= header.data_types;
    totals->max_record_size = std::max(totals->max_record_size, header.max_record_size);
    return !__builtin_add_overflow(totals->size, header.bytes_recorded, &totals->size);
}

bool has_expected_session_id(const RecordingMetaFile& file, const std::string& expected_id) {
    if (!file.session_id().empty() && file.session_id() == expected_id) {
        return true;
    }
    std::cout << "failed to open meta file: " << file.meta_filename() << ": invalid session id" << std::endl;
    std::cout << "expected id: " << expected_id << ", actual id: " << file.session_id() << std::endl;
    return false;
}

// A damaged link could point back into the chain; following it would never end.
bool is_new_in_chain(const std::string& name, std::set<std::pair<dev_t, ino_t>>* seen) {
    struct stat status;
    if (stat(name.c_str(), &status) == 0 &&
        seen->insert(std::make_pair(status.st_dev, status.st_ino)).second) {
        return true;
    }
    std::cout << "failed to open meta file: " << name << ": already part of the chain" << std::endl;
    return false;
}

} // namespace

DataReaderPrivate::DataReaderPrivate(DataReader* q) : q_ptr(q) {}

void DataReaderPrivate::reset() {
    DataReader* q = q_ptr;
    *this = DataReaderPrivate(q);
}

int DataReaderPrivate::open_chain(const std::string& meta_filename, int depth) {
    std::vector<std::unique_ptr<RecordingMetaFile>> files;
    std::vector<RecordingMetaHeader> file_headers;
    std::set<std::pair<dev_t, ino_t>> seen;
    ChainTotals totals;
    std::string expected_id;
    std::string name = meta_filename;
    for (;;) {
        std::unique_ptr<RecordingMetaFile> file(new RecordingMetaFile(name));
        if (!file->is_open() || !is_new_in_chain(name, &seen)) {
            return 1;
        }
        if (expected_id.empty()) {
            expected_id = file->session_id();
        }
        if (!has_expected_session_id(*file, expected_id)) {
            return 1;
        }
        if (!add_to_totals(file->header(), &totals)) {
            std::cout << "failed to open meta file: " << name << ": invalid format" << std::endl;
            return 1;
        }
        file->set_filter(filter);
        file->close();
        file_headers.push_back(file->header());
        files.push_back(std::move(file));
        if (depth-- == 1) {
            break;
        }
        name = files.back()->next_meta_filename();
        if (name.empty()) {
            break;
        }
    }
    current_file_index = 0;
    meta_version = file_headers.front().version;
    start_epoch = file_headers.front().created;
    profile_id = file_headers.front().profile_id;
    duration = totals.duration;
    size = totals.size;
    data_types = totals.data_types;
    max_record_size = totals.max_record_size;
    session_id = expected_id;
    file_list = std::move(files);
    headers = std::move(file_headers);
    return 0;
}

RecordingMetaFile* DataReaderPrivate::ensure_file_open_for_read() {
    for (;;) {
        if (current_file_index < 0 || current_file_index >= int(file_list.size())) {
            return nullptr;
        }
        RecordingMetaFile* file = file_list[current_file_index].get();
        if (!file->open()) {
            return nullptr;
        }
        if (!file->at_end()) {
            return file;
        }
        // The last file stays current at its end, so that the reader as a whole reports its end.
        if (current_file_index + 1 >= int(file_list.size())) {
            return nullptr;
        }
        file->close();
        ++current_file_index;
    }
}

void DataReaderPrivate::switch_to_file(int index) {
    if (index != current_file_index && current_file_index >= 0 &&
        current_file_index < int(file_list.size())) {
        file_list[current_file_index]->close();
    }
    current_file_index = index;
}

bool DataReaderPrivate::current_file_is_done() const {
    const RecordingMetaFile& file = *file_list[current_file_index];
    if (file.is_open()) {
        return file.at_end();
    }
    return (filter & headers[current_file_index].data_types) == 0;
}

bool DataReaderPrivate::later_files_pass_filter() const {
    for (size_t i = size_t(current_file_index) + 1; i < headers.size(); ++i) {
        if (filter & headers[i].data_types) {
            return true;
        }
    }
    return false;
}

} // namespace Tervik
