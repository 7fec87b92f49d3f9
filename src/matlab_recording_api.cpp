// The C functions over recording, reading and playback. These objects have no lock of this layer: a handle
// belongs to one thread at a time, as the objects themselves do.
#include "matlab_recording_api.h"

#include "DataPlayer.h"
#include "DataReader.h"
#include "DataRecorder.h"
#include "PreferredSplitSize.h"
#include "RecordingOptions.h"
#include "matlab_interface.h"

#include <functional>
#include <memory>
#include <stdexcept>

using namespace matlab_interface;

struct DataReaderHandle {
    Tervik::DataReader reader;
};

struct RecordingOptionsHandle {
    Tervik::RecordingOptions options;
};

struct RecordingSplitSizeHandle {
    Tervik::PreferredSplitSize split_size;
};

namespace {

// The wall that no exception passes: whatever is thrown becomes 1, its text is lost.
int try_and_catch(std::function<int()> body) {
    try {
        if (!body)
            throw std::bad_function_call();
        return body();
    } catch (...) {
        return 1;
    }
}

template <typename Handle> Handle& checked(Handle* handle) {
    if (!handle)
        throw std::invalid_argument("null handle");
    return *handle;
}

Tervik::DataRecorder& recorder_of(DataRecorderHandle* handle) {
    if (!handle || !handle->recorder)
        throw std::invalid_argument("null recorder");
    return *handle->recorder;
}

Tervik::DataPlayer& player_of(DataPlayerHandle* handle) {
    if (!handle || !handle->player)
        throw std::invalid_argument("null player");
    return *handle->player;
}

// Runs `call` on the object and reports 0, for methods without a status of their own.
template <typename Call> int run(Call call) {
    return try_and_catch([&] {
        call();
        return 0;
    });
}

// Stores what `get` returns through the caller's pointer.
template <typename T, typename Get> int fetch_value(T* destination, Get get) {
    return run([&] { store(destination, static_cast<T>(get())); });
}

template <typename Handle> Handle* create() {
    try {
        return new Handle;
    } catch (...) {
        return nullptr;
    }
}

// The session id rule: characters only, no terminator, and the length beside them.
int copy_session_id(const std::string& id, char* buffer, unsigned int* length, unsigned int max_length) {
    store(length, 0u);
    if (id.size() > max_length || (!buffer && !id.empty()))
        return 1;
    for (size_t i = 0; i < id.size(); ++i)
        buffer[i] = id[i];
    store(length, static_cast<unsigned int>(id.size()));
    return 0;
}

template <typename Get>
int fetch_session_id(Get get, char* buffer, unsigned int* length, unsigned int max_length) {
    std::string id;
    store(length, 0u);
    const int status = run([&] { id = get(); });
    return status != 0 ? status : copy_session_id(id, buffer, length, max_length);
}

Tervik::DataType data_type_of(uint32_t data_type) {
    return static_cast<Tervik::DataType>(data_type);
}

} // namespace

extern "C" {

// ---- recording --------------------------------------------------------------------------------------------

int dba_start_recording(DataRecorderHandle* recorder, uint32_t data_types, const char* directory,
                        const RecordingOptionsHandle* options) {
    return try_and_catch([&] {
        const Tervik::RecordingOptions chosen = options ? options->options : Tervik::RecordingOptions();
        return recorder_of(recorder).start_recording(data_types, directory ? directory : "", chosen);
    });
}

int dba_stop_recording(DataRecorderHandle* recorder, uint32_t data_types) {
    return run([&] { recorder_of(recorder).stop_recording(data_types); });
}

int dba_process(DataRecorderHandle* recorder, uint32_t data_type, const unsigned char* data,
                unsigned int length) {
    return try_and_catch([&] {
        const Bytes packet = data ? Bytes(data, data + length) : Bytes();
        return recorder_of(recorder).process(data_type_of(data_type), packet) ? 0 : 1;
    });
}

int dba_get_basename_for_data_type(DataRecorderHandle* recorder, uint32_t data_type, char* buffer,
                                   unsigned int max_length) {
    std::string basename;
    const int status =
        run([&] { basename = recorder_of(recorder).get_basename_for_data_type(data_type_of(data_type)); });
    return status != 0 ? status : copy_text(basename, buffer, max_length);
}

int dba_set_basename_for_data_type(DataRecorderHandle* recorder, uint32_t data_type, const char* basename) {
    return run([&] {
        recorder_of(recorder).set_basename_for_data_type(data_type_of(data_type), basename ? basename : "");
    });
}

int dba_clear_basename_for_data_types(DataRecorderHandle* recorder, uint32_t data_types) {
    return run([&] { recorder_of(recorder).clear_basename_for_data_types(data_types); });
}

// ---- split sizes ------------------------------------------------------------------------------------------

RecordingSplitSizeHandle* dba_create_recording_split_size(void) {
    return create<RecordingSplitSizeHandle>();
}

void dba_destroy_recording_split_size(RecordingSplitSizeHandle* split_size) {
    delete split_size;
}

int set_duration(RecordingSplitSizeHandle* split_size, int seconds) {
    return run([&] { checked(split_size).split_size.set_duration(seconds); });
}

int set_byte_count(RecordingSplitSizeHandle* split_size, int64_t count) {
    return run([&] { checked(split_size).split_size.set_byte_count(count); });
}

int set_fixed_daily_hour(RecordingSplitSizeHandle* split_size, int hour) {
    return run([&] { checked(split_size).split_size.set_fixed_daily_hour(hour); });
}

// ---- recording options ------------------------------------------------------------------------------------

RecordingOptionsHandle* dba_create_recording_options(void) {
    return create<RecordingOptionsHandle>();
}

void dba_destroy_recording_options(RecordingOptionsHandle* options) {
    delete options;
}

int set_session_id(RecordingOptionsHandle* options, const char* session_id) {
    return run([&] { checked(options).options.set_session_id(session_id ? session_id : ""); });
}

int get_session_id(const RecordingOptionsHandle* options, char* buffer, unsigned int* length,
                   unsigned int max_length) {
    return fetch_session_id([&] { return checked(options).options.get_session_id(); }, buffer, length,
                            max_length);
}

int set_file_split_size(RecordingOptionsHandle* options, const RecordingSplitSizeHandle* split_size) {
    return run([&] { checked(options).options.set_file_split_size(checked(split_size).split_size); });
}

int set_directory_split_size(RecordingOptionsHandle* options, const RecordingSplitSizeHandle* split_size) {
    return run([&] { checked(options).options.set_directory_split_size(checked(split_size).split_size); });
}

int set_data_rate_limit(RecordingOptionsHandle* options, int milliseconds) {
    return run([&] { checked(options).options.set_data_rate_limit(milliseconds); });
}

int set_user_header(RecordingOptionsHandle* options, const unsigned char* data, unsigned int length) {
    return run(
        [&] { checked(options).options.set_user_header(data ? Bytes(data, data + length) : Bytes()); });
}

// ---- reading a recording back -----------------------------------------------------------------------------

DataReaderHandle* data_reader_create(void) {
    return create<DataReaderHandle>();
}

void data_reader_destroy(DataReaderHandle* reader) {
    delete reader;
}

int data_reader_open(DataReaderHandle* reader, const char* meta_filename, int depth) {
    return try_and_catch(
        [&] { return checked(reader).reader.open(meta_filename ? meta_filename : "", depth); });
}

int data_reader_close(DataReaderHandle* reader) {
    return run([&] { checked(reader).reader.close(); });
}

int data_reader_is_open(DataReaderHandle* reader) {
    return reader && reader->reader.is_open() ? 1 : 0;
}

int data_reader_at_end(DataReaderHandle* reader) {
    return reader && reader->reader.at_end() ? 1 : 0;
}

int data_reader_read_record(DataReaderHandle* reader, uint8_t* data, uint32_t size, uint32_t* read_count,
                            uint32_t* data_type, int64_t* epoch, uint8_t* is_user_header) {
    return try_and_catch([&] {
        return checked(reader).reader.read_record(data, data ? size : 0, read_count, data_type, epoch,
                                                  is_user_header);
    });
}

int data_reader_peek_record(DataReaderHandle* reader, uint8_t* data, uint32_t size, uint32_t* read_count,
                            uint32_t* data_type, int64_t* epoch, uint8_t* is_user_header) {
    return try_and_catch([&] {
        return checked(reader).reader.peek_record(data, data ? size : 0, read_count, data_type, epoch,
                                                  is_user_header);
    });
}

int data_reader_seek_ms(DataReaderHandle* reader, int64_t position) {
    return try_and_catch([&] { return checked(reader).reader.seek_ms(position); });
}

int data_reader_seek_byte(DataReaderHandle* reader, int64_t position) {
    return try_and_catch([&] { return checked(reader).reader.seek_byte(position); });
}

int data_reader_set_filter(DataReaderHandle* reader, uint32_t data_types) {
    return try_and_catch([&] { return checked(reader).reader.set_filter(data_types); });
}

int data_reader_get_filter(DataReaderHandle* reader, uint32_t* data_types) {
    return fetch_value(data_types, [&] { return checked(reader).reader.get_filter(); });
}

int data_reader_get_start_epoch(DataReaderHandle* reader, int64_t* epoch) {
    return fetch_value(epoch, [&] { return checked(reader).reader.get_start_epoch(); });
}

int data_reader_get_duration(DataReaderHandle* reader, int64_t* milliseconds) {
    return fetch_value(milliseconds, [&] { return checked(reader).reader.get_duration(); });
}

int data_reader_get_size(DataReaderHandle* reader, int64_t* bytes) {
    return fetch_value(bytes, [&] { return checked(reader).reader.get_size(); });
}

int data_reader_get_data_types(DataReaderHandle* reader, uint32_t* data_types) {
    return fetch_value(data_types, [&] { return checked(reader).reader.get_data_types(); });
}

int data_reader_get_max_record_size(DataReaderHandle* reader, uint32_t* size) {
    return fetch_value(size, [&] { return checked(reader).reader.get_max_record_size(); });
}

int data_reader_get_session_id(DataReaderHandle* reader, char* buffer, unsigned int* length,
                               unsigned int max_length) {
    return fetch_session_id([&] { return checked(reader).reader.get_session_id(); }, buffer, length,
                            max_length);
}

// ---- playback ---------------------------------------------------------------------------------------------

DataPlayerHandle* data_player_create(const char* meta_filename, int depth) {
    try {
        std::unique_ptr<Tervik::DataPlayer> player(
            new Tervik::DataPlayer(meta_filename ? meta_filename : "", depth));
        DataPlayerHandle* handle = new DataPlayerHandle{player.get()};
        player.release();
        return handle;
    } catch (...) {
        return nullptr;
    }
}

void data_player_destroy(DataPlayerHandle* player) {
    if (!player)
        return;
    delete player->player;
    delete player;
}

int data_player_play(DataPlayerHandle* player) {
    return run([&] { player_of(player).play(); });
}

int data_player_pause(DataPlayerHandle* player) {
    return run([&] { player_of(player).pause(); });
}

int data_player_stop(DataPlayerHandle* player) {
    return run([&] { player_of(player).stop(); });
}

int data_player_set_state(DataPlayerHandle* player, unsigned int state) {
    if (state > Tervik::DataPlayer::PausedState)
        return 1;
    return run([&] { player_of(player).set_state(static_cast<Tervik::DataPlayer::State>(state)); });
}

int data_player_get_state(DataPlayerHandle* player, unsigned int* state) {
    return fetch_value(state, [&] { return player_of(player).get_state(); });
}

int data_player_set_filter(DataPlayerHandle* player, uint32_t data_types) {
    return try_and_catch([&] { return player_of(player).set_filter(data_types); });
}

int data_player_get_filter(DataPlayerHandle* player, uint32_t* data_types) {
    return fetch_value(data_types, [&] { return player_of(player).get_filter(); });
}

int data_player_set_position(DataPlayerHandle* player, int64_t position) {
    return try_and_catch([&] { return player_of(player).set_position(position); });
}

int data_player_get_position(DataPlayerHandle* player, int64_t* position) {
    return fetch_value(position, [&] { return player_of(player).get_position(); });
}

int data_player_set_playback_rate(DataPlayerHandle* player, float rate) {
    return run([&] { player_of(player).set_playback_rate(rate); });
}

int data_player_get_playback_rate(DataPlayerHandle* player, float* rate) {
    return fetch_value(rate, [&] { return player_of(player).get_playback_rate(); });
}

int data_player_set_loop_mode_enabled(DataPlayerHandle* player, int enabled) {
    return run([&] { player_of(player).set_loop_mode_enabled(enabled != 0); });
}

int data_player_get_loop_mode_enabled(DataPlayerHandle* player, int* enabled) {
    return fetch_value(enabled, [&] { return player_of(player).get_loop_mode_enabled() ? 1 : 0; });
}

int data_player_get_duration(DataPlayerHandle* player, int64_t* milliseconds) {
    return fetch_value(milliseconds, [&] { return player_of(player).get_duration(); });
}

int data_player_get_meta_filename(DataPlayerHandle* player, char* buffer, unsigned int max_length) {
    std::string filename;
    const int status = run([&] { filename = player_of(player).meta_filename(); });
    return status != 0 ? status : copy_text(filename, buffer, max_length);
}

} // extern "C"
