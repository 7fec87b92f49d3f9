// The state and the thread behind a DataRecorder.
//
// Callers' threads (and a module's dispatcher, through the subscriptions) only touch the maps below, under
// `mutex`, and post tasks. Every file is opened, written, closed and renamed by tasks on the "recorder"
// thread, which is also the only thread that touches the file fields of MetaData and SessionMetaData.
#ifndef DEVICEBRIDGE_DATARECORDERPRIVATE_H
#define DEVICEBRIDGE_DATARECORDERPRIVATE_H

#include "AbstractMetaEntry.h"
#include "Bytes.h"
#include "DataPacketToDisk.h"
#include "DataRecorder.h"
#include "DataTypes.h"
#include "PreferredSplitSize.h"
#include "RecordingFile.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

class Active;
class Logger;

namespace Tervik {

typedef std::chrono::steady_clock::time_point SteadyTime;
typedef std::chrono::system_clock::time_point SystemTime;

// The recording state of one data type.
struct MetaData {
    DataType data_type = InvalidDataType;
    std::string session_id;
    // Session directory, plus "/" and the sub-directory when the session splits directories.
    std::string directory;
    PreferredSplitSize file_split_size;
    Bytes user_header;
    RecordingFile file;
    // Full path of the open data file; empty between files.
    std::string filename;
    int64_t file_size = 0;
    SteadyTime file_start_time;
    SteadyTime last_write_time;
    // Only for FixedDailyHour.
    SystemTime next_split_time;
    bool settings_written = false;
    bool has_written = false;
    // Pulse-Doppler and noise maps: a recording starts with the first packet of range index 0.
    bool matrix_started = false;
    int data_rate_limit = -1;
    // Index in the session's `filenames`, -1 while the open file has none.
    int session_filename_index = -1;
};

// The state of one session: its directory, its meta file and the file map being built.
struct SessionMetaData {
    uint32_t data_types = 0;
    uint32_t written_data_types = 0;
    uint32_t max_record_size = 0;
    uint32_t profile_id = 0;
    std::string id;
    std::string output_directory;
    std::string session_directory;
    std::string date_and_time;
    int64_t created = 0;
    SteadyTime start_time;
    SystemTime next_split_time;
    int64_t bytes_recorded = 0;
    int sub_directory_index = -1;
    bool session_directory_created = false;
    // The meta file lost its name: the directory was removed under the recording.
    bool files_vanished = false;
    bool about_to_be_destroyed = false;
    bool meta_file_announcement_pending = false;
    std::string meta_filename;
    std::string journal_filename;
    std::string previous_meta_filename;
    std::string current_sub_directory;
    PreferredSplitSize directory_split_size;
    RecordingFile meta_file;
    RecordingFile journal;
    // Where the meta file's entries begin: the size of its header and session id.
    int64_t first_entry_offset = 0;
    // Bytes written in the current round, by data type, or by its complement for a user header.
    std::map<uint32_t, uint32_t> current_bytes_written;
    std::vector<std::string> filenames;
};

typedef std::pair<MetaData*, SessionMetaData*> MetaObject;

// The next time point at which the local clock shows `hour` o'clock; a day ahead at that very hour.
SystemTime next_split_time(int hour);

// "%Y%m%d_%H%M%S" of the local clock now.
std::string current_date_time_to_string();

class DataRecorderPrivate {
public:
    // `radar_interface` is null for a recorder without a module.
    DataRecorderPrivate(DataRecorder* q, LockedRadarInterfacePtr* radar_interface, Logger& logger);
    ~DataRecorderPrivate();
    DataRecorderPrivate(const DataRecorderPrivate&) = delete;
    DataRecorderPrivate& operator=(const DataRecorderPrivate&) = delete;

    // --- the surface, one data type at a time
    int start_recording(DataType data_type, const std::string& directory, const RecordingOptions& options);
    void stop_recording(DataType data_type);
    bool is_recording(DataType data_type) const;
    bool process(DataType data_type, const Bytes& data);
    int subscribe_to_file_available(DataType data_type, const DataRecorder::FileAvailableCallback& callback);
    void unsubscribe_to_file_available(DataType data_type);
    int subscribe_to_meta_file_available(const DataRecorder::MetaFileAvailableCallback& callback);
    int unsubscribe_to_meta_file_available();
    void set_basename_for_data_type(DataType data_type, const std::string& basename);
    std::string get_basename_for_data_type(DataType data_type) const;
    void init_default_basename(DataType data_type);

    // Runs `action` for each type of the mask in the fixed order, ORing the results; then an invalid mask
    // is a programming error of `function`.
    template <typename Action>
    int for_each_data_type(DataTypes data_types, const char* function, Action action);
    // A line at error level, for what a caller got wrong.
    void log_error(const std::string& text) const;
    // Logs, then throws std::runtime_error with message + ":" + function.
    [[noreturn]] void programming_error(const std::string& message, const char* function) const;

private:
    // A subscription's handler outlives the recorder on the dispatcher's queue; it reaches the recorder only
    // through this gate, which the destructor closes.
    struct SubscriptionGate {
        std::mutex mutex;
        DataRecorderPrivate* recorder = nullptr;
    };

    // --- sessions and types
    SessionMetaData* live_session(const std::string& session_id) const;
    SessionMetaData* new_session(const std::string& session_id, const std::string& directory,
                                 const RecordingOptions& options) const;
    MetaData* new_meta_data(DataType data_type, const RecordingOptions& options) const;
    void add_meta_data(MetaData* meta, SessionMetaData* session_meta);
    MetaObject meta_data_for_type(DataType data_type, bool include_scheduled) const;
    bool schedule_meta_data_for_deletion(DataType data_type);
    void process_scheduled_meta_data_for_deletion(MetaObject entry, bool about_to_be_destroyed);
    void delete_meta_data(MetaObject entry);
    void delete_session_meta(SessionMetaData* session_meta);

    // --- the module
    void update_data_subscription(DataType data_type, bool enable);
    std::function<bool(Bytes)> gated(std::function<bool(DataRecorderPrivate&, const Bytes&)> handler) const;
    bool update_radar_settings_from_module(const Bytes& packet);
    void fetch_from_module(SessionMetaData* session_meta);

    // --- one packet
    // Packets queued one after the other share one task and one buffer; any other task closes the batch,
    // so that packets and other work keep the order in which they were posted.
    struct PacketBatch {
        Bytes bytes;
        std::vector<std::pair<DataType, size_t>> packets;
    };
    void post(std::function<void()> task);
    void do_process_batch(const std::shared_ptr<PacketBatch>& batch);
    std::shared_ptr<PacketBatch> new_batch();
    void do_process(DataType data_type, const Bytes& data);
    bool rate_limited(const MetaData* meta) const;
    bool prepare_session_files(const MetaObject& object);
    void split_if_due(const MetaObject& object);
    void store(const MetaObject& object, const DiskRecord& record);
    void process_baseband_data(const MetaObject& object, const Bytes& data);
    void process_sleep_data(const MetaObject& object, const Bytes& data);
    void process_respiration_data(const MetaObject& object, const Bytes& data);
    void process_performance_status(const MetaObject& object, const Bytes& data);
    void process_string_data(const MetaObject& object, const Bytes& data);
    void process_pulsedoppler_data(const MetaObject& object, const Bytes& data);
    void process_float_data(const MetaObject& object, const Bytes& data);
    void process_byte_data(const MetaObject& object, const Bytes& data);
    void process_presence_single_data(const MetaObject& object, const Bytes& data);
    void process_presence_movinglist_data(const MetaObject& object, const Bytes& data);
    void process_respiration_movinglist_data(const MetaObject& object, const Bytes& data);
    void process_respiration_detectionlist_data(const MetaObject& object, const Bytes& data);

    // --- files
    bool write_file(const MetaObject& object, const Bytes& data, bool is_user_header);
    void drop_unwritten_data(const MetaObject& object);
    bool commit_session_files(SessionMetaData* session_meta);
    bool flush_meta_file(SessionMetaData* session_meta);
    std::vector<MetaObject> session_data_files(SessionMetaData* session_meta) const;
    void reopen_vanished_session(SessionMetaData* session_meta);
    bool ensure_session_file_open(SessionMetaData* session_meta);
    bool make_session_directory(SessionMetaData* session_meta);
    bool open_session_files(SessionMetaData* session_meta);
    bool ensure_file_open(const MetaObject& object);
    bool ensure_file_header(const MetaObject& object);
    bool start_recording_meta(const MetaObject& object);
    void stop_recording_meta(const MetaObject& object);
    void note_new_data_file(const MetaObject& object);
    void write_meta_entry(SessionMetaData* session_meta, const AbstractMetaEntry& entry);
    bool greater_than_split_size(MetaData* meta);
    bool greater_than_split_size(SessionMetaData* session_meta);
    void close_file(const MetaObject& object);
    std::string rename_closed_file(MetaData* meta);
    void close_file_deferred(DataType data_type);
    void close_session_file(SessionMetaData* session_meta, bool split);
    bool finish_session_file(SessionMetaData* session_meta);
    void link_previous_meta_file(SessionMetaData* session_meta, const std::string& previous);
    void announce_meta_file(SessionMetaData* session_meta, bool split, const std::string& previous);
    void update_session_sub_directory(SessionMetaData* session_meta);
    bool write_radar_settings(const MetaObject& object, const std::string& filename);

    // --- the bounded loss window: what is buffered reaches the system within a period of its writing
    void request_commit();
    void commit_if_due();
    void commit_all_sessions();
    void run_commit_timer();
    void stop_commit_timer();

    // --- logging and callbacks
    void log_error(const std::string& text, const std::string& detail) const;
    void log_system_error(const std::string& text, int error) const;
    void log_info(const std::string& text, const std::string& detail = std::string()) const;
    DataRecorder::FileAvailableCallback file_callback(DataType data_type) const;
    DataRecorder::MetaFileAvailableCallback meta_file_callback() const;

    DataRecorder* q_ptr;
    LockedRadarInterfacePtr* radar_interface;
    Logger& logger;

    // Guards the containers and callbacks below and the session fields that callers' threads read
    // (data_types, about_to_be_destroyed, the sub-directory); never held across a file operation or a call
    // into the module.
    mutable std::mutex mutex;
    std::map<DataType, MetaData*> enabled_data_types;
    std::map<std::string, SessionMetaData*> active_sessions;
    std::map<DataType, DataRecorder::FileAvailableCallback> file_callbacks;
    std::list<MetaObject> scheduled_for_deletion;
    DataRecorder::MetaFileAvailableCallback meta_file_available_callback;
    std::map<DataType, std::string> basenames;
    Bytes radar_settings;

    // Guards open_batch; taken after `mutex` where both are held.
    std::mutex batch_mutex;
    std::shared_ptr<PacketBatch> open_batch;
    // Drained batches kept for reuse: a steady stream then touches no new memory.
    std::vector<std::shared_ptr<PacketBatch>> spare_batches;
    // One packet of a batch at a time, on the recorder's thread.
    Bytes packet;

    std::shared_ptr<SubscriptionGate> gate;
    Active* thread;

    // Recorder's thread only: whether something is buffered that no commit is on its way for, and since when.
    bool commit_requested = false;
    SteadyTime commit_requested_at;
    // The "recorder flush" thread posts a commit when a request comes due without one, as when packets stop
    // arriving; it is started by the constructor and stopped by the destructor before the recorder thread.
    std::mutex commit_mutex;
    std::condition_variable commit_condition;
    bool commit_timer_armed = false;
    bool commit_timer_stopping = false;
    SteadyTime commit_due;
    std::thread commit_timer;
};

template <typename Action>
int DataRecorderPrivate::for_each_data_type(DataTypes data_types, const char* function, Action action) {
    int result = 0;
    for (DataType data_type : data_types_in_mask(data_types))
        result |= action(data_type);
    if (!is_valid_data_types(data_types))
        programming_error(std::string("detected invalid data type in func: ") + function, function);
    return result;
}

} // namespace Tervik

#endif
