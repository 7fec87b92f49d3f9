// Pull-style decoding of one packet: each method runs the host packet parser on the bytes and stores what it
// finds into a result block that the caller supplies, so one Parser serves any number of threads at once.
#ifndef DEVICEBRIDGE_PARSER_H
#define DEVICEBRIDGE_PARSER_H

#include "Bytes.h"
#include "protocol_host_parser.h"

#include <cstdint>

class Logger;

// The leading fields that every result block shares, whatever its value type.
struct ParserResultHeader {
    bool failed;
    uint32_t error_code;
    bool received;
};

// The result block of one parse: prepared before the call, filled by the callbacks. The value lies directly
// behind `received` for one-byte records and behind the next word boundary otherwise. Pointers in the value
// point into the parsed packet and are valid while it lives.
template <typename T> struct ParserResult {
    bool failed = false;              // the error callback ran
    uint32_t error_code = 0xDEADBEEF; // the code it received
    bool received = false;            // a value callback ran
    T value{};
};

class Parser {
public:
    explicit Parser(Logger& logger);

    // Each takes a ParserResult<record> of the matching record type as user_data and returns the plain
    // function's code; callers go by the result block.
    int parse_ack(const Bytes& packet, void* user_data) const;
    int parse_pong(const Bytes& packet, void* user_data) const;
    int parse_data_float(const Bytes& packet, void* user_data) const;
    int parse_reply(const Bytes& packet, void* user_data) const;
    int parse_respiration_status(const Bytes& packet, void* user_data) const;
    int parse_sleep_status(const Bytes& packet, void* user_data) const;
    int parse_baseband_ap(const Bytes& packet, void* user_data) const;
    int parse_baseband_iq(const Bytes& packet, void* user_data) const;
    int parse_presence_single(const Bytes& packet, void* user_data) const;
    int parse_presence_movinglist(const Bytes& packet, void* user_data) const;
    int parse_system_status(const Bytes& packet, void* user_data) const;
    int parse_respiration_movinglist(const Bytes& packet, void* user_data) const;
    int parse_respiration_detectionlist(const Bytes& packet, void* user_data) const;
    int parse_pulsedoppler_float(const Bytes& packet, void* user_data) const;
    int parse_pulsedoppler_byte(const Bytes& packet, void* user_data) const;

private:
    using ParseFunction = int (*)(const HostParser*, const uint8_t*, uint32_t, void*);
    int run(ParseFunction function, const Bytes& packet, void* user_data) const;

    HostParser host_parser;
    Logger& logger;
};

#endif
