// The writer's attempt loop and the reader's loop, over a scripted transport: these cases are about how the
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

// Plays back a script of results for write and read; past its end a write takes everything and a read
// finds nothing.
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
        int result = static_cast<int>(length);
        if (!write_results.empty()) {
            result = std::min(write_results.front(), static_cast<int>(length));
            write_results.pop_front();
        }
        if (result > 0) {
            written.insert(written.end(), buffer, buffer + result);
        }
        return result;
    }
    int read(unsigned char*, unsigned int, unsigned int) override {
        ++read_calls;
        std::lock_guard<std::mutex> lock(mutex_);
        if (read_results.empty()) {
            return 0;
        }
        const int result = read_results.front();
        read_results.pop_front();
        return result;
    }

private:
    std::mutex mutex_;
};

struct WriterFixture : public ::testing::Test {
    LogCapture log;
    ScriptedTransport transport;
    Writer writer{log.logger(), transport, new ActiveThread("writer", log.logger())};

    std::string failure_of(const Bytes& bytes) {
        try {
            writer.write(bytes);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "";
    }
};

bool eventually_reads(const ScriptedTransport& transport, int calls) {
    for (int waited = 0; waited < 3000 && transport.read_calls < calls; waited += 2) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return transport.read_calls >= calls;
}

const Bytes ten_bytes{0x7D, 1, 2, 3, 4, 5, 6, 7, 8, 0x7E};

} // namespace

TEST_F(WriterFixture, PartialWritesCostNoAttempt) {
    transport.write_results = {3, 3, 3, 3};
    EXPECT_EQ("", failure_of(ten_bytes));
    EXPECT_EQ(4, transport.write_calls);
    EXPECT_EQ(ten_bytes, transport.written);
    EXPECT_FALSE(log.contains("write to module timed out"));
    EXPECT_TRUE(log.contains("sent"));
}

TEST_F(WriterFixture, ThreeWritesOfNothingFail) {
    transport.write_results = {4, 0, 0, 0};
    EXPECT_EQ("Failed to write all bytes to module\n", failure_of(ten_bytes));
    EXPECT_EQ(3, log.count("write to module timed out"));
    EXPECT_TRUE(log.contains(
        "Failed to write all bytes to module, expected bytes written: 10, actual bytes written: 4"));
    // The failure is not remembered: the next command is tried as usual.
    EXPECT_EQ("", failure_of(ten_bytes));
}

TEST_F(WriterFixture, ZeroBetweenPartialWritesIsForgiven) {
    transport.write_results = {0, 5, 0, 5};
    EXPECT_EQ("", failure_of(ten_bytes));
    EXPECT_EQ(2, log.count("write to module timed out"));
}

TEST_F(WriterFixture, AFailingWriteGivesUpAtOnce) {
    transport.write_results = {-1};
    EXPECT_EQ("Failed to write all bytes to module\n", failure_of(ten_bytes));
    EXPECT_EQ(1, transport.write_calls);
    EXPECT_FALSE(log.contains("write to module timed out"));
    EXPECT_TRUE(log.contains("expected bytes written: 10, actual bytes written: 0"));
}

TEST(ReaderLoop, DeadLinkEndsTheLoopButNotTheThread) {
    LogCapture log;
    ScriptedTransport transport;
    transport.read_results = {-1};
    std::atomic<int> packets{0};
    {
        Reader reader(log.logger(), transport, new ActiveThread("reader", log.logger()),
                      new ByteProtocol(log.logger()));
        reader.start([&](Bytes) { ++packets; });
        ASSERT_TRUE(log.wait_for("Reader is bailing out\n"));
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        EXPECT_EQ(1, transport.read_calls);
    }
    EXPECT_TRUE(log.contains("io_read() returned negative: \n"));
    EXPECT_EQ(0, packets);
}

TEST(ReaderLoop, AQuietTransportIsPolledUntilStopped) {
    LogCapture log;
    ScriptedTransport transport;
    {
        Reader reader(log.logger(), transport, new ActiveThread("reader", log.logger()),
                      new ByteProtocol(log.logger()));
        reader.start([](Bytes) {});
        ASSERT_TRUE(eventually_reads(transport, 100));
    }
    const int calls_after_stop = transport.read_calls;
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(calls_after_stop, transport.read_calls);
}

TEST(ReaderLoop, AReaderNeverStartedReadsNothing) {
    LogCapture log;
    ScriptedTransport transport;
    {
        Reader reader(log.logger(), transport, new ActiveThread("reader", log.logger()),
                      new ByteProtocol(log.logger()));
    }
    EXPECT_EQ(0, transport.read_calls);
}

TEST(Framing, OnlyTheFirstSubscriberHearsAndEmptyPacketsAreDropped) {
    LogCapture log;
    ByteProtocol protocol(log.logger());
    std::vector<Bytes> first;
    int second = 0;
    protocol.subscribe(
        [&](const unsigned char* data, unsigned int length) { first.emplace_back(data, data + length); });
    protocol.subscribe([&](const unsigned char*, unsigned int) { ++second; });
    const Bytes stream = concat(concat(frame(Bytes{}), frame(Bytes{0x7E, 0x11})), frame(Bytes{0x22}));
    // Fed in pieces of 3 bytes: frames may be cut anywhere, also between an escape and its byte.
    for (size_t at = 0; at < stream.size(); at += 3) {
        protocol.parse(stream.data() + at,
                       static_cast<unsigned int>(std::min<size_t>(3, stream.size() - at)));
    }
    ASSERT_EQ(2u, first.size());
    EXPECT_EQ((Bytes{0x7E, 0x11}), first[0]);
    EXPECT_EQ((Bytes{0x22}), first[1]);
    EXPECT_EQ(0, second);
}

TEST(Framing, ParserErrorsAreLoggedInTheirOwnWords) {
    LogCapture log;
    ByteProtocol protocol(log.logger());
    int packets = 0;
    protocol.subscribe([&](const unsigned char*, unsigned int) { ++packets; });
    Bytes damaged = frame(Bytes{0x01, 0x02});
    damaged[damaged.size() - 2] ^= 0x01;
    const Bytes stream = concat(concat(concat(damaged, Bytes{0xAA, 0xBB}), frame(Bytes{0x05})), Bytes{0x7E});
    protocol.parse(stream.data(), static_cast<unsigned int>(stream.size()));
    EXPECT_EQ(1, packets);
    EXPECT_TRUE(log.contains("Error parsing incoming data: CRC error"));
    EXPECT_TRUE(log.contains("Error parsing incoming data: lost bytes"));
    EXPECT_TRUE(log.contains("Error parsing incoming data: incomplete packer"));
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
    ASSERT_EQ(1u, packets.size());
    EXPECT_EQ(chunk, packets[0]);
}
