/* A plain C99 user of the wire protocol: frame a ping, check its bytes, then take a framed pong apart with
 * the frame parser and decode it with the host packet parser. Exits 0 when every step gives what the module
 * protocol prescribes. */
#include "protocol.h"
#include "protocol_host_parser.h"

#include <stdio.h>
#include <string.h>

struct frame {
    unsigned char bytes[64];
    unsigned int count;
};

struct session {
    HostParser host_parser;
    unsigned int packets;
    unsigned int pongs;
    unsigned int errors;
    uint32_t pong;
};

static void append(unsigned char byte, void* user_data) {
    struct frame* frame = (struct frame*)user_data;
    if (frame->count < sizeof frame->bytes)
        frame->bytes[frame->count] = byte;
    frame->count++;
}

static void on_pong(uint32_t value, void* user_data) {
    struct session* session = (struct session*)user_data;
    session->pongs++;
    session->pong = value;
}

static void on_parse_error(uint32_t code, void* user_data) {
    (void)code;
    ((struct session*)user_data)->errors++;
}

static void on_packet(void* user_data, const unsigned char* data, unsigned int length) {
    struct session* session = (struct session*)user_data;
    session->packets++;
    parse(&session->host_parser, data, length, session);
}

static void on_frame_error(void* user_data, unsigned int code) {
    (void)code;
    ((struct session*)user_data)->errors++;
}

static int check(int condition, const char* what) {
    if (!condition)
        fprintf(stderr, "ping_reply: %s\n", what);
    return condition;
}

static int ping_is_framed(void) {
    static const unsigned char expected[] = {0x7D, 0x01, 0xAE, 0xEA, 0xAA, 0xEE, 0x7C, 0x7E};
    struct frame frame = {{0}, 0};
    createPingCommand(append, &frame);
    return check(frame.count == sizeof expected && memcmp(frame.bytes, expected, sizeof expected) == 0,
                 "ping frame differs");
}

/* The pong of a ready module, framed as the module sends it, fed in two chunks. */
static int pong_is_parsed(void) {
    static const unsigned char wire[] = {0x7D, 0x01, 0xEA, 0xAE, 0xEE, 0xAA, 0x7C, 0x7E};
    ApplicationProtocol instance;
    unsigned char buffer[256];
    struct session session;
    ApplicationProtocol* protocol;
    int delivered;

    memset(&session, 0, sizeof session);
    init_host_parser(&session.host_parser);
    session.host_parser.pong = on_pong;
    session.host_parser.error = on_parse_error;
    if (!check(getInstanceSize() <= sizeof instance, "instance does not fit"))
        return 0;
    protocol =
        createApplicationProtocol(on_packet, on_frame_error, &session, &instance, buffer, sizeof buffer);
    delivered = parseData(protocol, wire, 3);
    delivered += parseData(protocol, wire + 3, sizeof wire - 3);
    destroyProtocol(protocol);
    return check(delivered == 1 && session.packets == 1, "pong frame not delivered") &&
           check(session.errors == 0, "error reported") &&
           check(session.pongs == 1 && session.pong == KMS_DEF_PONGVAL_READY, "pong value differs");
}

int main(void) {
    int ok = ping_is_framed();
    ok = pong_is_parsed() && ok;
    return ok ? 0 : 1;
}
