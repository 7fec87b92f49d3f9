#include "Parser.h"

#include "Logger.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstring>
#include <limits>
#include <type_traits>

namespace {

// The error callback does not know the value type of the block it writes to; it writes the shared leading
// fields at their offsets, which the checks below hold equal for every record.
template <typename T> void check_result_layout() {
    static_assert(std::is_standard_layout<ParserResult<T>>::value, "result block must be standard layout");
    static_assert(offsetof(ParserResult<T>, failed) == offsetof(ParserResultHeader, failed), "failed");
    static_assert(offsetof(ParserResult<T>, error_code) == offsetof(ParserResultHeader, error_code), "code");
    static_assert(offsetof(ParserResult<T>, received) == offsetof(ParserResultHeader, received), "received");
}

void error(uint32_t code, void* user_data) {
    assert(user_data);
    if (!user_data)
        return;
    const bool failed = true;
    auto* block = static_cast<unsigned char*>(user_data);
    std::memcpy(block + offsetof(ParserResultHeader, failed), &failed, sizeof failed);
    std::memcpy(block + offsetof(ParserResultHeader, error_code), &code, sizeof code);
}

template <typename T> void callback(T value, void* user_data) {
    check_result_layout<T>();
    assert(user_data);
    if (!user_data)
        return;
    auto* result = static_cast<ParserResult<T>*>(user_data);
    result->value = value;
    result->received = true;
}

} // namespace

Parser::Parser(Logger& logger) : logger(logger) {
    this->logger.log(5, "parser constructor");
    init_host_parser(&host_parser);
    host_parser.pong = callback<unsigned int>;
    host_parser.error = error;
    host_parser.ack = callback<Ack>;
    host_parser.datafloat = callback<FloatData_>;
    host_parser.reply = callback<Reply>;
    host_parser.respiration = callback<RespirationData>;
    host_parser.sleep = callback<SleepData>;
    host_parser.baseband_ap = callback<BasebandApData>;
    host_parser.baseband_iq = callback<BasebandIqData>;
    host_parser.presence_single = callback<PresenceSingleData>;
    host_parser.presence_movinglist = callback<PresenceMovingListData>;
    host_parser.system_status = callback<SystemStatus>;
    host_parser.respiration_movinglist = callback<RespirationMovingListData>;
    host_parser.respiration_detectionlist = callback<RespirationDetectionListData>;
    host_parser.pulsedoppler_float = callback<PulseDopplerFloatData>;
    host_parser.pulsedoppler_byte = callback<PulseDopplerByteData>;
}

int Parser::run(ParseFunction function, const Bytes& packet, void* user_data) const {
    // A packet beyond 4 GiB cannot come from a module; its tail is simply not looked at.
    const auto length =
        static_cast<uint32_t>(std::min<std::size_t>(packet.size(), std::numeric_limits<uint32_t>::max()));
    return function(&host_parser, packet.data(), length, user_data);
}

int Parser::parse_ack(const Bytes& p, void* u) const {
    return run(::parse_ack, p, u);
}
int Parser::parse_pong(const Bytes& p, void* u) const {
    return run(::parse_pong, p, u);
}
int Parser::parse_data_float(const Bytes& p, void* u) const {
    return run(::parse_data_float, p, u);
}
int Parser::parse_reply(const Bytes& p, void* u) const {
    return run(::parse_reply, p, u);
}
int Parser::parse_respiration_status(const Bytes& p, void* u) const {
    return run(::parse_respiration_status, p, u);
}
int Parser::parse_sleep_status(const Bytes& p, void* u) const {
    return run(::parse_sleep_status, p, u);
}
int Parser::parse_baseband_ap(const Bytes& p, void* u) const {
    return run(::parse_baseband_ap, p, u);
}
int Parser::parse_baseband_iq(const Bytes& p, void* u) const {
    return run(::parse_baseband_iq, p, u);
}
int Parser::parse_presence_single(const Bytes& p, void* u) const {
    return run(::parse_presence_single, p, u);
}
int Parser::parse_presence_movinglist(const Bytes& p, void* u) const {
    return run(::parse_presence_movinglist, p, u);
}
int Parser::parse_system_status(const Bytes& p, void* u) const {
    return run(::parse_system_status, p, u);
}
int Parser::parse_respiration_movinglist(const Bytes& p, void* u) const {
    return run(::parse_respiration_movinglist, p, u);
}
int Parser::parse_respiration_detectionlist(const Bytes& p, void* u) const {
    return run(::parse_respiration_detectionlist, p, u);
}
int Parser::parse_pulsedoppler_float(const Bytes& p, void* u) const {
    return run(::parse_pulsedoppler_float, p, u);
}
int Parser::parse_pulsedoppler_byte(const Bytes& p, void* u) const {
    return run(::parse_pulsedoppler_byte, p, u);
}
