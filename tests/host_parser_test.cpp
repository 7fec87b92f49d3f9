// The host packet parser: the plain functions driven through a table that records every callback, Parser
// with its result blocks, and HostParserWrapper forwarding records to a PacketParserCallback. The fields of
// each record as a user reads them are checked through RadarInterface; here the tests of class, id and
// length, their codes, that no record reaches past its packet, and what reaches blocks and consumers.
#include "HostParserWrapper.h"
#include "PacketParserCallback.h"
#include "Parser.h"
#include "protocol_host_parser.h"

#include "Bytes.h"
#include "VoidLogger.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <deque>
#include <initializer_list>
#include <string>
#include <thread>
#include <vector>

namespace {

// A little-endian 32-bit field: an integer as it is, a float as its bits.
struct Word {
    Word(uint32_t value) : bits(value) {}
    Word(int value) : bits(static_cast<uint32_t>(value)) {}
    Word(float value) { std::memcpy(&bits, &value, sizeof bits); }
    uint32_t bits;
};

Bytes words(std::initializer_list<Word> values) {
    Bytes bytes;
    for (Word value : values)
        for (int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<uint8_t>(value.bits >> shift));
    return bytes;
}
Bytes operator+(Bytes head, const Bytes& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}
Bytes app(uint32_t id) {
    return Bytes{KMS_SPR_APPDATA} + words({id});
}
Bytes baseband_header(uint32_t id, uint32_t num_bins) {
    return app(id) + words({5, num_bins, 0.05f, 23.3e9f, 7.29e9f, 0.2f});
}
Bytes pulsedoppler_header(uint32_t id, uint32_t frequency_count) {
    return app(id) + words({1, 2, 3, 4, frequency_count, 6, 17.0f, 8.5f, -0.5f, 0.125f, 1.75f});
}

const Bytes crc_failed = {KMS_SPR_ERROR, KMS_SPRE_CRC_FAILED, 0x00, 0x00, 0x00};
const Bytes baseband_iq = baseband_header(KMS_ID_BASEBAND_IQ, 1) + words({1.0f, -1.0f});

using ParseFunction = int (*)(const HostParser*, const uint8_t*, uint32_t, void*);
typedef std::vector<uint32_t> Errors;

struct Recording {
    Errors errors;
    int values = 0; // every value callback
    SystemStatus system_status{};
    FloatData_ datafloat{};
    Reply reply{};
    RespirationData respiration{};
    PresenceMovingListData presence_movinglist{};
    BasebandIqData baseband_iq{};
};

template <typename T> void count(T, void* user_data) {
    ++static_cast<Recording*>(user_data)->values;
}
template <typename T, T Recording::*field> void keep(T value, void* user_data) {
    static_cast<Recording*>(user_data)->*field = value;
    count(value, user_data);
}

HostParser recording_table() {
    HostParser table{};
    table.error = [](uint32_t code, void* user_data) {
        static_cast<Recording*>(user_data)->errors.push_back(code);
    };
    table.pong = count<uint32_t>;
    table.ack = count<Ack>;
    table.datafloat = keep<FloatData_, &Recording::datafloat>;
    table.reply = keep<Reply, &Recording::reply>;
    table.respiration = keep<RespirationData, &Recording::respiration>;
    table.sleep = count<SleepData>;
    table.baseband_ap = count<BasebandApData>;
    table.baseband_iq = keep<BasebandIqData, &Recording::baseband_iq>;
    table.presence_single = count<PresenceSingleData>;
    table.presence_movinglist = keep<PresenceMovingListData, &Recording::presence_movinglist>;
    table.system_status = keep<SystemStatus, &Recording::system_status>;
    table.respiration_movinglist = count<RespirationMovingListData>;
    table.respiration_detectionlist = count<RespirationDetectionListData>;
    table.pulsedoppler_float = count<PulseDopplerFloatData>;
    table.pulsedoppler_byte = count<PulseDopplerByteData>;
    return table;
}

class HostParserTest : public ::testing::Test {
protected:
    // Records point into their packet, so every packet parsed stays alive until the test ends.
    int run(ParseFunction function, Bytes packet, const HostParser* with = nullptr) {
        packets.push_back(std::move(packet));
        return function(with ? with : &table, packets.back().data(),
                        static_cast<uint32_t>(packets.back().size()), &recording);
    }
    HostParser table = recording_table();
    Recording recording;
    std::deque<Bytes> packets;
};

// Empty packets, packets of the wrong class or id, too short, or with counts that the packet does not hold
// (also where a count times the item size would wrap in 32 bits): no value callback, the codes as listed.
TEST_F(HostParserTest, RefusedPacketsReportTheirCodesAndNoRecord) {
    const uint32_t M = HOST_PARSER_MALFORMED;
    const Bytes float_header = Bytes{KMS_SPR_DATA, KMS_SPRD_FLOAT} + words({0xABCD, 42, 1000});
    auto refused = [&](const char* name, ParseFunction function, int code, const Errors& errors,
                       Bytes packet) {
        SCOPED_TRACE(name);
        recording = Recording();
        EXPECT_EQ(code, run(function, std::move(packet)));
        EXPECT_EQ(errors, recording.errors);
        EXPECT_EQ(0, recording.values);
    };
    for (ParseFunction function :
         {parse, parse_error, parse_ack, parse_pong, parse_data, parse_data_float, parse_reply,
          parse_system_status, parse_appdata, parse_respiration_status, parse_sleep_status, parse_baseband_ap,
          parse_baseband_iq, parse_presence_single, parse_presence_movinglist, parse_respiration_movinglist,
          parse_respiration_detectionlist, parse_pulsedoppler_float, parse_pulsedoppler_byte})
        refused("empty packet", function, 5, {5}, {});
    for (ParseFunction function : {parse_ack, parse_pong, parse_reply, parse_system_status, parse_error})
        refused("error packet", function, 2, {2}, crc_failed);
    refused("error for data float", parse_data_float, 2, {2}, Bytes{KMS_SPR_ERROR} + words({2}));
    refused("no error packet", parse_error, 0x11223344, {M, 0x11223344},
            Bytes{KMS_SPR_ACK} + words({0x11223344}));
    refused("short pong", parse_pong, 1, {M}, {KMS_SPR_PONG, 0xAA, 0xAA, 0xAA});
    refused("short data float", parse_data_float, 1, {M},
            Bytes(float_header.begin(), float_header.end() - 1));
    refused("data string", parse_data, 1, {}, {KMS_SPR_DATA, KMS_SPRD_STRING, 'x'});
    refused("data kind missing", parse_data, 1, {}, {KMS_SPR_DATA});
    refused("respiration id", parse_respiration_status, 1, {3},
            app(KMS_ID_RESP_STATUS ^ 1) + words({1, 2, 3, 4, 5}));
    refused("sleep id", parse_sleep_status, 1, {3}, app(KMS_ID_RESP_STATUS) + words({1, 2, 3, 4, 5}));
    refused("short sleep", parse_sleep_status, 1, {2},
            app(KMS_ID_SLEEP_STATUS) + words({1, 2, 3, 4}) + Bytes{5, 6});
    refused("iq given ap", parse_baseband_iq, 3, {3},
            baseband_header(KMS_ID_BASEBAND_AMPLITUDE_PHASE, 0) + words({0}));
    refused("short ap", parse_baseband_ap, 2, {2},
            baseband_header(KMS_ID_BASEBAND_AMPLITUDE_PHASE, 0) + Bytes{0});
    refused("iq bins", parse_baseband_iq, 2, {2}, baseband_header(KMS_ID_BASEBAND_IQ, 2) + words({1, 2, 3}));
    refused("iq bins wrap", parse_baseband_iq, 2, {2},
            baseband_header(KMS_ID_BASEBAND_IQ, 0x20000000) + words({1, 2}));
    refused("presence single id", parse_presence_single, 3, {3},
            Bytes{KMS_SPR_DATA} + words({KMS_ID_PRESENCE_SINGLE}));
    refused("presence detections", parse_presence_movinglist, 2, {2},
            app(KMS_ID_PRESENCE_MOVINGLIST) + words({1, 2, 1, 1, 1, 2, 3, 4}));
    refused("presence count wrap", parse_presence_movinglist, 2, {2},
            app(KMS_ID_PRESENCE_MOVINGLIST) + words({1, 2, 0, 0xFFFFFFFF}));
    refused("respiration intervals", parse_respiration_movinglist, 2, {2},
            app(KMS_ID_RESPIRATION_MOVINGLIST) + words({1, 0x80000000, 1, 2}));
    refused("respiration detections", parse_respiration_detectionlist, 2, {2},
            app(KMS_ID_RESPIRATION_DETECTIONLIST) + words({1, 1, 1, 2}));
    refused("detection list id", parse_respiration_detectionlist, 3, {3},
            app(KMS_ID_RESPIRATION_MOVINGLIST) + words({1, 0}));
    refused("pulse-Doppler one byte long", parse_pulsedoppler_float, 2, {2},
            pulsedoppler_header(KMS_ID_PULSEDOPPLER_FLOAT, 1) + words({1}) + Bytes{0});
    refused("pulse-Doppler short", parse_pulsedoppler_float, 2, {2},
            app(KMS_ID_PULSEDOPPLER_FLOAT) + Bytes(42, 0));
    refused("pulse-Doppler float wrap", parse_pulsedoppler_float, 2, {2},
            pulsedoppler_header(KMS_ID_PULSEDOPPLER_FLOAT, 0x40000000));
    refused("pulse-Doppler byte wrap", parse_pulsedoppler_byte, 2, {2},
            pulsedoppler_header(KMS_ID_PULSEDOPPLER_BYTE, 0xFFFFFFFF) + words({0, 0}));
    refused("float given byte id", parse_pulsedoppler_float, 3, {3},
            pulsedoppler_header(KMS_ID_PULSEDOPPLER_BYTE, 0));
    refused("byte given float id", parse_pulsedoppler_byte, 3, {3},
            pulsedoppler_header(KMS_ID_PULSEDOPPLER_FLOAT, 0) + words({0, 0}));
    refused("reply at the top", parse, 4, {2}, Bytes{KMS_SPR_REPLY, 0} + words({0}));
    refused("system at the top", parse, 4, {2}, Bytes{KMS_SPR_SYSTEM} + words({KMS_SPRS_READY}));
}

// The length tests are no stricter than the module needs: these pass, and what lies beyond the packet
// reads as 0. Application packets of an id the top level doesn't know pass without a word.
TEST_F(HostParserTest, ShortAndUnknownPacketsThatPass) {
    EXPECT_EQ(0, run(parse_error, {KMS_SPR_ERROR, 0x02}));
    EXPECT_EQ(Errors{0}, recording.errors);
    EXPECT_EQ(0, run(parse_system_status, {KMS_SPR_SYSTEM}));
    EXPECT_EQ(0u, recording.system_status.status);
    recording.respiration.signal_quality = 99;
    EXPECT_EQ(0, run(parse_respiration_status, app(KMS_ID_RESP_STATUS) + words({10, 1, 14, 1.25f, 0.5f})));
    EXPECT_EQ(14u, recording.respiration.respiration_rate);
    EXPECT_EQ(0u, recording.respiration.signal_quality);
    recording.presence_movinglist.interval_count = 99;
    EXPECT_EQ(0, run(parse_presence_movinglist, app(KMS_ID_PRESENCE_MOVINGLIST)));
    EXPECT_EQ(0u, recording.presence_movinglist.interval_count);
    EXPECT_EQ(0u, recording.presence_movinglist.detection_count);
    // A baseband frame with no bins at all is one of 32 bytes.
    EXPECT_EQ(0, run(parse_baseband_iq, baseband_header(KMS_ID_BASEBAND_IQ, 0) + words({0})));
    EXPECT_EQ(0u, recording.baseband_iq.num_bins);
    for (const Bytes& unknown :
         {app(0x12345678) + words({1}), app(KMS_ID_PULSEDOPPLER_FLOAT), Bytes{0x50, 0x0C}})
        EXPECT_EQ(0, run(parse, unknown));
    EXPECT_EQ(4, recording.values);
    EXPECT_EQ(Errors{0}, recording.errors);
}

TEST_F(HostParserTest, DataFloatCountGoesByThePacket) {
    const Bytes header = Bytes{KMS_SPR_DATA, KMS_SPRD_FLOAT} + words({0xABCD, 42, 1000});
    EXPECT_EQ(0, run(parse_data_float, header));
    EXPECT_EQ(0u, recording.datafloat.count);
    EXPECT_EQ(static_cast<const void*>(packets.back().data() + 14), recording.datafloat.data);
    EXPECT_EQ(0, run(parse_data, header + words({1.5f, -2.0f}) + Bytes{0xFF}));
    EXPECT_EQ(2u, recording.datafloat.count);
    EXPECT_EQ(static_cast<const void*>(packets.back().data() + 14), recording.datafloat.data);
}

TEST_F(HostParserTest, ReplyNeverPointsPastItsPacket) {
    const Bytes header = Bytes{KMS_SPR_REPLY, KMS_SPRD_BYTE} + words({1, 2});
    const Bytes oversized = header + words({1000}) + Bytes{9, 8};
    const Reply& reply = recording.reply;
    EXPECT_EQ(0, run(parse_reply, header + words({2}) + Bytes{9, 8, 7}));
    EXPECT_EQ(2u, reply.length);
    EXPECT_EQ(packets.back().data() + 14, reply.data);
    EXPECT_EQ(7, reply.last_byte);
    EXPECT_EQ(0, run(parse_reply, oversized));
    EXPECT_EQ(2u, reply.length);
    EXPECT_EQ(0, reply.last_byte);
    EXPECT_EQ(0, run(parse_reply, header + words({0xFFFFFFFF})));
    EXPECT_EQ(0u, reply.length);
    for (size_t size : {size_t{1}, size_t{10}, size_t{12}}) {
        EXPECT_EQ(0, run(parse_reply, Bytes(oversized.begin(), oversized.begin() + size)));
        EXPECT_EQ(0u, reply.length) << size;
    }
    EXPECT_EQ(6, recording.values);
}

TEST_F(HostParserTest, InitFillsDefaultsAndLeavesThePulseDopplerEntries) {
    HostParser defaults = table;
    init_host_parser(&defaults);
    EXPECT_EQ(0, run(parse_pong, Bytes{KMS_SPR_PONG} + words({1}), &defaults));
    EXPECT_EQ(0, run(parse_pulsedoppler_float, pulsedoppler_header(KMS_ID_NOISEMAP_FLOAT, 0), &defaults));
    EXPECT_EQ(1, recording.values) << "the pulse-Doppler entry is still the one set before";
    // A table with unset entries loses the records but does not crash.
    const HostParser unset{};
    EXPECT_EQ(0, run(parse_pulsedoppler_float, pulsedoppler_header(KMS_ID_NOISEMAP_FLOAT, 0), &unset));
    EXPECT_EQ(4, run(parse, {0x77}, &unset));
}

class ParserTest : public ::testing::Test {
protected:
    Parser parser{void_logger()};
};

TEST_F(ParserTest, BlockSaysWhetherARecordOrAnErrorCame) {
    ParserResult<Ack> ack;
    EXPECT_FALSE(ack.failed);
    EXPECT_EQ(0xDEADBEEFu, ack.error_code);
    EXPECT_FALSE(ack.received);
    // One-byte records follow the flags directly, wider ones start on the next word.
    EXPECT_EQ(offsetof(ParserResult<Ack>, received) + 1, offsetof(ParserResult<Ack>, value));
    EXPECT_EQ(12u, offsetof(ParserResult<unsigned int>, value));
    parser.parse_ack(Bytes{KMS_SPR_ACK}, &ack);
    EXPECT_TRUE(ack.received);
    EXPECT_FALSE(ack.failed);

    ParserResult<Ack> refused;
    parser.parse_ack(crc_failed, &refused);
    EXPECT_TRUE(refused.failed);
    EXPECT_EQ(uint32_t{KMS_SPRE_CRC_FAILED}, refused.error_code);
    EXPECT_FALSE(refused.received);
    ParserResult<SleepData> sleep;
    EXPECT_EQ(5, parser.parse_sleep_status(Bytes{}, &sleep));
    EXPECT_TRUE(sleep.failed);
    EXPECT_EQ(5u, sleep.error_code);
    ParserResult<PresenceSingleData> presence;
    EXPECT_EQ(3, parser.parse_presence_single(baseband_iq, &presence));
    EXPECT_EQ(3u, presence.error_code);
    EXPECT_FALSE(presence.received);
}

TEST_F(ParserTest, RecordsPointIntoTheCallersBytes) {
    const Bytes reply_packet = Bytes{KMS_SPR_REPLY, KMS_SPRD_INT} + words({5, 6, 4, 1234}) + Bytes{0};
    ParserResult<Reply> reply;
    parser.parse_reply(reply_packet, &reply);
    ASSERT_TRUE(reply.received);
    EXPECT_EQ(4u, reply.value.length);
    EXPECT_EQ(reply_packet.data() + 14, reply.value.data);
}

TEST_F(ParserTest, OneParserServesManyThreads) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([this] {
            for (int i = 0; i < 2000; ++i) {
                ParserResult<Ack> refused;
                parser.parse_ack(crc_failed, &refused);
                ASSERT_EQ(uint32_t{KMS_SPRE_CRC_FAILED}, refused.error_code);
            }
        });
    for (auto& thread : threads)
        thread.join();
}

// Records every call as a line of text.
class RecordingConsumer : public PacketParserCallback {
public:
    std::vector<std::string> calls;
    void ack(Ack value) override { note(__func__, value.value); }
    void pong(uint32_t value) override { note(__func__, value); }
    void error(uint32_t code) override { note(__func__, code); }
    void respiration(const RespirationData& value) override { note(__func__, value.frame_counter); }
    void sleep(const SleepData& value) override { note(__func__, value.frame_counter); }
    void baseband_ap(const BasebandApData& value) override { note(__func__, value.num_bins); }
    void baseband_iq(const BasebandIqData& value) override { note(__func__, value.num_bins); }
    void presence_single(const PresenceSingleData& value) override { note(__func__, value.direction); }
    void presence_movinglist(const PresenceMovingListData& value) override {
        note(__func__, value.detection_count);
    }
    void pulsedoppler_float(const PulseDopplerFloatData& value) override {
        note(__func__, value.frequency_count);
    }
    void pulsedoppler_byte(const PulseDopplerByteData& value) override {
        note(__func__, value.frequency_count);
    }

private:
    void note(const char* name, uint32_t value) {
        calls.push_back(std::string(name) + " " + std::to_string(value));
    }
};

TEST(HostParserWrapperTest, ForwardsEachRecordToItsOperationButNoRepliesOrLists) {
    HostParserWrapper wrapper;
    RecordingConsumer consumer;
    auto run = [&](ParseFunction function, const Bytes& packet) {
        function(&wrapper, packet.data(), static_cast<uint32_t>(packet.size()), &consumer);
    };
    run(parse, Bytes{KMS_SPR_PONG} + words({7}));
    run(parse, Bytes{KMS_SPR_ACK});
    run(parse, crc_failed);
    run(parse, baseband_iq);
    run(parse, app(KMS_ID_RESP_STATUS) + words({11}) + Bytes(20, 0));
    run(parse, app(KMS_ID_SLEEP_STATUS) + words({12}) + Bytes(24, 0));
    run(parse, app(KMS_ID_PRESENCE_SINGLE) + words({1, 1, 0}) + Bytes{9} + words({0}));
    run(parse, app(KMS_ID_PRESENCE_MOVINGLIST) + words({1, 1, 0, 1}) + Bytes(12, 0));
    run(parse, app(KMS_ID_BASEBAND_AMPLITUDE_PHASE) + words({1, 0}) + Bytes(16, 0) + Bytes(3, 0));
    run(parse_pulsedoppler_float, pulsedoppler_header(KMS_ID_PULSEDOPPLER_FLOAT, 1) + words({0}));
    run(parse_pulsedoppler_byte, pulsedoppler_header(KMS_ID_NOISEMAP_BYTE, 3) + Bytes(11, 0));
    // The entries a push consumer has no operation for stay silent; a reply at the top level is error 2.
    run(parse_reply, Bytes{KMS_SPR_REPLY, KMS_SPRD_INT} + words({0, 0, 0}));
    run(parse_respiration_movinglist, app(KMS_ID_RESPIRATION_MOVINGLIST) + words({3, 0}));
    run(parse_system_status, Bytes{KMS_SPR_SYSTEM} + words({KMS_SPRS_READY}));
    run(parse_data_float, Bytes{KMS_SPR_DATA, KMS_SPRD_FLOAT} + Bytes(12, 0));
    run(parse, Bytes{KMS_SPR_REPLY, KMS_SPRD_INT} + words({0, 0, 0}));
    EXPECT_EQ(
        (std::vector<std::string>{"pong 7", "ack 0", "error 2", "baseband_iq 1", "respiration 11", "sleep 12",
                                  "presence_single 9", "presence_movinglist 1", "baseband_ap 0",
                                  "pulsedoppler_float 1", "pulsedoppler_byte 3", "error 2"}),
        consumer.calls);
}

} // namespace
