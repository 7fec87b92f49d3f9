#include "DataRecorderPrivate.h"

#include "ActiveThread.h"
#include "ByteHelpers.h"
#include "CloseFileMetaEntry.h"
#include "FileMapMetaEntry.h"
#include "Logger.h"
#include "RadarInterface.h"
#include "RecordingMetaFile.h"
#include "UniqueLocked.h"
#include "WriteFileMetaEntry.h"

#include <cassert>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>
#include <pthread.h>
#include <set>
#include <stdexcept>
#include <sys/stat.h>
#include <thread>

namespace Tervik {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using std::chrono::system_clock;

const char* const writing_extension = ".writing";
const size_t writing_extension_size = 8;
const char* const meta_writing_name = "/tervik_recording_meta.writing";
const char* const journal_writing_name = "/tervik_recording_meta_tmp.writing";
const char* const parameter_file_name = "/tervik_parameter_file.par";
const char* const directory_prefix = "tervik_recording_";
const uint32_t parameter_file_type = 58579340;
const uint32_t parameter_file_identifier = 0;
const uint32_t meta_magic = 0xA0B1C2D3;
const uint32_t meta_version = 13;
const uint32_t meta_reserved_word = 0xCDCDCDCD;
const int meta_reserved_words = 7;
const std::streamoff meta_state_offset = 16;
const std::streamoff meta_next_offset = 41;
// A batch of packets closes at this size, so that a burst doesn't hold up the thread behind one buffer.
const size_t batch_bytes = 64 * 1024;
const size_t max_spare_batches = 64;
// How long a close waits for a free millisecond name before it keeps the ".writing" name.
const int rename_attempts = 2000;
// The meta file's entries are buffered up to this size before they follow their data to the disk.
const size_t meta_commit_size = 64 * 1024;
// Buffered records reach the system at the latest this long after their writing, plus the time a commit
// waits in the recorder's queue: a killed process loses the packets of the last 500 ms at most.
const milliseconds commit_period(200);

bool starts_with(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

bool ends_with(const std::string& text, const std::string& suffix) {
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// `path` below `directory`, without the directory and its "/".
std::string relative_to(const std::string& path, const std::string& directory) {
    const std::string prefix = directory + "/";
    return starts_with(path, prefix) ? path.substr(prefix.size()) : path;
}

bool file_exists(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

int64_t steady_ms_since(SteadyTime start) {
    return std::chrono::duration_cast<milliseconds>(steady_clock::now() - start).count();
}

int64_t system_ms_now() {
    return std::chrono::duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

// A steady clock that went backwards relative to a stored time point would trip ms_offset's invariant.
uint32_t ms_since(SteadyTime later, SteadyTime start) {
    return later < start ? 0 : ms_offset(later, start);
}

std::string milliseconds_of_clock() {
    const int64_t ms = system_ms_now() % 1000;
    char text[8];
    std::snprintf(text, sizeof(text), "%03d", static_cast<int>(ms));
    return text;
}

enum NameAttempt { NameFree, NameTaken, NameFailed };

// Tries stem + tail, then, while `attempt` finds the name taken, stem + "_<ms>ms" + tail with the clock's
// milliseconds, waiting for the next millisecond between tries. The name that was free, or empty.
template <typename Attempt>
std::string claim_name(const std::string& stem, const std::string& tail, Attempt attempt) {
    std::string name = stem + tail;
    for (int tries = 0; tries <= rename_attempts; ++tries) {
        switch (attempt(name)) {
        case NameFree:
            return name;
        case NameFailed:
            return std::string();
        case NameTaken:
            break;
        }
        if (tries > 0)
            std::this_thread::sleep_for(milliseconds(1));
        name = stem + "_" + milliseconds_of_clock() + "ms" + tail;
    }
    return std::string();
}

// Takes back the entries in the meta file's buffer that name bytes of data file `index` beyond `on_disk`,
// and lowers the running totals of those behind them. Returns the bytes taken back. An entry that is on disk,
// even in part, went there after its data did.
int64_t take_back_entries(RecordingFile& meta_file, int64_t first_entry_offset, uint32_t index,
                          int64_t on_disk) {
    const int64_t entry_size = static_cast<int64_t>(AbstractMetaEntry::EntrySize);
    int64_t start = first_entry_offset - meta_file.written();
    if (start < 0)
        start = (start % entry_size + entry_size) % entry_size;
    Bytes& pending = meta_file.buffer();
    size_t at = std::min(static_cast<size_t>(start), pending.size());
    Bytes kept(pending.begin(), pending.begin() + static_cast<std::ptrdiff_t>(at));
    int64_t taken = 0;
    for (; at + AbstractMetaEntry::EntrySize <= pending.size(); at += AbstractMetaEntry::EntrySize) {
        const MetaEntry entry = decode_meta_entry(&pending[at]);
        const int64_t total = entry.total_bytes_recorded - taken;
        Bytes raw;
        if (entry.type == AbstractMetaEntry::WriteFile) {
            if (entry.filename_index == index && entry.offset + entry.bytes_written > on_disk) {
                taken += entry.bytes_written;
                continue;
            }
            raw = WriteFileMetaEntry(entry.epoch_offset, entry.data_type, entry.bytes_written, entry.offset,
                                     total, entry.filename_index)
                      .to_raw();
        } else if (entry.type == AbstractMetaEntry::CloseFile) {
            raw = CloseFileMetaEntry(entry.epoch_offset, entry.data_type, entry.offset, total,
                                     entry.filename_index)
                      .to_raw();
        } else {
            break;
        }
        kept.insert(kept.end(), raw.begin(), raw.end());
    }
    kept.insert(kept.end(), pending.begin() + static_cast<std::ptrdiff_t>(at), pending.end());
    pending.swap(kept);
    return taken;
}

void write_bytes(std::ostream& stream, const Bytes& bytes) {
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::string data_directory(const SessionMetaData* session_meta) {
    if (session_meta->current_sub_directory.empty())
        return session_meta->session_directory;
    return session_meta->session_directory + "/" + session_meta->current_sub_directory;
}

// The header of a new meta file: everything that close rewrites stands at its initial value.
Bytes initial_meta_header(const SessionMetaData* session_meta) {
    Bytes header;
    append_32bits(header, meta_magic);
    append_32bits(header, meta_version);
    append_64bits(header, static_cast<int64_t>(session_meta->created));
    header.push_back(0); // state: recording
    append_32bits(header, uint32_t(0));
    append_64bits(header, int64_t(0));
    append_64bits(header, int64_t(-1)); // file map offset
    append_32bits(header, uint32_t(0));
    append_64bits(header, int64_t(-1)); // next meta file offset
    append_32bits(header, uint32_t(0));
    append_32bits(header, session_meta->profile_id);
    for (int i = 0; i < meta_reserved_words; ++i)
        append_32bits(header, meta_reserved_word);
    AbstractMetaEntry::string_to_bytes(session_meta->id, &header);
    return header;
}

// Offsets 16 to 52 of a closed meta file, written in one go.
Bytes closing_meta_header(const SessionMetaData* session_meta, int64_t file_map_offset) {
    Bytes fields;
    fields.push_back(1); // state: closed
    append_32bits(fields, static_cast<uint32_t>(steady_ms_since(session_meta->start_time)));
    append_64bits(fields, session_meta->bytes_recorded);
    append_64bits(fields, file_map_offset);
    append_32bits(fields, session_meta->written_data_types);
    append_64bits(fields, int64_t(-1));
    append_32bits(fields, session_meta->max_record_size);
    return fields;
}

int64_t whole_seconds_since(SteadyTime start) {
    return std::chrono::duration_cast<seconds>(steady_clock::now() - start).count();
}

// The test of one PreferredSplitSize; `size` is the bytes that count for it.
bool split_due(const PreferredSplitSize& split, SteadyTime opened, int64_t size, SystemTime next_split,
               bool* handled) {
    *handled = true;
    switch (split.get_type()) {
    case PreferredSplitSize::DurationType:
        return whole_seconds_since(opened) >= split.get_duration();
    case PreferredSplitSize::ByteCountType:
        return size >= split.get_byte_count();
    case PreferredSplitSize::FixedDailyHour:
        return system_clock::now() >= next_split;
    case PreferredSplitSize::InvalidType:
        return false;
    }
    *handled = false;
    return false;
}

std::string sub_directory_name(const std::string& session_id, int index) {
    return std::string(directory_prefix) + current_date_time_to_string() + "_" + session_id + "_" +
           std::to_string(index);
}

} // namespace

SystemTime next_split_time(int hour) {
    const SystemTime now = system_clock::now();
    const std::time_t now_seconds = system_clock::to_time_t(now);
    std::tm local;
    localtime_r(&now_seconds, &local);
    SystemTime target = now + seconds(3600 * (hour - local.tm_hour) - 60 * local.tm_min - local.tm_sec);
    if (!(now < target))
        target += seconds(86400);
    return target;
}

std::string current_date_time_to_string() {
    const std::time_t now = std::time(nullptr);
    std::tm local;
    localtime_r(&now, &local);
    char text[32];
    std::strftime(text, sizeof(text), "%Y%m%d_%H%M%S", &local);
    return text;
}

// ---- construction and destruction ---------------------------------------------------------------------

DataRecorderPrivate::DataRecorderPrivate(DataRecorder* q, LockedRadarInterfacePtr* radar_interface,
                                         Logger& logger)
    : q_ptr(q), radar_interface(radar_interface), logger(logger), gate(std::make_shared<SubscriptionGate>()),
      thread(new ActiveThread("recorder", logger)) {
    gate->recorder = this;
    for (DataType data_type : data_types_in_mask(AllDataTypes))
        init_default_basename(data_type);
    if (radar_interface) {
        std::lock_guard<std::recursive_mutex> lock(radar_interface->get_mutex());
        radar_interface->get()->subscribe_to_radar_settings(
            radar_settings_subscription_name(), gated([](DataRecorderPrivate& d, const Bytes& packet) {
                return d.update_radar_settings_from_module(packet);
            }));
    }
    commit_timer = std::thread(&DataRecorderPrivate::run_commit_timer, this);
}

DataRecorderPrivate::~DataRecorderPrivate() {
    for_each_data_type(AllDataTypes, "stop_recording", [this](DataType data_type) {
        stop_recording(data_type);
        return 0;
    });
    if (radar_interface) {
        std::lock_guard<std::recursive_mutex> lock(radar_interface->get_mutex());
        radar_interface->get()->unsubscribe(radar_settings_subscription_name());
    }
    {
        // Waits for a handler that is inside the gate right now.
        std::lock_guard<std::mutex> lock(gate->mutex);
        gate->recorder = nullptr;
    }
    // The timer posts to the recorder's thread: it ends first. The files' closes commit what is left.
    stop_commit_timer();
    thread->stop();
    delete thread;
}

// ---- starting and stopping ------------------------------------------------------------------------------

int DataRecorderPrivate::start_recording(DataType data_type, const std::string& directory,
                                         const RecordingOptions& options) {
    const std::string failure = "cannot start recording for data type: " + data_type_to_string(data_type);
    if (directory.empty()) {
        log_error(failure + ": empty directory specified");
        return 1;
    }
    const std::string session_id = options.get_session_id();
    if (session_id.empty() && !is_recording(data_type)) {
        log_error(failure + ": invalid session id: <empty string>");
        return 1;
    }
    MetaData* meta = new_meta_data(data_type, options);
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (enabled_data_types.find(data_type) == enabled_data_types.end()) {
            SessionMetaData* session_meta = live_session(session_id);
            add_meta_data(meta, session_meta ? session_meta : new_session(session_id, directory, options));
            meta = nullptr;
        }
    }
    if (meta) {
        delete meta;
        log_error(failure + ": recording already started");
        return 1;
    }
    if (radar_interface)
        update_data_subscription(data_type, true);
    return 0;
}

SessionMetaData* DataRecorderPrivate::live_session(const std::string& session_id) const {
    std::map<std::string, SessionMetaData*>::const_iterator entry = active_sessions.find(session_id);
    if (entry == active_sessions.end() || entry->second->about_to_be_destroyed)
        return nullptr;
    return entry->second;
}

SessionMetaData* DataRecorderPrivate::new_session(const std::string& session_id, const std::string& directory,
                                                  const RecordingOptions& options) const {
    SessionMetaData* session_meta = new SessionMetaData;
    session_meta->id = session_id;
    session_meta->output_directory = directory;
    session_meta->date_and_time = current_date_time_to_string();
    session_meta->session_directory =
        directory + "/" + directory_prefix + session_meta->date_and_time + "_" + session_id;
    session_meta->created = system_ms_now();
    session_meta->start_time = steady_clock::now();
    session_meta->directory_split_size = options.get_directory_split_size();
    const PreferredSplitSize::SizeType split = session_meta->directory_split_size.get_type();
    if (split != PreferredSplitSize::InvalidType) {
        // A new session has no file open yet: naming its first sub-directory is all a split would do.
        session_meta->sub_directory_index = 0;
        session_meta->current_sub_directory = sub_directory_name(session_id, 0);
        assert(!session_meta->current_sub_directory.empty());
    }
    if (split == PreferredSplitSize::FixedDailyHour)
        session_meta->next_split_time =
            next_split_time(session_meta->directory_split_size.get_fixed_daily_hour());
    return session_meta;
}

MetaData* DataRecorderPrivate::new_meta_data(DataType data_type, const RecordingOptions& options) const {
    MetaData* meta = new MetaData;
    meta->data_type = data_type;
    meta->user_header = options.get_user_header();
    meta->file_split_size = options.get_file_split_size();
    meta->data_rate_limit = options.get_data_rate_limit();
    meta->session_filename_index = -1;
    if (meta->file_split_size.get_type() == PreferredSplitSize::FixedDailyHour)
        meta->next_split_time = next_split_time(meta->file_split_size.get_fixed_daily_hour());
    return meta;
}

// Under the mutex.
void DataRecorderPrivate::add_meta_data(MetaData* meta, SessionMetaData* session_meta) {
    meta->session_id = session_meta->id;
    meta->directory = data_directory(session_meta);
    assert(!(session_meta->data_types & meta->data_type));
    assert(enabled_data_types.find(meta->data_type) == enabled_data_types.end());
    assert(session_meta->id == meta->session_id);
    assert(!meta->session_id.empty());
    assert(!meta->directory.empty());
    if (!session_meta->data_types) {
        // A dying session of the same id has left the map already.
        assert(active_sessions.find(meta->session_id) == active_sessions.end());
        active_sessions[meta->session_id] = session_meta;
    }
    session_meta->data_types |= meta->data_type;
    enabled_data_types[meta->data_type] = meta;
}

void DataRecorderPrivate::stop_recording(DataType data_type) {
    if (schedule_meta_data_for_deletion(data_type) && radar_interface)
        update_data_subscription(data_type, false);
}

bool DataRecorderPrivate::schedule_meta_data_for_deletion(DataType data_type) {
    std::lock_guard<std::mutex> lock(mutex);
    std::map<DataType, MetaData*>::iterator entry = enabled_data_types.find(data_type);
    if (entry == enabled_data_types.end())
        return false;
    MetaData* meta = entry->second;
    assert(!meta->session_id.empty());
    std::map<std::string, SessionMetaData*>::iterator session_entry = active_sessions.find(meta->session_id);
    assert(session_entry != active_sessions.end());
    SessionMetaData* session_meta = session_entry->second;
    assert(session_meta);
    assert(session_meta->id == meta->session_id);
    enabled_data_types.erase(entry);
    session_meta->data_types &= ~uint32_t(data_type);
    if (!session_meta->data_types) {
        active_sessions.erase(session_entry);
        assert(!session_meta->about_to_be_destroyed);
        session_meta->about_to_be_destroyed = true;
    }
    assert(session_meta->about_to_be_destroyed == !session_meta->data_types);
    const MetaObject object(meta, session_meta);
    scheduled_for_deletion.push_back(object);
    const bool about_to_be_destroyed = session_meta->about_to_be_destroyed;
    // Posted under the mutex, so that the stops of two threads reach the queue in the order they were
    // scheduled and a session's clean-up never overtakes that of one of its types.
    post([this, object, about_to_be_destroyed] {
        process_scheduled_meta_data_for_deletion(object, about_to_be_destroyed);
    });
    return true;
}

// The type's file is closed here, right behind the packets that were queued before the stop; its session's
// meta file closes one step later, after every close entry of its types.
void DataRecorderPrivate::process_scheduled_meta_data_for_deletion(MetaObject entry,
                                                                   bool about_to_be_destroyed) {
    assert(entry.first);
    assert(entry.second);
    delete_meta_data(entry);
    if (about_to_be_destroyed) {
        SessionMetaData* session_meta = entry.second;
        assert(session_meta->about_to_be_destroyed);
        thread->add([this, session_meta] { delete_session_meta(session_meta); });
    }
}

void DataRecorderPrivate::delete_meta_data(MetaObject entry) {
    close_file(entry);
    {
        std::lock_guard<std::mutex> lock(mutex);
        scheduled_for_deletion.remove(entry);
    }
    delete entry.first;
}

void DataRecorderPrivate::delete_session_meta(SessionMetaData* session_meta) {
    close_session_file(session_meta, false);
    delete session_meta;
}

bool DataRecorderPrivate::is_recording(DataType data_type) const {
    std::lock_guard<std::mutex> lock(mutex);
    return enabled_data_types.find(data_type) != enabled_data_types.end();
}

// Scheduled entries come first: a packet queued before a stop belongs to the recording that was stopped,
// even if the type has been started again since.
MetaObject DataRecorderPrivate::meta_data_for_type(DataType data_type, bool include_scheduled) const {
    std::lock_guard<std::mutex> lock(mutex);
    if (include_scheduled) {
        for (const MetaObject& entry : scheduled_for_deletion) {
            if (entry.first->data_type == data_type)
                return entry;
        }
    }
    std::map<DataType, MetaData*>::const_iterator entry = enabled_data_types.find(data_type);
    if (entry == enabled_data_types.end())
        return MetaObject(nullptr, nullptr);
    MetaData* meta = entry->second;
    assert(!meta->session_id.empty());
    std::map<std::string, SessionMetaData*>::const_iterator session_entry =
        active_sessions.find(meta->session_id);
    assert(session_entry != active_sessions.end());
    return MetaObject(meta, session_entry->second);
}

bool DataRecorderPrivate::process(DataType data_type, const Bytes& data) {
    if (!is_recording(data_type))
        return false;
    std::lock_guard<std::mutex> lock(batch_mutex);
    if (!open_batch) {
        open_batch = new_batch();
        std::shared_ptr<PacketBatch> batch = open_batch;
        thread->add([this, batch] { do_process_batch(batch); });
    }
    open_batch->bytes.insert(open_batch->bytes.end(), data.begin(), data.end());
    open_batch->packets.emplace_back(data_type, data.size());
    if (open_batch->bytes.size() >= batch_bytes)
        open_batch.reset();
    return true;
}

// Under batch_mutex.
std::shared_ptr<DataRecorderPrivate::PacketBatch> DataRecorderPrivate::new_batch() {
    if (spare_batches.empty()) {
        std::shared_ptr<PacketBatch> batch = std::make_shared<PacketBatch>();
        batch->bytes.reserve(batch_bytes);
        return batch;
    }
    std::shared_ptr<PacketBatch> batch = spare_batches.back();
    spare_batches.pop_back();
    return batch;
}

void DataRecorderPrivate::post(std::function<void()> task) {
    std::lock_guard<std::mutex> lock(batch_mutex);
    open_batch.reset();
    thread->add(std::move(task));
}

void DataRecorderPrivate::do_process_batch(const std::shared_ptr<PacketBatch>& batch) {
    {
        // From here on, packets go into a batch of their own.
        std::lock_guard<std::mutex> lock(batch_mutex);
        if (open_batch == batch)
            open_batch.reset();
    }
    Bytes::const_iterator next = batch->bytes.begin();
    for (const std::pair<DataType, size_t>& entry : batch->packets) {
        packet.assign(next, next + static_cast<std::ptrdiff_t>(entry.second));
        next += static_cast<std::ptrdiff_t>(entry.second);
        do_process(entry.first, packet);
    }
    request_commit();
    commit_if_due();
    batch->bytes.clear();
    batch->packets.clear();
    std::lock_guard<std::mutex> lock(batch_mutex);
    if (spare_batches.size() < max_spare_batches)
        spare_batches.push_back(batch);
}

// ---- the module ---------------------------------------------------------------------------------------

namespace {

typedef int (RadarInterface::*SubscribeOperation)(const std::string&, RadarInterface::Callback);

SubscribeOperation subscribe_operation(DataType data_type) {
    switch (data_type) {
    case BasebandApDataType:
        return &RadarInterface::subscribe_to_baseband_ap;
    case BasebandIqDataType:
        return &RadarInterface::subscribe_to_baseband_iq;
    case SleepDataType:
        return &RadarInterface::subscribe_to_sleep_status;
    case RespirationDataType:
        return &RadarInterface::subscribe_to_resp_status;
    case PerformanceStatusType:
        return &RadarInterface::subscribe_to_performance_status;
    case StringDataType:
        return &RadarInterface::subscribe_to_data_string;
    case PulseDopplerFloatDataType:
        return &RadarInterface::subscribe_to_pulsedoppler_float;
    case PulseDopplerByteDataType:
        return &RadarInterface::subscribe_to_pulsedoppler_byte;
    case NoiseMapFloatDataType:
        return &RadarInterface::subscribe_to_noisemap_float;
    case NoiseMapByteDataType:
        return &RadarInterface::subscribe_to_noisemap_byte;
    case FloatDataType:
        return &RadarInterface::subscribe_to_data_float;
    case ByteDataType:
        return &RadarInterface::subscribe_to_data_byte;
    case PresenceSingleDataType:
        return &RadarInterface::subscribe_to_presence_single;
    case PresenceMovingListDataType:
        return &RadarInterface::subscribe_to_presence_movinglist;
    case RespirationDetectionListDataType:
        return &RadarInterface::subscribe_to_respiration_detectionlist;
    case RespirationMovingListDataType:
        return &RadarInterface::subscribe_to_respiration_movinglist;
    }
    return nullptr;
}

} // namespace

void DataRecorderPrivate::update_data_subscription(DataType data_type, bool enable) {
    const SubscribeOperation subscribe = subscribe_operation(data_type);
    if (!subscribe)
        programming_error("internal error: case not handled in switch", "update_data_subscription");
    std::lock_guard<std::recursive_mutex> lock(radar_interface->get_mutex());
    RadarInterface* radar = radar_interface->get();
    if (enable) {
        (radar->*subscribe)(subscription_name_for_data_type(data_type),
                            gated([data_type](DataRecorderPrivate& d, const Bytes& packet) {
                                return d.q_ptr->process(data_type, packet);
                            }));
    } else {
        radar->unsubscribe(subscription_name_for_data_type(data_type));
    }
}

std::function<bool(Bytes)>
DataRecorderPrivate::gated(std::function<bool(DataRecorderPrivate&, const Bytes&)> handler) const {
    std::shared_ptr<SubscriptionGate> gate = this->gate;
    return [gate, handler](Bytes packet) {
        std::lock_guard<std::mutex> lock(gate->mutex);
        return gate->recorder ? handler(*gate->recorder, packet) : false;
    };
}

bool DataRecorderPrivate::update_radar_settings_from_module(const Bytes& packet) {
    Bytes settings = DataPacketToDisk::radar_settings_from_packet(packet);
    std::lock_guard<std::mutex> lock(mutex);
    radar_settings.swap(settings);
    return true;
}

// What the module can tell about its configuration, kept with the session. Neither is worth losing the
// recording for.
void DataRecorderPrivate::fetch_from_module(SessionMetaData* session_meta) {
    Bytes parameters;
    uint32_t profile_id = 0;
    int file_status, profile_status;
    {
        std::lock_guard<std::recursive_mutex> lock(radar_interface->get_mutex());
        RadarInterface* radar = radar_interface->get();
        file_status = radar->get_file_no_throw(parameter_file_type, parameter_file_identifier, parameters);
        profile_status = radar->get_profileid_no_throw(profile_id);
    }
    if (file_status == 0) {
        const std::string filename = session_meta->session_directory + parameter_file_name;
        log_info("Received parameter file from module, store to disk", "  |-- file: " + filename);
        std::ofstream file(filename, std::ios::out | std::ios::binary);
        if (file.is_open())
            write_bytes(file, parameters);
        else
            log_error("failed to open file: " + filename);
    } else {
        log_error("failed to retrieve parameter file from module");
    }
    if (profile_status != 0) {
        log_error("failed to retrieve profile id from module");
        profile_id = 0;
    }
    session_meta->profile_id = profile_id;
}

// ---- one packet ---------------------------------------------------------------------------------------

void DataRecorderPrivate::do_process(DataType data_type, const Bytes& data) {
    if (data.empty())
        return;
    const MetaObject object = meta_data_for_type(data_type, true);
    MetaData* meta = object.first;
    SessionMetaData* session_meta = object.second;
    if (!meta) {
        log_error("WARNING: attempting to process bytes of type: '" + data_type_to_string(data_type) +
                  "' when no recording is active for that type");
        return;
    }
    assert(session_meta);
    assert(session_meta->id == meta->session_id);
    if (rate_limited(meta))
        return;
    if (!prepare_session_files(object) || !start_recording_meta(object)) {
        log_error("WARNING: failed to start recording of meta for data type: " +
                  data_type_to_string(data_type));
        return;
    }
    if (!ensure_file_open(object)) {
        stop_recording_meta(object);
        log_error("WARNING: failed to ensure file open for data type: " + data_type_to_string(data_type));
        return;
    }
    if (!session_meta->current_bytes_written.empty()) {
        // Headers stand in entries of their own, never joined to the first record: playback relies on it.
        stop_recording_meta(object);
        const bool restarted_successfully = start_recording_meta(object);
        assert(restarted_successfully);
        (void)restarted_successfully;
    }
    assert(meta->file.is_open());
    switch (data_type) {
    case BasebandApDataType:
    case BasebandIqDataType:
        process_baseband_data(object, data);
        break;
    case SleepDataType:
        process_sleep_data(object, data);
        break;
    case RespirationDataType:
        process_respiration_data(object, data);
        break;
    case PerformanceStatusType:
        process_performance_status(object, data);
        break;
    case StringDataType:
        process_string_data(object, data);
        break;
    case PulseDopplerFloatDataType:
    case PulseDopplerByteDataType:
    case NoiseMapFloatDataType:
    case NoiseMapByteDataType:
        process_pulsedoppler_data(object, data);
        break;
    case FloatDataType:
        process_float_data(object, data);
        break;
    case ByteDataType:
        process_byte_data(object, data);
        break;
    case PresenceSingleDataType:
        process_presence_single_data(object, data);
        break;
    case PresenceMovingListDataType:
        process_presence_movinglist_data(object, data);
        break;
    case RespirationMovingListDataType:
        process_respiration_movinglist_data(object, data);
        break;
    case RespirationDetectionListDataType:
        process_respiration_detectionlist_data(object, data);
        break;
    default:
        programming_error("internal error: case not handled in switch", "do_process");
    }
    stop_recording_meta(object);
    split_if_due(object);
}

// Counted from the last write, not on a fixed grid.
bool DataRecorderPrivate::rate_limited(const MetaData* meta) const {
    return meta->data_rate_limit >= 1 && meta->has_written &&
           steady_ms_since(meta->last_write_time) < meta->data_rate_limit;
}

// Before a packet: the files of a session whose directory was removed start anew, before the packet needs a
// new data file there; buffered entries follow their data to the disk; and a meta file that the disk refused
// is tried again. While it is refused, packets are dropped rather than kept in memory.
bool DataRecorderPrivate::prepare_session_files(const MetaObject& object) {
    SessionMetaData* session_meta = object.second;
    if (!session_meta->meta_file.is_open())
        return true;
    if (session_meta->files_vanished ||
        (!object.first->file.is_open() && session_meta->meta_file.unlinked())) {
        reopen_vanished_session(session_meta);
        return true;
    }
    if (session_meta->meta_file.failed() || session_meta->meta_file.buffer().size() >= meta_commit_size)
        return commit_session_files(session_meta);
    return true;
}

// After the record that reached a limit: a file is never cut inside a record. Data files split before the
// directory does.
void DataRecorderPrivate::split_if_due(const MetaObject& object) {
    MetaData* meta = object.first;
    SessionMetaData* session_meta = object.second;
    if (greater_than_split_size(meta)) {
        close_file(object);
        if (meta->file_split_size.get_type() == PreferredSplitSize::FixedDailyHour)
            meta->next_split_time = next_split_time(meta->file_split_size.get_fixed_daily_hour());
    }
    if (greater_than_split_size(session_meta)) {
        update_session_sub_directory(session_meta);
        if (session_meta->directory_split_size.get_type() == PreferredSplitSize::FixedDailyHour)
            session_meta->next_split_time =
                next_split_time(session_meta->directory_split_size.get_fixed_daily_hour());
    }
}

// A packet of no payload is a record of no bytes: its entry keeps the time it came.
void DataRecorderPrivate::store(const MetaObject& object, const DiskRecord& record) {
    if (!record.message.empty())
        log_error(record.message);
    if (record.accepted)
        write_file(object, record.bytes, false);
}

void DataRecorderPrivate::process_baseband_data(const MetaObject& object, const Bytes& data) {
    store(object, DataPacketToDisk::baseband(data));
}
void DataRecorderPrivate::process_sleep_data(const MetaObject& object, const Bytes& data) {
    store(object, DataPacketToDisk::sleep(data));
}
void DataRecorderPrivate::process_respiration_data(const MetaObject& object, const Bytes& data) {
    store(object, DataPacketToDisk::respiration(data));
}
void DataRecorderPrivate::process_performance_status(const MetaObject& object, const Bytes& data) {
    store(object, DataPacketToDisk::performance_status(data));
}
void DataRecorderPrivate::process_string_data(const MetaObject& object, const Bytes& data) {
    store(object, DataPacketToDisk::string_data(data));
}
void DataRecorderPrivate::process_pulsedoppler_data(const MetaObject& object, const Bytes& data) {
    store(object,
          DataPacketToDisk::pulsedoppler(object.first->data_type, data, object.first->matrix_started));
}
void DataRecorderPrivate::process_float_data(const MetaObject& object, const Bytes& data) {
    store(object, DataPacketToDisk::float_data(data));
}
void DataRecorderPrivate::process_byte_data(const MetaObject& object, const Bytes& data) {
    store(object, DataPacketToDisk::byte_data(data));
}
void DataRecorderPrivate::process_presence_single_data(const MetaObject& object, const Bytes& data) {
    store(object, DataPacketToDisk::presence_single(data));
}
void DataRecorderPrivate::process_presence_movinglist_data(const MetaObject& object, const Bytes& data) {
    store(object, DataPacketToDisk::presence_movinglist(data));
}
void DataRecorderPrivate::process_respiration_movinglist_data(const MetaObject& object, const Bytes& data) {
    store(object, DataPacketToDisk::respiration_movinglist(data));
}
void DataRecorderPrivate::process_respiration_detectionlist_data(const MetaObject& object,
                                                                 const Bytes& data) {
    store(object, DataPacketToDisk::respiration_detectionlist(data));
}

// ---- data files ---------------------------------------------------------------------------------------

// A write that the disk refuses loses this record and those still buffered for the file, which then closes
// with what it holds; the next packet opens a new one.
bool DataRecorderPrivate::write_file(const MetaObject& object, const Bytes& data, bool is_user_header) {
    MetaData* meta = object.first;
    SessionMetaData* session_meta = object.second;
    assert(meta);
    assert(session_meta);
    if (!meta->file.is_open() || !ensure_session_file_open(session_meta))
        return false;
    meta->last_write_time = steady_clock::now();
    meta->has_written = true;
    const uint32_t count = static_cast<uint32_t>(data.size());
    meta->file_size += count;
    session_meta->bytes_recorded += count;
    const uint32_t key = is_user_header ? ~uint32_t(meta->data_type) : uint32_t(meta->data_type);
    session_meta->current_bytes_written[key] += count;
    if (meta->file.write(data))
        return true;
    drop_unwritten_data(object);
    close_file(object);
    return false;
}

// What of a data file never reached the disk is gone: this round's records of the type and the buffered
// entries that name bytes beyond what the file holds are taken back, and the file ends where it ends on disk.
void DataRecorderPrivate::drop_unwritten_data(const MetaObject& object) {
    MetaData* meta = object.first;
    SessionMetaData* session_meta = object.second;
    log_system_error("failed to write file: " + meta->filename, meta->file.error());
    const int64_t on_disk = meta->file.written();
    meta->file.discard();
    std::map<uint32_t, uint32_t>& round = session_meta->current_bytes_written;
    for (uint32_t key : {uint32_t(meta->data_type), ~uint32_t(meta->data_type)}) {
        std::map<uint32_t, uint32_t>::iterator entry = round.find(key);
        if (entry != round.end()) {
            session_meta->bytes_recorded -= entry->second;
            round.erase(entry);
        }
    }
    if (meta->session_filename_index >= 0)
        session_meta->bytes_recorded -=
            take_back_entries(session_meta->meta_file, session_meta->first_entry_offset,
                              static_cast<uint32_t>(meta->session_filename_index), on_disk);
    meta->file_size = on_disk;
}

// Data files first, then the meta file: an entry on disk never names bytes that aren't. A data file that the
// disk refuses loses its unwritten records here and is replaced at its type's next packet.
bool DataRecorderPrivate::commit_session_files(SessionMetaData* session_meta) {
    for (const MetaObject& object : session_data_files(session_meta)) {
        if (object.first->file.is_open() && !object.first->file.flush())
            drop_unwritten_data(object);
    }
    if (session_meta->meta_file.unlinked())
        session_meta->files_vanished = true;
    return flush_meta_file(session_meta);
}

// A refused meta file keeps its bytes and is tried again; its failure and its recovery are logged once.
bool DataRecorderPrivate::flush_meta_file(SessionMetaData* session_meta) {
    const bool was_failing = session_meta->meta_file.failed();
    if (session_meta->meta_file.flush()) {
        if (was_failing)
            log_info("writing again to file: " + session_meta->meta_filename);
        return true;
    }
    if (!was_failing)
        log_system_error("failed to write file: " + session_meta->meta_filename,
                         session_meta->meta_file.error());
    return false;
}

// The data types whose files belong to the session: those stopped but not yet closed, and those recording.
std::vector<MetaObject> DataRecorderPrivate::session_data_files(SessionMetaData* session_meta) const {
    std::vector<MetaObject> files;
    std::lock_guard<std::mutex> lock(mutex);
    for (const MetaObject& entry : scheduled_for_deletion) {
        if (entry.second == session_meta)
            files.push_back(entry);
    }
    for (const std::pair<const DataType, MetaData*>& entry : enabled_data_types) {
        if ((session_meta->data_types & entry.first) && entry.second->session_id == session_meta->id)
            files.push_back(MetaObject(entry.second, session_meta));
    }
    return files;
}

// The session directory went away with the files in it: they are closed where they stand, and the session
// makes its directory and a meta file anew.
void DataRecorderPrivate::reopen_vanished_session(SessionMetaData* session_meta) {
    log_error("session directory vanished", "  |-- directory: " + data_directory(session_meta));
    for (const MetaObject& object : session_data_files(session_meta))
        close_file(object);
    close_session_file(session_meta, true);
    session_meta->files_vanished = false;
    if (!file_exists(session_meta->session_directory))
        session_meta->session_directory_created = false;
}

bool DataRecorderPrivate::ensure_file_open(const MetaObject& object) {
    MetaData* meta = object.first;
    SessionMetaData* session_meta = object.second;
    assert(meta != 0);
    assert(session_meta);
    if (meta->file.is_open()) {
        // A file that the disk refused ends with what it holds, as a split ends one.
        if (!meta->file.failed() && !greater_than_split_size(meta))
            return ensure_file_header(object);
        close_file(object);
    }
    // The session may have moved to another sub-directory since this type last opened a file.
    meta->directory = data_directory(session_meta);
    meta->file_size = 0;
    const std::string prefix = meta->directory + "/" + q_ptr->get_basename_for_data_type(meta->data_type);
    meta->filename = prefix + "_" + current_date_time_to_string() + writing_extension;
    log_info("open new file for data type:" + data_type_to_string(meta->data_type),
             "  |-- file: " + meta->filename);
    if (!meta->file.open(meta->filename)) {
        log_system_error("failed to open file: " + meta->filename, meta->file.error());
        meta->filename.clear();
        return false;
    }
    if (!ensure_file_header(object)) {
        log_error("failed to verify valid header for file: " + meta->filename);
        return false;
    }
    assert(meta->file.is_open());
    meta->file_start_time = steady_clock::now();
    const bool baseband = meta->data_type == BasebandApDataType || meta->data_type == BasebandIqDataType;
    if (baseband && !meta->settings_written)
        write_radar_settings(object, prefix + "_" + current_date_time_to_string() + ".ini");
    return true;
}

bool DataRecorderPrivate::ensure_file_header(const MetaObject& object) {
    MetaData* meta = object.first;
    assert(meta);
    if (meta->file_size != 0)
        return true;
    if (!meta->user_header.empty() && !write_file(object, meta->user_header, true)) {
        log_error("failed to write user header to file: " + meta->filename);
        return false;
    }
    if (!is_single_data_type(meta->data_type))
        programming_error("internal error: case not handled in switch", "ensure_file_header");
    if (!is_text_data_type(meta->data_type) || meta->data_type == PerformanceStatusType)
        return true;
    const std::string line = DataPacketToDisk::header_line(meta->data_type);
    return write_file(object, Bytes(line.begin(), line.end()), false);
}

bool DataRecorderPrivate::write_radar_settings(const MetaObject& object, const std::string& filename) {
    Bytes settings;
    {
        std::lock_guard<std::mutex> lock(mutex);
        settings = radar_settings;
    }
    switch (DataPacketToDisk::write_radar_settings(settings, filename)) {
    case DataPacketToDisk::RadarSettingsWritten:
        log_info("writing radar settings to file: " + filename);
        object.first->settings_written = true;
        return true;
    case DataPacketToDisk::RadarSettingsFileFailed:
        log_error("failed to create radar settings file: " + filename);
        return false;
    case DataPacketToDisk::RadarSettingsInvalid:
        break;
    }
    return false;
}

void DataRecorderPrivate::close_file(const MetaObject& object) {
    MetaData* meta = object.first;
    SessionMetaData* session_meta = object.second;
    assert(meta);
    assert(session_meta);
    if (!meta->file.is_open())
        return;
    log_info("closing file: " + meta->filename);
    if (!meta->file.flush())
        drop_unwritten_data(object);
    meta->file.close();
    // No entry names a file that was never written, or whose every record the disk refused.
    if (meta->session_filename_index < 0) {
        log_info("removing empty file: " + meta->filename);
        std::remove(meta->filename.c_str());
        meta->filename.clear();
        return;
    }
    write_meta_entry(session_meta,
                     CloseFileMetaEntry(ms_since(steady_clock::now(), session_meta->start_time),
                                        meta->data_type, meta->file_size, session_meta->bytes_recorded,
                                        static_cast<uint32_t>(meta->session_filename_index)));
    meta->filename = rename_closed_file(meta);
    assert(meta->session_filename_index >= 0);
    assert(meta->session_filename_index < int(session_meta->filenames.size()));
    assert(starts_with(meta->filename, meta->directory));
    session_meta->filenames[meta->session_filename_index] = relative_to(meta->filename, meta->directory);
    // A closed file is complete on disk with its entries, so that neither a crash nor a full disk later
    // takes it from the recording.
    commit_session_files(session_meta);
    const DataRecorder::FileAvailableCallback callback = file_callback(meta->data_type);
    if (callback)
        callback(meta->data_type, meta->filename);
    meta->filename.clear();
    meta->session_filename_index = -1;
}

// The final name of a closed data file, or the old one if the rename failed. When the plain name is taken
// (a split within the second the file was opened) the clock's milliseconds tell the files apart; if that
// name is taken as well, the next millisecond is waited for rather than a closed file overwritten.
std::string DataRecorderPrivate::rename_closed_file(MetaData* meta) {
    if (!ends_with(meta->filename, writing_extension))
        return meta->filename;
    const std::string extension = file_extension_for_data_type(meta->data_type);
    if (extension.empty())
        programming_error("internal error: case not handled in switch", "close_file");
    const std::string stem = meta->filename.substr(0, meta->filename.size() - writing_extension_size);
    const std::string name = claim_name(stem, "." + extension, [](const std::string& candidate) {
        return file_exists(candidate) ? NameTaken : NameFree;
    });
    if (name.empty()) {
        log_error("warning: failed to rename file!");
        return meta->filename;
    }
    log_info("renaming file to: " + name);
    if (std::rename(meta->filename.c_str(), name.c_str()) != 0) {
        log_error("warning: failed to rename file!");
        return meta->filename;
    }
    return name;
}

void DataRecorderPrivate::close_file_deferred(DataType data_type) {
    // A stop may already be queued behind this close: its type is scheduled then, not enabled.
    const MetaObject meta_object = meta_data_for_type(data_type, true);
    if (!meta_object.first)
        return;
    assert(meta_object.second);
    close_file(meta_object);
}

bool DataRecorderPrivate::greater_than_split_size(MetaData* meta) {
    if (!meta->file.is_open())
        return false;
    bool handled;
    const bool due = split_due(meta->file_split_size, meta->file_start_time, meta->file_size,
                               meta->next_split_time, &handled);
    if (!handled)
        programming_error("internal error: case not handled in switch", "greater_than_split_size");
    return due;
}

bool DataRecorderPrivate::greater_than_split_size(SessionMetaData* session_meta) {
    if (!session_meta->meta_file.is_open())
        return false;
    bool handled;
    const bool due = split_due(session_meta->directory_split_size, session_meta->start_time,
                               session_meta->bytes_recorded, session_meta->next_split_time, &handled);
    if (!handled)
        programming_error("internal error: case not handled in switch", "greater_than_split_size");
    return due;
}

// ---- the meta file ------------------------------------------------------------------------------------

bool DataRecorderPrivate::start_recording_meta(const MetaObject& object) {
    SessionMetaData* session_meta = object.second;
    if (!session_meta || !ensure_session_file_open(session_meta))
        return false;
    assert(session_meta->current_bytes_written.empty());
    return true;
}

// Turns the writes of one round into entries. Highest key first puts a user header (the complement of its
// type) ahead of a header line, which is the order in which they stand in the file.
void DataRecorderPrivate::stop_recording_meta(const MetaObject& object) {
    MetaData* meta = object.first;
    SessionMetaData* session_meta = object.second;
    assert(meta);
    assert(session_meta);
    assert(session_meta->id == meta->session_id);
    std::map<uint32_t, uint32_t>& round = session_meta->current_bytes_written;
    if (round.empty())
        return;
    session_meta->written_data_types |= meta->data_type;
    if (meta->session_filename_index == -1)
        note_new_data_file(object);
    assert(meta->session_filename_index >= 0);
    int64_t file_offset = meta->file_size;
    for (std::map<uint32_t, uint32_t>::reverse_iterator it = round.rbegin(); it != round.rend(); ++it) {
        session_meta->bytes_recorded -= it->second;
        file_offset -= it->second;
    }
    assert(file_offset >= 0);
    const uint32_t epoch_offset = ms_since(meta->last_write_time, session_meta->start_time);
    for (std::map<uint32_t, uint32_t>::reverse_iterator it = round.rbegin(); it != round.rend(); ++it) {
        if (it->second > session_meta->max_record_size)
            session_meta->max_record_size = it->second;
        session_meta->bytes_recorded += it->second;
        write_meta_entry(session_meta,
                         WriteFileMetaEntry(epoch_offset, it->first, it->second, file_offset,
                                            session_meta->bytes_recorded,
                                            static_cast<uint32_t>(meta->session_filename_index)));
        file_offset += it->second;
    }
    assert(file_offset == meta->file_size);
    round.clear();
}

// The first entry of a data file takes a slot in the file map, which its final name fills at close; the
// journal keeps the name it has meanwhile.
void DataRecorderPrivate::note_new_data_file(const MetaObject& object) {
    MetaData* meta = object.first;
    SessionMetaData* session_meta = object.second;
    meta->session_filename_index = static_cast<int>(session_meta->filenames.size());
    session_meta->filenames.push_back("<>");
    Bytes record;
    append_32bits(record, static_cast<uint32_t>(meta->session_filename_index));
    AbstractMetaEntry::string_to_bytes(relative_to(meta->filename, meta->directory), &record);
    // The journal and the meta header are what a crash leaves to repair a recording from; both are small. A
    // refused write stays buffered and goes with the next.
    session_meta->journal.append(record);
    session_meta->journal.flush();
}

// Buffered until the data it names is on disk (commit_session_files).
void DataRecorderPrivate::write_meta_entry(SessionMetaData* session_meta, const AbstractMetaEntry& entry) {
    if (entry.is_valid())
        session_meta->meta_file.append(entry.to_raw());
}

bool DataRecorderPrivate::ensure_session_file_open(SessionMetaData* session_meta) {
    assert(session_meta);
    if (session_meta->meta_file.is_open() && session_meta->journal.is_open())
        return true;
    if (!session_meta->session_directory_created) {
        if (!make_session_directory(session_meta))
            return false;
        if (radar_interface)
            fetch_from_module(session_meta);
    }
    if (!session_meta->current_sub_directory.empty()) {
        const std::string sub_directory = data_directory(session_meta);
        if (mkdir(sub_directory.c_str(), 0777) != 0 && !file_exists(sub_directory)) {
            log_error("failed to create session sub-directory", "  |-- directory: " + sub_directory);
            return false;
        }
    }
    return open_session_files(session_meta);
}

// A directory of the name exists when a session of the same id started within the same second: the new one
// takes the clock's milliseconds, as a data file does whose name is taken, and never writes into another's.
bool DataRecorderPrivate::make_session_directory(SessionMetaData* session_meta) {
    int error = 0;
    const std::string name =
        claim_name(session_meta->session_directory, "", [&error](const std::string& path) {
            if (mkdir(path.c_str(), 0777) == 0)
                return NameFree;
            error = errno;
            return error == EEXIST ? NameTaken : NameFailed;
        });
    if (name.empty()) {
        log_error("failed to create session directory");
        log_system_error("  |-- directory: " + session_meta->session_directory, error);
        return false;
    }
    if (name != session_meta->session_directory) {
        std::lock_guard<std::mutex> lock(mutex);
        session_meta->session_directory = name;
    }
    session_meta->session_directory_created = true;
    return true;
}

bool DataRecorderPrivate::open_session_files(SessionMetaData* session_meta) {
    const std::string directory = data_directory(session_meta);
    session_meta->meta_filename = directory + meta_writing_name;
    session_meta->journal_filename = directory + journal_writing_name;
    log_info("open new session file", "  |-- file: " + session_meta->meta_filename);
    session_meta->bytes_recorded = 0;
    if (!session_meta->meta_file.open(session_meta->meta_filename)) {
        log_system_error("failed to open file: " + session_meta->meta_filename,
                         session_meta->meta_file.error());
        return false;
    }
    if (!session_meta->journal.open(session_meta->journal_filename)) {
        log_system_error("failed to open file: " + session_meta->journal_filename,
                         session_meta->journal.error());
        session_meta->meta_file.close();
        return false;
    }
    session_meta->created = system_ms_now();
    session_meta->start_time = steady_clock::now();
    const Bytes header = initial_meta_header(session_meta);
    session_meta->first_entry_offset = static_cast<int64_t>(header.size());
    session_meta->meta_file.append(header);
    flush_meta_file(session_meta);
    return true;
}

void DataRecorderPrivate::close_session_file(SessionMetaData* session_meta, bool split) {
    assert(session_meta);
    if (!session_meta->meta_file.is_open()) {
        if (session_meta->meta_file_announcement_pending) {
            session_meta->meta_file_announcement_pending = false;
            const DataRecorder::MetaFileAvailableCallback callback = meta_file_callback();
            if (callback)
                callback(session_meta->id, session_meta->previous_meta_filename);
        }
        return;
    }
    const bool finished = finish_session_file(session_meta);
    session_meta->filenames.clear();
    session_meta->bytes_recorded = 0;
    session_meta->written_data_types = 0;
    session_meta->max_record_size = 0;
    std::string name = session_meta->meta_filename;
    if (!finished) {
        // The disk refused it: it stays as a crash leaves it, with its journal, for a repair. A later meta
        // file of the session links to the last one that was finished.
        log_error("failed to finish meta file: " + name);
        session_meta->journal.close();
        session_meta->meta_filename.clear();
        return;
    }
    if (ends_with(name, writing_extension)) {
        const std::string final_name = name.substr(0, name.size() - writing_extension_size) + ".dat";
        log_info("renaming session file to: " + final_name);
        if (std::rename(name.c_str(), final_name.c_str()) != 0) {
            log_error("warning: failed to rename session file!");
            std::cout << "warning: failed to rename session file!" << std::endl;
        } else {
            name = final_name;
        }
    }
    session_meta->journal.close();
    std::remove(session_meta->journal_filename.c_str());
    const std::string previous = session_meta->previous_meta_filename;
    session_meta->previous_meta_filename = name;
    session_meta->meta_filename.clear();
    if (!previous.empty())
        link_previous_meta_file(session_meta, previous);
    announce_meta_file(session_meta, split, previous);
}

// The file map behind the entries, then the header's fields of a closed file, in one write; false if the
// disk refused any of it.
bool DataRecorderPrivate::finish_session_file(SessionMetaData* session_meta) {
    const int64_t file_map_offset = session_meta->meta_file.size();
    write_meta_entry(session_meta, FileMapMetaEntry(ms_since(steady_clock::now(), session_meta->start_time),
                                                    session_meta->filenames));
    bool finished = flush_meta_file(session_meta) &&
                    session_meta->meta_file.write_at(meta_state_offset,
                                                     closing_meta_header(session_meta, file_map_offset));
    log_info("closing file: " + session_meta->meta_filename);
    finished = session_meta->meta_file.close() && finished;
    return finished;
}

// Appends the name of the file just closed to its predecessor and points the predecessor's header at it. A
// predecessor that can't be opened loses the link without a word; a reader then stops there.
void DataRecorderPrivate::link_previous_meta_file(SessionMetaData* session_meta,
                                                  const std::string& previous) {
    const std::string current =
        relative_to(session_meta->previous_meta_filename, session_meta->session_directory);
    const std::string previous_relative = relative_to(previous, session_meta->session_directory);
    const std::string sub_directory = session_meta->current_sub_directory + "/";
    std::string link;
    if (session_meta->sub_directory_index >= 0 &&
        starts_with(previous_relative, session_meta->current_sub_directory) &&
        starts_with(current, sub_directory))
        link = current.substr(sub_directory.size());
    else
        link = "../" + current;
    std::fstream file(previous, std::ios::in | std::ios::out | std::ios::binary | std::ios::ate);
    if (!file.is_open())
        return;
    const int64_t offset = static_cast<int64_t>(file.tellp());
    Bytes counted;
    AbstractMetaEntry::string_to_bytes(link, &counted);
    write_bytes(file, counted);
    // A header that pointed at a name the disk refused would make the predecessor unreadable.
    if (!file.flush())
        return;
    Bytes offset_bytes;
    append_64bits(offset_bytes, offset);
    file.seekp(meta_next_offset);
    write_bytes(file, offset_bytes);
}

// One step behind while the recording splits: a meta file is announced once its successor's name is in it.
void DataRecorderPrivate::announce_meta_file(SessionMetaData* session_meta, bool split,
                                             const std::string& previous) {
    const DataRecorder::MetaFileAvailableCallback callback = meta_file_callback();
    if (!split) {
        session_meta->meta_file_announcement_pending = false;
        if (callback)
            callback(session_meta->id, session_meta->previous_meta_filename);
        return;
    }
    if (!previous.empty() && callback)
        callback(session_meta->id, previous);
    session_meta->meta_file_announcement_pending = true;
}

void DataRecorderPrivate::update_session_sub_directory(SessionMetaData* session_meta) {
    assert(session_meta);
    const int next_index = session_meta->sub_directory_index + 1;
    assert(next_index >= 0);
    const std::string next_name = sub_directory_name(session_meta->id, next_index);
    const std::string directory = session_meta->session_directory + "/" + next_name;
    for (const MetaObject& entry : session_data_files(session_meta)) {
        close_file(entry);
        entry.first->directory = directory;
    }
    close_session_file(session_meta, true);
    std::lock_guard<std::mutex> lock(mutex);
    session_meta->sub_directory_index = next_index;
    session_meta->current_sub_directory = next_name;
}

// ---- the bounded loss window ---------------------------------------------------------------------------

// After a batch of packets: the first batch since the last commit arms the timer, so that a commit follows
// even if no further packet comes.
void DataRecorderPrivate::request_commit() {
    if (commit_requested)
        return;
    commit_requested = true;
    commit_requested_at = steady_clock::now();
    {
        std::lock_guard<std::mutex> lock(commit_mutex);
        commit_timer_armed = true;
        commit_due = commit_requested_at + commit_period;
    }
    commit_condition.notify_one();
}

// While packets stream in, the recorder commits between batches without waiting for the timer's task,
// which may stand behind a long queue.
void DataRecorderPrivate::commit_if_due() {
    if (commit_requested && steady_clock::now() - commit_requested_at >= commit_period)
        commit_all_sessions();
}

// Every session with an open meta file, the ones whose last type is stopping included: data files first,
// then the meta file (commit_session_files), so that no entry on disk names bytes that aren't.
void DataRecorderPrivate::commit_all_sessions() {
    commit_requested = false;
    std::set<SessionMetaData*> sessions;
    {
        std::lock_guard<std::mutex> lock(mutex);
        for (const std::pair<const std::string, SessionMetaData*>& entry : active_sessions)
            sessions.insert(entry.second);
        for (const MetaObject& entry : scheduled_for_deletion)
            sessions.insert(entry.second);
    }
    for (SessionMetaData* session_meta : sessions) {
        if (session_meta->meta_file.is_open() && !session_meta->files_vanished)
            commit_session_files(session_meta);
    }
}

void DataRecorderPrivate::run_commit_timer() {
    pthread_setname_np(pthread_self(), "recorder flush");
    std::unique_lock<std::mutex> lock(commit_mutex);
    for (;;) {
        commit_condition.wait(lock, [this] { return commit_timer_stopping || commit_timer_armed; });
        if (commit_condition.wait_until(lock, commit_due, [this] { return commit_timer_stopping; }))
            return;
        commit_timer_armed = false;
        lock.unlock();
        post([this] { commit_all_sessions(); });
        lock.lock();
    }
}

void DataRecorderPrivate::stop_commit_timer() {
    {
        std::lock_guard<std::mutex> lock(commit_mutex);
        commit_timer_stopping = true;
    }
    commit_condition.notify_one();
    commit_timer.join();
}

// ---- the rest of the surface ---------------------------------------------------------------------------

int DataRecorderPrivate::subscribe_to_file_available(DataType data_type,
                                                     const DataRecorder::FileAvailableCallback& callback) {
    std::lock_guard<std::mutex> lock(mutex);
    if (file_callbacks.find(data_type) != file_callbacks.end()) {
        log_error("cannot subscribe to file available for data type: " + data_type_to_string(data_type) +
                  " : another callback already subscribed");
        return 1;
    }
    file_callbacks[data_type] = callback;
    return 0;
}

void DataRecorderPrivate::unsubscribe_to_file_available(DataType data_type) {
    std::lock_guard<std::mutex> lock(mutex);
    file_callbacks.erase(data_type);
}

int DataRecorderPrivate::subscribe_to_meta_file_available(
    const DataRecorder::MetaFileAvailableCallback& callback) {
    if (!callback) {
        log_error("cannot subscribe to meta file available: invalid callback");
        return 1;
    }
    std::lock_guard<std::mutex> lock(mutex);
    if (meta_file_available_callback) {
        log_error("cannot subscribe to meta file available: another callback already subscribed");
        return 1;
    }
    meta_file_available_callback = callback;
    return 0;
}

int DataRecorderPrivate::unsubscribe_to_meta_file_available() {
    std::lock_guard<std::mutex> lock(mutex);
    meta_file_available_callback = nullptr;
    return 0;
}

void DataRecorderPrivate::set_basename_for_data_type(DataType data_type, const std::string& basename) {
    bool recording;
    {
        std::lock_guard<std::mutex> lock(mutex);
        basenames[data_type] = basename;
        recording = enabled_data_types.find(data_type) != enabled_data_types.end();
    }
    if (recording)
        post([this, data_type] { close_file_deferred(data_type); });
}

std::string DataRecorderPrivate::get_basename_for_data_type(DataType data_type) const {
    {
        std::lock_guard<std::mutex> lock(mutex);
        std::map<DataType, std::string>::const_iterator entry = basenames.find(data_type);
        if (entry != basenames.end())
            return entry->second;
    }
    programming_error("internal error; no basename for data type: " + std::to_string(uint32_t(data_type)),
                      "get_basename_for_data_type");
}

void DataRecorderPrivate::init_default_basename(DataType data_type) {
    std::lock_guard<std::mutex> lock(mutex);
    basenames[data_type] = default_basename_for_data_type(data_type);
}

DataRecorder::FileAvailableCallback DataRecorderPrivate::file_callback(DataType data_type) const {
    std::lock_guard<std::mutex> lock(mutex);
    std::map<DataType, DataRecorder::FileAvailableCallback>::const_iterator entry =
        file_callbacks.find(data_type);
    return entry == file_callbacks.end() ? DataRecorder::FileAvailableCallback() : entry->second;
}

DataRecorder::MetaFileAvailableCallback DataRecorderPrivate::meta_file_callback() const {
    std::lock_guard<std::mutex> lock(mutex);
    return meta_file_available_callback;
}

void DataRecorderPrivate::programming_error(const std::string& message, const char* function) const {
    const std::string text = message + ":" + function;
    log_error(text);
    throw std::runtime_error(text);
}

void DataRecorderPrivate::log_error(const std::string& text) const {
    logger.error(text);
}

void DataRecorderPrivate::log_error(const std::string& text, const std::string& detail) const {
    logger.error(text);
    logger.error(detail);
}

// The text, then what the system said: the errno of the failed call, taken at once after it.
void DataRecorderPrivate::log_system_error(const std::string& text, int error) const {
    log_error(text, std::string("system error: ") + std::strerror(error));
}

// The recorder's informational lines: files opened, closed and renamed.
void DataRecorderPrivate::log_info(const std::string& text, const std::string& detail) const {
    const unsigned int level = 2;
    logger.log(level, text);
    if (!detail.empty())
        logger.log(level, detail);
}

} // namespace Tervik
