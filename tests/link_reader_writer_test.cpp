// The writer's attempt loop and the reader's loop over a scripted transport: these cases are about how the
// two loops treat what a transport returns, which a real line cannot be made to return on demand.
#include "ActiveThread.h"
#include "ByteProtocol.h"
#include "ModuleIo.h"
#include "NoParseByteProtocol.h"
#include "Reader.h"
#include "Writer.h"
#include "link_log_capture.h"
#include "link_peer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <deque>

using namespace link_test;

namespace {

// Plays back a script of results; past its end a write takes everything and a read finds nothing.
class ScriptedTransport : public ModuleIo {
public:
    std::deque<int> write_results;
    std::deque<int> read_results;
    Bytes written;
    std::atomic<int> write_calls{0};
    std::atomic<int> read_calls{0};
    int open(const std::string&) override { return 0; }
    void set_baudrate(unsigned int) override {}
    int write(const unsigned char* buffer, unsigned int length) override {
        ++write_calls;
        const int result = std::min(next(write_results, static_cast<int>(length)), static_cast<int>(length));
        written.insert(written.end(), buffer, buffer + std::max(result, 0));
        return result;
    }
    int read(unsigned char*, unsigned int, unsigned int) override {
        ++read_calls;
        return next(read_results, 0);
    }

private:
    static int next(std::deque<int>& script, int otherwise) {
        if (script.empty()) {
            return otherwise;
        }
        const int result = script.front();
        script.pop_front();
        return result;
    }
};

const Bytes ten_bytes{0x7D, 1, 2, 3, 4, 5, 6, 7, 8, 0x7E};
const std::string failed = "Failed to write all bytes to module\n";
const std::string failed_line = "Failed to write all bytes to module, ";

} // namespace

// Only a write that takes nothing costs one of the three attempts; a failing write gives up at once; and a
// failure is not remembered, so the next command is tried as usual.
TEST(WriterLoop, AttemptsEndOnlyOnNothingWrittenOrAFailure) {
    struct Row {
        std::deque<int> results;
        std::string failure;
        int timeouts;
        int calls;
        std::string logged;
    };
    const std::vector<Row> rows = {
        {{3, 3, 3, 3}, "", 0, 4, "sent"},
        {{0, 5, 0, 5}, "", 2, 4, "sent"},
        {{4, 0, 0, 0}, failed, 3, 4, failed_line + "expected bytes written: 10, actual bytes written: 4"},
        {{-1}, failed, 0, 1, "expected bytes written: 10, actual bytes written: 0"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("transport returns " + std::to_string(row.results.front()) + " first");
        LogCapture log;
        ScriptedTransport transport;
        transport.write_results = row.results;
        Writer writer(log.logger(), transport, new ActiveThread("writer", log.logger()));
        const auto write = [&] { writer.write(ten_bytes); };
        EXPECT_EQ(row.failure, failure_of(write));
        EXPECT_EQ(row.timeouts, log.count("write to module timed out"));
        EXPECT_EQ(row.calls, transport.write_calls);
        EXPECT_TRUE(log.contains(row.logged));
        if (row.failure.empty()) {
            EXPECT_EQ(ten_bytes, transport.written);
        }
        EXPECT_EQ("", failure_of(write));
    }
}

// A failing read ends the loop for good; a quiet transport is polled until the reader is stopped, and a
// reader never started reads nothing. A loop that went on would call again at once, so a tenth of a second
// shows it even on a slow machine.
TEST(ReaderLoop, ReadsUntilStoppedOrTheLinkFails) {
    LogCapture log;
    const auto reader_on = [&](ScriptedTransport& transport) {
        return std::unique_ptr<Reader>(new Reader(log.logger(), transport,
                                                  new ActiveThread("reader", log.logger()),
                                                  new ByteProtocol(log.logger())));
    };
    ScriptedTransport dead, quiet, unused;
    std::atomic<int> packets{0};
    dead.read_results = {-1};
    std::unique_ptr<Reader> dead_reader = reader_on(dead);
    dead_reader->start([&](Bytes) { ++packets; });
    ASSERT_TRUE(log.wait_for("Reader is bailing out\n"));
    EXPECT_TRUE(log.contains("io_read() returned negative: \n"));
    std::unique_ptr<Reader> quiet_reader = reader_on(quiet);
    quiet_reader->start([](Bytes) {});
    ASSERT_TRUE(eventually([&] { return quiet.read_calls >= 100; }));
    quiet_reader.reset();
    reader_on(unused).reset();
    const int quiet_calls = quiet.read_calls;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(1, dead.read_calls);
    EXPECT_EQ(quiet_calls, quiet.read_calls);
    EXPECT_EQ(0, unused.read_calls);
    EXPECT_EQ(0, packets);
}

// Frames cut anywhere are joined; empty packets are dropped; only the first subscriber hears; each parser
// complaint is logged in its own words, and the next frame is still read.
TEST(Framing, DeliversWholePacketsToTheFirstSubscriberAndLogsParserErrors) {
    LogCapture log;
    ByteProtocol protocol(log.logger());
    std::vector<Bytes> first;
    int second = 0;
    protocol.subscribe(
        [&](const unsigned char* data, unsigned int length) { first.emplace_back(data, data + length); });
    protocol.subscribe([&](const unsigned char*, unsigned int) { ++second; });
    Bytes damaged = frame(Bytes{0x01, 0x02});
    damaged[damaged.size() - 2] ^= 0x01;
    Bytes stream;
    for (const Bytes& part : {frame(Bytes{}), frame(Bytes{0x7E, 0x11}), damaged, Bytes{0xAA, 0xBB},
                              frame(Bytes{0x22}), Bytes{0x7E}}) {
        stream.insert(stream.end(), part.begin(), part.end());
    }
    for (size_t at = 0; at < stream.size(); at += 3) {
        protocol.parse(stream.data() + at,
                       static_cast<unsigned int>(std::min<size_t>(3, stream.size() - at)));
    }
    EXPECT_EQ((std::vector<Bytes>{{0x7E, 0x11}, {0x22}}), first);
    EXPECT_EQ(0, second);
    for (const char* error : {"CRC error", "lost bytes", "incomplete packer"}) {
        EXPECT_TRUE(log.contains(std::string("Error parsing incoming data: ") + error)) << error;
    }
    const Bytes flood(ByteProtocol::buffer_size + 1, 0x00);
    protocol.parse(flood.data(), static_cast<unsigned int>(flood.size()));
    EXPECT_TRUE(log.contains("Error parsing incoming data: out of buffer"));
}

TEST(Framing, NoParseHandsOnChunksAsPackets) {
    LogCapture log;
    NoParseByteProtocol protocol(log.logger());
    std::vector<Bytes> packets;
    protocol.subscribe(
        [&](const unsigned char* data, unsigned int length) { packets.emplace_back(data, data + length); });
    const Bytes chunk{0x7D, 0x7E, 0x7F};
    protocol.parse(chunk.data(), 0);
    protocol.parse(chunk.data(), 3);
    EXPECT_EQ(std::vector<Bytes>{chunk}, packets);
}
