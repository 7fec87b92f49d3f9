// The frame codec: frames as written byte for byte, the reading state machine on every wire form, every
// error and every chunking; and every command as it goes on the wire, read back through the frame parser so
// that escaping and checksum are checked too.
#include "Commands.h"
#include "protocol.h"

#include "Bytes.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

void append_to(unsigned char byte, void* user_data) {
    static_cast<Bytes*>(user_data)->push_back(byte);
}

Bytes framed(const Bytes& payload) {
    Bytes frame;
    EXPECT_EQ(0, createCommand(payload.data(), static_cast<uint32_t>(payload.size()), append_to, &frame));
    return frame;
}

Bytes le32(uint32_t value) {
    return {static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8),
            static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 24)};
}

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// What the parser reported, in order: a packet as its bytes, an error as "E" and the code.
typedef std::vector<std::string> Events;

class Parser {
public:
    explicit Parser(uint32_t buffer_size = 256) : buffer_(buffer_size + 1, 0xEE), size_(buffer_size) {
        EXPECT_GE(getInstanceSize(), sizeof(ApplicationProtocol));
        instance_ =
            createApplicationProtocol(on_packet, on_error, this, &memory_, buffer_.data(), buffer_size);
    }

    int feed(const Bytes& chunk) {
        return parseData(instance_, chunk.data(), static_cast<uint32_t>(chunk.size()));
    }

    // Feeds the stream in chunks that end at the given positions, and returns the sum of the results.
    int feed_split(const Bytes& stream, std::vector<size_t> cuts) {
        int total = 0;
        cuts.push_back(stream.size());
        for (size_t begin = 0, i = 0; i < cuts.size(); begin = cuts[i++])
            total += feed(Bytes(stream.begin() + begin, stream.begin() + cuts[i]));
        return total;
    }

    // The byte past the buffer must never be written.
    ~Parser() { EXPECT_EQ(0xEE, buffer_[size_]); }

    const Events& events() const { return events_; }

private:
    static void on_packet(void* user_data, const unsigned char* data, unsigned int length) {
        Parser* self = static_cast<Parser*>(user_data);
        EXPECT_GE(data, self->buffer_.data());
        EXPECT_LE(data + length, self->buffer_.data() + self->size_);
        self->events_.push_back(std::string(reinterpret_cast<const char*>(data), length));
    }
    static void on_error(void* user_data, unsigned int code) {
        static_cast<Parser*>(user_data)->events_.push_back("E" + std::to_string(code));
    }

    ApplicationProtocol memory_;
    ApplicationProtocol* instance_;
    Bytes buffer_;
    uint32_t size_;
    Events events_;
};

std::string text(const Bytes& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

Bytes fast_packet(const Bytes& body) {
    return Bytes{0x51} + le32(static_cast<uint32_t>(body.size())) + body + Bytes{0x00};
}

Bytes noescape_packet(const Bytes& body) {
    return Bytes{0x7C, 0x7C, 0x7C, 0x7C} + le32(static_cast<uint32_t>(body.size())) + Bytes{0x00} + body;
}

Commands commands;

TEST(FrameWriting, WorkedExamplesByteForByte) {
    const Bytes ping = {0x7D, 0x01, 0xAE, 0xEA, 0xAA, 0xEE, 0x7C, 0x7E};
    EXPECT_EQ(ping, framed({0x01, 0xAE, 0xEA, 0xAA, 0xEE}));
    EXPECT_EQ(ping, commands.create_ping());
    EXPECT_EQ((Bytes{0x7D, 0x22, 0x5F, 0x7E}), commands.create_module_reset());
    EXPECT_EQ((Bytes{0x7D, 0xB0, 0x7F, 0x7E, 0xB3, 0x7E}), commands.create_set_debug_level(0x7E));
    EXPECT_EQ((Bytes{0x7D, 0x7F, 0x7D, 0x7E}), commands.create_command({}));
    EXPECT_EQ((Bytes{0x7D, 0x03, 0x7F, 0x7E, 0x7E}), framed({0x03}));
    EXPECT_EQ((Bytes{0x7D, 0x7F, 0x7D, 0x00, 0x7E}), framed({0x7D}));
    EXPECT_EQ((Bytes{0x7D, 0x7F, 0x7D, 0x7E}), framed({}));
}

// The builders below cover the field writers; here the running checksum that a caller of them reads.
TEST(FrameWriting, FieldsAreLittleEndianEscapedAndSummedAndOnlyTheThreeFlagsAreSpecial) {
    Bytes out;
    packet_start(append_to, &out);
    EXPECT_EQ(0x7D, crc_);
    process_int(-2, append_to, &out);
    process_uint(0x7F7E7D01u, append_to, &out);
    EXPECT_EQ((Bytes{0x7D, 0xFE, 0xFF, 0xFF, 0xFF, 0x01, 0x7F, 0x7D, 0x7F, 0x7E, 0x7F, 0x7F}), out);
    EXPECT_EQ(0x7D ^ 0xFE ^ 0xFF ^ 0xFF ^ 0xFF ^ 0x01 ^ 0x7D ^ 0x7E ^ 0x7F, crc_);
    for (int byte = 0; byte < 256; ++byte)
        EXPECT_EQ(byte >= 0x7D && byte <= 0x7F, isSpecialByte(static_cast<unsigned char>(byte)) != 0) << byte;
}

TEST(FrameReading, EveryWrittenFrameReadsBack) {
    Parser parser(300);
    Bytes stream = framed({});
    std::vector<std::string> expected = {""};
    for (int value = 0; value < 256; ++value) {
        // A lone 0x51 is the fast packet's mark, so it rides behind another byte.
        const Bytes payload = value == 0x51 ? Bytes{0x00, 0x51} : Bytes{static_cast<unsigned char>(value)};
        stream = stream + framed(payload);
        expected.push_back(text(payload));
    }
    // A long frame holding every byte value, flags and the fast mark among them.
    Bytes payload(290);
    for (size_t i = 0; i < payload.size(); ++i)
        payload[i] = static_cast<unsigned char>(i);
    stream = stream + framed(payload);
    expected.push_back(text(payload));
    EXPECT_EQ(static_cast<int>(expected.size()), parser.feed(stream));
    EXPECT_EQ(expected, parser.events());
}

// Each case feeds its chunks to a fresh parser with a buffer of the given size.
TEST(FrameReading, WireFormsErrorsAndRecovery) {
    const Bytes ping_payload = {0x01, 0xAE, 0xEA, 0xAA, 0xEE}, ping = framed(ping_payload);
    Bytes damaged = ping;
    damaged[2] ^= 0x01;
    const Bytes five = {1, 2, 3, 4, 5}, sync = {0x7C, 0x7C, 0x7C, 0x7C};
    auto feeds = [](const char* name, uint32_t buffer_size, const std::vector<Bytes>& chunks,
                    const std::vector<int>& results, const Events& events) {
        SCOPED_TRACE(name);
        Parser parser(buffer_size);
        std::vector<int> returned;
        for (const Bytes& chunk : chunks)
            returned.push_back(parser.feed(chunk));
        EXPECT_EQ(results, returned);
        EXPECT_EQ(events, parser.events());
    };
    feeds("lone end flags", 256, {{0x7E, 0x7E}}, {0}, {"E3", "E3"});
    feeds("bytes before a start flag", 256, {Bytes{0xAA, 0xBB} + ping}, {1}, {"E2", text(ping_payload)});
    // Without a start flag stray bytes are a frame of their own, with their checksum tested.
    feeds("stray frame", 256, {Bytes{0xAA, 0xBB, 0x7E} + ping}, {1}, {"E1", text(ping_payload)});
    feeds("stray frame, right checksum", 256, {{0xAA, 0xBB, 0x7D ^ 0xAA ^ 0xBB, 0x7E}}, {1},
          {text({0xAA, 0xBB})});
    feeds("damaged frame", 256, {ping + damaged + ping}, {2}, {text(ping_payload), "E1", text(ping_payload)});
    feeds("escaped mark", 256, {{0x7D, 0x7F, 0x51, 0x7D ^ 0x51, 0x7E}}, {1}, {"Q"});
    // An escape before an ordinary byte is spent on it, and the end flag after it still ends the frame.
    feeds("escaped ordinary byte", 256, {{0x7D, 0x41, 0x7F, 0x44, 0x7D ^ 0x41 ^ 0x44, 0x7E}}, {1}, {"AD"});
    feeds("bare mark at the head", 256, {Bytes{0x7D} + fast_packet({0x7E, 0x7D, 0x7F})}, {1},
          {text(Bytes{0x51} + le32(3) + Bytes{0x7E, 0x7D, 0x7F})});
    // The trailing byte is not delivered, and a length of 0xFFFFFFFF wraps at five stored bytes.
    feeds("fast packets", 256,
          {fast_packet({}) + fast_packet({1, 2, 3}) + Bytes{0x51, 0xFF, 0xFF, 0xFF, 0xFF}}, {3},
          {text({0x51, 0, 0, 0, 0}), text(Bytes{0x51} + le32(3) + Bytes{1, 2, 3}),
           text({0x51, 0xFF, 0xFF, 0xFF})});
    feeds("fast packet overflows, the rest is a stream", 16,
          {fast_packet(Bytes(11, 0x11)), Bytes{0x11, 0x7E} + ping}, {-1, 1},
          {"E4", "E1", text(ping_payload)});
    feeds("no-escape packets", 256, {noescape_packet({0x7D, 0x7E, 0x7F, 0x7C}) + noescape_packet({})}, {2},
          {text({0x7D, 0x7E, 0x7F, 0x7C}), ""});
    // An escape in the midst of the sync word is dropped before the test.
    feeds("sync word inside a frame", 256,
          {Bytes{0x7D, 0x10, 0x7C, 0x7C, 0x7F, 0x7C, 0x7C} + le32(2) + Bytes{0, 1, 2}}, {1}, {text({1, 2})});
    feeds("escaped start flag keeps its 7C", 256, {framed(Bytes{0x7D} + sync)}, {1},
          {text(Bytes{0x7D} + sync)});
    // A length of 0xFFFFFFFF would otherwise be handed out at four stored bytes.
    feeds("no-escape length wraps", 256, {sync + le32(0xFFFFFFFF) + Bytes{0xAA}, framed({1})}, {-1, 1},
          {"E4", text({1})});
    // Payload and checksum fit; the end flag finds the buffer full and the rest of the chunk is dropped.
    feeds("buffer full", 6, {framed({9}) + framed(five) + framed({9}), framed({9})}, {-1, 1},
          {text({9}), "E4", text({9})});
    feeds("no buffer at all", 0, {framed({1})}, {-1}, {"E4"});
    feeds("buffer just large enough", 7, {framed(five)}, {1}, {text(five)});
    feeds("filled by the last byte of a chunk", 4, {{0x7D, 1, 2, 3, 4}, {}, {0x7E}}, {0, 0, -1}, {"E4"});
    feeds("fast packets filling the buffer", 9, {fast_packet({1, 2, 3}) + fast_packet({4, 5, 6})}, {2},
          {text(Bytes{0x51} + le32(3) + Bytes{1, 2, 3}), text(Bytes{0x51} + le32(3) + Bytes{4, 5, 6})});
    feeds("no-escape packets filling the buffer", 7, {noescape_packet({1, 2}) + noescape_packet({3, 4})}, {2},
          {text({1, 2}), text({3, 4})});
}

TEST(Chunking, EverySplitGivesTheSameCallbacks) {
    const Bytes stream = framed({0x01, 0x7D, 0x7E, 0x7F, 0x02}) + Bytes{0x7E, 0xAA} + framed({0x03}) +
                         fast_packet({0x7D, 0x7F}) + Bytes{0x10} + noescape_packet({0x7E, 0x7C}) +
                         Bytes{0x20, 0x7E} + framed({0x7D, 0x7C, 0x7C, 0x7C, 0x7C});
    Parser whole;
    const int delivered = whole.feed(stream);
    ASSERT_EQ(5, delivered);
    ASSERT_EQ(8u, whole.events().size());

    std::vector<size_t> every;
    for (size_t cut = 1; cut < stream.size(); every.push_back(cut++)) {
        Parser split;
        EXPECT_EQ(delivered, split.feed_split(stream, {cut})) << "cut at " << cut;
        EXPECT_EQ(whole.events(), split.events()) << "cut at " << cut;
    }
    Parser bytewise;
    EXPECT_EQ(delivered, bytewise.feed_split(stream, every));
    EXPECT_EQ(whole.events(), bytewise.events());
}

// A payload built field by field, little-endian.
struct Payload {
    Bytes bytes;
    Payload& u8(unsigned char value) { return raw(std::string(1, static_cast<char>(value))); }
    Payload& u32(uint32_t value) { return u8(value).u8(value >> 8).u8(value >> 16).u8(value >> 24); }
    Payload& f32(float value) {
        uint32_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        return u32(bits);
    }
    Payload& raw(const std::string& text) {
        bytes.insert(bytes.end(), text.begin(), text.end());
        return *this;
    }
};

Payload ids(unsigned char first, unsigned char second) {
    return Payload().u8(first).u8(second);
}
Payload g7(unsigned char action, uint32_t item) {
    return ids(0x50, action).u32(item);
}

// Reads one frame back; a frame that is not exactly one valid packet yields "invalid".
Bytes payload_of(const Bytes& frame) {
    Parser parser(512);
    if (frame.empty() || frame.front() != 0x7D || frame.back() != 0x7E || parser.feed(frame) != 1 ||
        parser.events().size() != 1)
        return {0xDE, 0xAD};
    return Bytes(parser.events()[0].begin(), parser.events()[0].end());
}

typedef AppendCallback Out;

// The frame a plain builder writes through its output function; a builder that reports failure gives none.
template <typename Builder> Bytes built(Builder builder) {
    Bytes frame;
    if (builder([](unsigned char byte, void* to) { static_cast<Bytes*>(to)->push_back(byte); }, &frame) != 0)
        frame.clear();
    return frame;
}

// One line per builder: the ids, the order of the arguments, the width of each field, and which arguments
// a command takes at all.
TEST(CommandFrames, EveryBuilderHasItsIdsAndFieldsInOrder) {
    const Bytes data = {0x7D, 0x00, 0x7F};
    static const unsigned char poll[] = {0x7E, 0x01};
    struct Case {
        const char* name;
        Bytes frame;
        Payload expected;
    };
    const std::vector<Case> cases = {
        {"mode normal", commands.create_set_sensor_mode(KMS_SM_NORMAL, 7), Payload().u8(0x20).u8(0x10).u8(7)},
        {"mode register", commands.create_set_sensor_mode(KMS_SM_REG, 7), Payload().u8(0x20).u8(0x50).u8(7)},
        {"mode idle", commands.create_set_sensor_mode(KMS_SM_IDLE, 7), ids(0x20, 0x11)},
        {"mode run", commands.create_set_sensor_mode(KMS_SM_RUN, 7), ids(0x20, 0x01)},
        {"baseband on", commands.create_enable_baseband(2, true), ids(0x90, 0x71).u32(16).u32(1).u32(2)},
        {"baseband off", commands.create_enable_baseband(2, false), ids(0x90, 0x71).u32(16).u32(0)},
        {"respiration on", commands.create_enable_resp_ouput(), ids(0x90, 0x71).u32(17).u32(1).u32(1)},
        {"respiration off", commands.create_disable_resp_ouput(), ids(0x90, 0x71).u32(17).u32(1).u32(0)},
        {"page", commands.create_write_page(0x0102, {0xAA, 0x7D}),
         ids(0xC0, 0x10).u8(1).u8(2).u8(0).u8(0xAA).u8(0x7D)},
        {"parameter file", commands.create_set_parameter_file("ab", ""),
         ids(0x10, 0x10).u32(KMS_ID_PROFILE_PARAMETERFILE).u32(3).u32(1).raw("ab").u8(0).u8(0)},
        {"get parameter file", commands.create_get_parameter_file("x=1"),
         ids(0x10, 0x11).u32(KMS_ID_PROFILE_PARAMETERFILE).u32(4).raw("x=1").u8(0)},
        {"C baudrate", built([](Out out, void* to) { return createSetBaudRateCommand(115200, out, to); }),
         ids(0x90, 0x80).u32(115200)},
        {"C system info", built([](Out out, void* to) { return createSystemGetInfoCommand(3, out, to); }),
         ids(0x90, 0x58).u8(3)},
        {"C version", built([](Out out, void* to) { return createSystemGetVersionCommand(out, to); }),
         ids(0x90, 0x55)},
        {"C app command", built([](Out out, void* to) { return createAppCommand(0x20, poll, 2, out, to); }),
         ids(0x10, 0x20).u8(0x7E).u8(0x01)},
        {"start_bootloader", commands.create_start_bootloader(0xC4D1371A),
         Payload().u8(0x02).u32(0xC4D1371A)},
        {"load_app", commands.create_load_app(0x01020304), Payload().u8(0x21).u32(0x01020304)},
        {"load_profile", commands.create_load_profile(5), Payload().u8(0x21).u32(5)},
        {"led", commands.create_set_led_control(1, 2), Payload().u8(0x24).u8(1).u8(2)},
        {"output", commands.create_set_output_control(1, 2), ids(0x41, 0x10).u32(1).u32(2)},
        {"iopin_control", commands.create_set_iopin_control(1, 2, 3), ids(0x40, 0x10).u32(1).u32(2).u32(3)},
        {"iopin_value", commands.create_set_iopin_value(1, 2), ids(0x40, 0x20).u32(1).u32(2)},
        {"get_iopin", commands.create_get_iopin_value(9), ids(0x40, 0x21).u32(9)},
        {"noisemap_set", commands.create_set_noisemap_control(6), ids(0x25, 0x10).u32(6)},
        {"noisemap_get", commands.create_get_noisemap_control(), ids(0x25, 0x11)},
        {"factory", commands.create_reset_to_factory_preset(), ids(0x10, 0x12)},
        {"store_noise", commands.create_store_noise_map(), ids(0x10, 0x13)},
        {"load_noise", commands.create_load_noise_map(), ids(0x10, 0x14)},
        {"zone", commands.create_set_detection_zone(0.5f, -2.25f),
         ids(0x10, 0x10).u32(KMS_ID_DETECTION_ZONE).f32(0.5f).f32(-2.25f)},
        {"get_zone", commands.create_get_detection_zone(), ids(0x10, 0x11).u32(KMS_ID_DETECTION_ZONE)},
        {"zone_limits", commands.create_get_detection_zone_limits(),
         ids(0x10, 0x11).u32(KMS_ID_DETECTION_ZONE_LIMITS)},
        {"sensitivity", commands.create_set_sensitivity(7), ids(0x10, 0x10).u32(KMS_ID_SENSITIVITY).u32(7)},
        {"baudrate", commands.create_set_baudrate(921600), ids(0x90, 0x80).u32(921600)},
        {"system_test", commands.create_system_run_test(3), ids(0x90, 0x50).u8(3)},
        {"config_test", commands.create_config_run_test(4), ids(0x90, 0x50).u8(4)},
        {"config_int", commands.create_config_set_int(-1, 2), ids(0x90, 0x51).u32(0xFFFFFFFF).u32(2)},
        {"config_float", commands.create_config_set_float(1, 3), ids(0x90, 0x52).u32(1).f32(3.0f)},
        {"system_info", commands.create_get_system_info(2), ids(0x90, 0x58).u8(2)},
        {"profileid", commands.create_get_profileid(), ids(0x90, 0x74)},
        {"get_int", commands.create_get_int(8), ids(0x90, 0x12).u32(8)},
        {"set_int", commands.create_set_int(8, 9), ids(0x90, 0x11).u32(8).u32(9)},
        {"get_float", commands.create_get_float(8), ids(0x90, 0x14).u32(8)},
        {"set_float", commands.create_set_float(8, 1.5f), ids(0x90, 0x13).u32(8).f32(1.5f)},
        {"get_register", commands.create_get_register(0x1234), ids(0x90, 0x16).u32(0x1234)},
        {"set_register", commands.create_set_register(1, 2), ids(0x90, 0x15).u32(1).u32(2)},
        {"get_frame", commands.create_get_frame(), ids(0x90, 0x17)},
        {"timing", commands.create_run_timing_measurement(), ids(0x90, 0x20)},
        {"search", commands.create_search_for_file_type(4), ids(0x90, 0x64).u32(4)},
        {"find_all", commands.create_find_all_files(), ids(0x90, 0x65)},
        {"new_file", commands.create_create_file_command(1, 2, 3), ids(0x90, 0x66).u32(1).u32(2).u32(3)},
        {"open_file", commands.create_open_file_command(1, 2), ids(0x90, 0x72).u32(1).u32(2)},
        {"file_data", commands.create_set_file_data(1, 2, 3, data),
         ids(0x90, 0x67).u32(1).u32(2).u32(3).u32(3).u8(0x7D).u8(0x00).u8(0x7F)},
        {"close_file", commands.create_close_file(1, 2, 1), ids(0x90, 0x68).u32(1).u32(2).u32(1)},
        {"file_length", commands.create_get_file_length(1, 2), ids(0x90, 0x69).u32(1).u32(2)},
        {"delete_file", commands.create_delete_file(1, 2), ids(0x90, 0x70).u32(1).u32(2)},
        {"get_file_data", commands.create_get_file_data(1, 2, 3, 4),
         ids(0x90, 0x71).u32(1).u32(2).u32(3).u32(4)},
        {"format", commands.create_format_filesystem(0xABCD), ids(0x90, 0x73).u32(0xABCD)},
        {"boot_info", commands.create_get_bootloader_info(), ids(0xC0, 0x00)},
        {"start_app", commands.create_start_application_command(), ids(0xC0, 0x20)},
        {"g7_init", commands.create_g7driver_init(), ids(0x50, 0x20)},
        {"g7_fps", commands.create_g7driver_set_fps(17.0f), g7(0x10, 0x10).f32(17.0f)},
        {"g7_iterations", commands.create_g7driver_set_iterations(64), g7(0x10, 0x12).u32(64)},
        {"g7_pulses", commands.create_g7driver_set_pulsesperstep(5), g7(0x10, 0x11).u32(5)},
        {"g7_downconversion", commands.create_g7driver_set_downconversion(1), g7(0x10, 0x13).u8(1)},
        {"g7_area", commands.create_g7driver_set_frame_area(0.2f, 5.0f), g7(0x10, 0x14).f32(0.2f).f32(5.0f)},
        {"g7_dac_step", commands.create_g7driver_set_dac_step(2), g7(0x10, 0x15).u8(2)},
        {"g7_dac_min", commands.create_g7driver_set_dac_min(949), g7(0x10, 0x16).u32(949)},
        {"g7_dac_max", commands.create_g7driver_set_dac_max(1100), g7(0x10, 0x17).u32(1100)},
        {"g7_offset", commands.create_g7driver_set_frame_area_offset(0.18f), g7(0x10, 0x18).f32(0.18f)},
        {"g7_enable", commands.create_g7driver_set_enable(1), g7(0x10, 0x19).u8(1)},
        {"g7_tx_center", commands.create_g7driver_set_tx_center_frequency(3), g7(0x10, 0x20).u8(3)},
        {"g7_tx_power", commands.create_g7driver_set_tx_power(2), g7(0x10, 0x21).u8(2)},
        {"g7_set_spi", commands.create_g7driver_set_spi_register(0x7E, 9), g7(0x10, 0x22).u8(0x7E).u8(9)},
        {"g7_set_pif", commands.create_g7driver_set_pif_register(1, 2), g7(0x10, 0x23).u8(1).u8(2)},
        {"g7_set_xif", commands.create_g7driver_set_xif_register(1, 2), g7(0x10, 0x24).u8(1).u8(2)},
        {"g7_prf", commands.create_g7driver_set_prf_div(16), g7(0x10, 0x25).u8(16)},
        {"g7_get_fps", commands.create_g7driver_get_fps(), g7(0x11, 0x10)},
        {"g7_get_area", commands.create_g7driver_get_frame_area(), g7(0x11, 0x14)},
        {"g7_get_offset", commands.create_g7driver_get_frame_area_offset(), g7(0x11, 0x18)},
        {"g7_get_spi", commands.create_g7driver_get_spi_register(4), g7(0x11, 0x22).u8(4)},
        {"g7_get_pif", commands.create_g7driver_get_pif_register(4), g7(0x11, 0x23).u8(4)},
        {"g7_get_xif", commands.create_g7driver_get_xif_register(4), g7(0x11, 0x24).u8(4)},
        {"g7_get_prf", commands.create_g7driver_get_prf_div(), g7(0x11, 0x25)},
        {"g7_write_spi", commands.create_g7driver_write_to_spi_register(6, data),
         g7(0x12, 0x22).u8(6).u8(0x7D).u8(0x00).u8(0x7F)},
        {"g7_read_spi", commands.create_g7driver_read_from_spi_register(6, 300),
         g7(0x13, 0x22).u8(6).u32(300)},
    };
    for (const Case& each : cases)
        EXPECT_EQ(each.expected.bytes, payload_of(each.frame)) << each.name;
}

} // namespace
