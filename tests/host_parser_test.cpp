// The plain host packet parser, driven through a table that records every callback.
#include "protocol_host_parser.h"

#include "Bytes.h"

#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <vector>

namespace {

// Builds a packet field by field, little-endian.
struct Packet {
    Bytes bytes;
    Packet& u8(uint8_t value) {
        bytes.push_back(value);
        return *this;
    }
    Packet& u32(uint32_t value) {
        for (int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<uint8_t>(value >> shift));
        return *this;
    }
    Packet& f32(float value) {
        uint32_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        return u32(bits);
    }
    Packet& floats(const std::vector<float>& values) {
        for (float value : values)
            f32(value);
        return *this;
    }
    Packet& app(uint32_t id) { return u8(KMS_SPR_APPDATA).u32(id); }
};

// Array fields point at odd offsets of the packet; read them the way the header asks.
std::vector<float> floats_of(const float* items, uint32_t count) {
    std::vector<float> values(count);
    std::memcpy(values.data(), items, count * sizeof(float));
    return values;
}

struct Recording {
    std::vector<uint32_t> errors;
    std::vector<uint32_t> pongs;
    int values = 0; // every value callback but pong
    Ack ack{};
    SystemStatus system_status{};
    FloatData_ datafloat{};
    Reply reply{};
    RespirationData respiration{};
    SleepData sleep{};
    BasebandApData baseband_ap{};
    BasebandIqData baseband_iq{};
    PresenceSingleData presence_single{};
    PresenceMovingListData presence_movinglist{};
    RespirationMovingListData respiration_movinglist{};
    RespirationDetectionListData respiration_detectionlist{};
    PulseDopplerFloatData pulsedoppler_float{};
    PulseDopplerByteData pulsedoppler_byte{};
};

template <typename T, T Recording::*field> void keep(T value, void* user_data) {
    auto* recording = static_cast<Recording*>(user_data);
    recording->*field = value;
    ++recording->values;
}

HostParser recording_table() {
    HostParser table{};
    table.pong = [](uint32_t value, void* user_data) {
        static_cast<Recording*>(user_data)->pongs.push_back(value);
    };
    table.error = [](uint32_t code, void* user_data) {
        static_cast<Recording*>(user_data)->errors.push_back(code);
    };
    table.ack = keep<Ack, &Recording::ack>;
    table.datafloat = keep<FloatData_, &Recording::datafloat>;
    table.reply = keep<Reply, &Recording::reply>;
    table.respiration = keep<RespirationData, &Recording::respiration>;
    table.sleep = keep<SleepData, &Recording::sleep>;
    table.baseband_ap = keep<BasebandApData, &Recording::baseband_ap>;
    table.baseband_iq = keep<BasebandIqData, &Recording::baseband_iq>;
    table.presence_single = keep<PresenceSingleData, &Recording::presence_single>;
    table.presence_movinglist = keep<PresenceMovingListData, &Recording::presence_movinglist>;
    table.system_status = keep<SystemStatus, &Recording::system_status>;
    table.respiration_movinglist = keep<RespirationMovingListData, &Recording::respiration_movinglist>;
    table.respiration_detectionlist =
        keep<RespirationDetectionListData, &Recording::respiration_detectionlist>;
    table.pulsedoppler_float = keep<PulseDopplerFloatData, &Recording::pulsedoppler_float>;
    table.pulsedoppler_byte = keep<PulseDopplerByteData, &Recording::pulsedoppler_byte>;
    return table;
}

using ParseFunction = int (*)(const HostParser*, const uint8_t*, uint32_t, void*);

class HostParserTest : public ::testing::Test {
protected:
    // Records point into their packet, so every packet parsed stays alive until the test ends.
    int run(ParseFunction function, Bytes packet) {
        packets.push_back(std::move(packet));
        return function(&table, packets.back().data(), static_cast<uint32_t>(packets.back().size()),
                        &recording);
    }
    const uint8_t* last_packet_at(size_t offset) const { return packets.back().data() + offset; }
    using Errors = std::vector<uint32_t>;
    HostParser table = recording_table();
    Recording recording;
    std::deque<Bytes> packets;
};

const ParseFunction all_functions[] = {parse,
                                       parse_error,
                                       parse_ack,
                                       parse_pong,
                                       parse_data,
                                       parse_data_float,
                                       parse_reply,
                                       parse_system_status,
                                       parse_appdata,
                                       parse_respiration_status,
                                       parse_sleep_status,
                                       parse_baseband_ap,
                                       parse_baseband_iq,
                                       parse_presence_single,
                                       parse_presence_movinglist,
                                       parse_respiration_movinglist,
                                       parse_respiration_detectionlist,
                                       parse_pulsedoppler_float,
                                       parse_pulsedoppler_byte};

TEST_F(HostParserTest, EmptyPacketIsCodeFiveEverywhere) {
    for (ParseFunction function : all_functions) {
        Recording fresh;
        EXPECT_EQ(5, function(&table, nullptr, 0, &fresh));
        EXPECT_EQ(Errors{5}, fresh.errors);
        EXPECT_EQ(0, fresh.values);
    }
}

TEST_F(HostParserTest, CommandRepliesOfTheirOwnClass) {
    EXPECT_EQ(0, run(parse_pong, Packet().u8(KMS_SPR_PONG).u32(KMS_DEF_PONGVAL_READY).bytes));
    EXPECT_EQ(Errors{KMS_DEF_PONGVAL_READY}, recording.pongs);
    EXPECT_EQ(0, run(parse_ack, {KMS_SPR_ACK}));
    EXPECT_EQ(0, recording.ack.value);
    EXPECT_EQ(0, run(parse_system_status, Packet().u8(KMS_SPR_SYSTEM).u32(KMS_SPRS_READY).bytes));
    EXPECT_EQ(uint32_t{KMS_SPRS_READY}, recording.system_status.status);
    EXPECT_EQ(2, recording.values);
    EXPECT_TRUE(recording.errors.empty());
}

TEST_F(HostParserTest, ErrorPacketGivenForAnotherClassReportsTheModuleCode) {
    const Bytes crc_failed = {0x20, 0x02, 0x00, 0x00, 0x00};
    for (ParseFunction function : {parse_ack, parse_pong, parse_reply, parse_system_status, parse_error}) {
        recording.errors.clear();
        EXPECT_EQ(2, run(function, crc_failed));
        EXPECT_EQ(Errors{KMS_SPRE_CRC_FAILED}, recording.errors);
    }
    EXPECT_EQ(2, run(parse_data_float, Packet().u8(KMS_SPR_ERROR).u32(2).bytes));
    EXPECT_EQ(0, recording.values);
}

TEST_F(HostParserTest, ParseErrorOnSomethingElseReportsTwice) {
    EXPECT_EQ(0x11223344, run(parse_error, Packet().u8(KMS_SPR_ACK).u32(0x11223344).bytes));
    EXPECT_EQ((Errors{HOST_PARSER_MALFORMED, 0x11223344}), recording.errors);
}

TEST_F(HostParserTest, ShortPacketsOfTheRightClass) {
    EXPECT_EQ(1, run(parse_pong, {KMS_SPR_PONG, 0xAA, 0xAA, 0xAA}));
    EXPECT_EQ(Errors{HOST_PARSER_MALFORMED}, recording.errors);
    EXPECT_TRUE(recording.pongs.empty());
    recording.errors.clear();
    // A truncated error packet or system packet is still reported, with the missing field read as 0.
    EXPECT_EQ(0, run(parse_error, {KMS_SPR_ERROR, 0x02}));
    EXPECT_EQ(Errors{0}, recording.errors);
    EXPECT_EQ(0, run(parse_system_status, {KMS_SPR_SYSTEM}));
    EXPECT_EQ(0u, recording.system_status.status);
}

TEST_F(HostParserTest, ReplyCarriesItsData) {
    const Bytes packet = Packet()
                             .u8(KMS_SPR_REPLY)
                             .u8(KMS_SPRD_STRING)
                             .u32(0xC0FFEE)
                             .u32(7)
                             .u32(3)
                             .u8('a')
                             .u8('b')
                             .u8('c')
                             .u8(0x5A)
                             .bytes;
    EXPECT_EQ(0, run(parse_reply, packet));
    const Reply& reply = recording.reply;
    EXPECT_EQ(KMS_SPRD_STRING, reply.data_type);
    EXPECT_EQ(0xC0FFEEu, reply.content_id);
    EXPECT_EQ(7u, reply.info);
    ASSERT_EQ(3u, reply.length);
    EXPECT_EQ((Bytes{'a', 'b', 'c'}), Bytes(reply.data, reply.data + reply.length));
    EXPECT_EQ(0x5A, reply.last_byte);
}

TEST_F(HostParserTest, ReplyNeverPointsPastItsPacket) {
    const Bytes header = Packet().u8(KMS_SPR_REPLY).u8(KMS_SPRD_BYTE).u32(1).u32(2).bytes;
    const Bytes oversized = Packet{header}.u32(1000).u8(9).u8(8).bytes;
    EXPECT_EQ(0, run(parse_reply, oversized));
    EXPECT_EQ(2u, recording.reply.length);
    EXPECT_EQ(0, recording.reply.last_byte);
    EXPECT_EQ(0, run(parse_reply, Packet{header}.u32(0xFFFFFFFF).bytes));
    EXPECT_EQ(0u, recording.reply.length);
    for (size_t size : {size_t{1}, size_t{10}, size_t{12}}) {
        const Bytes cut(oversized.begin(), oversized.begin() + size);
        EXPECT_EQ(0, run(parse_reply, cut));
        EXPECT_EQ(0u, recording.reply.length);
    }
    EXPECT_EQ(5, recording.values);
}

TEST_F(HostParserTest, DataFloatCountGoesByThePacket) {
    const Bytes header = Packet().u8(KMS_SPR_DATA).u8(KMS_SPRD_FLOAT).u32(0xABCD).u32(42).u32(1000).bytes;
    EXPECT_EQ(0, run(parse_data_float, header));
    EXPECT_EQ(0u, recording.datafloat.count);
    EXPECT_EQ(static_cast<const void*>(last_packet_at(14)), recording.datafloat.data);
    const Bytes packet = Packet{header}.floats({1.5f, -2.0f}).u8(0xFF).bytes;
    EXPECT_EQ(0, run(parse_data, packet));
    EXPECT_EQ(0xABCDu, recording.datafloat.content_id);
    EXPECT_EQ(42u, recording.datafloat.info);
    EXPECT_EQ((std::vector<float>{1.5f, -2.0f}),
              floats_of(recording.datafloat.data, recording.datafloat.count));
    EXPECT_EQ(1, run(parse_data_float, Bytes(header.begin(), header.end() - 1)));
    EXPECT_EQ(Errors{HOST_PARSER_MALFORMED}, recording.errors);
    EXPECT_EQ(1, run(parse_data, {KMS_SPR_DATA, KMS_SPRD_STRING, 'x'}));
    EXPECT_EQ(1, run(parse_data, {KMS_SPR_DATA}));
    EXPECT_EQ(2, recording.values);
}

Packet respiration_packet() {
    return Packet()
        .app(KMS_ID_RESP_STATUS)
        .u32(10)
        .u32(KMS_VAL_RESP_STATE_BREATHING)
        .u32(14)
        .f32(1.25f)
        .f32(0.5f);
}

TEST_F(HostParserTest, StatusRecords) {
    EXPECT_EQ(0, run(parse_appdata, respiration_packet().u32(77).bytes));
    EXPECT_EQ(10u, recording.respiration.frame_counter);
    EXPECT_EQ(14u, recording.respiration.respiration_rate);
    EXPECT_EQ(1.25f, recording.respiration.distance);
    EXPECT_EQ(0.5f, recording.respiration.movement);
    EXPECT_EQ(77u, recording.respiration.signal_quality);
    // 25 bytes pass the length test although the record reaches further: the missing field reads 0.
    EXPECT_EQ(0, run(parse_respiration_status, respiration_packet().bytes));
    EXPECT_EQ(0u, recording.respiration.signal_quality);

    const Bytes sleep = Packet()
                            .app(KMS_ID_SLEEP_STATUS)
                            .u32(3)
                            .u32(1)
                            .f32(12.5f)
                            .f32(2.0f)
                            .u32(90)
                            .f32(0.25f)
                            .f32(0.75f)
                            .bytes;
    EXPECT_EQ(0, run(parse, sleep));
    EXPECT_EQ(12.5f, recording.sleep.respiration_rate);
    EXPECT_EQ(90u, recording.sleep.signal_quality);
    EXPECT_EQ(0.75f, recording.sleep.movement_fast);
    EXPECT_EQ(3, recording.values);
}

TEST_F(HostParserTest, StatusRecordFailures) {
    Bytes wrong_id = respiration_packet().u32(0).bytes;
    wrong_id[1] ^= 1;
    EXPECT_EQ(1, run(parse_respiration_status, wrong_id));
    EXPECT_EQ(1, run(parse_sleep_status, respiration_packet().u32(0).bytes));
    const Bytes short_packet =
        Packet().app(KMS_ID_SLEEP_STATUS).u32(1).u32(2).u32(3).u32(4).u8(5).u8(6).bytes;
    EXPECT_EQ(1, run(parse_sleep_status, short_packet));
    EXPECT_EQ((Errors{3, 3, 2}), recording.errors);
    EXPECT_EQ(0, recording.values);
}

Packet baseband_header(uint32_t id, uint32_t num_bins) {
    return Packet().app(id).u32(5).u32(num_bins).f32(0.05f).f32(23.3e9f).f32(7.29e9f).f32(0.2f);
}

TEST_F(HostParserTest, BasebandFrames) {
    EXPECT_EQ(0, run(parse, baseband_header(KMS_ID_BASEBAND_IQ, 2).floats({1, 2, 3, 4}).bytes));
    const BasebandIqData& iq = recording.baseband_iq;
    EXPECT_EQ(5u, iq.frame_counter);
    EXPECT_EQ(0.05f, iq.bin_length);
    EXPECT_EQ(7.29e9f, iq.carrier_frequency);
    EXPECT_EQ((std::vector<float>{1, 2}), floats_of(iq.i_data, iq.num_bins));
    EXPECT_EQ((std::vector<float>{3, 4}), floats_of(iq.q_data, iq.num_bins));

    EXPECT_EQ(0,
              run(parse_appdata, baseband_header(KMS_ID_BASEBAND_AMPLITUDE_PHASE, 1).floats({8, 9}).bytes));
    EXPECT_EQ((std::vector<float>{8}), floats_of(recording.baseband_ap.amplitude, 1));
    EXPECT_EQ((std::vector<float>{9}), floats_of(recording.baseband_ap.phase, 1));
    EXPECT_EQ(0.2f, recording.baseband_ap.range_offset);
    EXPECT_EQ(2, recording.values);
}

TEST_F(HostParserTest, BasebandFailures) {
    EXPECT_EQ(3, run(parse_baseband_iq, baseband_header(KMS_ID_BASEBAND_AMPLITUDE_PHASE, 0).u32(0).bytes));
    EXPECT_EQ(2, run(parse_baseband_ap, baseband_header(KMS_ID_BASEBAND_AMPLITUDE_PHASE, 0).u8(0).bytes));
    // Bins announced beyond the packet, also where 8 * num_bins would wrap in 32 bits.
    EXPECT_EQ(2, run(parse_baseband_iq, baseband_header(KMS_ID_BASEBAND_IQ, 2).floats({1, 2, 3}).bytes));
    EXPECT_EQ(2,
              run(parse_baseband_iq, baseband_header(KMS_ID_BASEBAND_IQ, 0x20000000).floats({1, 2}).bytes));
    EXPECT_EQ((Errors{3, 2, 2, 2}), recording.errors);
    EXPECT_EQ(0, recording.values);
}

TEST_F(HostParserTest, PresenceSingleIsUnaligned) {
    EXPECT_EQ(
        0, run(parse,
               Packet().app(KMS_ID_PRESENCE_SINGLE).u32(9).u32(1).f32(1.5f).u8(0xD1).u32(0xAABBCCDD).bytes));
    EXPECT_EQ(9u, recording.presence_single.frame_counter);
    EXPECT_EQ(1u, recording.presence_single.presence_state);
    EXPECT_EQ(1.5f, recording.presence_single.distance);
    EXPECT_EQ(0xD1, recording.presence_single.direction);
    EXPECT_EQ(0xAABBCCDDu, recording.presence_single.signal_quality);
    EXPECT_EQ(3, run(parse_presence_single, Packet().u8(KMS_SPR_DATA).u32(KMS_ID_PRESENCE_SINGLE).bytes));
}

TEST_F(HostParserTest, MovingAndDetectionLists) {
    EXPECT_EQ(0, run(parse, Packet()
                                .app(KMS_ID_PRESENCE_MOVINGLIST)
                                .u32(1)
                                .u32(2)
                                .u32(2)
                                .u32(1)
                                .floats({1, 2, 3, 4, 5, 6, 7})
                                .bytes));
    const PresenceMovingListData& presence = recording.presence_movinglist;
    EXPECT_EQ((std::vector<float>{3, 4}), floats_of(presence.movement_fast_items, presence.interval_count));
    EXPECT_EQ((std::vector<float>{5}),
              floats_of(presence.detection_distance_items, presence.detection_count));
    EXPECT_EQ((std::vector<float>{7}),
              floats_of(presence.detection_velocity_items, presence.detection_count));

    EXPECT_EQ(0, run(parse_respiration_movinglist,
                     Packet().app(KMS_ID_RESPIRATION_MOVINGLIST).u32(4).u32(1).floats({1, 2}).bytes));
    EXPECT_EQ((std::vector<float>{2}), floats_of(recording.respiration_movinglist.movement_fast_items, 1));
    EXPECT_EQ(0, run(parse_respiration_detectionlist,
                     Packet().app(KMS_ID_RESPIRATION_DETECTIONLIST).u32(4).u32(1).floats({1, 2, 3}).bytes));
    EXPECT_EQ((std::vector<float>{2}),
              floats_of(recording.respiration_detectionlist.detection_radar_cross_section_items, 1));
    EXPECT_EQ((std::vector<float>{3}),
              floats_of(recording.respiration_detectionlist.detection_velocity_items, 1));
    // The lists have no length test: a bare header with its counts cut off reads as empty lists.
    EXPECT_EQ(0, run(parse_presence_movinglist, Packet().app(KMS_ID_PRESENCE_MOVINGLIST).bytes));
    EXPECT_EQ(0u, recording.presence_movinglist.interval_count);
    EXPECT_EQ(4, recording.values);
}

TEST_F(HostParserTest, ListCountsBeyondThePacketAreRefused) {
    EXPECT_EQ(
        2,
        run(parse_presence_movinglist,
            Packet().app(KMS_ID_PRESENCE_MOVINGLIST).u32(1).u32(2).u32(1).u32(1).floats({1, 2, 3, 4}).bytes));
    EXPECT_EQ(2, run(parse_presence_movinglist,
                     Packet().app(KMS_ID_PRESENCE_MOVINGLIST).u32(1).u32(2).u32(0).u32(0xFFFFFFFF).bytes));
    EXPECT_EQ(2,
              run(parse_respiration_movinglist,
                  Packet().app(KMS_ID_RESPIRATION_MOVINGLIST).u32(1).u32(0x80000000).floats({1, 2}).bytes));
    EXPECT_EQ(2, run(parse_respiration_detectionlist,
                     Packet().app(KMS_ID_RESPIRATION_DETECTIONLIST).u32(1).u32(1).floats({1, 2}).bytes));
    EXPECT_EQ(3, run(parse_respiration_detectionlist,
                     Packet().app(KMS_ID_RESPIRATION_MOVINGLIST).u32(1).u32(0).bytes));
    EXPECT_EQ((Errors{2, 2, 2, 2, 3}), recording.errors);
    EXPECT_EQ(0, recording.values);
}

Packet pulsedoppler_header(uint32_t id, uint32_t frequency_count) {
    return Packet()
        .app(id)
        .u32(1)
        .u32(2)
        .u32(3)
        .u32(4)
        .u32(frequency_count)
        .u32(6)
        .f32(17.0f)
        .f32(8.5f)
        .f32(-0.5f)
        .f32(0.125f)
        .f32(1.75f);
}

TEST_F(HostParserTest, PulseDopplerRows) {
    EXPECT_EQ(0, run(parse_pulsedoppler_float,
                     pulsedoppler_header(KMS_ID_PULSEDOPPLER_FLOAT, 2).floats({0.5f, 1.5f}).bytes));
    const PulseDopplerFloatData& row = recording.pulsedoppler_float;
    EXPECT_EQ(3u, row.range_idx);
    EXPECT_EQ(6u, row.pulsedoppler_instance);
    EXPECT_EQ(8.5f, row.fps_decimated);
    EXPECT_EQ(1.75f, row.range);
    EXPECT_EQ((std::vector<float>{0.5f, 1.5f}), floats_of(row.data, row.frequency_count));
    EXPECT_EQ(0, run(parse_pulsedoppler_float, pulsedoppler_header(KMS_ID_NOISEMAP_FLOAT, 0).bytes));

    EXPECT_EQ(0,
              run(parse_pulsedoppler_byte,
                  pulsedoppler_header(KMS_ID_NOISEMAP_BYTE, 3).f32(0.25f).f32(4.0f).u8(7).u8(8).u8(9).bytes));
    const PulseDopplerByteData& bytes = recording.pulsedoppler_byte;
    EXPECT_EQ(-0.5f, bytes.frequency_start);
    EXPECT_EQ(0.25f, bytes.byte_step_start);
    EXPECT_EQ(4.0f, bytes.byte_step_size);
    EXPECT_EQ((Bytes{7, 8, 9}), Bytes(bytes.data, bytes.data + bytes.frequency_count));
    EXPECT_EQ(3, recording.values);
}

TEST_F(HostParserTest, PulseDopplerLengthMustBeExact) {
    EXPECT_EQ(2, run(parse_pulsedoppler_float,
                     pulsedoppler_header(KMS_ID_PULSEDOPPLER_FLOAT, 1).floats({1}).u8(0).bytes));
    const Bytes header = pulsedoppler_header(KMS_ID_PULSEDOPPLER_FLOAT, 0).bytes;
    EXPECT_EQ(2, run(parse_pulsedoppler_float, Bytes(header.begin(), header.end() - 2)));
    // Counts whose size would wrap a 32-bit length onto the packet's own.
    EXPECT_EQ(
        2, run(parse_pulsedoppler_float, pulsedoppler_header(KMS_ID_PULSEDOPPLER_FLOAT, 0x40000000).bytes));
    EXPECT_EQ(2, run(parse_pulsedoppler_byte,
                     pulsedoppler_header(KMS_ID_PULSEDOPPLER_BYTE, 0xFFFFFFFF).u32(0).u32(0).bytes));
    EXPECT_EQ(3, run(parse_pulsedoppler_float, pulsedoppler_header(KMS_ID_PULSEDOPPLER_BYTE, 0).bytes));
    EXPECT_EQ(3, run(parse_pulsedoppler_byte,
                     pulsedoppler_header(KMS_ID_PULSEDOPPLER_FLOAT, 0).u32(0).u32(0).bytes));
    EXPECT_EQ((Errors{2, 2, 2, 2, 3, 3}), recording.errors);
    EXPECT_EQ(0, recording.values);
}

TEST_F(HostParserTest, TopLevelSelection) {
    EXPECT_EQ(4, run(parse, Packet().u8(KMS_SPR_REPLY).u8(0).u32(0).bytes));
    EXPECT_EQ(4, run(parse, Packet().u8(KMS_SPR_SYSTEM).u32(KMS_SPRS_READY).bytes));
    EXPECT_EQ((Errors{2, 2}), recording.errors);
    EXPECT_EQ(0, run(parse, Packet().app(0x12345678).u32(1).bytes));
    EXPECT_EQ(0, run(parse, Packet().app(KMS_ID_PULSEDOPPLER_FLOAT).bytes));
    EXPECT_EQ(0, run(parse, {KMS_SPR_APPDATA, 0x0C}));
    EXPECT_EQ(0, recording.values);
    EXPECT_EQ(0, run(parse, {KMS_SPR_ACK}));
    EXPECT_EQ(0, run(parse, Packet().u8(KMS_SPR_PONG).u32(KMS_DEF_PONGVAL_SAFEMODE).bytes));
    EXPECT_EQ(Errors{KMS_DEF_PONGVAL_SAFEMODE}, recording.pongs);
    EXPECT_EQ(1, recording.values);
}

TEST_F(HostParserTest, InitFillsDefaultsAndLeavesThePulseDopplerEntries) {
    HostParser defaults = table;
    init_host_parser(&defaults);
    EXPECT_EQ(&default_pong_callback, defaults.pong);
    EXPECT_EQ(&default_respiration_detectionlist, defaults.respiration_detectionlist);
    EXPECT_EQ(table.pulsedoppler_float, defaults.pulsedoppler_float);
    EXPECT_EQ(table.pulsedoppler_byte, defaults.pulsedoppler_byte);
    const Bytes pong = Packet().u8(KMS_SPR_PONG).u32(1).bytes;
    const Bytes row = pulsedoppler_header(KMS_ID_PULSEDOPPLER_FLOAT, 0).bytes;
    EXPECT_EQ(0, parse_pong(&defaults, pong.data(), static_cast<uint32_t>(pong.size()), &recording));
    EXPECT_EQ(0,
              parse_pulsedoppler_float(&defaults, row.data(), static_cast<uint32_t>(row.size()), &recording));
    EXPECT_TRUE(recording.pongs.empty());
    EXPECT_EQ(1, recording.values);
    // A table with unset entries loses the records but does not crash.
    const HostParser unset{};
    EXPECT_EQ(0, parse_pulsedoppler_float(&unset, row.data(), static_cast<uint32_t>(row.size()), nullptr));
    const uint8_t unknown_class = 0x77;
    EXPECT_EQ(4, parse(&unset, &unknown_class, 1, nullptr));
}

} // namespace
