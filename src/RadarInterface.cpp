#include "RadarInterface.h"

#include "AbstractRadarCommunicator.h"
#include "Commands.h"
#include "InputByteStream.h"
#include "Logger.h"
#include "Parser.h"
#include "RadarCommunicator.h"
#include "RecordConverter.h"
#include "ReplyContent.h"
#include "TervikException.h"
#include "Trace.h"
#include "VoidRadarCommunicator.h"
#include "get_radar_com_version.h"
#include "protocol_identifiers.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace Tervik {

namespace {

const unsigned int trace_level = 3;
const size_t data_header_size = 14;
const size_t file_chunk_size = 2000;
// The module has an information code for its application list but the catalogue names none.
const unsigned char app_id_list_info_code = 5;
const char* const presence_single_name = "name_of_presence_single_subscription";
const char* const presence_movinglist_name = "name_of_presence_movinglist_subscription";

const Bytes pong_prefix{KMS_SPR_PONG};
const Bytes ack_prefix{KMS_SPR_ACK};
const Bytes error_prefix{KMS_SPR_ERROR};

// The expected reply and the module's error reply: the usual pair of comparators.
std::vector<Bytes> or_error(const Bytes& expected) {
    return {expected, error_prefix};
}

const std::vector<Bytes> ack_or_error = or_error(ack_prefix);

Bytes reply_prefix(uint8_t data_type) {
    return {KMS_SPR_REPLY, data_type};
}
Bytes reply_prefix(uint8_t data_type, uint8_t content_id) {
    return {KMS_SPR_REPLY, data_type, content_id};
}

// "P" and the 32-bit id: an application data packet of one kind matches on its first five bytes.
Bytes app_comparator(uint32_t id) {
    return {KMS_SPR_APPDATA, uint8_t(id), uint8_t(id >> 8), uint8_t(id >> 16), uint8_t(id >> 24)};
}

// The text of a data or trace message: everything behind its fixed header.
std::string text_behind_header(const Bytes& packet) {
    if (packet.size() <= data_header_size)
        return std::string();
    return std::string(packet.begin() + data_header_size, packet.end());
}

template <typename T, typename V> void store(T* out, V&& value) {
    if (out)
        *out = std::forward<V>(value);
}

// 48 bits, little-endian, two's complement.
double sample_48(const unsigned char* bytes) {
    uint64_t raw = 0;
    for (int i = 5; i >= 0; --i)
        raw = (raw << 8) | bytes[i];
    if (raw & (uint64_t(1) << 47))
        raw |= ~((uint64_t(1) << 48) - 1);
    return double(int64_t(raw));
}

} // namespace

// How a command reports a reply that the parser refused: a runtime error with a fixed text, or the module's
// error code carried by a TervikException.
class CommandFailure {
public:
    static CommandFailure runtime(std::string text) { return CommandFailure(false, std::move(text)); }
    static CommandFailure module(std::string text) { return CommandFailure(true, std::move(text)); }

    [[noreturn]] void raise(uint32_t error_code) const {
        if (with_module_code)
            throw TervikException(int(error_code), text);
        throw std::runtime_error(text);
    }

private:
    CommandFailure(bool with_module_code, std::string text)
        : with_module_code(with_module_code), text(std::move(text)) {}
    bool with_module_code;
    std::string text;
};

namespace {
using Failure = CommandFailure;
Failure parse_reply_failed(const char* name) {
    return Failure::runtime(std::string("parse_reply failed in ") + name);
}
} // namespace

// ---- life cycle
// -------------------------------------------------------------------------------------------------

RadarInterface::RadarInterface(AbstractIo& io, const std::string& device_name, AbstractFactory& factory,
                               Logger& logger)
    : io(io), factory(factory), device_name(device_name), logger(logger),
      radar_communicator(new RadarCommunicator(io, factory, logger)), commands(new Commands),
      parser(new Parser(logger)), default_timeout(2),
      baseband_ap_subscription_id("baseband_ap_subscription_id"),
      baseband_iq_subscription_id("baseband_iq_subscription_id"),
      pulsedoppler_float_subscription_id("pulsedoppler_float_subscription_id"),
      noisemap_float_subscription_id("noisemap_float_subscription_id"),
      pulsedoppler_byte_subscription_id("pulsedoppler_byte_subscription_id"),
      noisemap_byte_subscription_id("noisemap_byte_subscription_id"),
      data_float_subscription_id("d4d70752-c146-11e6-a4a6-cec0c932ce01"),
      data_string_subscription_id("2588cebf-cbcb-40af-b0ad-37d7e959ae1a"),
      data_byte_subscription_id("0d80de13-d19a-4563-8657-e7209e6fa2ee"),
      system_message_subscription_id("system_message_subscription_id"),
      respiration_legacy_subscription_id("respiration_legacy_subscription_id"),
      respiration_sleep_subscription_id("respiration_sleep_subscription_id"),
      respiration_movinglist_subscription_id("respiration_movinglist_subscription_id"),
      respiration_detectionlist_subscription_id("respiration_detectionlist_subscription_id") {
    Trace trace(logger, trace_level, "RadarInterface - base");
    log_trace();
    logger.log(1, "git sha: " + git_sha());
    logger.log(1, "build date: " + build_date());
    if (device_name.empty())
        return;
    auto_subscribe();
    if (radar_communicator->open(device_name) != 0)
        throw std::runtime_error("unable to open file: " + device_name);
}

RadarInterface::~RadarInterface() {
    Trace trace(logger, trace_level, "~RadarInterface", std::nothrow);
    parser.reset();
    commands.reset();
    radar_communicator.reset();
}

int RadarInterface::open(const std::string& name) {
    Trace trace(logger, trace_level, "open");
    device_name = name;
    replace_communicator(new VoidRadarCommunicator);
    replace_communicator(new RadarCommunicator(io, factory, logger));
    log_trace();
    auto_subscribe();
    return radar_communicator->open(device_name);
}

int RadarInterface::open_throw(const std::string& name) {
    return throw_if_error([&] { return open(name); });
}

int RadarInterface::close() {
    Trace trace(logger, trace_level, "close");
    replace_communicator(new VoidRadarCommunicator);
    return 0;
}

void RadarInterface::replace_communicator(AbstractRadarCommunicator* communicator) {
    radar_communicator.reset(communicator);
}

void RadarInterface::reset() {
    Trace trace(logger, trace_level, "reset");
    const AbstractRadarCommunicator::Subscriptions saved = radar_communicator->get_subscriptions();
    reset_module_if_reachable();
    for (int attempt = 0; attempt < 3; ++attempt) {
        try {
            reconnect(saved);
            return;
        } catch (...) {
            // The module may still be booting: the next attempt waits again.
        }
    }
    throw TervikException(1, "failed to reconnect after reset");
}

// A link failure (the command could not be written, or no answer came in time) says that the old link is dead
// or the module is rebooting already; reconnecting is then just what the caller needs. A TervikException is
// the module's own refusal, and stops the reset.
void RadarInterface::reset_module_if_reachable() {
    try {
        module_reset();
    } catch (const TervikException&) {
        throw;
    } catch (const std::runtime_error& failure) {
        logger.log(0, std::string("module_reset did not reach the module, reconnecting: ") + failure.what());
    }
}

template <typename Subscriptions> void RadarInterface::reconnect(const Subscriptions& saved) {
    close();
    logger.log(0, "waiting for device to come back ...");
    std::this_thread::sleep_for(std::chrono::seconds(3));
    if (open(device_name) != 0)
        throw TervikException(1, "open failed in reset");
    for (const auto& entry : saved) {
        const Bytes& comparator = entry.second.first;
        if (entry.second.second)
            radar_communicator->subscribe(entry.first, entry.second.second, comparator);
        else
            radar_communicator->subscribe(entry.first, comparator);
    }
}

int RadarInterface::reset_no_throw() {
    return try_and_catch([&] { reset(); });
}

void RadarInterface::set_default_timeout(unsigned int seconds) {
    default_timeout = seconds;
}

int RadarInterface::set_log_level(int level) {
    logger.set_log_level(level);
    return 0;
}

std::string RadarInterface::git_sha() {
    return get_radar_com_version();
}

std::string RadarInterface::build_date() {
    return get_radar_com_build_date();
}

void RadarInterface::log(unsigned int level, const std::string& text) {
    logger.log(level, text);
}

void RadarInterface::log_trace() {
    radar_communicator->subscribe(
        "log_trace", [this](Bytes packet) { return log_module_trace(packet); },
        Bytes{KMS_SPR_DATA, KMS_SPRD_STRING});
}

bool RadarInterface::log_module_trace(const Bytes& packet) {
    logger.log(2, "trace: " + text_behind_header(packet));
    return true;
}

void RadarInterface::auto_subscribe() {
    subscribe_to_presence_single();
    subscribe_to_presence_movinglist();
    subscribe_to_data_float(data_float_subscription_id);
    subscribe_to_data_string(data_string_subscription_id);
    subscribe_to_data_byte(data_byte_subscription_id);
    subscribe_to_baseband_iq();
    subscribe_to_baseband_ap();
    subscribe_to_pulsedoppler_float();
    subscribe_to_noisemap_float();
    subscribe_to_pulsedoppler_byte();
    subscribe_to_noisemap_byte();
    subscribe_to_system_status();
    subscribe_to_respiration_legacy();
    subscribe_to_respiration_sleep();
    subscribe_to_respiration_movinglist();
    subscribe_to_respiration_detectionlist();
}

// ---- failure handling
// -------------------------------------------------------------------------------------------

int RadarInterface::throw_if_error(std::function<int()> body) {
    int result = body();
    if (result != 0)
        throw TervikException(result, "method failed");
    return 0;
}

int RadarInterface::try_and_catch(std::function<void()> body) {
    try {
        body();
        return 0;
    } catch (const TervikException& e) {
        logger.error(std::string(e.what()) + " error code: " + std::to_string(e.code));
        return e.code;
    } catch (...) {
        // Time-outs and unparsable replies are the caller's status 1, without a log line of their own.
        return 1;
    }
}

void handle_ack(const Bytes& reply, const std::string& method_name) {
    if (reply.empty())
        throw TervikException(1, method_name + " response from module is empty");
    if (reply[0] != KMS_SPR_ERROR)
        return;
    int code = 32;
    if (reply.size() > 4)
        code = int(uint32_t(reply[1]) | uint32_t(reply[2]) << 8 | uint32_t(reply[3]) << 16 |
                   uint32_t(reply[4]) << 24);
    throw TervikException(code, method_name + ": module reponded with KMS_SPR_ERROR");
}

// ---- the shape of one command
// -----------------------------------------------------------------------------------

Bytes RadarInterface::transact(const Bytes& frame, const std::vector<Bytes>& comparators) {
    return radar_communicator->send(default_timeout, frame, comparators);
}

void RadarInterface::command_handle_ack(const char* name, const Bytes& frame) {
    Trace trace(logger, trace_level, name);
    handle_ack(transact(frame, ack_or_error), name);
}

void RadarInterface::command_parse_ack(const char* name, const Bytes& frame, const CommandFailure& failure) {
    Trace trace(logger, trace_level, name);
    Bytes reply = transact(frame, ack_or_error);
    ParserResult<Ack> result;
    parser->parse_ack(reply, &result);
    if (result.failed)
        failure.raise(result.error_code);
}

void RadarInterface::command_first_byte(const char* name, const Bytes& frame, const char* message,
                                        const std::vector<Bytes>& comparators) {
    Trace trace(logger, trace_level, name);
    Bytes reply = transact(frame, comparators);
    if (reply.empty() || reply[0] == KMS_SPR_ERROR)
        throw TervikException(1, message);
}

bool RadarInterface::try_parse_reply(const Bytes& packet, ReplyContent* content, uint32_t* error_code) {
    ParserResult<Reply> result;
    parser->parse_reply(packet, &result);
    if (result.failed || !result.received) {
        store(error_code, result.error_code);
        return false;
    }
    *content = ReplyContent(result.value, packet);
    return true;
}

ReplyContent RadarInterface::command_reply(const char* name, const Bytes& frame,
                                           const std::vector<Bytes>& comparators,
                                           const CommandFailure& failure) {
    Trace trace(logger, trace_level, name);
    Bytes reply = transact(frame, comparators);
    ReplyContent content;
    uint32_t error_code = 0;
    if (!try_parse_reply(reply, &content, &error_code))
        failure.raise(error_code);
    return content;
}

int RadarInterface::command_g5_setter(const char* name, const Bytes& frame, const Bytes& comparator) {
    Trace trace(logger, trace_level, name);
    ReplyContent content;
    if (!try_parse_reply(transact(frame, {comparator}), &content))
        return 1;
    return int(content.word(0));
}

int RadarInterface::command_direct(const char* name, const Bytes& payload, const Bytes& comparator) {
    Trace trace(logger, trace_level, name);
    transact(commands->create_command(payload), {comparator});
    return 0;
}

// ---- transport-level primitives
// ---------------------------------------------------------------------------------

int RadarInterface::send_command(const Bytes& payload) {
    radar_communicator->send(payload);
    return 0;
}

Bytes RadarInterface::send_command_single(const Bytes& payload, const Bytes& comparator) {
    return send_command_multi(payload, {comparator});
}

Bytes RadarInterface::send_command_multi(const Bytes& payload, const std::vector<Bytes>& comparators) {
    return transact(commands->create_command(payload), comparators);
}

int RadarInterface::subscribe(const std::string& name, const Bytes& comparator) {
    radar_communicator->subscribe(name, comparator);
    return 0;
}

int RadarInterface::subscribe(const std::string& name, const Bytes& comparator, Callback callback) {
    radar_communicator->subscribe(name, std::move(callback), comparator);
    return 0;
}

void RadarInterface::unsubscribe(const std::string& name) {
    radar_communicator->unsubscribe(name);
}

unsigned int RadarInterface::get_number_of_packets(const std::string& name) {
    return radar_communicator->get_number_of_packets(name);
}

Bytes RadarInterface::get_packet(const std::string& name) {
    return radar_communicator->get_packet(name);
}

void RadarInterface::clear(const std::string& name) {
    radar_communicator->clear(name);
}

// ---- chip driver
// ------------------------------------------------------------------------------------------------

void RadarInterface::g7driver_init() {
    command_handle_ack(__func__, commands->create_g7driver_init());
}
void RadarInterface::g7driver_set_fps(float fps) {
    command_handle_ack(__func__, commands->create_g7driver_set_fps(fps));
}
void RadarInterface::g7driver_set_iterations(uint32_t iterations) {
    command_handle_ack(__func__, commands->create_g7driver_set_iterations(iterations));
}
void RadarInterface::g7driver_set_pulsesperstep(uint32_t pulses_per_step) {
    command_handle_ack(__func__, commands->create_g7driver_set_pulsesperstep(pulses_per_step));
}
void RadarInterface::g7driver_set_downconversion(uint8_t enable) {
    command_handle_ack(__func__, commands->create_g7driver_set_downconversion(enable));
}
void RadarInterface::g7driver_set_frame_area(float start, float end) {
    command_handle_ack(__func__, commands->create_g7driver_set_frame_area(start, end));
}
void RadarInterface::g7driver_set_frame_area_offset(float offset) {
    command_handle_ack(__func__, commands->create_g7driver_set_frame_area_offset(offset));
}
void RadarInterface::g7driver_set_dac_step(uint8_t dac_step) {
    command_handle_ack(__func__, commands->create_g7driver_set_dac_step(dac_step));
}
void RadarInterface::g7driver_set_dac_min(uint32_t dac_min) {
    command_handle_ack(__func__, commands->create_g7driver_set_dac_min(dac_min));
}
void RadarInterface::g7driver_set_dac_max(uint32_t dac_max) {
    command_handle_ack(__func__, commands->create_g7driver_set_dac_max(dac_max));
}
void RadarInterface::g7driver_set_enable(uint8_t enable) {
    command_handle_ack(__func__, commands->create_g7driver_set_enable(enable));
}
void RadarInterface::g7driver_set_tx_center_frequency(uint8_t frequency) {
    command_handle_ack(__func__, commands->create_g7driver_set_tx_center_frequency(frequency));
}
void RadarInterface::g7driver_set_tx_power(uint8_t power) {
    command_handle_ack(__func__, commands->create_g7driver_set_tx_power(power));
}
void RadarInterface::g7driver_set_prf_div(uint8_t prf_div) {
    command_handle_ack(__func__, commands->create_g7driver_set_prf_div(prf_div));
}
void RadarInterface::g7driver_set_spi_register(uint8_t address, uint8_t value) {
    command_handle_ack(__func__, commands->create_g7driver_set_spi_register(address, value));
}
void RadarInterface::g7driver_write_to_spi_register(uint8_t address, const Bytes& values) {
    command_handle_ack(__func__, commands->create_g7driver_write_to_spi_register(address, values));
}
void RadarInterface::g7driver_set_pif_register(uint8_t address, uint8_t value) {
    command_handle_ack(__func__, commands->create_g7driver_set_pif_register(address, value));
}
void RadarInterface::g7driver_set_xif_register(uint8_t address, uint8_t value) {
    command_handle_ack(__func__, commands->create_g7driver_set_xif_register(address, value));
}

int RadarInterface::g7driver_init_no_throw() {
    return try_and_catch([&] { g7driver_init(); });
}
int RadarInterface::g7driver_set_fps_no_throw(float fps) {
    return try_and_catch([&] { g7driver_set_fps(fps); });
}
int RadarInterface::g7driver_set_iterations_no_throw(uint32_t iterations) {
    return try_and_catch([&] { g7driver_set_iterations(iterations); });
}
int RadarInterface::g7driver_set_pulsesperstep_no_throw(uint32_t pulses_per_step) {
    return try_and_catch([&] { g7driver_set_pulsesperstep(pulses_per_step); });
}
int RadarInterface::g7driver_set_downconversion_no_throw(uint8_t enable) {
    return try_and_catch([&] { g7driver_set_downconversion(enable); });
}
int RadarInterface::g7driver_set_frame_area_no_throw(float start, float end) {
    return try_and_catch([&] { g7driver_set_frame_area(start, end); });
}
int RadarInterface::g7driver_set_frame_area_offset_no_throw(float offset) {
    return try_and_catch([&] { g7driver_set_frame_area_offset(offset); });
}
int RadarInterface::g7driver_set_dac_step_no_throw(uint8_t dac_step) {
    return try_and_catch([&] { g7driver_set_dac_step(dac_step); });
}
int RadarInterface::g7driver_set_dac_min_no_throw(uint32_t dac_min) {
    return try_and_catch([&] { g7driver_set_dac_min(dac_min); });
}
int RadarInterface::g7driver_set_dac_max_no_throw(uint32_t dac_max) {
    return try_and_catch([&] { g7driver_set_dac_max(dac_max); });
}
int RadarInterface::g7driver_set_enable_no_throw(uint8_t enable) {
    return try_and_catch([&] { g7driver_set_enable(enable); });
}
int RadarInterface::g7driver_set_tx_center_frequency_no_throw(uint8_t frequency) {
    return try_and_catch([&] { g7driver_set_tx_center_frequency(frequency); });
}
int RadarInterface::g7driver_set_tx_power_no_throw(uint8_t power) {
    return try_and_catch([&] { g7driver_set_tx_power(power); });
}
int RadarInterface::g7driver_set_prf_div_no_throw(uint8_t prf_div) {
    return try_and_catch([&] { g7driver_set_prf_div(prf_div); });
}
int RadarInterface::g7driver_set_spi_register_no_throw(uint8_t address, uint8_t value) {
    return try_and_catch([&] { g7driver_set_spi_register(address, value); });
}
int RadarInterface::g7driver_write_to_spi_register_no_throw(uint8_t address, const Bytes& values) {
    return try_and_catch([&] { g7driver_write_to_spi_register(address, values); });
}
int RadarInterface::g7driver_set_pif_register_no_throw(uint8_t address, uint8_t value) {
    return try_and_catch([&] { g7driver_set_pif_register(address, value); });
}
int RadarInterface::g7driver_set_xif_register_no_throw(uint8_t address, uint8_t value) {
    return try_and_catch([&] { g7driver_set_xif_register(address, value); });
}

float RadarInterface::g7driver_get_fps() {
    return command_reply(__func__, commands->create_g7driver_get_fps(), or_error(reply_prefix(0x12, 0x10)),
                         parse_reply_failed(__func__))
        .real(0);
}
FrameArea RadarInterface::g7driver_get_frame_area() {
    ReplyContent reply = command_reply(__func__, commands->create_g7driver_get_frame_area(),
                                       or_error(reply_prefix(0x12, 0x14)), parse_reply_failed(__func__));
    return FrameArea{reply.real(0), reply.real(1)};
}
float RadarInterface::g7driver_get_frame_area_offset() {
    return command_reply(__func__, commands->create_g7driver_get_frame_area_offset(),
                         or_error(reply_prefix(0x12, 0x18)), parse_reply_failed(__func__))
        .real(0);
}
uint8_t RadarInterface::g7driver_get_spi_register(uint8_t address) {
    return command_reply(__func__, commands->create_g7driver_get_spi_register(address),
                         or_error(reply_prefix(0x10, 0x22)), parse_reply_failed(__func__))
        .byte(0);
}
Bytes RadarInterface::g7driver_read_from_spi_register(uint8_t address, uint32_t length) {
    return command_reply(__func__, commands->create_g7driver_read_from_spi_register(address, length),
                         or_error(reply_prefix(0x10, 0x22)), parse_reply_failed(__func__))
        .data();
}
uint8_t RadarInterface::g7driver_get_pif_register(uint8_t address) {
    return command_reply(__func__, commands->create_g7driver_get_pif_register(address),
                         or_error(reply_prefix(0x10, 0x23)), parse_reply_failed(__func__))
        .byte(0);
}
uint8_t RadarInterface::g7driver_get_xif_register(uint8_t address) {
    return command_reply(__func__, commands->create_g7driver_get_xif_register(address),
                         or_error(reply_prefix(0x10, 0x24)), parse_reply_failed(__func__))
        .byte(0);
}
uint8_t RadarInterface::g7driver_get_prf_div() {
    return command_reply(__func__, commands->create_g7driver_get_prf_div(),
                         or_error(reply_prefix(0x10, 0x25)), parse_reply_failed(__func__))
        .byte(0);
}

int RadarInterface::g7driver_get_fps_no_throw(float* fps) {
    return try_and_catch([&] { store(fps, g7driver_get_fps()); });
}
int RadarInterface::g7driver_get_frame_area_no_throw(FrameArea* frame_area) {
    return try_and_catch([&] { store(frame_area, g7driver_get_frame_area()); });
}
int RadarInterface::g7driver_get_frame_area_offset(float* offset) {
    return try_and_catch([&] { store(offset, g7driver_get_frame_area_offset()); });
}
int RadarInterface::g7driver_get_spi_register_no_throw(uint8_t address, uint8_t* value) {
    return try_and_catch([&] { store(value, g7driver_get_spi_register(address)); });
}
int RadarInterface::g7driver_read_from_spi_register_no_throw(uint8_t address, Bytes* values,
                                                             uint32_t length) {
    return try_and_catch([&] { store(values, g7driver_read_from_spi_register(address, length)); });
}
int RadarInterface::g7driver_get_pif_register(uint8_t address, uint8_t* value) {
    return try_and_catch([&] { store(value, g7driver_get_pif_register(address)); });
}
int RadarInterface::g7driver_get_xif_register(uint8_t address, uint8_t* value) {
    return try_and_catch([&] { store(value, g7driver_get_xif_register(address)); });
}
int RadarInterface::g7driver_get_prf_div(uint8_t* prf_div) {
    return try_and_catch([&] { store(prf_div, g7driver_get_prf_div()); });
}

// ---- direct chip access
// -----------------------------------------------------------------------------------------

int RadarInterface::set_g7_io_pin_value(uint8_t pin, uint8_t value) {
    return command_direct(__func__, {0x90, 0x35, pin, value}, {0x11, 0x00, 0x35});
}
int RadarInterface::set_g7_io_pin_mode(uint8_t pin, uint8_t mode) {
    return command_direct(__func__, {0x90, 0x21, pin, mode}, {0x11, 0x00});
}
int RadarInterface::set_g7_io_pin_dir(uint8_t pin, uint8_t direction) {
    return command_direct(__func__, {0x90, 0x34, pin, direction}, {0x11, 0x00});
}
int RadarInterface::set_g7_io_pin_enable(uint8_t pin) {
    return command_direct(__func__, {0x90, 0x37, pin}, {0x11, 0x00});
}
int RadarInterface::set_g7_io_pin_disable(uint8_t pin) {
    return command_direct(__func__, {0x90, 0x38, pin}, {0x11, 0x00});
}
int RadarInterface::get_g7_io_pin_value(uint8_t pin) {
    Trace trace(logger, trace_level, __func__);
    Bytes reply = transact(commands->create_command(Bytes{0x90, 0x36, pin}), {{0x11, 0x11}});
    return reply.size() > data_header_size ? reply[data_header_size] : 0;
}
int RadarInterface::read_g7_spi(uint8_t address) {
    Trace trace(logger, trace_level, __func__);
    Bytes reply = transact(commands->create_command(Bytes{0x90, 0x32, address}), {{0x11, 0x11, 0x32}});
    return reply.size() > data_header_size ? reply[data_header_size] : 0;
}
int RadarInterface::write_g7_spi(uint8_t address, uint8_t value) {
    // The chip takes a write as an address with its top bit set.
    return command_direct(__func__, {0x90, 0x33, uint8_t(address | 0x80), value}, {0x11, 0x00, 0x33});
}
int RadarInterface::set_g7_fps(uint32_t fps) {
    return command_direct(
        __func__, {0x90, 0x24, uint8_t(fps), uint8_t(fps >> 8), uint8_t(fps >> 16), uint8_t(fps >> 24)},
        {0x11, 0x00, 0x24});
}

// ---- system
// -----------------------------------------------------------------------------------------------------

uint32_t RadarInterface::ping() {
    Trace trace(logger, trace_level, __func__);
    Bytes reply = transact(commands->create_ping(), or_error(pong_prefix));
    ParserResult<unsigned int> result;
    parser->parse_pong(reply, &result);
    return result.failed || !result.received ? 1 : result.value;
}
int RadarInterface::ping(unsigned int* value) {
    return try_and_catch([&] { store(value, ping()); });
}

std::string RadarInterface::get_system_info(unsigned char info_code) {
    return command_reply(__func__, commands->create_get_system_info(info_code),
                         or_error(reply_prefix(KMS_SPRD_STRING, 0x58)),
                         Failure::runtime(std::string("error parsing reply in ") + __func__))
        .text();
}
int RadarInterface::get_system_info(unsigned char info_code, std::string* result) {
    Trace trace(logger, trace_level, __func__);
    Bytes reply =
        transact(commands->create_get_system_info(info_code), or_error(reply_prefix(KMS_SPRD_STRING, 0x58)));
    ReplyContent content;
    if (!try_parse_reply(reply, &content))
        return -1;
    store(result, content.text());
    return 0;
}

void RadarInterface::set_baudrate(uint32_t rate) {
    command_parse_ack(__func__, commands->create_set_baudrate(rate),
                      Failure::module("set baud rate command failed"));
    // The host follows only once the module has agreed, and gives it time to switch.
    radar_communicator->set_baudrate(rate);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
}
int RadarInterface::set_baudrate_no_throw(uint32_t rate) {
    return try_and_catch([&] { set_baudrate(rate); });
}

void RadarInterface::set_debug_level(unsigned char level) {
    command_first_byte(__func__, commands->create_set_debug_level(level), "set_debug_level returned error",
                       {ack_prefix});
}
int RadarInterface::set_debug_level_no_throw(unsigned char level) {
    return try_and_catch([&] { set_debug_level(level); });
}

void RadarInterface::module_reset() {
    command_handle_ack(__func__, commands->create_module_reset());
}
int RadarInterface::module_reset_no_throw() {
    return try_and_catch([&] { module_reset(); });
}

void RadarInterface::reset_to_factory_preset() {
    command_parse_ack(__func__, commands->create_reset_to_factory_preset(),
                      Failure::module("reset_to_factory_preset failed"));
}
int RadarInterface::reset_to_factory_preset_no_throw() {
    return try_and_catch([&] { reset_to_factory_preset(); });
}

void RadarInterface::start_bootloader(uint32_t key) {
    command_handle_ack(__func__, commands->create_start_bootloader(key));
}
void RadarInterface::start_bootloader() {
    // Firmware generations differ in the key they accept; the second try's failure is the caller's.
    try {
        start_bootloader(KMS_DEF_ENTER_BOOTLOADER_KEY);
    } catch (...) {
        start_bootloader(KMS_DEF_ENTER_BOOTLOADER_KEY_2);
    }
}
int RadarInterface::start_bootloader_no_throw(uint32_t key) {
    return try_and_catch([&] { start_bootloader(key); });
}
int RadarInterface::start_bootloader_no_throw() {
    return try_and_catch([&] { start_bootloader(); });
}

int RadarInterface::system_run_test(unsigned char test_code, Bytes* result) {
    Trace trace(logger, trace_level, __func__);
    Bytes reply =
        transact(commands->create_system_run_test(test_code), or_error(reply_prefix(KMS_SPRD_BYTE)));
    ReplyContent content;
    if (!try_parse_reply(reply, &content))
        return 1;
    store(result, content.data());
    return 0;
}
int RadarInterface::system_run_test(unsigned char test_code) {
    Trace trace(logger, trace_level, __func__);
    transact(commands->create_config_run_test(test_code), {ack_prefix});
    return 0;
}

std::string RadarInterface::get_item_number() {
    return get_system_info(KMID_SSIC_ITEMNUMBER);
}
std::string RadarInterface::get_order_code() {
    return get_system_info(KMID_SSIC_ORDERCODE);
}
std::string RadarInterface::get_firmware_id() {
    return get_system_info(KMID_SSIC_FIRMWAREID);
}
std::string RadarInterface::get_firmware_version() {
    return get_system_info(KMID_SSIC_VERSION);
}
std::string RadarInterface::get_build_info() {
    return get_system_info(KMID_SSIC_BUILD);
}
std::string RadarInterface::get_app_id_list() {
    return get_system_info(app_id_list_info_code);
}
std::string RadarInterface::get_serial_number() {
    return get_system_info(KMID_SSIC_SERIALNUMBER);
}
int RadarInterface::get_item_number(std::string* value) {
    return try_and_catch([&] { store(value, get_item_number()); });
}
int RadarInterface::get_order_code(std::string* value) {
    return try_and_catch([&] { store(value, get_order_code()); });
}
int RadarInterface::get_firmware_id(std::string* value) {
    return try_and_catch([&] { store(value, get_firmware_id()); });
}
int RadarInterface::get_firmware_version(std::string* value) {
    return try_and_catch([&] { store(value, get_firmware_version()); });
}
int RadarInterface::get_build_info(std::string* value) {
    return try_and_catch([&] { store(value, get_build_info()); });
}
int RadarInterface::get_app_id_list(std::string* value) {
    return try_and_catch([&] { store(value, get_app_id_list()); });
}
int RadarInterface::get_serial_number(std::string* value) {
    return try_and_catch([&] { store(value, get_serial_number()); });
}

// ---- application
// ------------------------------------------------------------------------------------------------

void RadarInterface::load_profile(uint32_t profile_id) {
    command_parse_ack(__func__, commands->create_load_profile(profile_id),
                      Failure::module("load profile failed"));
}
void RadarInterface::load_sleep_profile() {
    load_profile(0xF17B17);
}
void RadarInterface::load_respiration_profile() {
    load_profile(0x1423A2D6);
}
int RadarInterface::load_profile_no_throw(uint32_t profile_id) {
    return try_and_catch([&] { load_profile(profile_id); });
}
int RadarInterface::load_sleep_profile_no_throw() {
    return try_and_catch([&] { load_sleep_profile(); });
}
int RadarInterface::load_respiration_profile_no_throw() {
    return try_and_catch([&] { load_respiration_profile(); });
}

uint32_t RadarInterface::get_profileid() {
    return command_reply(__func__, commands->create_get_profileid(), or_error(reply_prefix(KMS_SPRD_INT)),
                         parse_reply_failed(__func__))
        .word(0);
}
int RadarInterface::get_profileid_no_throw(uint32_t& id) {
    return try_and_catch([&] { id = get_profileid(); });
}
int RadarInterface::get_profileid(uint32_t* id) {
    return try_and_catch([&] { store(id, get_profileid()); });
}

void RadarInterface::set_sensor_mode_and_submode(unsigned char mode, unsigned char submode) {
    command_first_byte(__func__, commands->create_set_sensor_mode(sensor_mode_t(mode), submode),
                       "set sensor mode failed", ack_or_error);
}
void RadarInterface::set_sensor_mode(unsigned char mode) {
    set_sensor_mode_and_submode(mode, 0);
}
void RadarInterface::set_sensor_mode_run() {
    set_sensor_mode(1);
}
void RadarInterface::set_sensor_mode_idle() {
    set_sensor_mode(17);
}
int RadarInterface::set_sensor_mode_and_submode_no_throw(unsigned char mode, unsigned char submode) {
    return try_and_catch([&] { set_sensor_mode_and_submode(mode, submode); });
}
int RadarInterface::set_sensor_mode_no_throw(unsigned char mode) {
    return set_sensor_mode_and_submode_no_throw(mode, 0);
}
int RadarInterface::set_sensor_mode_run_no_throw() {
    return try_and_catch([&] { set_sensor_mode_run(); });
}
int RadarInterface::set_sensor_mode_idle_no_throw() {
    return try_and_catch([&] { set_sensor_mode_idle(); });
}

void RadarInterface::set_sensitivity(uint32_t value) {
    command_parse_ack(__func__, commands->create_set_sensitivity(value),
                      Failure::module("set_sensitivity failed"));
}
void RadarInterface::set_detection_zone(float start, float end) {
    command_parse_ack(__func__, commands->create_set_detection_zone(start, end),
                      Failure::module("set_detection_zone failed"));
}
DetectionZone RadarInterface::get_detection_zone() {
    ReplyContent reply =
        command_reply(__func__, commands->create_get_detection_zone(), or_error(reply_prefix(KMS_SPRD_FLOAT)),
                      Failure::module("get_detection_zone failed"));
    return DetectionZone{reply.real(0), reply.real(1)};
}
DetectionZoneLimits RadarInterface::get_detection_zone_limits() {
    ReplyContent reply = command_reply(__func__, commands->create_get_detection_zone_limits(),
                                       or_error(reply_prefix(KMS_SPRD_FLOAT)),
                                       Failure::module("get_detection_zone_limits failed"));
    return DetectionZoneLimits{reply.real(0), reply.real(1), reply.real(2)};
}
int RadarInterface::set_sensitivity_no_throw(uint32_t value) {
    return try_and_catch([&] { set_sensitivity(value); });
}
int RadarInterface::set_detection_zone_no_throw(float start, float end) {
    return try_and_catch([&] { set_detection_zone(start, end); });
}
int RadarInterface::get_detection_zone(float* start, float* end) {
    return try_and_catch([&] {
        DetectionZone zone = get_detection_zone();
        store(start, zone.start);
        store(end, zone.end);
    });
}
int RadarInterface::get_detection_zone_limits(float* start, float* end, float* step) {
    return try_and_catch([&] {
        DetectionZoneLimits limits = get_detection_zone_limits();
        store(start, limits.start);
        store(end, limits.end);
        store(step, limits.step);
    });
}

void RadarInterface::set_led_control(unsigned char mode, unsigned char intensity) {
    command_first_byte(__func__, commands->create_set_led_control(mode, intensity), "set_led_control failed",
                       ack_or_error);
}
void RadarInterface::set_output_control(uint32_t output_feature, uint32_t output_control) {
    command_handle_ack(__func__, commands->create_set_output_control(output_feature, output_control));
}
void RadarInterface::enable_baseband(int type, bool enable) {
    command_first_byte(__func__, commands->create_enable_baseband(type, enable),
                       enable ? "enable baseband failed" : "disable baseband failed", ack_or_error);
}
void RadarInterface::enable_baseband_ap() {
    enable_baseband(2, true);
}
void RadarInterface::disable_baseband_ap() {
    enable_baseband(2, false);
}
void RadarInterface::enable_baseband_iq() {
    enable_baseband(1, true);
}
void RadarInterface::disable_baseband_iq() {
    enable_baseband(1, false);
}
void RadarInterface::enable_resp_output() {
    command_parse_ack(__func__, commands->create_enable_resp_ouput(),
                      Failure::module("enable_resp_output failed"));
}
void RadarInterface::disable_resp_output() {
    command_parse_ack(__func__, commands->create_disable_resp_ouput(),
                      Failure::module("disable_resp_output failed"));
}
int RadarInterface::set_led_control_no_throw(unsigned char mode, unsigned char intensity) {
    return try_and_catch([&] { set_led_control(mode, intensity); });
}
int RadarInterface::set_output_control_no_throw(uint32_t output_feature, uint32_t output_control) {
    return try_and_catch([&] { set_output_control(output_feature, output_control); });
}
int RadarInterface::enable_baseband_no_throw(int type, bool enable) {
    return try_and_catch([&] { enable_baseband(type, enable); });
}
int RadarInterface::enable_baseband_ap_no_throw() {
    return try_and_catch([&] { enable_baseband_ap(); });
}
int RadarInterface::disable_baseband_ap_no_throw() {
    return try_and_catch([&] { disable_baseband_ap(); });
}
int RadarInterface::enable_baseband_iq_no_throw() {
    return try_and_catch([&] { enable_baseband_iq(); });
}
int RadarInterface::disable_baseband_iq_no_throw() {
    return try_and_catch([&] { disable_baseband_iq(); });
}
int RadarInterface::enable_resp_output_no_throw() {
    return try_and_catch([&] { enable_resp_output(); });
}
int RadarInterface::disable_resp_output_no_throw() {
    return try_and_catch([&] { disable_resp_output(); });
}

void RadarInterface::store_noisemap() {
    command_handle_ack(__func__, commands->create_store_noise_map());
}
void RadarInterface::load_noisemap() {
    command_handle_ack(__func__, commands->create_load_noise_map());
}
void RadarInterface::set_noisemap_control(uint32_t bits) {
    command_handle_ack(__func__, commands->create_set_noisemap_control(bits));
}
uint32_t RadarInterface::get_noisemap_control() {
    return command_reply(__func__, commands->create_get_noisemap_control(),
                         or_error(reply_prefix(KMS_SPRD_INT)), parse_reply_failed(__func__))
        .word(0);
}
int RadarInterface::store_noisemap_no_throw() {
    return try_and_catch([&] { store_noisemap(); });
}
int RadarInterface::load_noisemap_no_throw() {
    return try_and_catch([&] { load_noisemap(); });
}
int RadarInterface::set_noisemap_control_no_throw(uint32_t bits) {
    return try_and_catch([&] { set_noisemap_control(bits); });
}
int RadarInterface::get_noisemap_control_no_throw(uint32_t* bits) {
    return try_and_catch([&] { store(bits, get_noisemap_control()); });
}

void RadarInterface::set_iopin_control(uint32_t pin_id, uint32_t pin_setup, uint32_t pin_feature) {
    command_handle_ack(__func__, commands->create_set_iopin_control(pin_id, pin_setup, pin_feature));
}
void RadarInterface::set_iopin_value(uint32_t pin_id, uint32_t pin_value) {
    command_handle_ack(__func__, commands->create_set_iopin_value(pin_id, pin_value));
}
uint32_t RadarInterface::get_iopin_value(uint32_t pin_id) {
    return command_reply(__func__, commands->create_get_iopin_value(pin_id),
                         or_error(reply_prefix(KMS_SPRD_INT)), parse_reply_failed(__func__))
        .word(0);
}
int RadarInterface::set_iopin_control_no_throw(uint32_t pin_id, uint32_t pin_setup, uint32_t pin_feature) {
    return try_and_catch([&] { set_iopin_control(pin_id, pin_setup, pin_feature); });
}
int RadarInterface::set_iopin_value_no_throw(uint32_t pin_id, uint32_t pin_value) {
    return try_and_catch([&] { set_iopin_value(pin_id, pin_value); });
}
int RadarInterface::get_iopin_value(uint32_t pin_id, uint32_t* pin_value) {
    return try_and_catch([&] { store(pin_value, get_iopin_value(pin_id)); });
}

void RadarInterface::set_parameter_file(const std::string& filename, const std::string& data) {
    logger.log(6, "filename: " + filename + "data: " + data);
    // The module reports a refused parameter file under the detection zone's text; kept so for its users.
    command_parse_ack(__func__, commands->create_set_parameter_file(filename, data),
                      Failure::module("set_detection_zone failed"));
}
std::string RadarInterface::get_parameter_file(const std::string& filename) {
    return command_reply(__func__, commands->create_get_parameter_file(filename),
                         or_error(reply_prefix(KMS_SPRD_STRING)),
                         Failure::runtime(std::string("error receiving data in ") + __func__))
        .text();
}
int RadarInterface::set_parameter_file_no_throw(const std::string& filename, const std::string& data) {
    return try_and_catch([&] { set_parameter_file(filename, data); });
}
int RadarInterface::get_parameter_file_no_throw(const std::string& filename, std::string& data) {
    return try_and_catch([&] { data = get_parameter_file(filename); });
}
int RadarInterface::get_parameter_file(const std::string& filename, std::string* data) {
    return try_and_catch([&] { store(data, get_parameter_file(filename)); });
}

// ---- older generation
// -------------------------------------------------------------------------------------------

int RadarInterface::run_timing_measurement() {
    return command_g5_setter(__func__, commands->create_run_timing_measurement(), {0x11, 0x00, 0x20});
}
int RadarInterface::set_G5_float(uint32_t id, float value) {
    return command_g5_setter(__func__, commands->create_set_float(id, value), {0x11, 0x00, 0x13});
}
int RadarInterface::set_G5_int(uint32_t id, uint32_t value) {
    return command_g5_setter(__func__, commands->create_set_int(id, value), {0x11, 0x00, 0x11});
}
int RadarInterface::set_G5_register(uint32_t id, uint32_t value) {
    return command_g5_setter(__func__, commands->create_set_register(id, value), {0x11, 0x00, 0x15});
}
float RadarInterface::get_g5_float(uint32_t id) {
    return command_reply(__func__, commands->create_get_float(id), {reply_prefix(KMS_SPRD_FLOAT, 0x14)},
                         Failure::runtime(std::string("error parsing reply in") + __func__))
        .real(0);
}
uint32_t RadarInterface::get_g5_int(uint32_t id) {
    return command_reply(__func__, commands->create_get_int(id), {reply_prefix(KMS_SPRD_INT, 0x12)},
                         parse_reply_failed(__func__))
        .word(0);
}
uint32_t RadarInterface::get_g5_register(uint32_t register_id) {
    return command_reply(__func__, commands->create_get_register(register_id),
                         {reply_prefix(KMS_SPRD_INT, 0x16)}, parse_reply_failed(__func__))
        .word(0);
}
int RadarInterface::set_sys_config_float(int id, float value) {
    Trace trace(logger, trace_level, __func__);
    transact(commands->create_config_set_float(id, int(value)), {ack_prefix});
    return 0;
}
int RadarInterface::set_sys_config_int(int id, int value) {
    Trace trace(logger, trace_level, __func__);
    transact(commands->create_config_set_int(id, value), {ack_prefix});
    return 0;
}
int RadarInterface::set_fps(unsigned int fps) {
    Trace trace(logger, trace_level, __func__);
    transact(commands->create_config_set_int(26, int(fps)), {ack_prefix});
    return 0;
}
RawNormalizedData RadarInterface::capture_single_normalized_frame() {
    ReplyContent reply = command_reply(__func__, commands->create_get_frame(), {Bytes{KMS_SPR_REPLY}},
                                       Failure::runtime(std::string("parser error of reply in ") + __func__));
    // The reply's length is taken as a count of floats, as far as the packet holds them.
    return RawNormalizedData{reply.info(), reply.reals(reply.data().size())};
}

// ---- data messages: subscriptions
// -------------------------------------------------------------------------------

int RadarInterface::subscribe_app(const std::string& name, uint32_t id) {
    return subscribe(name, app_comparator(id));
}
int RadarInterface::subscribe_app(const std::string& name, uint32_t id, Callback callback) {
    return subscribe(name, app_comparator(id), std::move(callback));
}

int RadarInterface::subscribe_to_baseband_ap(const std::string& name) {
    return subscribe_app(name, KMS_ID_BASEBAND_AMPLITUDE_PHASE);
}
int RadarInterface::subscribe_to_baseband_ap(const std::string& name, Callback callback) {
    return subscribe_app(name, KMS_ID_BASEBAND_AMPLITUDE_PHASE, std::move(callback));
}
int RadarInterface::subscribe_to_baseband_ap() {
    return subscribe_to_baseband_ap(baseband_ap_subscription_id);
}
int RadarInterface::subscribe_to_baseband_iq(const std::string& name) {
    return subscribe_app(name, KMS_ID_BASEBAND_IQ);
}
int RadarInterface::subscribe_to_baseband_iq(const std::string& name, Callback callback) {
    return subscribe_app(name, KMS_ID_BASEBAND_IQ, std::move(callback));
}
int RadarInterface::subscribe_to_baseband_iq() {
    return subscribe_to_baseband_iq(baseband_iq_subscription_id);
}
int RadarInterface::subscribe_to_pulsedoppler_float(const std::string& name) {
    return subscribe_app(name, KMS_ID_PULSEDOPPLER_FLOAT);
}
int RadarInterface::subscribe_to_pulsedoppler_float(const std::string& name, Callback callback) {
    return subscribe_app(name, KMS_ID_PULSEDOPPLER_FLOAT, std::move(callback));
}
int RadarInterface::subscribe_to_pulsedoppler_float() {
    return subscribe_to_pulsedoppler_float(pulsedoppler_float_subscription_id);
}
int RadarInterface::subscribe_to_pulsedoppler_byte(const std::string& name) {
    return subscribe_app(name, KMS_ID_PULSEDOPPLER_BYTE);
}
int RadarInterface::subscribe_to_pulsedoppler_byte(const std::string& name, Callback callback) {
    return subscribe_app(name, KMS_ID_PULSEDOPPLER_BYTE, std::move(callback));
}
int RadarInterface::subscribe_to_pulsedoppler_byte() {
    return subscribe_to_pulsedoppler_byte(pulsedoppler_byte_subscription_id);
}
int RadarInterface::subscribe_to_noisemap_float(const std::string& name) {
    return subscribe_app(name, KMS_ID_NOISEMAP_FLOAT);
}
int RadarInterface::subscribe_to_noisemap_float(const std::string& name, Callback callback) {
    return subscribe_app(name, KMS_ID_NOISEMAP_FLOAT, std::move(callback));
}
int RadarInterface::subscribe_to_noisemap_float() {
    return subscribe_to_noisemap_float(noisemap_float_subscription_id);
}
int RadarInterface::subscribe_to_noisemap_byte(const std::string& name) {
    return subscribe_app(name, KMS_ID_NOISEMAP_BYTE);
}
int RadarInterface::subscribe_to_noisemap_byte(const std::string& name, Callback callback) {
    return subscribe_app(name, KMS_ID_NOISEMAP_BYTE, std::move(callback));
}
int RadarInterface::subscribe_to_noisemap_byte() {
    return subscribe_to_noisemap_byte(noisemap_byte_subscription_id);
}
int RadarInterface::subscribe_to_presence_single() {
    return subscribe_app(presence_single_name, KMS_ID_PRESENCE_SINGLE);
}
int RadarInterface::subscribe_to_presence_single(const std::string& name, Callback callback) {
    return subscribe_app(name, KMS_ID_PRESENCE_SINGLE, std::move(callback));
}
int RadarInterface::subscribe_to_presence_movinglist() {
    return subscribe_app(presence_movinglist_name, KMS_ID_PRESENCE_MOVINGLIST);
}
int RadarInterface::subscribe_to_presence_movinglist(const std::string& name, Callback callback) {
    return subscribe_app(name, KMS_ID_PRESENCE_MOVINGLIST, std::move(callback));
}
int RadarInterface::subscribe_to_respiration_movinglist() {
    return subscribe_app(respiration_movinglist_subscription_id, KMS_ID_RESPIRATION_MOVINGLIST);
}
int RadarInterface::subscribe_to_respiration_movinglist(const std::string& name, Callback callback) {
    return subscribe_app(name, KMS_ID_RESPIRATION_MOVINGLIST, std::move(callback));
}
int RadarInterface::subscribe_to_respiration_detectionlist() {
    return subscribe_app(respiration_detectionlist_subscription_id, KMS_ID_RESPIRATION_DETECTIONLIST);
}
int RadarInterface::subscribe_to_respiration_detectionlist(const std::string& name, Callback callback) {
    return subscribe_app(name, KMS_ID_RESPIRATION_DETECTIONLIST, std::move(callback));
}
int RadarInterface::subscribe_to_resp_status(const std::string& name) {
    return subscribe_app(name, KMS_ID_RESP_STATUS);
}
int RadarInterface::subscribe_to_resp_status(const std::string& name, Callback callback) {
    return subscribe_app(name, KMS_ID_RESP_STATUS, std::move(callback));
}
int RadarInterface::subscribe_to_respiration_legacy() {
    return subscribe_to_resp_status(respiration_legacy_subscription_id);
}
int RadarInterface::subscribe_to_sleep_status(const std::string& name) {
    return subscribe_app(name, KMS_ID_SLEEP_STATUS);
}
int RadarInterface::subscribe_to_sleep_status(const std::string& name, Callback callback) {
    return subscribe_app(name, KMS_ID_SLEEP_STATUS, std::move(callback));
}
int RadarInterface::subscribe_to_respiration_sleep() {
    return subscribe_to_sleep_status(respiration_sleep_subscription_id);
}
int RadarInterface::subscribe_to_data_float(const std::string& name) {
    return subscribe(name, {KMS_SPR_DATA, KMS_SPRD_FLOAT});
}
int RadarInterface::subscribe_to_data_float(const std::string& name, Callback callback) {
    return subscribe(name, {KMS_SPR_DATA, KMS_SPRD_FLOAT}, std::move(callback));
}
int RadarInterface::subscribe_to_data_string(const std::string& name) {
    return subscribe(name, {KMS_SPR_DATA, KMS_SPRD_STRING});
}
int RadarInterface::subscribe_to_data_string(const std::string& name, Callback callback) {
    return subscribe(name, {KMS_SPR_DATA, KMS_SPRD_STRING}, std::move(callback));
}
int RadarInterface::subscribe_to_data_byte(const std::string& name) {
    return subscribe(name, {KMS_SPR_DATA, KMS_SPRD_BYTE});
}
int RadarInterface::subscribe_to_data_byte(const std::string& name, Callback callback) {
    return subscribe(name, {KMS_SPR_DATA, KMS_SPRD_BYTE}, std::move(callback));
}
int RadarInterface::subscribe_to_performance_status(const std::string& name) {
    return subscribe(name, {KMS_SPR_DATA, 0x50, 0x05});
}
int RadarInterface::subscribe_to_performance_status(const std::string& name, Callback callback) {
    return subscribe(name, {KMS_SPR_DATA, 0x50, 0x05}, std::move(callback));
}
int RadarInterface::subscribe_to_radar_settings(const std::string& name) {
    return subscribe(name, {KMS_SPR_DATA, 0x50, 0x03});
}
int RadarInterface::subscribe_to_radar_settings(const std::string& name, Callback callback) {
    return subscribe(name, {KMS_SPR_DATA, 0x50, 0x03}, std::move(callback));
}
int RadarInterface::subscribe_to_system_status() {
    return subscribe(system_message_subscription_id, {KMS_SPR_SYSTEM});
}
int RadarInterface::subscribe_to_g7_desim(const std::string& name) {
    return subscribe(name, {DEPRECATED_KMS_SPR_APPDATA_FAST});
}
int RadarInterface::subscribe_to_trace(const std::string& name) {
    return subscribe_to_data_string(name);
}
int RadarInterface::subscribe_to_debug_messages(const std::string& name) {
    return subscribe_to_data_string(name);
}
int RadarInterface::subscribe_to_debug_messages(const std::string& name, Callback callback) {
    return subscribe_to_data_string(name, std::move(callback));
}
int RadarInterface::subscribe_to_raw_normalized(const std::string& name) {
    Trace trace(logger, trace_level, __func__);
    return subscribe_to_data_float(name);
}
int RadarInterface::subscribe_to_raw_normalized(const std::string& name, Callback callback) {
    Trace trace(logger, trace_level, __func__);
    return subscribe_to_data_float(name, std::move(callback));
}

// ---- data messages: counting
// ------------------------------------------------------------------------------------

int RadarInterface::peek(const std::string& name) {
    return int(get_number_of_packets(name));
}

int RadarInterface::peek_message_data_float() {
    return peek(data_float_subscription_id);
}
int RadarInterface::peek_message_data_float(const std::string& name) {
    return peek(name);
}
int RadarInterface::peek_message_data_string() {
    return peek(data_string_subscription_id);
}
int RadarInterface::peek_message_data_byte() {
    return peek(data_byte_subscription_id);
}
int RadarInterface::peek_message_system() {
    return peek(system_message_subscription_id);
}
int RadarInterface::peek_message_presence_single() {
    return peek(presence_single_name);
}
int RadarInterface::peek_message_presence_movinglist() {
    return peek(presence_movinglist_name);
}
int RadarInterface::peek_message_baseband_iq() {
    return peek(baseband_iq_subscription_id);
}
int RadarInterface::peek_message_baseband_ap() {
    return peek(baseband_ap_subscription_id);
}
int RadarInterface::peek_message_pulsedoppler_float() {
    return peek(pulsedoppler_float_subscription_id);
}
int RadarInterface::peek_message_pulsedoppler_byte() {
    return peek(pulsedoppler_byte_subscription_id);
}
int RadarInterface::peek_message_noisemap_float() {
    return peek(noisemap_float_subscription_id);
}
int RadarInterface::peek_message_noisemap_byte() {
    return peek(noisemap_byte_subscription_id);
}
int RadarInterface::peek_message_respiration_legacy() {
    return peek(respiration_legacy_subscription_id);
}
int RadarInterface::peek_message_respiration_sleep() {
    return peek(respiration_sleep_subscription_id);
}
int RadarInterface::peek_message_respiration_movinglist() {
    return peek(respiration_movinglist_subscription_id);
}
int RadarInterface::peek_message_respiration_detectionlist() {
    return peek(respiration_detectionlist_subscription_id);
}

// ---- data messages: reading
// -------------------------------------------------------------------------------------

template <typename Record, typename Parsed, typename ParseMethod>
Record RadarInterface::read_record(const std::string& queue, ParseMethod parse, const char* text,
                                   const char* method) {
    Trace trace(logger, trace_level, method);
    Bytes packet = get_packet(queue);
    ParserResult<Parsed> result;
    (parser.get()->*parse)(packet, &result);
    if (result.failed || !result.received)
        throw std::runtime_error(text + std::string(method));
    // The parsed record points into `packet`: it is copied out before the packet dies.
    return RecordConverter::convert(result.value);
}

BasebandIqData RadarInterface::get_baseband_iq_data(const std::string& name) {
    return read_record<BasebandIqData, ::BasebandIqData>(name, &Parser::parse_baseband_iq,
                                                         "parser error of baseband IQ data ", __func__);
}
BasebandApData RadarInterface::get_baseband_ap_data(const std::string& name) {
    return read_record<BasebandApData, ::BasebandApData>(name, &Parser::parse_baseband_ap,
                                                         "parser error of baseband AP data ", __func__);
}
RespirationData RadarInterface::get_respiration_data(const std::string& name) {
    return read_record<RespirationData, ::RespirationData>(name, &Parser::parse_respiration_status,
                                                           "parser error of respiration data ", __func__);
}
SleepData RadarInterface::get_sleep_data(const std::string& name) {
    return read_record<SleepData, ::SleepData>(name, &Parser::parse_sleep_status,
                                               "parser error of respiration data ", __func__);
}
PulseDopplerFloatData RadarInterface::get_pulsedoppler_float_data(const std::string& name) {
    return read_record<PulseDopplerFloatData, ::PulseDopplerFloatData>(
        name, &Parser::parse_pulsedoppler_float, "parser error of pulse-Doppler float data ", __func__);
}
PulseDopplerByteData RadarInterface::get_pulsedoppler_byte_data(const std::string& name) {
    return read_record<PulseDopplerByteData, ::PulseDopplerByteData>(
        name, &Parser::parse_pulsedoppler_byte, "parser error of pulse-Doppler byte data ", __func__);
}
PulseDopplerFloatData RadarInterface::get_noisemap_float_data(const std::string& name) {
    return read_record<PulseDopplerFloatData, ::PulseDopplerFloatData>(
        name, &Parser::parse_pulsedoppler_float, "parser error of noisemap float data ", __func__);
}
PulseDopplerByteData RadarInterface::get_noisemap_byte_data(const std::string& name) {
    return read_record<PulseDopplerByteData, ::PulseDopplerByteData>(
        name, &Parser::parse_pulsedoppler_byte, "parser error of noisemap byte data ", __func__);
}
RawNormalizedData RadarInterface::get_raw_normalized_frame(const std::string& name) {
    DataFloat frame = read_record<DataFloat, ::FloatData_>(name, &Parser::parse_data_float,
                                                           "parser error of float data in ", __func__);
    return RawNormalizedData{frame.info, std::move(frame.data)};
}
DataFloat RadarInterface::read_message_data_float() {
    return read_record<DataFloat, ::FloatData_>(data_float_subscription_id, &Parser::parse_data_float,
                                                "parser error of float data in ", __func__);
}
uint32_t RadarInterface::read_message_system() {
    return read_record<uint32_t, ::SystemStatus>(system_message_subscription_id, &Parser::parse_system_status,
                                                 "parser error of float data in ", __func__);
}
PresenceSingleData RadarInterface::read_message_presence_single() {
    return read_record<PresenceSingleData, ::PresenceSingleData>(
        presence_single_name, &Parser::parse_presence_single, "parser error of baseband IQ data ", __func__);
}
PresenceMovingListData RadarInterface::read_message_presence_movinglist() {
    return read_record<PresenceMovingListData, ::PresenceMovingListData>(
        presence_movinglist_name, &Parser::parse_presence_movinglist, "parser error of presence moving list ",
        __func__);
}
RespirationMovingListData RadarInterface::read_message_respiration_movinglist() {
    return read_record<RespirationMovingListData, ::RespirationMovingListData>(
        respiration_movinglist_subscription_id, &Parser::parse_respiration_movinglist,
        "parser error of respiration movinglist data in ", __func__);
}
RespirationDetectionListData RadarInterface::read_message_respiration_detectionlist() {
    return read_record<RespirationDetectionListData, ::RespirationDetectionListData>(
        respiration_detectionlist_subscription_id, &Parser::parse_respiration_detectionlist,
        "parser error of respiration detectionlist data in ", __func__);
}

BasebandIqData RadarInterface::read_message_baseband_iq() {
    return get_baseband_iq_data(baseband_iq_subscription_id);
}
BasebandApData RadarInterface::read_message_baseband_ap() {
    return get_baseband_ap_data(baseband_ap_subscription_id);
}
RespirationData RadarInterface::read_message_respiration_legacy() {
    return get_respiration_data(respiration_legacy_subscription_id);
}
SleepData RadarInterface::read_message_respiration_sleep() {
    return get_sleep_data(respiration_sleep_subscription_id);
}
PulseDopplerFloatData RadarInterface::read_message_pulsedoppler_float() {
    return get_pulsedoppler_float_data(pulsedoppler_float_subscription_id);
}
PulseDopplerByteData RadarInterface::read_message_pulsedoppler_byte() {
    return get_pulsedoppler_byte_data(pulsedoppler_byte_subscription_id);
}
PulseDopplerFloatData RadarInterface::read_message_noisemap_float() {
    return get_noisemap_float_data(noisemap_float_subscription_id);
}
PulseDopplerByteData RadarInterface::read_message_noisemap_byte() {
    return get_noisemap_byte_data(noisemap_byte_subscription_id);
}

int RadarInterface::get_baseband_iq_data(const std::string& name, BasebandIqData* value) {
    return try_and_catch([&] { store(value, get_baseband_iq_data(name)); });
}
int RadarInterface::get_baseband_ap_data(const std::string& name, BasebandApData* value) {
    return try_and_catch([&] { store(value, get_baseband_ap_data(name)); });
}
int RadarInterface::get_respiration_data(const std::string& name, RespirationData* value) {
    return try_and_catch([&] { store(value, get_respiration_data(name)); });
}
int RadarInterface::get_sleep_data(const std::string& name, SleepData* value) {
    return try_and_catch([&] { store(value, get_sleep_data(name)); });
}
int RadarInterface::get_pulsedoppler_float_data(const std::string& name, PulseDopplerFloatData* value) {
    return try_and_catch([&] { store(value, get_pulsedoppler_float_data(name)); });
}
int RadarInterface::get_pulsedoppler_byte_data(const std::string& name, PulseDopplerByteData* value) {
    return try_and_catch([&] { store(value, get_pulsedoppler_byte_data(name)); });
}
int RadarInterface::get_noisemap_float_data(const std::string& name, PulseDopplerFloatData* value) {
    return try_and_catch([&] { store(value, get_noisemap_float_data(name)); });
}
int RadarInterface::get_noisemap_byte_data(const std::string& name, PulseDopplerByteData* value) {
    return try_and_catch([&] { store(value, get_noisemap_byte_data(name)); });
}
int RadarInterface::read_message_data_float(DataFloat* value) {
    return try_and_catch([&] { store(value, read_message_data_float()); });
}
int RadarInterface::read_message_system_no_throw(uint32_t* status) {
    return try_and_catch([&] { store(status, read_message_system()); });
}
int RadarInterface::read_message_presence_single(PresenceSingleData* value) {
    return try_and_catch([&] { store(value, read_message_presence_single()); });
}
int RadarInterface::read_message_presence_single(uint32_t* frame_counter, uint32_t* presence_state,
                                                 float* distance, uint8_t* direction,
                                                 uint32_t* signal_quality) {
    return try_and_catch([&] {
        PresenceSingleData data = read_message_presence_single();
        store(frame_counter, data.frame_counter);
        store(presence_state, data.presence_state);
        store(distance, data.distance);
        store(direction, data.direction);
        store(signal_quality, data.signal_quality);
    });
}
int RadarInterface::read_message_presence_movinglist(PresenceMovingListData* value) {
    return try_and_catch([&] { store(value, read_message_presence_movinglist()); });
}
int RadarInterface::read_message_respiration_movinglist(RespirationMovingListData* value) {
    return try_and_catch([&] { store(value, read_message_respiration_movinglist()); });
}
int RadarInterface::read_message_respiration_detectionlist(RespirationDetectionListData* value) {
    return try_and_catch([&] { store(value, read_message_respiration_detectionlist()); });
}
int RadarInterface::read_message_baseband_iq(BasebandIqData* value) {
    return try_and_catch([&] { store(value, read_message_baseband_iq()); });
}
int RadarInterface::read_message_baseband_ap(BasebandApData* value) {
    return try_and_catch([&] { store(value, read_message_baseband_ap()); });
}
int RadarInterface::read_message_respiration_legacy(RespirationData* value) {
    return try_and_catch([&] { store(value, read_message_respiration_legacy()); });
}
int RadarInterface::read_message_respiration_sleep(SleepData* value) {
    return try_and_catch([&] { store(value, read_message_respiration_sleep()); });
}
int RadarInterface::read_message_pulsedoppler_float(PulseDopplerFloatData* value) {
    return try_and_catch([&] { store(value, read_message_pulsedoppler_float()); });
}
int RadarInterface::read_message_pulsedoppler_byte(PulseDopplerByteData* value) {
    return try_and_catch([&] { store(value, read_message_pulsedoppler_byte()); });
}
int RadarInterface::read_message_noisemap_float(PulseDopplerFloatData* value) {
    return try_and_catch([&] { store(value, read_message_noisemap_float()); });
}
int RadarInterface::read_message_noisemap_byte(PulseDopplerByteData* value) {
    return try_and_catch([&] { store(value, read_message_noisemap_byte()); });
}

Bytes RadarInterface::take_packet(const char* trace_name, const std::string& name) {
    Trace trace(logger, trace_level, trace_name);
    return get_packet(name);
}
Bytes RadarInterface::get_pulsedoppler_raw_float_data(const std::string& name) {
    return take_packet(__func__, name);
}
Bytes RadarInterface::get_pulsedoppler_raw_byte_data(const std::string& name) {
    return take_packet(__func__, name);
}
Bytes RadarInterface::get_noisemap_raw_float_data(const std::string& name) {
    return take_packet(__func__, name);
}
Bytes RadarInterface::get_noisemap_raw_byte_data(const std::string& name) {
    return take_packet(__func__, name);
}
Bytes RadarInterface::read_message_pulsedoppler_raw_float() {
    return get_pulsedoppler_raw_float_data(pulsedoppler_float_subscription_id);
}
Bytes RadarInterface::read_message_pulsedoppler_raw_byte() {
    return get_pulsedoppler_raw_byte_data(pulsedoppler_byte_subscription_id);
}
Bytes RadarInterface::read_message_noisemap_raw_float() {
    return get_noisemap_raw_float_data(noisemap_float_subscription_id);
}
Bytes RadarInterface::read_message_noisemap_raw_byte() {
    return get_noisemap_raw_byte_data(noisemap_byte_subscription_id);
}

int RadarInterface::read_message_data_string(uint32_t* content_id, uint32_t* info, std::string* data) {
    Trace trace(logger, trace_level, __func__);
    Bytes packet = get_packet(data_string_subscription_id);
    if (packet.empty())
        return 1;
    InputByteStream header(packet);
    uint8_t packet_class = header.read_u8();
    uint8_t data_type = header.read_u8();
    uint32_t packet_content_id = header.read_u32();
    uint32_t packet_info = header.read_u32();
    if (packet_class != KMS_SPR_DATA || data_type != KMS_SPRD_STRING)
        return 1;
    store(content_id, packet_content_id);
    store(info, packet_info);
    store(data, text_behind_header(packet));
    return 0;
}

int RadarInterface::read_message_data_byte(uint32_t* content_id, uint32_t* info, Bytes* data) {
    Trace trace(logger, trace_level, __func__);
    Bytes packet = get_packet(data_byte_subscription_id);
    if (packet.size() < data_header_size)
        return 1;
    InputByteStream header(packet);
    uint8_t packet_class = header.read_u8();
    uint8_t data_type = header.read_u8();
    uint32_t packet_content_id = header.read_u32();
    uint32_t packet_info = header.read_u32();
    if (packet_class != KMS_SPR_DATA || data_type != KMS_SPRD_BYTE)
        return 1;
    store(content_id, packet_content_id);
    store(info, packet_info);
    store(data, Bytes(packet.begin() + data_header_size, packet.end()));
    return 0;
}

std::string RadarInterface::get_trace(const std::string& name) {
    Trace trace(logger, trace_level, __func__);
    return text_behind_header(get_packet(name));
}

int RadarInterface::get_g7_decim_frame(const std::string& name, uint32_t* frame_counter, double* frame_data,
                                       unsigned int max_length) {
    const size_t fast_header_size = 22;
    const size_t sample_size = 6;
    Trace trace(logger, trace_level, __func__);
    Bytes packet = get_packet(name);
    if (packet.empty() || packet[0] != DEPRECATED_KMS_SPR_APPDATA_FAST) {
        logger.error("packet is not fast appdata packet");
        return 1;
    }
    InputByteStream header(packet);
    header.ignore(5);
    store(frame_counter, header.read_u32());
    size_t payload = packet.size() > fast_header_size ? packet.size() - fast_header_size : 0;
    // The bound counts 8 bytes a sample although a sample takes 6, so a payload that passes may hold more
    // samples than max_length: those are left out rather than written past the caller's buffer.
    if (payload > 8 * size_t(max_length))
        return 1;
    size_t samples = std::min(payload / sample_size, frame_data ? size_t(max_length) : size_t(0));
    for (size_t i = 0; i < samples; ++i)
        frame_data[i] = sample_48(&packet[fast_header_size + sample_size * i]);
    return 0;
}

// ---- module files
// -----------------------------------------------------------------------------------------------

void RadarInterface::create_file(uint32_t type, uint32_t identifier, uint32_t length) {
    command_parse_ack(__func__, commands->create_create_file_command(type, identifier, length),
                      parse_reply_failed(__func__));
}
void RadarInterface::open_file(uint32_t type, uint32_t identifier) {
    command_parse_ack(__func__, commands->create_open_file_command(type, identifier),
                      parse_reply_failed(__func__));
}
void RadarInterface::set_file_data(uint32_t type, uint32_t identifier, uint32_t offset, const Bytes& data) {
    command_parse_ack(__func__, commands->create_set_file_data(type, identifier, offset, data),
                      parse_reply_failed(__func__));
}
void RadarInterface::close_file(uint32_t type, uint32_t identifier, bool commit) {
    command_parse_ack(__func__, commands->create_close_file(type, identifier, commit ? 1 : 0),
                      parse_reply_failed(__func__));
}
void RadarInterface::delete_file(uint32_t type, uint32_t identifier) {
    command_parse_ack(__func__, commands->create_delete_file(type, identifier), parse_reply_failed(__func__));
}
void RadarInterface::format_filesystem(uint32_t key) {
    command_parse_ack(__func__, commands->create_format_filesystem(key), parse_reply_failed(__func__));
}
uint32_t RadarInterface::get_file_length(uint32_t type, uint32_t identifier) {
    return command_reply(__func__, commands->create_get_file_length(type, identifier),
                         or_error(reply_prefix(KMS_SPRD_INT)), parse_reply_failed(__func__))
        .word(0);
}
Bytes RadarInterface::get_file_data(uint32_t type, uint32_t identifier, uint32_t offset, uint32_t length) {
    return command_reply(__func__, commands->create_get_file_data(type, identifier, offset, length),
                         or_error(reply_prefix(KMS_SPRD_BYTE)), parse_reply_failed(__func__))
        .data();
}
std::vector<int32_t> RadarInterface::search_for_file_by_type(uint32_t type) {
    return command_reply(__func__, commands->create_search_for_file_type(type),
                         or_error(reply_prefix(KMS_SPRD_INT)), parse_reply_failed(__func__))
        .words();
}
Files RadarInterface::find_all_files() {
    std::vector<int32_t> words =
        command_reply(__func__, commands->create_find_all_files(), or_error(reply_prefix(KMS_SPRD_INT)),
                      parse_reply_failed(__func__))
            .words();
    // Types first, identifiers after; an odd count gives the identifiers the extra word.
    auto middle = words.begin() + words.size() / 2;
    return Files{std::vector<int32_t>(words.begin(), middle), std::vector<int32_t>(middle, words.end())};
}

void RadarInterface::set_file(uint32_t type, uint32_t identifier, const Bytes& data) {
    create_file(type, identifier, uint32_t(data.size()));
    for (size_t offset = 0; offset < data.size(); offset += file_chunk_size) {
        size_t chunk = std::min(file_chunk_size, data.size() - offset);
        set_file_data(type, identifier, uint32_t(offset),
                      Bytes(data.begin() + offset, data.begin() + offset + chunk));
    }
    close_file(type, identifier, true);
}

Bytes RadarInterface::get_file(uint32_t type, uint32_t identifier) {
    open_file(type, identifier);
    uint32_t length = get_file_length(type, identifier);
    Bytes result;
    for (uint32_t offset = 0; length != 0;) {
        uint32_t chunk = std::min<uint32_t>(length, file_chunk_size);
        Bytes part = get_file_data(type, identifier, offset, chunk);
        result.insert(result.end(), part.begin(), part.end());
        length -= chunk;
        offset += chunk;
    }
    close_file(type, identifier, false);
    return result;
}

int RadarInterface::create_file_no_throw(uint32_t type, uint32_t identifier, uint32_t length) {
    return try_and_catch([&] { create_file(type, identifier, length); });
}
int RadarInterface::open_file_no_throw(uint32_t type, uint32_t identifier) {
    return try_and_catch([&] { open_file(type, identifier); });
}
int RadarInterface::set_file_data_no_throw(uint32_t type, uint32_t identifier, uint32_t offset,
                                           const Bytes& data) {
    return try_and_catch([&] { set_file_data(type, identifier, offset, data); });
}
int RadarInterface::close_file_no_throw(uint32_t type, uint32_t identifier, bool commit) {
    return try_and_catch([&] { close_file(type, identifier, commit); });
}
int RadarInterface::delete_file_no_throw(uint32_t type, uint32_t identifier) {
    return try_and_catch([&] { delete_file(type, identifier); });
}
int RadarInterface::format_filesystem_no_throw(uint32_t key) {
    return try_and_catch([&] { format_filesystem(key); });
}
int RadarInterface::get_file_length_no_throw(uint32_t type, uint32_t identifier, uint32_t& length) {
    return try_and_catch([&] { length = get_file_length(type, identifier); });
}
int RadarInterface::get_file_data_no_throw(uint32_t type, uint32_t identifier, uint32_t offset,
                                           uint32_t length, Bytes& data) {
    return try_and_catch([&] { data = get_file_data(type, identifier, offset, length); });
}
int RadarInterface::search_for_file_by_type_no_throw(uint32_t type, std::vector<int32_t>& result) {
    return try_and_catch([&] { result = search_for_file_by_type(type); });
}
int RadarInterface::find_all_files_no_throw(Files& result) {
    return try_and_catch([&] { result = find_all_files(); });
}
int RadarInterface::set_file_no_throw(uint32_t type, uint32_t identifier, const Bytes& data) {
    return try_and_catch([&] { set_file(type, identifier, data); });
}
int RadarInterface::get_file_no_throw(uint32_t type, uint32_t identifier, Bytes& data) {
    return try_and_catch([&] { data = get_file(type, identifier); });
}

} // namespace Tervik
