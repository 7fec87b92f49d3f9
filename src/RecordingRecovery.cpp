#include "RecordingRecovery.h"

#include "AbstractMetaEntry.h"
#include "ByteHelpers.h"
#include "CloseFileMetaEntry.h"
#include "DataTypes.h"
#include "FileMapMetaEntry.h"
#include "RecordingFile.h"
#include "RecordingMetaFile.h"
#include "WriteFileMetaEntry.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace Tervik {

namespace {

namespace fs = std::filesystem;

const char* const crashed_meta_name = "tervik_recording_meta.writing";
const char* const closed_meta_name = "tervik_recording_meta.dat";
const char* const journal_name = "tervik_recording_meta_tmp.writing";
// The recovered meta file is written under this name and renamed when complete: a recovery that is itself
// interrupted leaves the crashed meta file as it was.
const char* const recovering_meta_name = "tervik_recording_meta_recovering.writing";
const char* const writing_extension = ".writing";
const size_t writing_extension_size = 8;
const char* const directory_prefix = "tervik_recording_";
const uint32_t meta_magic = 0xA0B1C2D3;
const size_t state_offset = 16;
const size_t next_offset_field = 41;
const size_t max_name_size = 4096;
const int search_depth = 3;

const char* const torn_entry = "torn entry at the end of the meta file";
const char* const corrupt_entry = "corrupt entry";
const char* const entry_after_close = "entry after its file's close";
const char* const data_file_missing = "data file missing or unreadable";
const char* const data_not_in_file = "data not wholly in its data file";
const char* const overlapping_entry = "record overlaps the one before it";

uint64_t u64_at(const Bytes& bytes, size_t at, int size) {
    uint64_t value = 0;
    for (int i = size - 1; i >= 0; --i)
        value = (value << 8) | bytes[at + static_cast<size_t>(i)];
    return value;
}

uint32_t u32_at(const Bytes& bytes, size_t at) {
    return static_cast<uint32_t>(u64_at(bytes, at, 4));
}

int64_t i64_at(const Bytes& bytes, size_t at) {
    return static_cast<int64_t>(u64_at(bytes, at, 8));
}

bool ends_with(const std::string& text, const std::string& suffix) {
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

std::string error_text(int error) {
    return std::strerror(error);
}

// At most `limit` bytes of the file; false with the system's reason if it can't be read.
bool read_file(const std::string& path, Bytes* bytes, std::string* error, size_t limit = SIZE_MAX) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status;
    if (fd < 0 || ::fstat(fd, &status) != 0) {
        *error = error_text(errno);
        if (fd >= 0)
            ::close(fd);
        return false;
    }
    bytes->resize(std::min(static_cast<size_t>(status.st_size), limit));
    size_t done = 0;
    while (done < bytes->size()) {
        const ssize_t n = ::read(fd, bytes->data() + done, bytes->size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            *error = n < 0 ? error_text(errno) : "file shrank while read";
            ::close(fd);
            return false;
        }
        done += static_cast<size_t>(n);
    }
    ::close(fd);
    return true;
}

// A name the recorder could have written into the directory: no path, nothing odd.
bool plain_name(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
}

struct MetaHeader {
    uint32_t version = 0;
    uint8_t state = 0;
    int64_t file_map_offset = -1;
    int64_t next_offset = -1;
    size_t first_entry_offset = 0;
    std::string session_id;
};

// The fixed header and the session id; false if they aren't those of a meta file.
bool parse_header(const Bytes& meta, MetaHeader* header) {
    if (meta.size() < 53 || u32_at(meta, 0) != meta_magic)
        return false;
    header->version = u32_at(meta, 4);
    if (header->version < 11)
        return false;
    header->state = meta[state_offset];
    header->file_map_offset = i64_at(meta, 29);
    header->next_offset = i64_at(meta, next_offset_field);
    const size_t id_at = header->version < 12 ? 49 : 85;
    if (meta.size() < id_at + 4)
        return false;
    const uint32_t length = u32_at(meta, id_at);
    if (length < 2 || length > max_name_size || meta.size() < id_at + 4 + length)
        return false;
    const char* id = reinterpret_cast<const char*>(&meta[id_at + 4]);
    header->session_id.assign(id, strnlen(id, length));
    header->first_entry_offset = id_at + 4 + length;
    return !header->session_id.empty();
}

// The journal: file index to the name the data file had while it was written. A torn last name is what a
// kill leaves; anything else that doesn't parse ends it, and *damaged tells.
std::map<uint32_t, std::string> parse_journal(const Bytes& journal, bool* damaged) {
    std::map<uint32_t, std::string> names;
    *damaged = false;
    size_t at = 0;
    while (at + 8 <= journal.size()) {
        const uint32_t index = u32_at(journal, at);
        const uint32_t length = u32_at(journal, at + 4);
        if (length < 2 || length > max_name_size) {
            *damaged = true;
            break;
        }
        if (at + 8 + length > journal.size())
            break;
        const char* text = reinterpret_cast<const char*>(&journal[at + 8]);
        const std::string name(text, strnlen(text, length));
        if (!plain_name(name)) {
            *damaged = true;
            break;
        }
        names.emplace(index, name);
        at += 8 + length;
    }
    return names;
}

struct FileInfo {
    int64_t size;
    fs::file_time_type time;
};

// What the recovery knows of one data file of the crashed meta file, by its index there.
struct DataFile {
    uint32_t data_type = 0; // the plain type, also for the entries of a user header
    bool closed = false;
    int64_t close_size = 0;
    int64_t needed_size = 0;
    std::string name; // in the meta file's directory; empty while unresolved
    int64_t size = 0;
    int64_t kept_end = 0;
    bool has_records = false;
    uint32_t new_index = 0;
    std::string final_name;
};

struct Entry {
    MetaEntry fields;
    bool kept = false;
};

// One step that changes the disk: its line in the report, and the work, which gives the system's reason
// when it fails.
struct Step {
    std::string action;
    std::function<bool(std::string* error)> run;
};

bool write_whole_file(const std::string& path, const Bytes& bytes, std::string* error) {
    RecordingFile file;
    if (file.open(path) && file.write(bytes) && file.close())
        return true;
    *error = error_text(file.error());
    return false;
}

bool system_call(int result, std::string* error) {
    if (result == 0)
        return true;
    *error = error_text(errno);
    return false;
}

Step rename_step(const std::string& from, const std::string& to) {
    return Step{"rename " + from + " to " + to, [from, to](std::string* why) {
                    return system_call(std::rename(from.c_str(), to.c_str()), why);
                }};
}

Step remove_step(const std::string& path) {
    return Step{"remove " + path,
                [path](std::string* why) { return system_call(std::remove(path.c_str()), why); }};
}

class RecordingRecovery {
public:
    RecordingRecovery(const std::string& target, bool dry_run) {
        report.target = target;
        report.dry_run = dry_run;
    }

    RecoveryReport run();

private:
    std::vector<std::string> crashed_meta_files();
    void recover_meta_file(const std::string& path);
    void finish_closed_meta_file(const std::string& path, const std::string& prefix);
    void finish(std::vector<Step> steps, const std::string& prefix);
    void scan_entries(const Bytes& meta, size_t first_entry_offset);
    bool resolve_data_files(const std::string& directory, const std::string& journal_path);
    bool resolve(DataFile& file, const std::string& journal_entry);
    void keep_entries_in_their_files();
    std::string final_name_for(const DataFile& file);
    Bytes closed_meta(const Bytes& original, const MetaHeader& header);
    void link_predecessor(const std::string& closed_path);
    bool run_steps(const std::vector<Step>& steps);
    void drop(const char* reason, uint64_t count = 1) { dropped[reason] += count; }
    void problem(const std::string& text) { report.problems.push_back(text); }

    RecoveryReport report;
    std::map<std::string, uint64_t> dropped;
    std::map<uint32_t, RecoveredRecords> recovered;
    // Closed meta files a dry run would make, so that it can tell the links it would make to them.
    std::set<std::string> planned_closed;

    // The meta file being recovered.
    std::vector<Entry> entries;
    std::map<uint32_t, DataFile> files;
    std::map<std::string, FileInfo> listing;
    std::set<std::string> claimed;
};

RecoveryReport RecordingRecovery::run() {
    for (const std::string& path : crashed_meta_files())
        recover_meta_file(path);
    for (const std::pair<const std::string, uint64_t>& entry : dropped)
        report.dropped.push_back(DroppedEntries{entry.first, entry.second});
    for (const std::pair<const uint32_t, RecoveredRecords>& entry : recovered)
        report.recovered.push_back(entry.second);
    return report;
}

// The number that ends a sub-directory's name, or -1.
long sub_directory_number(const std::string& name) {
    const size_t underscore = name.rfind('_');
    if (name.compare(0, std::strlen(directory_prefix), directory_prefix) != 0 ||
        underscore == std::string::npos || underscore + 1 == name.size() || name.size() - underscore > 10)
        return -1;
    for (size_t i = underscore + 1; i < name.size(); ++i) {
        if (name[i] < '0' || name[i] > '9')
            return -1;
    }
    return std::stol(name.substr(underscore + 1));
}

// The session id in the name of a numbered sub-directory, "tervik_recording_<date>_<time>_<id>_<n>"; empty
// for any other name.
std::string session_of_sub_directory(const std::string& name) {
    if (sub_directory_number(name) < 0)
        return std::string();
    const std::string session_part = name.substr(0, name.rfind('_'));
    return session_part.substr(session_part.rfind('_') + 1);
}

// In the order of the recording: by session directory, then by the number of the sub-directory, so that a
// predecessor is closed before its successor is linked to it.
std::vector<std::string> RecordingRecovery::crashed_meta_files() {
    std::vector<std::string> found;
    std::error_code error;
    const fs::file_status status = fs::status(report.target, error);
    if (error) {
        problem("cannot read " + report.target + ": " + error.message());
        return found;
    }
    if (!fs::is_directory(status)) {
        const fs::path file(report.target);
        if (file.filename() != closed_meta_name)
            found.push_back(report.target);
        // A meta file of a recording split over directories stands for the whole recording.
        const std::string session_id = session_of_sub_directory(file.parent_path().filename().string());
        if (!session_id.empty()) {
            for (fs::directory_iterator it(file.parent_path().parent_path(), error), end; !error && it != end;
                 it.increment(error)) {
                const fs::path crashed = it->path() / crashed_meta_name;
                if (session_of_sub_directory(it->path().filename().string()) == session_id &&
                    crashed != file && fs::exists(crashed))
                    found.push_back(crashed.string());
            }
        }
    } else {
        fs::recursive_directory_iterator walk(report.target, error), end;
        for (; !error && walk != end; walk.increment(error)) {
            if (walk.depth() >= search_depth)
                walk.disable_recursion_pending();
            if (walk->path().filename() == crashed_meta_name)
                found.push_back(walk->path().string());
        }
    }
    if (error)
        problem("cannot read all of " + report.target + ": " + error.message());
    std::sort(found.begin(), found.end(), [](const std::string& a, const std::string& b) {
        const fs::path da = fs::path(a).parent_path(), db = fs::path(b).parent_path();
        if (da.parent_path() != db.parent_path())
            return da.parent_path() < db.parent_path();
        const long na = sub_directory_number(da.filename().string());
        const long nb = sub_directory_number(db.filename().string());
        return na != nb ? na < nb : a < b;
    });
    return found;
}

void RecordingRecovery::recover_meta_file(const std::string& path) {
    const std::string directory = fs::path(path).parent_path().string();
    const std::string prefix = directory.empty() ? std::string() : directory + "/";
    Bytes meta;
    std::string error;
    MetaHeader header;
    if (!read_file(path, &meta, &error)) {
        problem("cannot read " + path + ": " + error);
        return;
    }
    if (!parse_header(meta, &header)) {
        // A kill between the meta file's creation and its header's write leaves it shorter than a header.
        problem(path + (meta.size() < 85 + 4 ? ": no complete header, left as it is"
                                             : ": not a meta file, left as it is"));
        return;
    }
    if (header.state == 1) {
        // Closed, but the crash came before its rename.
        if (header.file_map_offset >= static_cast<int64_t>(header.first_entry_offset) &&
            header.file_map_offset < static_cast<int64_t>(meta.size()))
            finish_closed_meta_file(path, prefix);
        else if (fs::path(path).filename() == crashed_meta_name)
            problem(path + ": closed but without a file map, left as it is");
        return;
    }
    if (fs::exists(prefix + closed_meta_name)) {
        problem(path + ": a closed meta file stands beside it already, left as it is");
        return;
    }
    entries.clear();
    files.clear();
    scan_entries(meta, header.first_entry_offset);
    if (!resolve_data_files(directory, prefix + journal_name))
        return;
    keep_entries_in_their_files();
    if (std::none_of(entries.begin(), entries.end(), [](const Entry& entry) { return entry.kept; })) {
        problem(path + ": no complete record to recover, left as it is");
        return;
    }
    std::vector<Step> steps;
    for (std::pair<const uint32_t, DataFile>& entry : files) {
        DataFile& file = entry.second;
        if (!file.has_records)
            continue;
        const std::string name = prefix + file.name;
        if (file.size > file.kept_end) {
            const int64_t size = file.kept_end;
            steps.push_back(Step{
                "truncate " + name + " from " + std::to_string(file.size) + " to " + std::to_string(size) +
                    " bytes",
                [name, size](std::string* why) { return system_call(::truncate(name.c_str(), size), why); }});
        }
        if (file.final_name != file.name)
            steps.push_back(rename_step(name, prefix + file.final_name));
    }
    const std::shared_ptr<const Bytes> closed = std::make_shared<const Bytes>(closed_meta(meta, header));
    const std::string recovering = prefix + recovering_meta_name;
    steps.push_back(Step{"write " + recovering, [recovering, closed](std::string* why) {
                             return write_whole_file(recovering, *closed, why);
                         }});
    steps.push_back(rename_step(recovering, prefix + closed_meta_name));
    steps.push_back(remove_step(path));
    finish(steps, prefix);
}

// A meta file that was closed, but not renamed: the rename and the journal's removal are all it lacks.
void RecordingRecovery::finish_closed_meta_file(const std::string& path, const std::string& prefix) {
    if (fs::exists(prefix + closed_meta_name)) {
        problem(path + ": a closed meta file stands beside it already, left as it is");
        return;
    }
    finish({rename_step(path, prefix + closed_meta_name)}, prefix);
}

// The journal goes last: until the closed meta file stands, a later recovery needs it.
void RecordingRecovery::finish(std::vector<Step> steps, const std::string& prefix) {
    if (fs::exists(prefix + journal_name))
        steps.push_back(remove_step(prefix + journal_name));
    if (!run_steps(steps))
        return;
    const std::string closed_path = prefix + closed_meta_name;
    report.recovered_meta_files.push_back(closed_path);
    planned_closed.insert(closed_path);
    link_predecessor(closed_path);
}

// Every whole entry, checked on its own and against the entries of its file before it.
void RecordingRecovery::scan_entries(const Bytes& meta, size_t first_entry_offset) {
    const size_t span = meta.size() - first_entry_offset;
    if (span % AbstractMetaEntry::EntrySize != 0)
        drop(torn_entry);
    entries.reserve(span / AbstractMetaEntry::EntrySize);
    for (size_t at = first_entry_offset; at + AbstractMetaEntry::EntrySize <= meta.size();
         at += AbstractMetaEntry::EntrySize) {
        const MetaEntry fields = decode_meta_entry(&meta[at]);
        const unsigned bits = count_bits_set(fields.data_type);
        const bool write = fields.type == AbstractMetaEntry::WriteFile && (bits == 1 || bits == 31);
        const bool close = fields.type == AbstractMetaEntry::CloseFile && bits == 1;
        const uint32_t type = bits == 31 ? ~fields.data_type : fields.data_type;
        if ((!write && !close) || !is_single_data_type(type) || fields.offset < 0 ||
            fields.offset > INT64_MAX - fields.bytes_written) {
            drop(corrupt_entry);
            continue;
        }
        DataFile& file = files[fields.filename_index];
        if (file.data_type == 0)
            file.data_type = type;
        if (file.data_type != type) {
            drop(corrupt_entry);
            continue;
        }
        if (file.closed) {
            drop(entry_after_close);
            continue;
        }
        if (close) {
            file.closed = true;
            file.close_size = fields.offset;
        } else {
            file.needed_size = std::max(file.needed_size, fields.offset + fields.bytes_written);
        }
        entries.push_back(Entry{fields, false});
    }
}

bool RecordingRecovery::resolve_data_files(const std::string& directory, const std::string& journal_path) {
    listing.clear();
    claimed.clear();
    std::error_code error;
    for (fs::directory_iterator it(directory.empty() ? "." : directory, error), end; !error && it != end;
         it.increment(error)) {
        std::error_code ignored;
        if (it->is_regular_file(ignored))
            listing[it->path().filename().string()] =
                FileInfo{static_cast<int64_t>(it->file_size(ignored)), it->last_write_time(ignored)};
    }
    if (error) {
        problem("cannot read " + directory + ": " + error.message());
        return false;
    }
    Bytes journal;
    std::string why;
    bool damaged = false;
    std::map<uint32_t, std::string> names;
    if (!read_file(journal_path, &journal, &why))
        problem("cannot read the journal " + journal_path + ": " + why +
                "; data files are matched by type and size");
    else
        names = parse_journal(journal, &damaged);
    if (damaged)
        problem("journal " + journal_path + ": damaged after " + std::to_string(names.size()) +
                " names; the other data files are matched by type and size");
    // Files closed before the crash first: their final names are theirs, the ".writing" names the open ones'.
    for (bool closed : {true, false}) {
        for (std::pair<const uint32_t, DataFile>& entry : files) {
            if (entry.second.closed != closed)
                continue;
            std::map<uint32_t, std::string>::const_iterator name = names.find(entry.first);
            if (!resolve(entry.second, name == names.end() ? std::string() : name->second))
                problem("data file " + std::to_string(entry.first) + " (" +
                        (name == names.end() ? "not in the journal" : name->second) + ", " +
                        data_type_to_string(static_cast<DataType>(entry.second.data_type)) +
                        ") not found: its entries are dropped");
        }
    }
    return true;
}

// The file of the directory that stands for a data file: the one the journal names, or the name a close
// gave it; without a journal name, the only unclaimed file that fits its type and size.
bool RecordingRecovery::resolve(DataFile& file, const std::string& journal_entry) {
    const std::string extension = "." + file_extension_for_data_type(static_cast<DataType>(file.data_type));
    std::string stem;
    if (ends_with(journal_entry, writing_extension))
        stem = journal_entry.substr(0, journal_entry.size() - writing_extension_size);
    std::vector<std::string> candidates;
    for (const std::pair<const std::string, FileInfo>& entry : listing) {
        const std::string& name = entry.first;
        if (claimed.count(name) || name == crashed_meta_name || name == journal_name)
            continue;
        const bool writing = ends_with(name, writing_extension), final = ends_with(name, extension);
        bool fits;
        if (!journal_entry.empty())
            fits = name == journal_entry ||
                   (!stem.empty() && final && name.compare(0, stem.size(), stem) == 0 &&
                    (name.size() == stem.size() + extension.size() ||
                     (name.size() == stem.size() + 6 + extension.size() && name[stem.size()] == '_' &&
                      name.compare(stem.size() + 4, 2, "ms") == 0)));
        else
            fits = (writing || final) && name.find("tervik_recording_meta") != 0;
        if (fits)
            candidates.push_back(name);
    }
    // The better fit first: for a closed file its size at close, then a final name; for an open one its
    // ".writing" name, then a size that holds its entries. Ties go to the file written first; without a
    // journal name a tie is no match.
    // Without a journal, the type's default basename tells the types apart.
    const std::string basename = default_basename_for_data_type(static_cast<DataType>(file.data_type)) + "_";
    auto score = [&](const std::string& name) {
        const FileInfo& info = listing[name];
        const int named = name.compare(0, basename.size(), basename) == 0 ? 4 : 0;
        if (file.closed)
            return named + (info.size == file.close_size ? 2 : 0) +
                   (ends_with(name, writing_extension) ? 0 : 1);
        return named + (ends_with(name, writing_extension) ? 2 : 0) + (info.size >= file.needed_size ? 1 : 0);
    };
    std::sort(candidates.begin(), candidates.end(), [&](const std::string& a, const std::string& b) {
        const int sa = score(a), sb = score(b);
        if (sa != sb)
            return sa > sb;
        return listing[a].time != listing[b].time ? listing[a].time < listing[b].time : a < b;
    });
    if (candidates.empty() ||
        (journal_entry.empty() && candidates.size() > 1 && score(candidates[0]) == score(candidates[1])))
        return false;
    file.name = candidates.front();
    file.size = listing[file.name].size;
    claimed.insert(file.name);
    return true;
}

// Entries whose bytes are wholly in their data file are kept; each file ends after its last kept record.
void RecordingRecovery::keep_entries_in_their_files() {
    for (Entry& entry : entries) {
        const MetaEntry& fields = entry.fields;
        DataFile& file = files[fields.filename_index];
        if (file.name.empty()) {
            drop(data_file_missing);
            continue;
        }
        if (fields.type == AbstractMetaEntry::CloseFile) {
            entry.kept = file.has_records;
            if (!entry.kept)
                drop(data_not_in_file);
            continue;
        }
        const int64_t end = fields.offset + fields.bytes_written;
        if (end > file.size) {
            drop(data_not_in_file);
            continue;
        }
        if (fields.offset < file.kept_end) {
            drop(overlapping_entry);
            continue;
        }
        entry.kept = true;
        file.kept_end = end;
        file.has_records = true;
    }
    uint32_t next_index = 0;
    for (const Entry& entry : entries) {
        DataFile& file = files[entry.fields.filename_index];
        if (entry.kept && file.final_name.empty()) {
            file.new_index = next_index++;
            file.final_name = final_name_for(file);
            claimed.insert(file.final_name);
        }
    }
}

// A file still named ".writing" takes its final name by the recorder's rule: the type's extension, and the
// milliseconds of the clock before it if that name is taken.
std::string RecordingRecovery::final_name_for(const DataFile& file) {
    if (!ends_with(file.name, writing_extension))
        return file.name;
    const std::string stem = file.name.substr(0, file.name.size() - writing_extension_size);
    const std::string extension = "." + file_extension_for_data_type(static_cast<DataType>(file.data_type));
    const std::string plain = stem + extension;
    if (!listing.count(plain) && !claimed.count(plain))
        return plain;
    const int64_t now = std::chrono::duration_cast<std::chrono::milliseconds>(
                            std::chrono::system_clock::now().time_since_epoch())
                            .count();
    for (int step = 0; step < 1000; ++step) {
        char ms[8];
        std::snprintf(ms, sizeof(ms), "%03d", static_cast<int>((now + step) % 1000));
        const std::string name = stem + "_" + ms + "ms" + extension;
        if (!listing.count(name) && !claimed.count(name))
            return name;
    }
    return file.name;
}

// The meta file as a close would have left it: the header of the crashed one with its closing fields, the
// kept entries with their running totals, a close entry for each file that was open, and the file map.
Bytes RecordingRecovery::closed_meta(const Bytes& original, const MetaHeader& header) {
    Bytes body;
    int64_t total = 0;
    uint32_t duration = 0, data_types = 0, max_record_size = 0;
    for (const Entry& entry : entries) {
        if (!entry.kept)
            continue;
        const MetaEntry& fields = entry.fields;
        DataFile& file = files[fields.filename_index];
        duration = std::max(duration, fields.epoch_offset);
        Bytes raw;
        if (fields.type == AbstractMetaEntry::CloseFile) {
            raw = CloseFileMetaEntry(fields.epoch_offset, fields.data_type, file.kept_end, total,
                                     file.new_index)
                      .to_raw();
        } else {
            total += fields.bytes_written;
            data_types |= file.data_type;
            max_record_size = std::max(max_record_size, fields.bytes_written);
            RecoveredRecords& records = recovered[file.data_type];
            records.data_type = file.data_type;
            ++records.records;
            records.bytes += fields.bytes_written;
            raw = WriteFileMetaEntry(fields.epoch_offset, fields.data_type, fields.bytes_written,
                                     fields.offset, total, file.new_index)
                      .to_raw();
        }
        body.insert(body.end(), raw.begin(), raw.end());
    }
    std::vector<std::string> names;
    for (const std::pair<const uint32_t, DataFile>& entry : files) {
        const DataFile& file = entry.second;
        if (!file.has_records)
            continue;
        if (names.size() <= file.new_index)
            names.resize(file.new_index + 1);
        names[file.new_index] = file.final_name;
        if (!file.closed) {
            const Bytes raw =
                CloseFileMetaEntry(duration, file.data_type, file.kept_end, total, file.new_index).to_raw();
            body.insert(body.end(), raw.begin(), raw.end());
        }
    }
    const int64_t file_map_offset = static_cast<int64_t>(header.first_entry_offset + body.size());
    Bytes closed(original.begin(), original.begin() + static_cast<std::ptrdiff_t>(header.first_entry_offset));
    Bytes fields;
    fields.push_back(1); // state: closed
    append_32bits(fields, duration);
    append_64bits(fields, static_cast<long long>(total));
    append_64bits(fields, static_cast<long long>(file_map_offset));
    append_32bits(fields, data_types);
    append_64bits(fields, static_cast<long long>(-1));
    if (header.version >= 12)
        append_32bits(fields, max_record_size);
    std::copy(fields.begin(), fields.end(), closed.begin() + state_offset);
    closed.insert(closed.end(), body.begin(), body.end());
    const Bytes file_map = FileMapMetaEntry(duration, names).to_raw();
    closed.insert(closed.end(), file_map.begin(), file_map.end());
    return closed;
}

// A recovered sub-directory of a recording split over directories: its closed predecessor, the sub-directory
// of the same session with the next lower number, links to it unless it links somewhere already.
void RecordingRecovery::link_predecessor(const std::string& closed_path) {
    const fs::path directory = fs::path(closed_path).parent_path();
    const std::string name = directory.filename().string();
    const long number = sub_directory_number(name);
    if (number < 0)
        return;
    const std::string session_id = session_of_sub_directory(name);
    std::string predecessor;
    long predecessor_number = -1;
    std::error_code error;
    for (fs::directory_iterator it(directory.parent_path(), error), end; !error && it != end;
         it.increment(error)) {
        const std::string sibling = it->path().filename().string();
        const long sibling_number = sub_directory_number(sibling);
        const std::string candidate = (it->path() / closed_meta_name).string();
        if (sibling_number < number && sibling_number > predecessor_number &&
            session_of_sub_directory(sibling) == session_id &&
            (fs::exists(candidate) || planned_closed.count(candidate))) {
            predecessor = candidate;
            predecessor_number = sibling_number;
        }
    }
    if (predecessor.empty())
        return;
    const std::string link = "../" + name + "/" + closed_meta_name;
    if (report.dry_run && !fs::exists(predecessor)) {
        report.actions.push_back("would link " + predecessor + " to " + link);
        return;
    }
    Bytes head;
    std::string why;
    MetaHeader header;
    if (!read_file(predecessor, &head, &why, 85 + 4 + max_name_size) || !parse_header(head, &header)) {
        problem("cannot read " + predecessor + (why.empty() ? ": not a meta file" : ": " + why) +
                ", left without a link");
        return;
    }
    if (header.state != 1 || header.next_offset >= 1)
        return;
    run_steps({Step{"link " + predecessor + " to " + link, [predecessor, link](std::string* failure) {
                        struct stat status;
                        const int fd = ::open(predecessor.c_str(), O_WRONLY | O_CLOEXEC);
                        if (fd < 0 || ::fstat(fd, &status) != 0) {
                            *failure = error_text(errno);
                            if (fd >= 0)
                                ::close(fd);
                            return false;
                        }
                        Bytes counted, offset;
                        AbstractMetaEntry::string_to_bytes(link, &counted);
                        append_64bits(offset, static_cast<long long>(status.st_size));
                        // The name first: a header that pointed at a name not written would make the
                        // predecessor unreadable.
                        const bool linked = ::pwrite(fd, counted.data(), counted.size(), status.st_size) ==
                                                static_cast<ssize_t>(counted.size()) &&
                                            ::pwrite(fd, offset.data(), offset.size(), next_offset_field) ==
                                                static_cast<ssize_t>(offset.size());
                        if (!linked)
                            *failure = error_text(errno);
                        ::close(fd);
                        return linked;
                    }}});
}

// In a dry run the steps are only reported. Otherwise they run in order until one fails, which is reported;
// what ran before it stays done, and a later recovery takes it from there.
bool RecordingRecovery::run_steps(const std::vector<Step>& steps) {
    for (const Step& step : steps) {
        if (report.dry_run) {
            report.actions.push_back("would " + step.action);
            continue;
        }
        std::string why;
        if (!step.run(&why)) {
            problem("failed to " + step.action + ": " + why);
            return false;
        }
        report.actions.push_back(step.action);
    }
    return true;
}

} // namespace

std::string RecoveryReport::summary() const {
    std::ostringstream text;
    text << (dry_run ? "dry run: " : "") << "recover " << target << "\n";
    if (nothing_to_recover()) {
        text << "nothing to recover\n";
        return text.str();
    }
    for (const std::string& action : actions)
        text << "  " << action << "\n";
    for (const std::string& meta : recovered_meta_files)
        text << (dry_run ? "would recover: " : "recovered: ") << meta << "\n";
    for (const RecoveredRecords& records : recovered)
        text << "  " << data_type_to_string(static_cast<DataType>(records.data_type)) << ": "
             << records.records << " records, " << records.bytes << " bytes\n";
    for (const DroppedEntries& entries : dropped)
        text << "dropped " << entries.entries << (entries.entries == 1 ? " entry: " : " entries: ")
             << entries.reason << "\n";
    for (const std::string& line : problems)
        text << "problem: " << line << "\n";
    return text.str();
}

RecoveryReport recover_recording(const std::string& directory_or_meta_file, bool dry_run) {
    return RecordingRecovery(directory_or_meta_file, dry_run).run();
}

} // namespace Tervik
