// What a caller of DataRecorder can get right or wrong: starting and stopping by mask, sessions, callbacks,
// basenames.
#include "data_recorder_fixture.h"

#include <stdexcept>

using namespace Tervik;
using namespace recorder_test;

namespace {

class RecorderSurface : public RecorderTest {
protected:
    void record_float_and_byte() {
        ASSERT_EQ(0, recorder->start_recording(FloatDataType | ByteDataType, scratch.path()));
        process(FloatDataType, 1, 1);
        process(ByteDataType, 1, 1);
        finish();
    }

    // The records of the session directory whose name ends in "_" + session_id.
    std::vector<DataRecord> session_records(const std::string& session_id) {
        const std::vector<std::string> sessions = find(scratch.path(), "_" + session_id);
        EXPECT_EQ(1u, sessions.size()) << session_id;
        return sessions.empty() ? std::vector<DataRecord>()
                                : read_all(sessions[0] + "/tervik_recording_meta.dat");
    }
};

TEST_F(RecorderSurface, StartRefusesAnEmptyMaskDirectoryOrSessionId) {
    EXPECT_EQ(1, recorder->start_recording(InvalidDataType, scratch.path()));
    EXPECT_EQ(1, recorder->start_recording(AllDataTypes, ""));
    EXPECT_EQ(16, log.count(": empty directory specified"));
    for (DataType type : data_types_in_mask(AllDataTypes))
        EXPECT_FALSE(recorder->is_recording(type));
    EXPECT_EQ(1, recorder->start_recording(SleepDataType, scratch.path(), options("")));
    EXPECT_TRUE(
        log.contains("cannot start recording for data type: Sleep data: invalid session id: <empty string>"));
    EXPECT_FALSE(recorder->is_recording(SleepDataType));
}

TEST_F(RecorderSurface, SecondStartOfATypeFailsButStartsTheOthersOfTheMask) {
    ASSERT_EQ(0, recorder->start_recording(FloatDataType, scratch.path(), options("first")));
    EXPECT_EQ(1, recorder->start_recording(FloatDataType | ByteDataType, scratch.path(), options("second")));
    EXPECT_TRUE(log.contains("cannot start recording for data type: Float data: recording already started"));
    EXPECT_TRUE(recorder->is_recording(ByteDataType));
    process(FloatDataType, 1, 1);
    process(ByteDataType, 1, 1);
    finish();

    // The float recording went on in its own session.
    const std::vector<DataRecord> first = session_records("first");
    ASSERT_EQ(1u, first.size());
    EXPECT_EQ(uint32_t(FloatDataType), first[0].data_type);
    EXPECT_EQ(1u, session_records("second").size());
}

TEST_F(RecorderSurface, InvalidMaskThrowsAfterStartingItsLowBits) {
    try {
        recorder->start_recording(0x10000 | SleepDataType, scratch.path());
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ("detected invalid data type in func: start_recording:start_recording", e.what());
    }
    EXPECT_TRUE(recorder->is_recording(SleepDataType));
    EXPECT_THROW(recorder->stop_recording(0x20000), std::runtime_error);
    EXPECT_THROW(recorder->clear_basename_for_data_types(0x40000), std::runtime_error);
    EXPECT_TRUE(log.contains("detected invalid data type:init_default_basename"));
}

TEST_F(RecorderSurface, StopTakesEffectAtOnceAndARestartWithANewSessionGetsItsOwnDirectory) {
    EXPECT_FALSE(recorder->process(FloatDataType, SamplePackets::sample_packet(FloatDataType, 1)));
    ASSERT_EQ(0, recorder->start_recording(FloatDataType, scratch.path(), options("one")));
    EXPECT_TRUE(recorder->process(FloatDataType, SamplePackets::sample_packet(FloatDataType, 1)));
    recorder->stop_recording(FloatDataType);
    // The stop takes effect for callers at once; what was queued before it is still stored.
    EXPECT_FALSE(recorder->is_recording(FloatDataType));
    EXPECT_FALSE(recorder->process(FloatDataType, SamplePackets::sample_packet(FloatDataType, 2)));
    ASSERT_EQ(0, recorder->start_recording(FloatDataType, scratch.path(), options("two")));
    process(FloatDataType, 3, 3);
    finish();
    EXPECT_EQ(1u, session_records("one").size());
    EXPECT_EQ(1u, session_records("two").size());
}

TEST_F(RecorderSurface, FileCallbackSubscriptionsArePerTypeAndExclusive) {
    int calls = 0;
    const DataRecorder::FileAvailableCallback count = [&](DataType, const std::string&) { ++calls; };
    EXPECT_EQ(1, recorder->subscribe_to_file_available(FloatDataType, DataRecorder::FileAvailableCallback()));
    EXPECT_TRUE(log.contains("cannot subscribe to file available: invalid callback"));
    EXPECT_EQ(1, recorder->subscribe_to_file_available(InvalidDataType, count));
    EXPECT_TRUE(log.contains("cannot subscribe to file available: invalid data type"));

    ASSERT_EQ(0, recorder->subscribe_to_file_available(FloatDataType, [](DataType, const std::string&) {}));
    // One type of the mask has a callback already: the other still takes this one.
    EXPECT_EQ(1, recorder->subscribe_to_file_available(FloatDataType | ByteDataType, count));
    EXPECT_TRUE(
        log.contains("cannot subscribe to file available for data type: Float data : another callback "
                     "already subscribed"));
    record_float_and_byte();
    EXPECT_EQ(1, calls);

    recorder.reset(new DataRecorder(log.logger()));
    ASSERT_EQ(0, recorder->subscribe_to_file_available(ByteDataType, count));
    recorder->unsubscribe_to_file_available(ByteDataType);
    record_float_and_byte();
    EXPECT_EQ(1, calls);
}

TEST_F(RecorderSurface, MetaFileCallbackIsExclusiveUntilUnsubscribed) {
    const DataRecorder::MetaFileAvailableCallback callback = [](const std::string&, const std::string&) {};
    EXPECT_EQ(1, recorder->subscribe_to_meta_file_available(DataRecorder::MetaFileAvailableCallback()));
    EXPECT_TRUE(log.contains("cannot subscribe to meta file available: invalid callback"));
    EXPECT_EQ(0, recorder->subscribe_to_meta_file_available(callback));
    EXPECT_EQ(1, recorder->subscribe_to_meta_file_available(callback));
    EXPECT_TRUE(log.contains("cannot subscribe to meta file available: another callback already subscribed"));
    EXPECT_EQ(0, recorder->unsubscribe_to_meta_file_available());
    EXPECT_EQ(0, recorder->subscribe_to_meta_file_available(callback));
}

TEST_F(RecorderSurface, BasenamesHaveDefaultsThatCanBeChangedAndCleared) {
    EXPECT_EQ("tervik_respiration_movinglist",
              recorder->get_basename_for_data_type(RespirationMovingListDataType));
    recorder->set_basename_for_data_type(BasebandIqDataType, "iq");
    recorder->set_basename_for_data_type(SleepDataType, "night");
    EXPECT_EQ("iq", recorder->get_basename_for_data_type(BasebandIqDataType));
    recorder->clear_basename_for_data_types(BasebandIqDataType);
    EXPECT_EQ("tervik_baseband_iq", recorder->get_basename_for_data_type(BasebandIqDataType));
    EXPECT_EQ("night", recorder->get_basename_for_data_type(SleepDataType));
    try {
        recorder->get_basename_for_data_type(static_cast<DataType>(3));
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ("internal error; no basename for data type: 3:get_basename_for_data_type", e.what());
    }
    EXPECT_EQ("presence single", DataRecorder::data_type_to_string(PresenceSingleDataType));
}

} // namespace
