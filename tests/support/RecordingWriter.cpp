#include "RecordingWriter.h"

#include "ByteHelpers.h"
#include "CloseFileMetaEntry.h"
#include "FileMapMetaEntry.h"
#include "WriteFileMetaEntry.h"

#include <algorithm>
#include <cstdlib>
#include <ftw.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

using namespace Tervik;

// --- ScratchDirectory
// ------------------------------------------------------------------------------------------

ScratchDirectory::ScratchDirectory() {
    char name[] = "/tmp/devicebridge_recording_XXXXXX";
    if (!mkdtemp(name)) {
        throw std::runtime_error("mkdtemp failed");
    }
    m_path = name;
}

ScratchDirectory::~ScratchDirectory() {
    nftw(
        m_path.c_str(), [](const char* path, const struct stat*, int, struct FTW*) { return ::remove(path); },
        16, FTW_DEPTH | FTW_PHYS);
}

std::string ScratchDirectory::make_directory(const std::string& relative) const {
    std::string path = m_path;
    size_t start = 0;
    while (start < relative.size()) {
        const size_t slash = relative.find('/', start);
        const size_t end = slash == std::string::npos ? relative.size() : slash;
        path += "/" + relative.substr(start, end - start);
        mkdir(path.c_str(), 0777);
        start = end + 1;
    }
    return path;
}

// --- RecordingWriter
// -------------------------------------------------------------------------------------------

const char* const RecordingWriter::MetaFilename = "tervik_recording_meta.dat";
const char* const RecordingWriter::WritingMetaFilename = "tervik_recording_meta.writing";

RecordingWriter::RecordingWriter(const std::string& directory, const std::string& session_id,
                                 uint32_t version, int64_t created)
    : m_directory(directory), m_session_id(session_id), m_version(version), m_created(created) {}

RecordingWriter::~RecordingWriter() {
    for (auto& open_file : m_open_files) {
        fclose(open_file.second.file);
    }
}

RecordingWriter::OpenDataFile& RecordingWriter::data_file_for(DataType type) {
    auto found = m_open_files.find(type);
    if (found != m_open_files.end()) {
        return found->second;
    }
    const std::string name = default_basename_for_data_type(type) + "_" + std::to_string(m_file_map.size()) +
                             "." + file_extension_for_data_type(type);
    FILE* file = fopen((m_directory + "/" + name).c_str(), "wb");
    if (!file) {
        throw std::runtime_error("cannot create data file " + name);
    }
    OpenDataFile data_file = {file, uint32_t(m_file_map.size()), 0};
    m_file_map.push_back(name);
    return m_open_files.emplace(type, data_file).first->second;
}

void RecordingWriter::append_write(DataType type, uint32_t entry_data_type, const Bytes& bytes,
                                   uint32_t epoch_offset) {
    OpenDataFile& data_file = data_file_for(type);
    if (!bytes.empty() && fwrite(bytes.data(), 1, bytes.size(), data_file.file) != bytes.size()) {
        throw std::runtime_error("cannot write data file");
    }
    m_total_bytes += int64_t(bytes.size());
    const WriteFileMetaEntry entry(epoch_offset, entry_data_type, uint32_t(bytes.size()), data_file.size,
                                   m_total_bytes, data_file.filename_index);
    const Bytes raw = entry.to_raw();
    m_entries.insert(m_entries.end(), raw.begin(), raw.end());
    data_file.size += int64_t(bytes.size());
    m_data_types |= type;
    m_max_record_size = std::max(m_max_record_size, uint32_t(bytes.size()));
    m_last_epoch_offset = epoch_offset;
}

void RecordingWriter::write(DataType type, const Bytes& record, uint32_t epoch_offset) {
    append_write(type, type, record, epoch_offset);
}

void RecordingWriter::write_user_header(DataType type, const Bytes& header, uint32_t epoch_offset) {
    append_write(type, ~uint32_t(type), header, epoch_offset);
}

void RecordingWriter::close_data_file(DataType type, uint32_t epoch_offset) {
    auto found = m_open_files.find(type);
    if (found == m_open_files.end()) {
        return;
    }
    const OpenDataFile& data_file = found->second;
    fclose(data_file.file);
    const CloseFileMetaEntry entry(epoch_offset, type, data_file.size, m_total_bytes,
                                   data_file.filename_index);
    const Bytes raw = entry.to_raw();
    m_entries.insert(m_entries.end(), raw.begin(), raw.end());
    m_open_files.erase(found);
}

void RecordingWriter::split(DataType type, uint32_t epoch_offset) {
    close_data_file(type, epoch_offset);
}

Bytes RecordingWriter::header_bytes(uint8_t state, uint32_t duration, int64_t file_map_offset) const {
    const bool closed = state == 1;
    Bytes header;
    append_32bits(header, 0xA0B1C2D3u);
    append_32bits(header, m_version);
    append_64bits(header, (long long)m_created);
    header.push_back(state);
    append_32bits(header, closed ? duration : 0u);
    append_64bits(header, (long long)(closed ? m_total_bytes : 0));
    append_64bits(header, (long long)file_map_offset);
    append_32bits(header, closed ? m_data_types : 0u);
    append_64bits(header, -1LL);
    if (m_version >= 12) {
        append_32bits(header, closed ? m_max_record_size : 0u);
        if (m_version >= 13) {
            append_32bits(header, m_profile_id);
        }
        while (header.size() < 85) {
            append_32bits(header, 0xCDCDCDCDu);
        }
    }
    AbstractMetaEntry::string_to_bytes(m_session_id, &header);
    return header;
}

std::string RecordingWriter::write_meta(const std::string& name, const Bytes& content) const {
    const std::string path = m_directory + "/" + name;
    FILE* file = fopen(path.c_str(), "wb");
    if (!file || fwrite(content.data(), 1, content.size(), file) != content.size()) {
        throw std::runtime_error("cannot write meta file " + path);
    }
    fclose(file);
    return path;
}

std::string RecordingWriter::finish(uint32_t duration) {
    while (!m_open_files.empty()) {
        close_data_file(m_open_files.begin()->first, m_last_epoch_offset);
    }
    const size_t header_size = header_bytes(1, duration, 0).size();
    const int64_t file_map_offset = int64_t(header_size + m_entries.size());
    Bytes content = header_bytes(1, duration, file_map_offset);
    content.insert(content.end(), m_entries.begin(), m_entries.end());
    const Bytes file_map = FileMapMetaEntry(duration, m_file_map).to_raw();
    content.insert(content.end(), file_map.begin(), file_map.end());
    return write_meta(MetaFilename, content);
}

std::string RecordingWriter::abandon() {
    for (auto& open_file : m_open_files) {
        fflush(open_file.second.file);
    }
    Bytes content = header_bytes(0, 0, -1);
    content.insert(content.end(), m_entries.begin(), m_entries.end());
    return write_meta(WritingMetaFilename, content);
}

void RecordingWriter::link(const std::string& meta_path, const std::string& next_name) {
    const long end = file_size(meta_path);
    Bytes link;
    AbstractMetaEntry::string_to_bytes(next_name, &link);
    patch_file(meta_path, end, link);
    Bytes offset;
    append_64bits(offset, (long long)end);
    patch_file(meta_path, 41, offset);
}

// --- damage
// ----------------------------------------------------------------------------------------------------

void patch_file(const std::string& path, long offset, const Bytes& bytes) {
    FILE* file = fopen(path.c_str(), "r+b");
    const bool written = file && fseek(file, offset, SEEK_SET) == 0 &&
                         fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    if (file) {
        fclose(file);
    }
    if (!written) {
        throw std::runtime_error("cannot patch " + path);
    }
}

void truncate_file(const std::string& path, long size) {
    if (truncate(path.c_str(), size) != 0) {
        throw std::runtime_error("cannot truncate " + path);
    }
}

long file_size(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? long(status.st_size) : -1;
}
