#include "MetaFileSummary.h"

#include "ByteCursor.h"
#include "Tool.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace tool {

namespace {

namespace fs = std::filesystem;

const uint32_t magic = 0xA0B1C2D3;
const size_t entry_size = 33;
const uint8_t write_file_entry = 1, close_file_entry = 2;
const char* const journal_name = "tervik_recording_meta_tmp.writing";
// Longer names are not names but damage.
const uint32_t max_name_size = 4096;

Bytes read_whole(const std::string& path, bool* found) {
    std::ifstream file(path, std::ios::binary);
    *found = static_cast<bool>(file);
    return Bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

int bits_set(uint32_t value) {
    int count = 0;
    for (; value != 0; value &= value - 1)
        ++count;
    return count;
}

void read_header(MetaFileSummary& summary, ByteCursor& cursor, int64_t* file_map_offset,
                 int64_t* next_offset) {
    if (cursor.u32() != magic)
        throw Failure(summary.path + " is not a meta file of a recording");
    summary.version = cursor.u32();
    summary.created = cursor.i64();
    summary.state = cursor.u8();
    summary.duration = cursor.u32();
    summary.bytes_recorded = cursor.i64();
    *file_map_offset = cursor.i64();
    summary.data_types = cursor.u32();
    *next_offset = cursor.i64();
    summary.max_record_size = summary.version > 11 ? cursor.u32() : 2048;
    summary.profile_id = summary.version >= 13 ? cursor.u32() : 0;
    if (summary.version > 11)
        cursor.skip(summary.version >= 13 ? 28 : 32);
    summary.session_id = cursor.counted_string(max_name_size);
    if (!cursor.ok() || summary.version < 11)
        throw Failure(summary.path + " is damaged: its header is cut short or of an unknown version");
}

// The file map of a closed meta file, or the journal's names of one that was never closed.
std::vector<std::string> file_names(const Bytes& meta, const MetaFileSummary& summary,
                                    int64_t file_map_offset, size_t* entries_end) {
    std::vector<std::string> names;
    if (summary.is_closed() && file_map_offset > 0 && static_cast<uint64_t>(file_map_offset) <= meta.size()) {
        *entries_end = static_cast<size_t>(file_map_offset);
        ByteCursor cursor(meta, *entries_end);
        cursor.u32();
        const uint8_t type = cursor.u8();
        const uint32_t count = cursor.u32();
        for (uint32_t i = 0; type == 3 && cursor.ok() && i < count; ++i)
            names.push_back(cursor.counted_string(max_name_size));
        if (!cursor.ok() && !names.empty())
            names.pop_back();
        return names;
    }
    bool found = false;
    const Bytes journal = read_whole((fs::path(summary.path).parent_path() / journal_name).string(), &found);
    ByteCursor cursor(journal);
    while (cursor.ok() && cursor.at() < journal.size()) {
        const uint32_t index = cursor.u32();
        const std::string name = cursor.counted_string(max_name_size);
        if (!cursor.ok() || index > max_name_size * 16)
            break;
        if (names.size() <= index)
            names.resize(index + 1);
        names[index] = name;
    }
    return names;
}

DataFileSummary& file_at(MetaFileSummary& summary, uint32_t index) {
    if (summary.files.size() <= index)
        summary.files.resize(index + 1);
    return summary.files[index];
}

// Counts the entries by type and works out the size each data file should have.
void walk_entries(const Bytes& meta, size_t first, size_t end, MetaFileSummary& summary) {
    uint64_t corrupt = 0;
    const size_t file_limit = 1u << 16; // far more files than a recording has; more is damage
    for (size_t at = first; at + entry_size <= end; at += entry_size) {
        ByteCursor cursor(meta, at);
        cursor.u32();
        const uint8_t type = cursor.u8();
        const uint32_t data_type = cursor.u32();
        const uint32_t bytes_written = cursor.u32();
        const uint32_t index = cursor.u32();
        const int64_t offset = cursor.i64();
        const int bits = bits_set(data_type);
        if ((type != write_file_entry && type != close_file_entry) || (bits != 1 && bits != 31) ||
            index >= file_limit || offset < 0) {
            ++corrupt;
            continue;
        }
        ++summary.entries;
        const uint32_t single = bits == 31 ? ~data_type : data_type;
        DataFileSummary& file = file_at(summary, index);
        file.data_type = single;
        if (type == close_file_entry) {
            file.closed = true;
            file.expected_size = offset;
            continue;
        }
        TypeCount& count = summary.types[single];
        (bits == 31 ? count.user_headers : count.records) += 1;
        count.bytes += bytes_written;
        if (!file.closed)
            file.expected_size = std::max<int64_t>(file.expected_size, offset + bytes_written);
    }
    if (corrupt > 0)
        summary.problems.push_back(std::to_string(corrupt) + " corrupt entries");
    if (end > first && (end - first) % entry_size != 0)
        summary.problems.push_back("a torn entry at the end of the entries");
}

void check_files(MetaFileSummary& summary, const std::vector<std::string>& names) {
    const fs::path directory = fs::path(summary.path).parent_path();
    for (size_t index = 0; index < std::max(names.size(), summary.files.size()); ++index) {
        DataFileSummary& file = file_at(summary, static_cast<uint32_t>(index));
        file.name = index < names.size() ? names[index] : "";
        if (file.name.empty()) {
            summary.problems.push_back("file " + std::to_string(index) + " is not named in the file map");
            continue;
        }
        struct stat status;
        if (stat((directory / file.name).c_str(), &status) != 0) {
            summary.problems.push_back("data file missing: " + file.name);
            continue;
        }
        file.size_on_disk = status.st_size;
        if (file.closed ? file.size_on_disk != file.expected_size : file.size_on_disk < file.expected_size)
            summary.problems.push_back("size of " + file.name + " is " + std::to_string(file.size_on_disk) +
                                       " bytes, the entries say " + std::to_string(file.expected_size));
    }
}

} // namespace

MetaFileSummary summarize_meta_file(const std::string& path) {
    MetaFileSummary summary;
    summary.path = path;
    if (fs::is_directory(path))
        throw Failure(path + " is a directory, not a meta file");
    bool found = false;
    const Bytes meta = read_whole(path, &found);
    if (!found)
        throw Failure("cannot read meta file " + path + ": " + std::strerror(errno));
    ByteCursor cursor(meta);
    int64_t file_map_offset = -1, next_offset = -1;
    read_header(summary, cursor, &file_map_offset, &next_offset);
    size_t entries_end = meta.size();
    const std::vector<std::string> names = file_names(meta, summary, file_map_offset, &entries_end);
    walk_entries(meta, cursor.at(), std::max(entries_end, cursor.at()), summary);
    check_files(summary, names);
    if (!summary.is_closed())
        summary.problems.insert(summary.problems.begin(),
                                "not closed: left by a crash or still recording (devicebridge recover "
                                "makes it readable)");
    else if (names.empty())
        summary.problems.push_back("the file map is missing or damaged");
    if (next_offset > 0) {
        ByteCursor link(meta, static_cast<size_t>(std::min<uint64_t>(next_offset, meta.size())));
        const std::string next = link.counted_string(max_name_size);
        if (!link.ok() || next.empty())
            summary.problems.push_back("the link to the next meta file is damaged");
        else
            summary.next_meta_file = (fs::path(path).parent_path() / next).lexically_normal().string();
    }
    return summary;
}

std::vector<MetaFileSummary> summarize_chain(const std::string& path) {
    std::vector<MetaFileSummary> chain{summarize_meta_file(path)};
    std::set<std::string> seen{fs::weakly_canonical(path).string()};
    while (!chain.back().next_meta_file.empty()) {
        const std::string next = chain.back().next_meta_file;
        if (!seen.insert(fs::weakly_canonical(next).string()).second) {
            chain.back().problems.push_back("the chain of meta files loops back to " + next);
            break;
        }
        try {
            chain.push_back(summarize_meta_file(next));
        } catch (const Failure& failure) {
            chain.back().problems.push_back(std::string("the next meta file can't be read: ") +
                                            failure.what());
            break;
        }
        if (chain.back().session_id != chain.front().session_id)
            chain.back().problems.push_back("belongs to another session");
    }
    return chain;
}

void explain_refusal(const std::string& meta_file, const std::string& refusal) {
    const std::vector<MetaFileSummary> chain = summarize_chain(meta_file);
    for (const MetaFileSummary& meta : chain)
        if (!meta.problems.empty())
            throw Failure("cannot read the recording " + meta_file + ": " + meta.path + ": " +
                          meta.problems.front());
    throw Failure("cannot read the recording " + meta_file + ": " + refusal);
}

void open_reader(Tervik::DataReader& reader, const std::string& meta_file) {
    if (reader.open(meta_file) != 0)
        explain_refusal(meta_file, "the reader refuses it");
}

} // namespace tool
