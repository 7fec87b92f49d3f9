// The C++ faces of the host packet parser: Parser with its result blocks, and HostParserWrapper forwarding
// records to a PacketParserCallback.
#include "HostParserWrapper.h"
#include "PacketParserCallback.h"
#include "Parser.h"

#include "Bytes.h"
#include "Logger.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

Bytes le32(uint32_t value) {
    return {uint8_t(value), uint8_t(value >> 8), uint8_t(value >> 16), uint8_t(value >> 24)};
}

Bytes operator+(Bytes head, const Bytes& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

Bytes app(uint32_t id) {
    return Bytes{KMS_SPR_APPDATA} + le32(id);
}

float float_at(const float* items, size_t index) {
    float value;
    std::memcpy(&value, reinterpret_cast<const uint8_t*>(items) + index * sizeof value, sizeof value);
    return value;
}

const Bytes crc_failed = Bytes{KMS_SPR_ERROR} + le32(KMS_SPRE_CRC_FAILED);
const Bytes pong_ready = Bytes{KMS_SPR_PONG} + le32(KMS_DEF_PONGVAL_READY);
// I/Q frame of one bin: i = 1.0, q = -1.0.
const Bytes baseband_iq =
    app(KMS_ID_BASEBAND_IQ) + le32(77) + le32(1) + Bytes(16, 0) + le32(0x3F800000) + le32(0xBF800000);

Bytes pulsedoppler_row(uint32_t id, uint32_t frequency_count, const Bytes& values) {
    return app(id) + Bytes(16, 0) + le32(frequency_count) + Bytes(24, 0) + values;
}

// Keeps every line that passes, with its level.
class RecordingLogger : public Logger {
public:
    std::vector<std::string> lines;
    void set_log_level(int) override {}
    void error(const std::string& text) override { log(0, text); }
    void log(unsigned int level, const std::string& text) override {
        lines.push_back(std::to_string(level) + " " + text);
    }
    void print_bytes(unsigned int, const Bytes&) override {}
};

class ParserTest : public ::testing::Test {
protected:
    RecordingLogger logger;
    Parser parser{logger};
};

TEST_F(ParserTest, ConstructionIsNotedAtLevelFive) {
    EXPECT_EQ(std::vector<std::string>{"5 parser constructor"}, logger.lines);
}

TEST_F(ParserTest, ResultBlockStartsUnset) {
    ParserResult<Reply> result;
    EXPECT_FALSE(result.failed);
    EXPECT_EQ(0xDEADBEEFu, result.error_code);
    EXPECT_FALSE(result.received);
    // One-byte records follow the flags directly, wider ones start on the next word.
    EXPECT_EQ(offsetof(ParserResult<Ack>, received) + 1, offsetof(ParserResult<Ack>, value));
    EXPECT_EQ(12u, offsetof(ParserResult<unsigned int>, value));
}

TEST_F(ParserTest, AckAndErrorReplies) {
    ParserResult<Ack> ack;
    parser.parse_ack(Bytes{KMS_SPR_ACK}, &ack);
    EXPECT_TRUE(ack.received);
    EXPECT_FALSE(ack.failed);

    ParserResult<Ack> refused;
    parser.parse_ack(crc_failed, &refused);
    EXPECT_TRUE(refused.failed);
    EXPECT_EQ(uint32_t{KMS_SPRE_CRC_FAILED}, refused.error_code);
    EXPECT_FALSE(refused.received);

    ParserResult<Reply> reply;
    parser.parse_reply(crc_failed, &reply);
    EXPECT_TRUE(reply.failed);
    EXPECT_EQ(uint32_t{KMS_SPRE_CRC_FAILED}, reply.error_code);
}

TEST_F(ParserTest, ValuesLandInTheBlock) {
    ParserResult<unsigned int> pong;
    EXPECT_EQ(0, parser.parse_pong(pong_ready, &pong));
    EXPECT_TRUE(pong.received);
    EXPECT_EQ(KMS_DEF_PONGVAL_READY, pong.value);

    const Bytes reply_packet =
        Bytes{KMS_SPR_REPLY, KMS_SPRD_INT} + le32(5) + le32(6) + le32(4) + le32(1234) + Bytes{0};
    ParserResult<Reply> reply;
    parser.parse_reply(reply_packet, &reply);
    ASSERT_TRUE(reply.received);
    EXPECT_EQ(5u, reply.value.content_id);
    EXPECT_EQ(4u, reply.value.length);
    EXPECT_EQ(reply_packet.data() + 14, reply.value.data);

    ParserResult<BasebandIqData> frame;
    parser.parse_baseband_iq(baseband_iq, &frame);
    ASSERT_TRUE(frame.received);
    EXPECT_EQ(77u, frame.value.frame_counter);
    EXPECT_EQ(1.0f, float_at(frame.value.i_data, 0));
    EXPECT_EQ(-1.0f, float_at(frame.value.q_data, 0));

    ParserResult<SystemStatus> status;
    parser.parse_system_status(Bytes{KMS_SPR_SYSTEM} + le32(KMS_SPRS_BOOTING), &status);
    EXPECT_EQ(uint32_t{KMS_SPRS_BOOTING}, status.value.status);
}

TEST_F(ParserTest, EntriesWithoutDefaultsAreSet) {
    ParserResult<PulseDopplerFloatData> row;
    parser.parse_pulsedoppler_float(pulsedoppler_row(KMS_ID_NOISEMAP_FLOAT, 1, le32(0x40000000)), &row);
    ASSERT_TRUE(row.received);
    EXPECT_EQ(1u, row.value.frequency_count);

    ParserResult<PulseDopplerByteData> bytes;
    parser.parse_pulsedoppler_byte(pulsedoppler_row(KMS_ID_PULSEDOPPLER_BYTE, 2, Bytes(10, 0)), &bytes);
    EXPECT_TRUE(bytes.received);

    ParserResult<RespirationMovingListData> list;
    parser.parse_respiration_movinglist(app(KMS_ID_RESPIRATION_MOVINGLIST) + le32(3) + le32(0), &list);
    EXPECT_TRUE(list.received);
    EXPECT_EQ(3u, list.value.counter);
}

TEST_F(ParserTest, EmptyAndForeignPackets) {
    ParserResult<SleepData> sleep;
    EXPECT_EQ(5, parser.parse_sleep_status(Bytes{}, &sleep));
    EXPECT_TRUE(sleep.failed);
    EXPECT_EQ(5u, sleep.error_code);

    ParserResult<PresenceSingleData> presence;
    EXPECT_EQ(3, parser.parse_presence_single(baseband_iq, &presence));
    EXPECT_EQ(3u, presence.error_code);
    EXPECT_FALSE(presence.received);
}

TEST_F(ParserTest, OneParserServesManyThreads) {
    std::vector<std::thread> threads;
    std::vector<int> good(4, 0);
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([this, &good, t] {
            for (int i = 0; i < 2000; ++i) {
                ParserResult<unsigned int> pong;
                parser.parse_pong(pong_ready, &pong);
                ParserResult<Ack> refused;
                parser.parse_ack(crc_failed, &refused);
                good[t] += pong.value == KMS_DEF_PONGVAL_READY && refused.error_code == KMS_SPRE_CRC_FAILED;
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ((std::vector<int>(4, 2000)), good);
}

// Records every call as a line of text.
class RecordingConsumer : public PacketParserCallback {
public:
    std::vector<std::string> calls;
    void ack(Ack value) override { note("ack", value.value); }
    void pong(uint32_t value) override { note("pong", value); }
    void error(uint32_t code) override { note("error", code); }
    void respiration(const RespirationData& value) override { note("respiration", value.frame_counter); }
    void sleep(const SleepData& value) override { note("sleep", value.frame_counter); }
    void baseband_ap(const BasebandApData& value) override { note("baseband_ap", value.num_bins); }
    void baseband_iq(const BasebandIqData& value) override { note("baseband_iq", value.num_bins); }
    void presence_single(const PresenceSingleData& value) override {
        note("presence_single", value.direction);
    }
    void presence_movinglist(const PresenceMovingListData& value) override {
        note("presence_movinglist", value.detection_count);
    }
    void pulsedoppler_float(const PulseDopplerFloatData& value) override {
        note("pulsedoppler_float", value.frequency_count);
    }
    void pulsedoppler_byte(const PulseDopplerByteData& value) override {
        note("pulsedoppler_byte", value.frequency_count);
    }

private:
    void note(const char* name, uint32_t value) {
        calls.push_back(std::string(name) + " " + std::to_string(value));
    }
};

class HostParserWrapperTest : public ::testing::Test {
protected:
    int run(int (*function)(const HostParser*, const uint8_t*, uint32_t, void*), const Bytes& packet) {
        return function(&wrapper, packet.data(), static_cast<uint32_t>(packet.size()), &consumer);
    }
    HostParserWrapper wrapper;
    RecordingConsumer consumer;
};

TEST_F(HostParserWrapperTest, ForwardsWhatTheTopLevelReads) {
    run(parse, pong_ready);
    run(parse, Bytes{KMS_SPR_ACK});
    run(parse, crc_failed);
    run(parse, baseband_iq);
    run(parse, app(KMS_ID_RESP_STATUS) + le32(11) + Bytes(20, 0));
    run(parse, app(KMS_ID_SLEEP_STATUS) + le32(12) + Bytes(24, 0));
    run(parse, app(KMS_ID_PRESENCE_SINGLE) + le32(1) + le32(1) + le32(0) + Bytes{9} + le32(0));
    run(parse, app(KMS_ID_PRESENCE_MOVINGLIST) + le32(1) + le32(1) + le32(0) + le32(1) + Bytes(12, 0));
    run(parse, app(KMS_ID_BASEBAND_AMPLITUDE_PHASE) + le32(1) + le32(0) + Bytes(16, 0) + Bytes(3, 0));
    const std::vector<std::string> expected = {"pong " + std::to_string(KMS_DEF_PONGVAL_READY),
                                               "ack 0",
                                               "error 2",
                                               "baseband_iq 1",
                                               "respiration 11",
                                               "sleep 12",
                                               "presence_single 9",
                                               "presence_movinglist 1",
                                               "baseband_ap 0"};
    EXPECT_EQ(expected, consumer.calls);
}

TEST_F(HostParserWrapperTest, PushConsumerNeverSeesRepliesOrLists) {
    // A reply is no class of the top level: the consumer learns of it only as error 2.
    run(parse, Bytes{KMS_SPR_REPLY, KMS_SPRD_INT} + le32(0) + le32(0) + le32(0));
    run(parse_reply, Bytes{KMS_SPR_REPLY, KMS_SPRD_INT} + le32(0) + le32(0) + le32(0));
    run(parse_respiration_movinglist, app(KMS_ID_RESPIRATION_MOVINGLIST) + le32(3) + le32(0));
    run(parse_system_status, Bytes{KMS_SPR_SYSTEM} + le32(KMS_SPRS_READY));
    run(parse_data_float, Bytes{KMS_SPR_DATA, KMS_SPRD_FLOAT} + Bytes(12, 0));
    EXPECT_EQ(std::vector<std::string>{"error 2"}, consumer.calls);
}

TEST_F(HostParserWrapperTest, ForwardsPulseDopplerRows) {
    run(parse_pulsedoppler_float, pulsedoppler_row(KMS_ID_PULSEDOPPLER_FLOAT, 1, le32(0)));
    run(parse_pulsedoppler_byte, pulsedoppler_row(KMS_ID_NOISEMAP_BYTE, 3, Bytes(11, 0)));
    EXPECT_EQ((std::vector<std::string>{"pulsedoppler_float 1", "pulsedoppler_byte 3"}), consumer.calls);
}

} // namespace
