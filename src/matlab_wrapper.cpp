// The C functions over a connection: each takes the connection's lock for its one library call, turns every
// exception into the status 1, and copies results into the caller's variables once the lock is released.
#include "matlab_wrapper.h"

#include "AbstractIo.h"
#include "ConcreteFactory.h"
#include "DataRecorder.h"
#include "DefaultLoggerIo.h"
#include "Logger.h"
#include "PlaybackFactory.h"
#include "PlaybackModuleIo.h"
#include "RadarInterface.h"
#include "StdoutLogger.h"
#include "TcpIpFactory.h"
#include "UartIo.h"
#include "UniqueLocked.h"
#include "get_radar_com_version.h"
#include "lstream.h"
#include "matlab_interface.h"
#include "protocol_identifiers.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>

using Tervik::LockedRadarInterfacePtr;
using Tervik::RadarInterface;
using namespace matlab_interface;

struct DeviceBridge {
    LockedRadarInterfacePtr* radar_interface;
    AbstractFactory* factory;
    AbstractIo* io;
    Logger* logger;
    // Made on the first dba_get_data_recorder, and stopped before the link goes.
    Tervik::DataRecorder* recorder;
};

struct G5_Type {
    DeviceBridge* bridge;
};

namespace {

// A broken promise of the caller that must stop a release build as well.
void require(bool condition, const char* text, const char* function) {
    if (condition)
        return;
    std::fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", __FILE__, __LINE__, function, text);
    std::abort();
}

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

LockedRadarInterfacePtr& guard_of(G5_Type* g5) {
    if (!g5 || !g5->bridge)
        throw std::invalid_argument("no G5 handle");
    return *g5->bridge->radar_interface;
}

// Runs `call` on the radar with the connection's lock held for exactly that call; its int is the status.
template <typename Call> int with_radar(G5_Type* g5, Call call) {
    return try_and_catch([&] {
        LockedRadarInterfacePtr& guard = guard_of(g5);
        std::lock_guard<std::recursive_mutex> lock(guard.get_mutex());
        return static_cast<int>(call(*guard.get()));
    });
}

// A command without a value of its own: 0 once it returned.
template <typename Call> int run_command(G5_Type* g5, Call call) {
    return with_radar(g5, [&](RadarInterface& radar) {
        call(radar);
        return 0;
    });
}

// Fetches a value under the lock with `call(radar, value)` giving the status, and stores it after release.
template <typename T, typename Call> int fetch(G5_Type* g5, T* destination, Call call) {
    T value{};
    const int status = with_radar(g5, [&](RadarInterface& radar) { return call(radar, value); });
    if (status == 0)
        store(destination, value);
    return status;
}

// A throwing getter: its value is the result.
template <typename T, typename Call> int fetch_value(G5_Type* g5, T* destination, Call call) {
    return fetch(g5, destination, [&](RadarInterface& radar, T& value) {
        value = call(radar);
        return 0;
    });
}

template <typename Call> int fetch_text(G5_Type* g5, char* buffer, unsigned int max_length, Call call) {
    std::string text;
    const int status = fetch_value(g5, &text, call);
    return status != 0 ? status : copy_text(text, buffer, max_length);
}

template <typename Call> int fetch_bytes(G5_Type* g5, void* buffer, unsigned int max_length, Call call) {
    Bytes bytes;
    const int status = fetch_value(g5, &bytes, call);
    return status != 0 ? status : copy_bytes(bytes, buffer, max_length);
}

// A count of waiting messages; nothing waits where the question itself failed.
template <typename Call> int count_of(G5_Type* g5, Call call) {
    try {
        LockedRadarInterfacePtr& guard = guard_of(g5);
        std::lock_guard<std::recursive_mutex> lock(guard.get_mutex());
        return call(*guard.get());
    } catch (...) {
        return 0;
    }
}

std::string text_of(const char* text) {
    return text ? std::string(text) : std::string();
}

Bytes bytes_of(const unsigned char* data, unsigned int length) {
    return data ? Bytes(data, data + length) : Bytes();
}

// ---- creation ---------------------------------------------------------------------------------------------

const unsigned int creation_level = 5;
const unsigned int failure_level = 1;

void release(DeviceBridge* bridge) {
    delete bridge->recorder;
    delete bridge->radar_interface;
    // The link's transport is gone with the interface's communicator; the link itself still uses the logger.
    delete bridge->io;
    delete bridge->factory;
    delete bridge->logger;
    delete bridge;
}

DeviceBridge* __create_device_bridge(AbstractFactory* factory, const char* device_name,
                                     unsigned int log_level) {
    std::unique_ptr<DeviceBridge> bridge(new DeviceBridge{nullptr, factory, nullptr, nullptr, nullptr});
    try {
        // Never the console: a numerical environment owns it. Level 0 leaves no file behind either.
        std::unique_ptr<Tervik::AbstractLoggerIo> output(new DefaultLoggerIo(false, log_level != 0));
        bridge->logger = new StdoutLogger(static_cast<int>(log_level), std::move(output));
        bridge->logger->log(creation_level, "Created logger\n");
        bridge->io = new UartIo(*bridge->logger, *factory);
        std::unique_ptr<RadarInterface> radar(new RadarInterface(*bridge->io, "", *factory, *bridge->logger));
        if (radar->open(text_of(device_name)) != 0) {
            lstream line = bridge->logger->slog(failure_level);
            line << "__create_device_bridge"
                 << " " << __LINE__ << " - ERROR allocating radar";
            line.flush();
            radar.reset();
            release(bridge.release());
            return nullptr;
        }
        bridge->radar_interface = new LockedRadarInterfacePtr(radar.release());
        return bridge.release();
    } catch (...) {
        release(bridge.release());
        return nullptr;
    }
}

} // namespace

extern "C" {

// ---- connection and handles -------------------------------------------------------------------------------

DeviceBridge* dba_create_device_bridge(const char* device_name, unsigned int log_level) {
    return __create_device_bridge(new ConcreteFactory, device_name, log_level);
}

DeviceBridge* dba_create_device_bridge_tcpip(uint32_t address, uint16_t port, const char*,
                                             unsigned int log_level) {
    return __create_device_bridge(new TcpIpFactory(address, port), "", log_level);
}

DeviceBridge* dba_create_device_bridge_playback(DataPlayerHandle* player, unsigned int log_level) {
    if (!player || !player->player)
        return nullptr;
    return __create_device_bridge(new PlaybackFactory(*player->player), PlaybackModuleIo::label().c_str(),
                                  log_level);
}

void dba_destroy_device_bridge(DeviceBridge* bridge) {
    if (bridge)
        release(bridge);
}

G5_Type* dba_get_g5(DeviceBridge* mc) {
    require(mc != nullptr, "mc", __func__);
    return new G5_Type{mc};
}

void dba_destroy_G5_interface(G5_Type* g5) {
    require(g5 != nullptr, "g5", __func__);
    delete g5;
}

DataRecorderHandle* dba_get_data_recorder(DeviceBridge* bridge) {
    if (!bridge)
        return nullptr;
    try {
        std::lock_guard<std::recursive_mutex> lock(bridge->radar_interface->get_mutex());
        if (!bridge->recorder)
            bridge->recorder = new Tervik::DataRecorder(*bridge->radar_interface);
        return new DataRecorderHandle{bridge->recorder, false};
    } catch (...) {
        return nullptr;
    }
}

DataRecorderHandle* internal_dba_create_data_recorder(DeviceBridge* bridge) {
    try {
        std::unique_ptr<Tervik::DataRecorder> recorder(
            bridge ? new Tervik::DataRecorder(*bridge->radar_interface) : new Tervik::DataRecorder);
        DataRecorderHandle* handle = new DataRecorderHandle{recorder.get(), true};
        recorder.release();
        return handle;
    } catch (...) {
        return nullptr;
    }
}

DataRecorderHandle* dba_create_data_recorder(void) {
    return internal_dba_create_data_recorder(nullptr);
}

void dba_destroy_data_recorder(DataRecorderHandle* recorder) {
    if (!recorder)
        return;
    if (recorder->owned)
        delete recorder->recorder;
    delete recorder;
}

const char* dba_git_sha(void) {
    return get_radar_com_version();
}

int dba_set_log_level(DeviceBridge* bridge, int level) {
    if (!bridge)
        return 1;
    G5_Type g5{bridge};
    return with_radar(&g5, [&](RadarInterface& radar) { return radar.set_log_level(level); });
}

int dba_log(G5_Type* g5, const char* text) {
    return run_command(g5, [&](RadarInterface& radar) { radar.log(0, text_of(text)); });
}

int dba_wait(int seconds) {
    timespec time{seconds > 0 ? seconds : 0, 0};
    while (nanosleep(&time, &time) != 0) {
    }
    return 0;
}

// ---- system and the older module generation ---------------------------------------------------------------

int dba_ping(G5_Type* g5, unsigned int* pong) {
    return fetch_value(g5, pong, [](RadarInterface& radar) { return radar.ping(); });
}

int dba_get_system_info(G5_Type* g5, unsigned char info_code, char* buffer, unsigned int max_length) {
    return fetch_text(g5, buffer, max_length,
                      [&](RadarInterface& radar) { return radar.get_system_info(info_code); });
}

int dba_set_G5_float(G5_Type* g5, uint32_t id, float value) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.set_G5_float(id, value); });
}

int dba_get_g5_float(G5_Type* g5, uint32_t id, float* value) {
    return fetch_value(g5, value, [&](RadarInterface& radar) { return radar.get_g5_float(id); });
}

int dba_set_G5_int(G5_Type* g5, uint32_t id, uint32_t value) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.set_G5_int(id, value); });
}

int dba_get_g5_int(G5_Type* g5, uint32_t id, uint32_t* value) {
    return fetch_value(g5, value, [&](RadarInterface& radar) { return radar.get_g5_int(id); });
}

int dba_set_G5_register(G5_Type* g5, uint32_t id, uint32_t value) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.set_G5_register(id, value); });
}

int dba_get_g5_register(G5_Type* g5, uint32_t register_id, uint32_t* value) {
    return fetch_value(g5, value, [&](RadarInterface& radar) { return radar.get_g5_register(register_id); });
}

int dba_set_fps(G5_Type* g5, unsigned int fps) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.set_fps(fps); });
}

int dba_run_timing_measurement(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.run_timing_measurement(); });
}

} // extern "C"

namespace {

int store_raw_frame(int status, const Tervik::RawNormalizedData& frame, uint32_t* frame_counter, float* data,
                    uint32_t* length) {
    if (status != 0)
        return status;
    store(frame_counter, frame.frame_counter);
    store(length, static_cast<uint32_t>(frame.data.size()));
    copy_array(frame.data, data);
    return 0;
}

} // namespace

extern "C" {

int dba_capture_single_normalized_frame(G5_Type* g5, uint32_t* frame_counter, float* data, uint32_t* length) {
    Tervik::RawNormalizedData frame;
    const int status = fetch_value(
        g5, &frame, [](RadarInterface& radar) { return radar.capture_single_normalized_frame(); });
    return store_raw_frame(status, frame, frame_counter, data, length);
}

int dba_get_raw_normalized_frame(G5_Type* g5, const char* name, uint32_t* frame_counter, float* data,
                                 uint32_t* length) {
    Tervik::RawNormalizedData frame;
    const int status = fetch_value(
        g5, &frame, [&](RadarInterface& radar) { return radar.get_raw_normalized_frame(text_of(name)); });
    return store_raw_frame(status, frame, frame_counter, data, length);
}

int dba_subscribe_to_raw_normalized(G5_Type* g5, const char* name) {
    return with_radar(
        g5, [&](RadarInterface& radar) { return radar.subscribe_to_raw_normalized(text_of(name)); });
}

int dba_get_number_of_packets(G5_Type* g5, const char* name, unsigned int* count) {
    return fetch_value(g5, count,
                       [&](RadarInterface& radar) { return radar.get_number_of_packets(text_of(name)); });
}

int dba_clear(G5_Type* g5, const char* name) {
    return run_command(g5, [&](RadarInterface& radar) { radar.clear(text_of(name)); });
}

int dba_unsubscribe(G5_Type* g5, const char* name) {
    return run_command(g5, [&](RadarInterface& radar) { radar.unsubscribe(text_of(name)); });
}

// ---- system information texts -----------------------------------------------------------------------------

int dba_get_item_number(G5_Type* g5, char* buffer, unsigned int max_length) {
    return dba_get_system_info(g5, KMS_SSIC_ITEMNUMBER, buffer, max_length);
}
int dba_get_order_code(G5_Type* g5, char* buffer, unsigned int max_length) {
    return dba_get_system_info(g5, KMS_SSIC_ORDERCODE, buffer, max_length);
}
int dba_get_firmware_id(G5_Type* g5, char* buffer, unsigned int max_length) {
    return dba_get_system_info(g5, KMS_SSIC_FIRMWAREID, buffer, max_length);
}
int dba_get_firmware_version(G5_Type* g5, char* buffer, unsigned int max_length) {
    return dba_get_system_info(g5, KMS_SSIC_VERSION, buffer, max_length);
}
int dba_get_build_info(G5_Type* g5, char* buffer, unsigned int max_length) {
    return dba_get_system_info(g5, KMS_SSIC_BUILD, buffer, max_length);
}
int dba_get_app_id_list(G5_Type* g5, char* buffer, unsigned int max_length) {
    return dba_get_system_info(g5, KMS_SSIC_APPIDLIST, buffer, max_length);
}
int dba_get_serial_number(G5_Type* g5, char* buffer, unsigned int max_length) {
    return dba_get_system_info(g5, KMS_SSIC_SERIALNUMBER, buffer, max_length);
}

// ---- subscriptions ----------------------------------------------------------------------------------------

int dba_subscribe(G5_Type* g5, const char* name, const unsigned char* comparator, unsigned int length) {
    const Bytes prefix = bytes_of(comparator, length);
    return with_radar(g5, [&](RadarInterface& radar) { return radar.subscribe(text_of(name), prefix); });
}

} // extern "C"

namespace {

typedef int (RadarInterface::*NamedSubscription)(const std::string&);

int subscribe_named(G5_Type* g5, NamedSubscription subscription, const char* name) {
    return with_radar(g5, [&](RadarInterface& radar) { return (radar.*subscription)(text_of(name)); });
}

} // namespace

extern "C" {

int dba_subscribe_to_g7_decim(G5_Type* g5, const char* name) {
    return subscribe_named(g5, &RadarInterface::subscribe_to_g7_desim, name);
}
int dba_subscribe_to_data_float(G5_Type* g5, const char* name) {
    return subscribe_named(g5, &RadarInterface::subscribe_to_data_float, name);
}
int dba_subscribe_to_resp_status(G5_Type* g5, const char* name) {
    return subscribe_named(g5, &RadarInterface::subscribe_to_resp_status, name);
}
int dba_subscribe_to_sleep_status(G5_Type* g5, const char* name) {
    return subscribe_named(g5, &RadarInterface::subscribe_to_sleep_status, name);
}
int dba_subscribe_to_baseband_ap(G5_Type* g5, const char* name) {
    return subscribe_named(g5, &RadarInterface::subscribe_to_baseband_ap, name);
}
int dba_subscribe_to_baseband_iq(G5_Type* g5, const char* name) {
    return subscribe_named(g5, &RadarInterface::subscribe_to_baseband_iq, name);
}
int dba_subscribe_to_trace(G5_Type* g5, const char* name) {
    return subscribe_named(g5, &RadarInterface::subscribe_to_trace, name);
}
int dba_subscribe_to_data_byte(G5_Type* g5, const char* name) {
    return subscribe_named(g5, &RadarInterface::subscribe_to_data_byte, name);
}
int dba_subscribe_to_presence_single(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.subscribe_to_presence_single(); });
}
int dba_subscribe_to_presence_movinglist(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.subscribe_to_presence_movinglist(); });
}

// ---- queue state ------------------------------------------------------------------------------------------

int dba_peek_message_data_float(G5_Type* g5) {
    return count_of(g5, [](RadarInterface& radar) { return radar.peek_message_data_float(); });
}
int dba_peek_message_presence_single(G5_Type* g5) {
    return count_of(g5, [](RadarInterface& radar) { return radar.peek_message_presence_single(); });
}
int dba_peek_message_presence_movinglist(G5_Type* g5) {
    return count_of(g5, [](RadarInterface& radar) { return radar.peek_message_presence_movinglist(); });
}
int dba_peek_message_respiration_sleep(G5_Type* g5) {
    return count_of(g5, [](RadarInterface& radar) { return radar.peek_message_respiration_sleep(); });
}
int dba_peek_message_respiration_legacy(G5_Type* g5) {
    return count_of(g5, [](RadarInterface& radar) { return radar.peek_message_respiration_legacy(); });
}
int dba_peek_message_respiration_detectionlist(G5_Type* g5) {
    return count_of(g5, [](RadarInterface& radar) { return radar.peek_message_respiration_detectionlist(); });
}
int dba_peek_message_respiration_movinglist(G5_Type* g5) {
    return count_of(g5, [](RadarInterface& radar) { return radar.peek_message_respiration_movinglist(); });
}
int rcp_peek_message_data_string(G5_Type* g5) {
    return count_of(g5, [](RadarInterface& radar) { return radar.peek_message_data_string(); });
}
int rcp_peek_message_data_byte(G5_Type* g5) {
    return count_of(g5, [](RadarInterface& radar) { return radar.peek_message_data_byte(); });
}
int dba_peek_message_baseband_iq(G5_Type* g5) {
    return count_of(g5, [](RadarInterface& radar) { return radar.peek_message_baseband_iq(); });
}
int dba_peek_message_baseband_ap(G5_Type* g5) {
    return count_of(g5, [](RadarInterface& radar) { return radar.peek_message_baseband_ap(); });
}
int dba_peek_message_pulsedoppler_float(G5_Type* g5) {
    return count_of(g5, [](RadarInterface& radar) { return radar.peek_message_pulsedoppler_float(); });
}
int dba_peek_message_pulsedoppler_byte(G5_Type* g5) {
    return count_of(g5, [](RadarInterface& radar) { return radar.peek_message_pulsedoppler_byte(); });
}
int dba_peek_message_noisemap_float(G5_Type* g5) {
    return count_of(g5, [](RadarInterface& radar) { return radar.peek_message_noisemap_float(); });
}
int dba_peek_message_noisemap_byte(G5_Type* g5) {
    return count_of(g5, [](RadarInterface& radar) { return radar.peek_message_noisemap_byte(); });
}

} // extern "C"

// ---- reading records into the caller's variables ----------------------------------------------------------

namespace {

// Reads one record under the lock with the status form `read(radar, record)`, then hands it to `store_all`.
template <typename Record, typename Read, typename Store>
int read_into(G5_Type* g5, Read read, Store store_all) {
    Record record;
    const int status = fetch(g5, &record, read);
    if (status == 0)
        store_all(record);
    return status;
}

template <typename Baseband>
void store_baseband(const Baseband& record, const Tervik::FloatVector& first,
                    const Tervik::FloatVector& second, uint32_t* frame_counter, uint32_t* num_bins,
                    float* bin_length, float* sample_frequency, float* carrier_frequency, float* range_offset,
                    float* first_data, float* second_data) {
    store(frame_counter, record.frame_counter);
    store(num_bins, record.num_bins);
    store(bin_length, record.bin_length);
    store(sample_frequency, record.sample_frequency);
    store(carrier_frequency, record.carrier_frequency);
    store(range_offset, record.range_offset);
    copy_array(first, first_data);
    copy_array(second, second_data);
}

void store_iq(const Tervik::BasebandIqData& record, uint32_t* frame_counter, uint32_t* num_bins,
              float* bin_length, float* sample_frequency, float* carrier_frequency, float* range_offset,
              float* i_data, float* q_data) {
    store_baseband(record, record.i_data, record.q_data, frame_counter, num_bins, bin_length,
                   sample_frequency, carrier_frequency, range_offset, i_data, q_data);
}

void store_ap(const Tervik::BasebandApData& record, uint32_t* frame_counter, uint32_t* num_bins,
              float* bin_length, float* sample_frequency, float* carrier_frequency, float* range_offset,
              float* amplitude, float* phase) {
    store_baseband(record, record.amplitude, record.phase, frame_counter, num_bins, bin_length,
                   sample_frequency, carrier_frequency, range_offset, amplitude, phase);
}

void store_respiration(const Tervik::RespirationData& record, uint32_t* frame_counter, uint32_t* sensor_state,
                       uint32_t* respiration_rate, float* distance, float* movement,
                       uint32_t* signal_quality) {
    store(frame_counter, record.frame_counter);
    store(sensor_state, record.sensor_state);
    store(respiration_rate, record.respiration_rate);
    store(distance, record.distance);
    store(movement, record.movement);
    store(signal_quality, record.signal_quality);
}

void store_sleep(const Tervik::SleepData& record, uint32_t* frame_counter, uint32_t* sensor_state,
                 float* respiration_rate, float* distance, uint32_t* signal_quality, float* movement_slow,
                 float* movement_fast) {
    store(frame_counter, record.frame_counter);
    store(sensor_state, record.sensor_state);
    store(respiration_rate, record.respiration_rate);
    store(distance, record.distance);
    store(signal_quality, record.signal_quality);
    store(movement_slow, record.movement_slow);
    store(movement_fast, record.movement_fast);
}

// The fields that the float and the byte form of a pulse-Doppler row share, in their order around the
// byte form's scale.
struct RowHead {
    uint32_t* frame_counter;
    uint32_t* matrix_counter;
    uint32_t* range_idx;
    uint32_t* range_bins;
    uint32_t* frequency_count;
    uint32_t* pulsedoppler_instance;
};

struct RowTail {
    float* fps;
    float* fps_decimated;
    float* frequency_start;
    float* frequency_step;
    float* range;
};

template <typename Row> void store_row(const Row& record, const RowHead& head, const RowTail& tail) {
    store(head.frame_counter, record.frame_counter);
    store(head.matrix_counter, record.matrix_counter);
    store(head.range_idx, record.range_idx);
    store(head.range_bins, record.range_bins);
    store(head.frequency_count, record.frequency_count);
    store(head.pulsedoppler_instance, record.pulsedoppler_instance);
    store(tail.fps, record.fps);
    store(tail.fps_decimated, record.fps_decimated);
    store(tail.frequency_start, record.frequency_start);
    store(tail.frequency_step, record.frequency_step);
    store(tail.range, record.range);
}

typedef int (RadarInterface::*FloatRowRead)(Tervik::PulseDopplerFloatData*);
typedef int (RadarInterface::*ByteRowRead)(Tervik::PulseDopplerByteData*);

int read_float_row(G5_Type* g5, FloatRowRead read, const RowHead& head, const RowTail& tail, float* data) {
    return read_into<Tervik::PulseDopplerFloatData>(
        g5, [&](RadarInterface& radar, Tervik::PulseDopplerFloatData& row) { return (radar.*read)(&row); },
        [&](const Tervik::PulseDopplerFloatData& row) {
            store_row(row, head, tail);
            copy_array(row.data, data);
        });
}

int read_byte_row(G5_Type* g5, ByteRowRead read, const RowHead& head, float* byte_step_start,
                  float* byte_step_size, const RowTail& tail, uint8_t* data) {
    return read_into<Tervik::PulseDopplerByteData>(
        g5, [&](RadarInterface& radar, Tervik::PulseDopplerByteData& row) { return (radar.*read)(&row); },
        [&](const Tervik::PulseDopplerByteData& row) {
            store_row(row, head, tail);
            store(byte_step_start, row.byte_step_start);
            store(byte_step_size, row.byte_step_size);
            copy_array(row.data, data);
        });
}

} // namespace

extern "C" {

int dba_read_message_data_float(G5_Type* g5, uint32_t* content_id, uint32_t* info, uint32_t* length,
                                float* data) {
    return read_into<Tervik::DataFloat>(
        g5,
        [](RadarInterface& radar, Tervik::DataFloat& value) { return radar.read_message_data_float(&value); },
        [&](const Tervik::DataFloat& value) {
            store(content_id, value.content_id);
            store(info, value.info);
            store(length, static_cast<uint32_t>(value.data.size()));
            copy_array(value.data, data);
        });
}

int dba_read_message_presence_single(G5_Type* g5, uint32_t* frame_counter, uint32_t* presence_state,
                                     float* distance, uint8_t* direction, uint32_t* signal_quality) {
    return read_into<Tervik::PresenceSingleData>(
        g5,
        [](RadarInterface& radar, Tervik::PresenceSingleData& value) {
            return radar.read_message_presence_single(&value);
        },
        [&](const Tervik::PresenceSingleData& value) {
            store(frame_counter, value.frame_counter);
            store(presence_state, value.presence_state);
            store(distance, value.distance);
            store(direction, value.direction);
            store(signal_quality, value.signal_quality);
        });
}

int dba_read_message_presence_movinglist(G5_Type* g5, uint32_t* frame_counter, uint32_t* presence_state,
                                         uint32_t* movement_count, uint32_t* detection_count,
                                         float* movement_slow_items, float* movement_fast_items,
                                         float* detection_distance_items, float* radar_cross_section_items,
                                         float* detection_velocity_items) {
    return read_into<Tervik::PresenceMovingListData>(
        g5,
        [](RadarInterface& radar, Tervik::PresenceMovingListData& value) {
            return radar.read_message_presence_movinglist(&value);
        },
        [&](const Tervik::PresenceMovingListData& value) {
            store(frame_counter, value.frame_counter);
            store(presence_state, value.presence_state);
            store(movement_count, static_cast<uint32_t>(value.movement_slow_items.size()));
            store(detection_count, static_cast<uint32_t>(value.detection_distance_items.size()));
            copy_array(value.movement_slow_items, movement_slow_items);
            copy_array(value.movement_fast_items, movement_fast_items);
            copy_array(value.detection_distance_items, detection_distance_items);
            copy_array(value.radar_cross_section_items, radar_cross_section_items);
            copy_array(value.detection_velocity_items, detection_velocity_items);
        });
}

int dba_read_message_respiration_sleep(G5_Type* g5, uint32_t* frame_counter, uint32_t* sensor_state,
                                       float* respiration_rate, float* distance, uint32_t* signal_quality,
                                       float* movement_slow, float* movement_fast) {
    return read_into<Tervik::SleepData>(
        g5,
        [](RadarInterface& radar, Tervik::SleepData& value) {
            return radar.read_message_respiration_sleep(&value);
        },
        [&](const Tervik::SleepData& value) {
            store_sleep(value, frame_counter, sensor_state, respiration_rate, distance, signal_quality,
                        movement_slow, movement_fast);
        });
}

int dba_read_message_respiration_legacy(G5_Type* g5, uint32_t* frame_counter, uint32_t* sensor_state,
                                        uint32_t* respiration_rate, float* distance, float* movement,
                                        uint32_t* signal_quality) {
    return read_into<Tervik::RespirationData>(
        g5,
        [](RadarInterface& radar, Tervik::RespirationData& value) {
            return radar.read_message_respiration_legacy(&value);
        },
        [&](const Tervik::RespirationData& value) {
            store_respiration(value, frame_counter, sensor_state, respiration_rate, distance, movement,
                              signal_quality);
        });
}

int dba_read_message_respiration_detectionlist(G5_Type* g5, uint32_t* counter, uint32_t* detection_count,
                                               float* detection_distance_items,
                                               float* detection_radar_cross_section_items,
                                               float* detection_velocity_items) {
    return read_into<Tervik::RespirationDetectionListData>(
        g5,
        [](RadarInterface& radar, Tervik::RespirationDetectionListData& value) {
            return radar.read_message_respiration_detectionlist(&value);
        },
        [&](const Tervik::RespirationDetectionListData& value) {
            store(counter, value.counter);
            store(detection_count, value.detection_count);
            copy_array(value.detection_distance_items, detection_distance_items);
            copy_array(value.detection_radar_cross_section_items, detection_radar_cross_section_items);
            copy_array(value.detection_velocity_items, detection_velocity_items);
        });
}

int dba_read_message_respiration_movinglist(G5_Type* g5, uint32_t* counter, uint32_t* movement_count,
                                            float* movement_slow_items, float* movement_fast_items) {
    return read_into<Tervik::RespirationMovingListData>(
        g5,
        [](RadarInterface& radar, Tervik::RespirationMovingListData& value) {
            return radar.read_message_respiration_movinglist(&value);
        },
        [&](const Tervik::RespirationMovingListData& value) {
            store(counter, value.counter);
            store(movement_count, static_cast<uint32_t>(value.movement_slow_items.size()));
            copy_array(value.movement_slow_items, movement_slow_items);
            copy_array(value.movement_fast_items, movement_fast_items);
        });
}

int rcp_read_message_data_string(G5_Type* g5, uint32_t* content_id, uint32_t* info, char* buffer,
                                 unsigned int max_length) {
    uint32_t content = 0, information = 0;
    std::string text;
    const int status = with_radar(g5, [&](RadarInterface& radar) {
        return radar.read_message_data_string(&content, &information, &text);
    });
    if (status != 0)
        return status;
    store(content_id, content);
    store(info, information);
    return copy_text(text, buffer, max_length);
}

int rcp_read_message_data_byte(G5_Type* g5, uint32_t* content_id, uint32_t* info, void* buffer,
                               unsigned int max_length, unsigned int* length) {
    uint32_t content = 0, information = 0;
    Bytes data;
    const int status = with_radar(g5, [&](RadarInterface& radar) {
        return radar.read_message_data_byte(&content, &information, &data);
    });
    if (status != 0)
        return status;
    store(content_id, content);
    store(info, information);
    store(length, static_cast<unsigned int>(data.size()));
    return copy_bytes(data, buffer, max_length);
}

int dba_read_message_baseband_iq(G5_Type* g5, uint32_t* frame_counter, uint32_t* num_bins, float* bin_length,
                                 float* sample_frequency, float* carrier_frequency, float* range_offset,
                                 float* i_data, float* q_data) {
    return read_into<Tervik::BasebandIqData>(
        g5,
        [](RadarInterface& radar, Tervik::BasebandIqData& value) {
            return radar.read_message_baseband_iq(&value);
        },
        [&](const Tervik::BasebandIqData& value) {
            store_iq(value, frame_counter, num_bins, bin_length, sample_frequency, carrier_frequency,
                     range_offset, i_data, q_data);
        });
}

int dba_read_message_baseband_ap(G5_Type* g5, uint32_t* frame_counter, uint32_t* num_bins, float* bin_length,
                                 float* sample_frequency, float* carrier_frequency, float* range_offset,
                                 float* amplitude, float* phase) {
    return read_into<Tervik::BasebandApData>(
        g5,
        [](RadarInterface& radar, Tervik::BasebandApData& value) {
            return radar.read_message_baseband_ap(&value);
        },
        [&](const Tervik::BasebandApData& value) {
            store_ap(value, frame_counter, num_bins, bin_length, sample_frequency, carrier_frequency,
                     range_offset, amplitude, phase);
        });
}

int dba_read_message_pulsedoppler_float_data(G5_Type* g5, uint32_t* frame_counter, uint32_t* matrix_counter,
                                             uint32_t* range_idx, uint32_t* range_bins,
                                             uint32_t* frequency_count, uint32_t* pulsedoppler_instance,
                                             float* fps, float* fps_decimated, float* frequency_start,
                                             float* frequency_step, float* range, float* data) {
    return read_float_row(
        g5, &RadarInterface::read_message_pulsedoppler_float,
        {frame_counter, matrix_counter, range_idx, range_bins, frequency_count, pulsedoppler_instance},
        {fps, fps_decimated, frequency_start, frequency_step, range}, data);
}

int dba_read_message_pulsedoppler_byte_data(G5_Type* g5, uint32_t* frame_counter, uint32_t* matrix_counter,
                                            uint32_t* range_idx, uint32_t* range_bins,
                                            uint32_t* frequency_count, uint32_t* pulsedoppler_instance,
                                            float* byte_step_start, float* byte_step_size, float* fps,
                                            float* fps_decimated, float* frequency_start,
                                            float* frequency_step, float* range, uint8_t* data) {
    return read_byte_row(
        g5, &RadarInterface::read_message_pulsedoppler_byte,
        {frame_counter, matrix_counter, range_idx, range_bins, frequency_count, pulsedoppler_instance},
        byte_step_start, byte_step_size, {fps, fps_decimated, frequency_start, frequency_step, range}, data);
}

int dba_read_message_noisemap_float_data(G5_Type* g5, uint32_t* frame_counter, uint32_t* matrix_counter,
                                         uint32_t* range_idx, uint32_t* range_bins, uint32_t* frequency_count,
                                         uint32_t* pulsedoppler_instance, float* fps, float* fps_decimated,
                                         float* frequency_start, float* frequency_step, float* range,
                                         float* data) {
    return read_float_row(
        g5, &RadarInterface::read_message_noisemap_float,
        {frame_counter, matrix_counter, range_idx, range_bins, frequency_count, pulsedoppler_instance},
        {fps, fps_decimated, frequency_start, frequency_step, range}, data);
}

int dba_read_message_noisemap_byte_data(G5_Type* g5, uint32_t* frame_counter, uint32_t* matrix_counter,
                                        uint32_t* range_idx, uint32_t* range_bins, uint32_t* frequency_count,
                                        uint32_t* pulsedoppler_instance, float* byte_step_start,
                                        float* byte_step_size, float* fps, float* fps_decimated,
                                        float* frequency_start, float* frequency_step, float* range,
                                        uint8_t* data) {
    return read_byte_row(
        g5, &RadarInterface::read_message_noisemap_byte,
        {frame_counter, matrix_counter, range_idx, range_bins, frequency_count, pulsedoppler_instance},
        byte_step_start, byte_step_size, {fps, fps_decimated, frequency_start, frequency_step, range}, data);
}

// ---- named subscriptions of the older generation ----------------------------------------------------------

int dba_get_respiration_data(G5_Type* g5, const char* name, uint32_t* frame_counter, uint32_t* sensor_state,
                             uint32_t* respiration_rate, float* distance, float* movement,
                             uint32_t* signal_quality) {
    return read_into<Tervik::RespirationData>(
        g5,
        [&](RadarInterface& radar, Tervik::RespirationData& value) {
            return radar.get_respiration_data(text_of(name), &value);
        },
        [&](const Tervik::RespirationData& value) {
            store_respiration(value, frame_counter, sensor_state, respiration_rate, distance, movement,
                              signal_quality);
        });
}

int dba_get_sleep_data(G5_Type* g5, const char* name, uint32_t* frame_counter, uint32_t* sensor_state,
                       float* respiration_rate, float* distance, uint32_t* signal_quality,
                       float* movement_slow, float* movement_fast) {
    return read_into<Tervik::SleepData>(
        g5,
        [&](RadarInterface& radar, Tervik::SleepData& value) {
            return radar.get_sleep_data(text_of(name), &value);
        },
        [&](const Tervik::SleepData& value) {
            store_sleep(value, frame_counter, sensor_state, respiration_rate, distance, signal_quality,
                        movement_slow, movement_fast);
        });
}

int dba_get_baseband_ap_data(G5_Type* g5, const char* name, uint32_t* frame_counter, uint32_t* num_bins,
                             float* bin_length, float* sample_frequency, float* carrier_frequency,
                             float* range_offset, float* amplitude, float* phase) {
    return read_into<Tervik::BasebandApData>(
        g5,
        [&](RadarInterface& radar, Tervik::BasebandApData& value) {
            return radar.get_baseband_ap_data(text_of(name), &value);
        },
        [&](const Tervik::BasebandApData& value) {
            store_ap(value, frame_counter, num_bins, bin_length, sample_frequency, carrier_frequency,
                     range_offset, amplitude, phase);
        });
}

int dba_get_baseband_iq_data(G5_Type* g5, const char* name, uint32_t* frame_counter, uint32_t* num_bins,
                             float* bin_length, float* sample_frequency, float* carrier_frequency,
                             float* range_offset, float* i_data, float* q_data) {
    return read_into<Tervik::BasebandIqData>(
        g5,
        [&](RadarInterface& radar, Tervik::BasebandIqData& value) {
            return radar.get_baseband_iq_data(text_of(name), &value);
        },
        [&](const Tervik::BasebandIqData& value) {
            store_iq(value, frame_counter, num_bins, bin_length, sample_frequency, carrier_frequency,
                     range_offset, i_data, q_data);
        });
}

// ---- module commands --------------------------------------------------------------------------------------

int dba_get_g7_io_pin_value(G5_Type* g5, uint8_t pin, int* value) {
    return fetch_value(g5, value, [&](RadarInterface& radar) { return radar.get_g7_io_pin_value(pin); });
}
int dba_set_g7_io_pin_value(G5_Type* g5, uint8_t pin, uint8_t value) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.set_g7_io_pin_value(pin, value); });
}
int dba_set_g7_io_pin_mode(G5_Type* g5, uint8_t pin, uint8_t mode) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.set_g7_io_pin_mode(pin, mode); });
}
int dba_set_g7_io_pin_dir(G5_Type* g5, uint8_t pin, uint8_t direction) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.set_g7_io_pin_dir(pin, direction); });
}
int dba_set_g7_io_pin_enable(G5_Type* g5, uint8_t pin) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.set_g7_io_pin_enable(pin); });
}
int dba_set_g7_io_pin_disable(G5_Type* g5, uint8_t pin) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.set_g7_io_pin_disable(pin); });
}
int dba_read_g7_spi(G5_Type* g5, uint8_t address, int* value) {
    return fetch_value(g5, value, [&](RadarInterface& radar) { return radar.read_g7_spi(address); });
}
int dba_write_g7_spi(G5_Type* g5, uint8_t address, uint8_t value) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.write_g7_spi(address, value); });
}
int dba_set_g7_fps(G5_Type* g5, uint32_t fps) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.set_g7_fps(fps); });
}

int dba_get_g7_decim_frame(G5_Type* g5, const char* name, uint32_t* frame_counter, double* frame_data,
                           unsigned int max_length) {
    // The samples go straight into the caller's array, which the method bounds by max_length.
    return with_radar(g5, [&](RadarInterface& radar) {
        return radar.get_g7_decim_frame(text_of(name), frame_counter, frame_data,
                                        frame_data ? max_length : 0);
    });
}

int dba_set_sensor_mode(G5_Type* g5, unsigned char mode) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.set_sensor_mode_no_throw(mode); });
}
int dba_set_sensor_mode_and_submode(G5_Type* g5, unsigned char mode, unsigned char submode) {
    return with_radar(
        g5, [&](RadarInterface& radar) { return radar.set_sensor_mode_and_submode_no_throw(mode, submode); });
}
int dba_set_sensor_mode_run(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.set_sensor_mode_run_no_throw(); });
}
int dba_set_sensor_mode_idle(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.set_sensor_mode_idle_no_throw(); });
}
int dba_set_sensor_mode_manual(G5_Type* g5) {
    return dba_set_sensor_mode(g5, KMS_SM_MANUAL);
}
int dba_set_debug_level(G5_Type* g5, unsigned char level) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.set_debug_level_no_throw(level); });
}
int dba_module_reset(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.module_reset_no_throw(); });
}
int dba_reset_to_factory_preset(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.reset_to_factory_preset_no_throw(); });
}
int dba_enter_bootloader(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.start_bootloader_no_throw(); });
}
int dba_load_profile(G5_Type* g5, uint32_t profile_id) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.load_profile_no_throw(profile_id); });
}
int dba_load_sleep_profile(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.load_sleep_profile_no_throw(); });
}
int dba_load_respiration_profile(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.load_respiration_profile_no_throw(); });
}
int dba_enable_baseband(G5_Type* g5, int type, int enable) {
    return with_radar(
        g5, [&](RadarInterface& radar) { return radar.enable_baseband_no_throw(type, enable != 0); });
}
int dba_enable_baseband_ap(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.enable_baseband_ap_no_throw(); });
}
int dba_disable_baseband_ap(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.disable_baseband_ap_no_throw(); });
}
int dba_enable_baseband_iq(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.enable_baseband_iq_no_throw(); });
}
int dba_disable_baseband_iq(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.disable_baseband_iq_no_throw(); });
}
int dba_set_detection_zone(G5_Type* g5, float start, float end) {
    return with_radar(g5,
                      [&](RadarInterface& radar) { return radar.set_detection_zone_no_throw(start, end); });
}
int dba_get_detection_zone(G5_Type* g5, float* start, float* end) {
    return read_into<Tervik::DetectionZone>(
        g5,
        [](RadarInterface& radar, Tervik::DetectionZone& zone) {
            return radar.get_detection_zone(&zone.start, &zone.end);
        },
        [&](const Tervik::DetectionZone& zone) {
            store(start, zone.start);
            store(end, zone.end);
        });
}
int dba_get_detection_zone_limits(G5_Type* g5, float* start, float* end, float* step) {
    return read_into<Tervik::DetectionZoneLimits>(
        g5,
        [](RadarInterface& radar, Tervik::DetectionZoneLimits& limits) {
            return radar.get_detection_zone_limits(&limits.start, &limits.end, &limits.step);
        },
        [&](const Tervik::DetectionZoneLimits& limits) {
            store(start, limits.start);
            store(end, limits.end);
            store(step, limits.step);
        });
}
int dba_set_sensitivity(G5_Type* g5, uint32_t value) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.set_sensitivity_no_throw(value); });
}
int dba_set_led_control(G5_Type* g5, unsigned char mode, unsigned char intensity) {
    return with_radar(g5,
                      [&](RadarInterface& radar) { return radar.set_led_control_no_throw(mode, intensity); });
}
int dba_enable_resp_output(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.enable_resp_output_no_throw(); });
}
int dba_disable_resp_output(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.disable_resp_output_no_throw(); });
}
int dba_set_output_control(G5_Type* g5, uint32_t output_feature, uint32_t output_control) {
    return with_radar(g5, [&](RadarInterface& radar) {
        return radar.set_output_control_no_throw(output_feature, output_control);
    });
}

int dba_send_command(G5_Type* g5, const unsigned char* data, unsigned int length) {
    const Bytes payload = bytes_of(data, length);
    return with_radar(g5, [&](RadarInterface& radar) { return radar.send_command(payload); });
}

int dba_send_command_single(G5_Type* g5, const unsigned char* data, unsigned int length,
                            const unsigned char* comparator, unsigned int comparator_length, void* buffer,
                            unsigned int max_length) {
    const Bytes payload = bytes_of(data, length);
    const Bytes prefix = bytes_of(comparator, comparator_length);
    return fetch_bytes(g5, buffer, max_length,
                       [&](RadarInterface& radar) { return radar.send_command_single(payload, prefix); });
}

int dba_get_packet(G5_Type* g5, const char* name, void* buffer, unsigned int max_length) {
    return fetch_bytes(g5, buffer, max_length,
                       [&](RadarInterface& radar) { return radar.get_packet(text_of(name)); });
}

int dba_get_trace(G5_Type* g5, const char* name, char* buffer, unsigned int max_length) {
    return fetch_text(g5, buffer, max_length,
                      [&](RadarInterface& radar) { return radar.get_trace(text_of(name)); });
}

int dba_set_default_timeout(G5_Type* g5, unsigned int seconds) {
    return run_command(g5, [&](RadarInterface& radar) { radar.set_default_timeout(seconds); });
}
int dba_store_noisemap(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.store_noisemap_no_throw(); });
}
int dba_set_noisemap_control(G5_Type* g5, uint32_t bits) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.set_noisemap_control_no_throw(bits); });
}
int dba_get_noisemap_control(G5_Type* g5, uint32_t* bits) {
    return fetch(g5, bits, [](RadarInterface& radar, uint32_t& value) {
        return radar.get_noisemap_control_no_throw(&value);
    });
}

// ---- files on the module ----------------------------------------------------------------------------------

int dba_set_parameter_file(G5_Type* g5, const char* filename, const char* data) {
    return with_radar(g5, [&](RadarInterface& radar) {
        return radar.set_parameter_file_no_throw(text_of(filename), text_of(data));
    });
}

int dba_get_parameter_file(G5_Type* g5, const char* filename, char* buffer, unsigned int max_length) {
    return fetch_text(g5, buffer, max_length,
                      [&](RadarInterface& radar) { return radar.get_parameter_file(text_of(filename)); });
}

} // extern "C"

namespace {

// A listing fits or is refused whole; the count tells a refused caller what it needs.
int store_listing(int status, const std::vector<int32_t>& first, const std::vector<int32_t>* second,
                  int32_t* first_items, int32_t* second_items, unsigned int max_count, unsigned int* count) {
    if (status != 0)
        return status;
    store(count, static_cast<unsigned int>(first.size()));
    if (first.size() > max_count)
        return 1;
    copy_array(first, first_items);
    if (second)
        copy_array(*second, second_items);
    return 0;
}

} // namespace

extern "C" {

int dba_search_for_file_by_type(G5_Type* g5, uint32_t type, int32_t* identifiers, unsigned int max_count,
                                unsigned int* count) {
    std::vector<int32_t> found;
    const int status =
        fetch_value(g5, &found, [&](RadarInterface& radar) { return radar.search_for_file_by_type(type); });
    return store_listing(status, found, nullptr, identifiers, nullptr, max_count, count);
}

int dba_find_all_files(G5_Type* g5, int32_t* types, int32_t* identifiers, unsigned int max_count,
                       unsigned int* count) {
    Tervik::Files files;
    const int status = fetch_value(g5, &files, [](RadarInterface& radar) { return radar.find_all_files(); });
    return store_listing(status, files.file_type_items, &files.file_identifier_items, types, identifiers,
                         max_count, count);
}

int dba_create_file(G5_Type* g5, uint32_t type, uint32_t identifier, uint32_t length) {
    return with_radar(
        g5, [&](RadarInterface& radar) { return radar.create_file_no_throw(type, identifier, length); });
}
int dba_open_file(G5_Type* g5, uint32_t type, uint32_t identifier) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.open_file_no_throw(type, identifier); });
}
int dba_set_file_data(G5_Type* g5, uint32_t type, uint32_t identifier, uint32_t offset,
                      const unsigned char* data, unsigned int length) {
    const Bytes chunk = bytes_of(data, length);
    return with_radar(g5, [&](RadarInterface& radar) {
        return radar.set_file_data_no_throw(type, identifier, offset, chunk);
    });
}
int dba_close_file(G5_Type* g5, uint32_t type, uint32_t identifier, int commit) {
    return with_radar(
        g5, [&](RadarInterface& radar) { return radar.close_file_no_throw(type, identifier, commit != 0); });
}
int dba_get_file_length(G5_Type* g5, uint32_t type, uint32_t identifier, uint32_t* length) {
    return fetch(g5, length, [&](RadarInterface& radar, uint32_t& value) {
        return radar.get_file_length_no_throw(type, identifier, value);
    });
}
int dba_delete_file(G5_Type* g5, uint32_t type, uint32_t identifier) {
    return with_radar(g5,
                      [&](RadarInterface& radar) { return radar.delete_file_no_throw(type, identifier); });
}
int dba_get_file_data(G5_Type* g5, uint32_t type, uint32_t identifier, uint32_t offset, uint32_t length,
                      void* buffer, unsigned int max_length) {
    return fetch_bytes(g5, buffer, max_length, [&](RadarInterface& radar) {
        return radar.get_file_data(type, identifier, offset, length);
    });
}
int dba_get_profileid(G5_Type* g5, uint32_t* profile_id) {
    return fetch(g5, profile_id,
                 [](RadarInterface& radar, uint32_t& value) { return radar.get_profileid(&value); });
}
int dba_set_file(G5_Type* g5, uint32_t type, uint32_t identifier, const unsigned char* data,
                 unsigned int length) {
    const Bytes content = bytes_of(data, length);
    return with_radar(
        g5, [&](RadarInterface& radar) { return radar.set_file_no_throw(type, identifier, content); });
}
int dba_get_file(G5_Type* g5, uint32_t type, uint32_t identifier, void* buffer, unsigned int max_length,
                 unsigned int* length) {
    Bytes content;
    const int status =
        fetch_value(g5, &content, [&](RadarInterface& radar) { return radar.get_file(type, identifier); });
    if (status != 0)
        return status;
    store(length, static_cast<unsigned int>(content.size()));
    return copy_bytes(content, buffer, max_length);
}
int dba_format_filesystem(G5_Type* g5, uint32_t key) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.format_filesystem_no_throw(key); });
}

// ---- the radar chip's driver and the module's io pins -----------------------------------------------------

int rcp_g7driver_init(G5_Type* g5) {
    return with_radar(g5, [](RadarInterface& radar) { return radar.g7driver_init_no_throw(); });
}
int rcp_g7driver_set_fps(G5_Type* g5, float fps) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.g7driver_set_fps_no_throw(fps); });
}
int rcp_g7driver_get_fps(G5_Type* g5, float* fps) {
    return fetch(g5, fps,
                 [](RadarInterface& radar, float& value) { return radar.g7driver_get_fps_no_throw(&value); });
}
int rcp_g7driver_set_iterations(G5_Type* g5, uint32_t iterations) {
    return with_radar(
        g5, [&](RadarInterface& radar) { return radar.g7driver_set_iterations_no_throw(iterations); });
}
int rcp_g7driver_set_pulsesperstep(G5_Type* g5, uint32_t pulses_per_step) {
    return with_radar(g5, [&](RadarInterface& radar) {
        return radar.g7driver_set_pulsesperstep_no_throw(pulses_per_step);
    });
}
int rcp_g7driver_set_downconversion(G5_Type* g5, uint8_t enable) {
    return with_radar(
        g5, [&](RadarInterface& radar) { return radar.g7driver_set_downconversion_no_throw(enable); });
}
int rcp_g7driver_set_frame_area(G5_Type* g5, float start, float end) {
    return with_radar(
        g5, [&](RadarInterface& radar) { return radar.g7driver_set_frame_area_no_throw(start, end); });
}
int rcp_g7driver_get_frame_area(G5_Type* g5, float* start, float* end) {
    return read_into<Tervik::FrameArea>(
        g5,
        [](RadarInterface& radar, Tervik::FrameArea& area) {
            return radar.g7driver_get_frame_area_no_throw(&area);
        },
        [&](const Tervik::FrameArea& area) {
            store(start, area.start);
            store(end, area.end);
        });
}
int rcp_g7driver_set_frame_area_offset(G5_Type* g5, float offset) {
    return with_radar(
        g5, [&](RadarInterface& radar) { return radar.g7driver_set_frame_area_offset_no_throw(offset); });
}
int rcp_g7driver_get_frame_area_offset(G5_Type* g5, float* offset) {
    return fetch(g5, offset, [](RadarInterface& radar, float& value) {
        return radar.g7driver_get_frame_area_offset(&value);
    });
}
int rcp_g7driver_set_dac_step(G5_Type* g5, uint8_t dac_step) {
    return with_radar(g5,
                      [&](RadarInterface& radar) { return radar.g7driver_set_dac_step_no_throw(dac_step); });
}
int rcp_g7driver_set_dac_min(G5_Type* g5, uint32_t dac_min) {
    return with_radar(g5,
                      [&](RadarInterface& radar) { return radar.g7driver_set_dac_min_no_throw(dac_min); });
}
int rcp_g7driver_set_dac_max(G5_Type* g5, uint32_t dac_max) {
    return with_radar(g5,
                      [&](RadarInterface& radar) { return radar.g7driver_set_dac_max_no_throw(dac_max); });
}
int rcp_g7driver_set_enable(G5_Type* g5, uint8_t enable) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.g7driver_set_enable_no_throw(enable); });
}
int rcp_g7driver_set_tx_center_frequency(G5_Type* g5, uint8_t frequency) {
    return with_radar(g5, [&](RadarInterface& radar) {
        return radar.g7driver_set_tx_center_frequency_no_throw(frequency);
    });
}
int rcp_g7driver_set_tx_power(G5_Type* g5, uint8_t power) {
    return with_radar(g5, [&](RadarInterface& radar) { return radar.g7driver_set_tx_power_no_throw(power); });
}
int rcp_g7driver_set_prf_div(G5_Type* g5, uint8_t prf_div) {
    return with_radar(g5,
                      [&](RadarInterface& radar) { return radar.g7driver_set_prf_div_no_throw(prf_div); });
}
int rcp_g7driver_get_prf_div(G5_Type* g5, uint8_t* prf_div) {
    return fetch(g5, prf_div,
                 [](RadarInterface& radar, uint8_t& value) { return radar.g7driver_get_prf_div(&value); });
}
int rcp_g7driver_set_spi_register(G5_Type* g5, uint8_t address, uint8_t value) {
    return with_radar(
        g5, [&](RadarInterface& radar) { return radar.g7driver_set_spi_register_no_throw(address, value); });
}
int rcp_g7driver_get_spi_register(G5_Type* g5, uint8_t address, uint8_t* value) {
    return fetch(g5, value, [&](RadarInterface& radar, uint8_t& result) {
        return radar.g7driver_get_spi_register_no_throw(address, &result);
    });
}
int rcp_g7driver_set_pif_register(G5_Type* g5, uint8_t address, uint8_t value) {
    return with_radar(
        g5, [&](RadarInterface& radar) { return radar.g7driver_set_pif_register_no_throw(address, value); });
}
int rcp_g7driver_get_pif_register(G5_Type* g5, uint8_t address, uint8_t* value) {
    return fetch(g5, value, [&](RadarInterface& radar, uint8_t& result) {
        return radar.g7driver_get_pif_register(address, &result);
    });
}
int rcp_g7driver_set_xif_register(G5_Type* g5, uint8_t address, uint8_t value) {
    return with_radar(
        g5, [&](RadarInterface& radar) { return radar.g7driver_set_xif_register_no_throw(address, value); });
}
int rcp_g7driver_get_xif_register(G5_Type* g5, uint8_t address, uint8_t* value) {
    return fetch(g5, value, [&](RadarInterface& radar, uint8_t& result) {
        return radar.g7driver_get_xif_register(address, &result);
    });
}
int rcp_set_iopin_control(G5_Type* g5, uint32_t pin_id, uint32_t pin_setup, uint32_t pin_feature) {
    return with_radar(g5, [&](RadarInterface& radar) {
        return radar.set_iopin_control_no_throw(pin_id, pin_setup, pin_feature);
    });
}
int rcp_set_iopin_value(G5_Type* g5, uint32_t pin_id, uint32_t pin_value) {
    return with_radar(
        g5, [&](RadarInterface& radar) { return radar.set_iopin_value_no_throw(pin_id, pin_value); });
}
int rcp_get_iopin_value(G5_Type* g5, uint32_t pin_id, uint32_t* pin_value) {
    return fetch(g5, pin_value, [&](RadarInterface& radar, uint32_t& value) {
        return radar.get_iopin_value(pin_id, &value);
    });
}

} // extern "C"
