#include "RecordingWriter.h"

#include "ByteHelpers.h"
#include "CloseFileMetaEntry.h"
#include "DataPacketToDisk.h"
#include "FileMapMetaEntry.h"
#include "SamplePackets.h"
#include "WriteFileMetaEntry.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

using namespace Tervik;
namespace fs = std::filesystem;

ScratchDirectory::ScratchDirectory() {
    char name[] = "/tmp/devicebridge_recording_XXXXXX";
    if (!mkdtemp(name)) {
        throw std::runtime_error("mkdtemp failed");
    }
    m_path = name;
}

ScratchDirectory::~ScratchDirectory() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

std::string ScratchDirectory::make_directory(const std::string& relative) const {
    fs::create_directories(m_path + "/" + relative);
    return m_path + "/" + relative;
}

const char* const RecordingWriter::MetaFilename = "tervik_recording_meta.dat";

RecordingWriter::RecordingWriter(const std::string& directory, const std::string& session_id,
                                 uint32_t version, int64_t created)
    : m_directory(directory), m_session_id(session_id), m_version(version), m_created(created) {}

void RecordingWriter::append_write(DataType type, uint32_t entry_data_type, const Bytes& bytes,
                                   uint32_t epoch_offset) {
    if (m_open_files.count(type) == 0) {
        m_open_files[type] = {uint32_t(m_file_map.size()), 0};
        m_file_map.push_back(default_basename_for_data_type(type) + "_" + std::to_string(m_file_map.size()) +
                             "." + file_extension_for_data_type(type));
    }
    OpenDataFile& data_file = m_open_files[type];
    std::ofstream(m_directory + "/" + m_file_map[data_file.filename_index], std::ios::binary | std::ios::app)
        .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    m_total_bytes += int64_t(bytes.size());
    append_entry(WriteFileMetaEntry(epoch_offset, entry_data_type, uint32_t(bytes.size()), data_file.size,
                                    m_total_bytes, data_file.filename_index));
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

void RecordingWriter::split(DataType type, uint32_t epoch_offset) {
    const auto found = m_open_files.find(type);
    if (found != m_open_files.end()) {
        const OpenDataFile& file = found->second;
        append_entry(CloseFileMetaEntry(epoch_offset, type, file.size, m_total_bytes, file.filename_index));
        m_open_files.erase(found);
    }
}

void RecordingWriter::append_entry(const AbstractMetaEntry& entry) {
    const Bytes raw = entry.to_raw();
    m_entries.insert(m_entries.end(), raw.begin(), raw.end());
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
        append_32bits(header, m_version >= 13 ? m_profile_id : 0xCDCDCDCDu);
        header.resize(85, 0xCD);
    }
    AbstractMetaEntry::string_to_bytes(m_session_id, &header);
    return header;
}

std::string RecordingWriter::write_meta(const std::string& name, const Bytes& header,
                                        const Bytes& tail) const {
    const std::string path = m_directory + "/" + name;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    for (const Bytes* part : {&header, &m_entries, &tail}) {
        file.write(reinterpret_cast<const char*>(part->data()), std::streamsize(part->size()));
    }
    return path;
}

std::string RecordingWriter::finish(uint32_t duration) {
    while (!m_open_files.empty()) {
        split(m_open_files.begin()->first, m_last_epoch_offset);
    }
    const int64_t file_map_offset = int64_t(header_bytes(1, duration, 0).size() + m_entries.size());
    return write_meta(MetaFilename, header_bytes(1, duration, file_map_offset),
                      FileMapMetaEntry(duration, m_file_map).to_raw());
}

std::string RecordingWriter::abandon() {
    return write_meta("tervik_recording_meta.writing", header_bytes(0, 0, -1), Bytes());
}

void RecordingWriter::link(const std::string& meta_path, const std::string& next_name) {
    const long end = file_size(meta_path);
    Bytes link, offset;
    AbstractMetaEntry::string_to_bytes(next_name, &link);
    patch_file(meta_path, end, link);
    append_64bits(offset, (long long)end);
    patch_file(meta_path, 41, offset);
}

std::vector<std::string> RecordingWriter::data_files() const {
    std::vector<std::string> paths;
    for (const std::string& name : m_file_map) {
        paths.push_back(m_directory + "/" + name);
    }
    return paths;
}

SampleRecording::SampleRecording(const std::vector<DataType>& types, int rounds, uint32_t gap, uint32_t start,
                                 const std::string& session_id)
    : duration(start + uint32_t(rounds - 1) * gap) {
    RecordingWriter writer(scratch.path(), session_id);
    for (DataType type : types) {
        const std::string header = DataPacketToDisk::header_line(type);
        if (header.empty()) {
            writer.write_user_header(type, {'u', 's', 'e', 'r'}, 0);
        } else {
            writer.write(type, Bytes(header.begin(), header.end()), 0);
        }
    }
    for (int round = 0; round < rounds; ++round) {
        for (DataType type : types) {
            const Bytes packet = SamplePackets::sample_packet(type, uint32_t(round + 1));
            bool matrix_started = false;
            const uint32_t time = start + uint32_t(round) * gap;
            writer.write(type, DataPacketToDisk::convert(type, packet, matrix_started).bytes, time);
            if (type != PerformanceStatusType) {
                packets.push_back(packet);
                times.push_back(time);
            }
        }
    }
    meta = writer.finish(duration);
    data_files = writer.data_files();
}

Bytes file_bytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

void patch_file(const std::string& path, long offset, const Bytes& bytes) {
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    if (!file.seekp(offset).write(reinterpret_cast<const char*>(bytes.data()),
                                  std::streamsize(bytes.size()))) {
        throw std::runtime_error("cannot patch " + path);
    }
}

void truncate_file(const std::string& path, long size) {
    fs::resize_file(path, uintmax_t(size));
}

long file_size(const std::string& path) {
    std::error_code error;
    const uintmax_t size = fs::file_size(path, error);
    return error ? -1 : long(size);
}
