// The data player read the way the playback link reads it: recordings written by the test-side writer,
// played, paused, stopped, sought, at other rates and in a loop; damaged recordings; a user's thread that
// changes everything while the reader polls.
#include "DataPlayer.h"
#include "PlaybackModuleIo.h"
#include "Reader.h"
#include "RecordingWriter.h"
#include "link_log_capture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <random>
#include <thread>

using namespace Tervik;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

struct Playback {
    explicit Playback(const std::string& meta) : player(meta), io(log.logger(), player) {}

    // The next packet that comes within `ms`; empty if none does.
    Bytes next(int ms = 5000) {
        const steady_clock::time_point deadline = steady_clock::now() + milliseconds(ms);
        do {
            const int count = io.read(buffer, sizeof buffer, 50);
            if (count > 0)
                return Bytes(buffer, buffer + count);
        } while (steady_clock::now() < deadline);
        return Bytes();
    }

    link_test::LogCapture log;
    DataPlayer player;
    PlaybackModuleIo io;
    unsigned char buffer[Reader::read_size];
};

const std::vector<DataType> presence = {PresenceSingleDataType};

TEST(DataPlayerTest, ARecordingThatCannotBeOpenedIsRefusedByTheConstructor) {
    SampleRecording missing(presence, 2, 100), truncated(presence, 2, 100), foreign(presence, 2, 100);
    SampleRecording other(presence, 2, 100, 0, "another-session");
    std::remove(missing.meta.c_str());
    truncate_file(truncated.meta, 30);
    RecordingWriter::link(foreign.meta, "../" +
                                            std::filesystem::path(other.scratch.path()).filename().string() +
                                            "/" + RecordingWriter::MetaFilename);
    for (const SampleRecording* recording : {&missing, &truncated, &foreign}) {
        EXPECT_EQ("failed to open recording" + recording->meta,
                  link_test::failure_of([&] { DataPlayer player(recording->meta); }));
    }
}

// Rate -1 hands out everything at once, each packet at its recorded time as the position. The header lines
// of text files, user headers and performance status records are passed over without a word.
TEST(DataPlayerTest, EveryTypeComesBackAsItsPacketsInRecordedOrder) {
    const SampleRecording recording({PresenceSingleDataType, BasebandIqDataType, StringDataType,
                                     PerformanceStatusType, RespirationMovingListDataType, FloatDataType},
                                    4, 1000);
    Playback playback(recording.meta);
    playback.player.set_playback_rate(-1);
    EXPECT_TRUE(playback.next(100).empty()) << "played before play()";

    testing::internal::CaptureStdout();
    playback.player.play();
    std::vector<Bytes> packets;
    std::vector<int64_t> times;
    for (Bytes packet; packets.size() < recording.packets.size() && !(packet = playback.next()).empty();) {
        packets.push_back(packet);
        times.push_back(playback.player.get_position());
    }
    EXPECT_TRUE(playback.next(100).empty());
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_EQ(recording.packets, packets);
    EXPECT_EQ(recording.times, times);
}

TEST(DataPlayerTest, StopAndPlayStartOverAndAPositionSetWhileStoppedIsWherePlayStarts) {
    const SampleRecording recording(presence, 10, 1000);
    Playback playback(recording.meta);
    DataPlayer& player = playback.player;
    player.play();
    EXPECT_EQ(recording.packets[0], playback.next());
    player.stop();
    player.play();
    EXPECT_EQ(recording.packets[0], playback.next()) << "went on instead of starting over";

    player.stop();
    EXPECT_EQ(1, player.set_position(recording.duration + 1));
    EXPECT_EQ(0, player.get_position());
    EXPECT_EQ(0, player.set_position(5000));
    EXPECT_EQ(5000, player.get_position());
    player.play();
    // Without the position the timer would start from 0, and this packet would be 5 s away.
    EXPECT_EQ(recording.packets[5], playback.next(3000));
    EXPECT_GE(player.get_position(), 5000);
    EXPECT_LT(player.get_position(), 9000);
}

TEST(DataPlayerTest, RateZeroHoldsThePositionAndTheNextRateGoesOnWithoutAJump) {
    const SampleRecording recording(presence, 10, 1000);
    Playback playback(recording.meta);
    playback.player.play();
    ASSERT_EQ(recording.packets[0], playback.next());
    playback.player.set_playback_rate(0);
    const int64_t held = playback.player.get_position();
    EXPECT_TRUE(playback.next(1000).empty());
    EXPECT_EQ(held, playback.player.get_position());
    playback.player.set_playback_rate(1);
    EXPECT_LT(playback.player.get_position(), held + 500) << "the frozen second was counted";
    EXPECT_EQ(recording.packets[1], playback.next());
}

// Lower bounds only: a packet is never early. The loop plays one record that lies 300 ms into its recording,
// so that each pass takes 300 ms.
TEST(DataPlayerTest, PacketsComeAtTheirTimesAtRateTwoAndAgainAndAgainInLoopMode) {
    struct Case {
        int rounds;
        uint32_t gap, start;
        float rate;
        bool loop;
    } cases[] = {{4, 300, 0, 2.0f, false}, {1, 0, 300, 1.0f, true}};
    for (const Case& c : cases) {
        const SampleRecording recording(presence, c.rounds, c.gap, c.start);
        Playback playback(recording.meta);
        playback.player.set_playback_rate(c.rate);
        playback.player.set_loop_mode_enabled(c.loop);
        const steady_clock::time_point start = steady_clock::now();
        playback.player.play();
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(recording.packets[c.loop ? 0 : i], playback.next());
            const int64_t due = c.loop ? (i + 1) * c.start : int64_t(recording.times[i] / c.rate);
            EXPECT_GE(steady_clock::now() - start, milliseconds(due)) << "packet " << i;
        }
    }
}

TEST(DataPlayerTest, ARecordLargerThanTheBufferIsLostWithAWarningAndTheNextOneFollows) {
    const SampleRecording recording({BasebandIqDataType}, 3, 0);
    Playback playback(recording.meta);
    playback.player.play();
    testing::internal::CaptureStdout();
    unsigned char small[8];
    EXPECT_EQ(0, playback.io.read(small, sizeof small, 100));
    EXPECT_EQ("WARNING: buffer not large enough to fill packet of size: " +
                  std::to_string(recording.packets[0].size()) + " (max size: 8)\n",
              testing::internal::GetCapturedStdout());
    EXPECT_EQ(recording.packets[1], playback.next());
}

TEST(DataPlayerTest, DamagedDataPlaysUpToTheDamageThenReportsAndWaits) {
    for (bool deleted : {true, false}) {
        const SampleRecording recording({BasebandIqDataType}, 6, 10);
        const std::string& data_file = recording.data_files.at(0);
        if (deleted)
            std::remove(data_file.c_str());
        else // the third record cut in the middle
            truncate_file(data_file, 4 + long(recording.packets[0].size() - 5) * 5 / 2);
        Playback playback(recording.meta);
        playback.player.set_playback_rate(-1);
        playback.player.play();
        testing::internal::CaptureStdout();
        std::vector<Bytes> packets;
        for (Bytes packet; !(packet = playback.next(500)).empty();)
            packets.push_back(packet);
        const std::string output = testing::internal::GetCapturedStdout();
        EXPECT_EQ(
            std::vector<Bytes>(recording.packets.begin(), recording.packets.begin() + (deleted ? 0 : 2)),
            packets);
        EXPECT_NE(std::string::npos, output.find("WARNING: failed to read record from recording: "))
            << output;
    }
}

// A read waits for the next packet, not for its whole time-out, when the player is told to play; and it ends
// at once when the link stops reading.
TEST(DataPlayerTest, AWaitingReadEndsWhenPlayIsPressedAndWhenTheReaderStops) {
    const SampleRecording recording(presence, 2, 1000);
    Playback playback(recording.meta);
    for (bool interrupt : {false, true}) {
        playback.io.read(playback.buffer, sizeof playback.buffer, 0); // takes in the stop
        std::thread user([&] {
            std::this_thread::sleep_for(milliseconds(100));
            if (interrupt)
                playback.io.interrupt();
            else
                playback.player.play();
        });
        const steady_clock::time_point start = steady_clock::now();
        const int count = playback.io.read(playback.buffer, sizeof playback.buffer, 20000);
        user.join();
        EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(10));
        EXPECT_EQ(interrupt ? 0 : int(recording.packets[0].size()), count);
        playback.player.stop();
    }
    const steady_clock::time_point start = steady_clock::now();
    EXPECT_EQ(0, playback.io.read(playback.buffer, sizeof playback.buffer, 20000));
    EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(DataPlayerTest, TheUsersThreadChangesEverythingWhileTheReaderPolls) {
    const SampleRecording recording({PresenceSingleDataType, BasebandIqDataType}, 20, 20);
    Playback playback(recording.meta);
    DataPlayer& player = playback.player;
    std::atomic<bool> done{false};
    std::thread reader([&] {
        unsigned char buffer[Reader::read_size];
        while (!done)
            playback.io.read(buffer, sizeof buffer, 20);
    });
    std::mt19937 random(17);
    const float rates[] = {-1.0f, 0.0f, 0.5f, 8.0f};
    const std::function<void()> changes[] = {
        [&] { player.play(); },
        [&] { player.pause(); },
        [&] { player.stop(); },
        [&] { player.set_position(random() % (recording.duration + 1)); },
        [&] { player.set_playback_rate(rates[random() % 4]); },
        [&] { player.set_loop_mode_enabled(random() % 2 == 0); },
        [&] { player.set_filter(random() % 2 == 0 ? uint32_t(PresenceSingleDataType) : 0xFFFFFFFF); },
        [&] { EXPECT_LE(player.get_position(), recording.duration); },
    };
    for (const steady_clock::time_point end = steady_clock::now() + milliseconds(500);
         steady_clock::now() < end;)
        changes[random() % 8]();
    done = true;
    reader.join();
    player.set_filter(0xFFFFFFFF);
    player.stop();
    player.set_position(0);
    player.set_playback_rate(-1);
    player.play();
    EXPECT_EQ(recording.packets[0], playback.next());
}

} // namespace
