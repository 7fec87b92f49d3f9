// The frame codec: frames as written byte for byte, and the reading state machine on every wire form,
// every error and every chunking.
#include "protocol.h"

#include "Bytes.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
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
    int feed_split(const Bytes& stream, const std::vector<size_t>& cuts) {
        int total = 0;
        size_t begin = 0;
        std::vector<size_t> ends = cuts;
        ends.push_back(stream.size());
        for (size_t end : ends) {
            total += feed(Bytes(stream.begin() + begin, stream.begin() + end));
            begin = end;
        }
        return total;
    }

    const Events& events() const { return events_; }
    const ApplicationProtocol& state() const { return *instance_; }
    // The byte past the buffer must never be written.
    bool guard_intact() const { return buffer_[size_] == 0xEE; }

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

// ------------------------------------------------------------------------------------------------ writing

TEST(FrameWriting, WorkedExamplesByteForByte) {
    EXPECT_EQ((Bytes{0x7D, 0x01, 0xAE, 0xEA, 0xAA, 0xEE, 0x7C, 0x7E}),
              framed({0x01, 0xAE, 0xEA, 0xAA, 0xEE}));
    EXPECT_EQ((Bytes{0x7D, 0x03, 0x7F, 0x7E, 0x7E}), framed({0x03}));
    EXPECT_EQ((Bytes{0x7D, 0x7F, 0x7D, 0x00, 0x7E}), framed({0x7D}));
    EXPECT_EQ((Bytes{0x7D, 0x7F, 0x7D, 0x7E}), framed({}));
}

TEST(FrameWriting, FieldsAreLittleEndianAndEscapedByteByByte) {
    Bytes out;
    packet_start(append_to, &out);
    EXPECT_EQ(0x7D, crc_);
    process_int(-2, append_to, &out);
    process_uint(0x7F7E7D01u, append_to, &out);
    process_float(1.0f, append_to, &out);
    const int32_t ints[] = {1, 0x100};
    process_ints(ints, 2, append_to, &out);
    const float floats[] = {-2.0f};
    process_floats(floats, 1, append_to, &out);
    process_bytes(nullptr, 0, append_to, &out);
    const Bytes values = {0xFE, 0xFF, 0xFF, 0xFF, 0x01, 0x7D, 0x7E, 0x7F, 0x00, 0x00, 0x80, 0x3F,
                          0x01, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0xC0};
    Bytes wire = {0x7D};
    unsigned char checksum = 0x7D;
    for (unsigned char value : values) {
        if (value >= 0x7D && value <= 0x7F)
            wire.push_back(0x7F);
        wire.push_back(value);
        checksum ^= value;
    }
    EXPECT_EQ(wire, out);
    EXPECT_EQ(checksum, crc_);
}

TEST(FrameWriting, OnlyTheThreeFlagsAreSpecial) {
    for (int byte = 0; byte < 256; ++byte)
        EXPECT_EQ(byte >= 0x7D && byte <= 0x7F, isSpecialByte(static_cast<unsigned char>(byte)) != 0) << byte;
}

// ------------------------------------------------------------------------------------- escaped frames

TEST(FrameReading, EveryWrittenFrameReadsBack) {
    std::mt19937 random(7);
    Parser parser(300);
    Bytes stream;
    std::vector<std::string> expected;
    for (int value = 0; value < 256; ++value) {
        // A lone 0x51 is the fast packet's mark, so it rides behind another byte.
        const Bytes payload = value == 0x51 ? Bytes{0x00, 0x51} : Bytes{static_cast<unsigned char>(value)};
        stream = stream + framed(payload);
        expected.push_back(text(payload));
    }
    for (int round = 0; round < 50; ++round) {
        Bytes payload(1 + random() % 280);
        for (auto& byte : payload)
            byte = static_cast<unsigned char>(random() % 0x7C); // no sync word, no fast mark at the head
        payload[0] = 0x01;
        stream = stream + framed(payload);
        expected.push_back(text(payload));
    }
    EXPECT_EQ(static_cast<int>(expected.size()), parser.feed(stream));
    EXPECT_EQ(expected, parser.events());
    EXPECT_TRUE(parser.guard_intact());
}

TEST(FrameReading, ChecksumOnlyFrameIsAnEmptyPacket) {
    Parser parser;
    EXPECT_EQ(1, parser.feed({0x7D, 0x7F, 0x7D, 0x7E}));
    EXPECT_EQ(Events{""}, parser.events());
}

TEST(FrameReading, ErrorCodesAndRecoveryWithinOneChunk) {
    const Bytes ping = framed({0x01, 0xAE, 0xEA, 0xAA, 0xEE});
    Parser parser;
    // Lone end flags: code 3 each, nothing else changes.
    EXPECT_EQ(0, parser.feed({0x7E, 0x7E}));
    EXPECT_EQ((Events{"E3", "E3"}), parser.events());
    EXPECT_EQ(0u, parser.state().count);

    // Bytes before a start flag: code 2, then the frame is read.
    Parser stray;
    EXPECT_EQ(1, stray.feed(Bytes{0xAA, 0xBB} + ping));
    EXPECT_EQ((Events{"E2", text({0x01, 0xAE, 0xEA, 0xAA, 0xEE})}), stray.events());

    // Without a start flag the stray bytes are a frame: wrong checksum is code 1, right one delivers.
    Parser wrong;
    EXPECT_EQ(1, wrong.feed(Bytes{0xAA, 0xBB, 0x7E} + ping));
    EXPECT_EQ((Events{"E1", text({0x01, 0xAE, 0xEA, 0xAA, 0xEE})}), wrong.events());
    Parser right;
    EXPECT_EQ(1, right.feed({0xAA, 0xBB, static_cast<unsigned char>(0x7D ^ 0xAA ^ 0xBB), 0x7E}));
    EXPECT_EQ((Events{text({0xAA, 0xBB})}), right.events());

    // A damaged frame costs that frame only.
    Bytes damaged = ping;
    damaged[2] ^= 0x01;
    Parser recovering;
    EXPECT_EQ(2, recovering.feed(ping + damaged + ping));
    EXPECT_EQ(3u, recovering.events().size());
    EXPECT_EQ("E1", recovering.events()[1]);
}

TEST(FrameReading, EscapeMakesAnyNextByteDataAndABareQAtTheHeadStartsAFastPacket) {
    Parser escaped;
    EXPECT_EQ(1, escaped.feed({0x7D, 0x7F, 0x51, 0x7D ^ 0x51, 0x7E}));
    EXPECT_EQ(Events{"Q"}, escaped.events());
    // An escape before an ordinary byte is spent on it, and the end flag after it still ends the frame.
    EXPECT_EQ(1, escaped.feed({0x7D, 0x41, 0x7F, 0x44, 0x7D ^ 0x41 ^ 0x44, 0x7E}));
    EXPECT_EQ((Events{"Q", "AD"}), escaped.events());

    Parser bare;
    EXPECT_EQ(1, bare.feed(Bytes{0x7D} + fast_packet({0x7E, 0x7D, 0x7F})));
    EXPECT_EQ(Events{text(Bytes{0x51} + le32(3) + Bytes{0x7E, 0x7D, 0x7F})}, bare.events());
}

// ----------------------------------------------------------------------------------------- fast packets

TEST(FastPackets, DeliverMarkLengthAndBodyButNotTheTrailingByte) {
    Parser parser;
    EXPECT_EQ(2, parser.feed(fast_packet({}) + fast_packet({1, 2, 3})));
    EXPECT_EQ((Events{text({0x51, 0, 0, 0, 0}), text(Bytes{0x51} + le32(3) + Bytes{1, 2, 3})}),
              parser.events());
}

TEST(FastPackets, LengthFieldWrapsAtFiveStoredBytes) {
    Parser parser;
    EXPECT_EQ(1, parser.feed({0x51, 0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ((Events{text({0x51, 0xFF, 0xFF, 0xFF})}), parser.events());
}

TEST(FastPackets, LongerThanTheBufferOverflowsAndTheRestIsReadAsStream) {
    Parser parser(16);
    const Bytes ping = framed({0x01, 0xAE, 0xEA, 0xAA, 0xEE});
    EXPECT_EQ(-1, parser.feed(fast_packet(Bytes(11, 0x11))));
    EXPECT_EQ(Events{"E4"}, parser.events());
    EXPECT_EQ(0u, parser.state().count);
    EXPECT_EQ(0, parser.state().fast_mode);
    // What comes after the overflow is an ordinary stream again.
    EXPECT_EQ(1, parser.feed(Bytes{0x11, 0x7E} + ping));
    EXPECT_EQ((Events{"E4", "E1", text({0x01, 0xAE, 0xEA, 0xAA, 0xEE})}), parser.events());
}

// ------------------------------------------------------------------------------------ no-escape packets

TEST(NoEscapePackets, DeliverTheBodyOnly) {
    Parser parser;
    EXPECT_EQ(2, parser.feed(noescape_packet({0x7D, 0x7E, 0x7F, 0x7C}) + noescape_packet({})));
    EXPECT_EQ((Events{text({0x7D, 0x7E, 0x7F, 0x7C}), ""}), parser.events());
}

TEST(NoEscapePackets, SyncWordInsideAFrameBodyStartsAPacketSilently) {
    Parser parser;
    const Bytes body = {0x01, 0x02};
    // An escape in the midst of the sync word is dropped before the test.
    EXPECT_EQ(1, parser.feed(Bytes{0x7D, 0x10, 0x7C, 0x7C, 0x7F, 0x7C, 0x7C} + le32(2) + Bytes{0x00} + body));
    EXPECT_EQ(Events{text(body)}, parser.events());

    // A frame that begins with an escaped start flag keeps its 7C bytes.
    Parser keeps;
    const Bytes payload = {0x7D, 0x7C, 0x7C, 0x7C, 0x7C};
    EXPECT_EQ(1, keeps.feed(framed(payload)));
    EXPECT_EQ(Events{text(payload)}, keeps.events());
}

TEST(NoEscapePackets, LengthThatWrapsIsRejectedAsTooLarge) {
    // A length of 0xFFFFFFFF would otherwise be handed out at four stored bytes.
    Parser parser;
    EXPECT_EQ(-1, parser.feed(Bytes{0x7C, 0x7C, 0x7C, 0x7C} + le32(0xFFFFFFFF) + Bytes{0xAA}));
    EXPECT_EQ(Events{"E4"}, parser.events());
    EXPECT_EQ(0u, parser.state().noescape_mode);
    EXPECT_EQ(1, parser.feed(framed({0x01})));
}

// ------------------------------------------------------------------------------------------ buffer full

TEST(BufferFull, ReportedBeforeTheNextByteAndTheRestOfTheChunkDropped) {
    const Bytes payload = {1, 2, 3, 4, 5};
    Parser parser(6); // payload and checksum fit; the end flag finds the buffer full
    EXPECT_EQ(-1, parser.feed(framed({9}) + framed(payload) + framed({9})));
    EXPECT_EQ((Events{text({9}), "E4"}), parser.events());
    EXPECT_EQ(0, parser.state().escape_pending);

    Parser enough(7);
    EXPECT_EQ(1, enough.feed(framed(payload)));
    EXPECT_TRUE(enough.guard_intact());
}

TEST(BufferFull, FilledByTheLastByteOfAChunkIsReportedByTheNextNonEmptyCall) {
    Parser parser(4);
    EXPECT_EQ(0, parser.feed({0x7D, 1, 2, 3, 4}));
    EXPECT_TRUE(parser.events().empty());
    EXPECT_EQ(0, parser.feed({}));
    EXPECT_TRUE(parser.events().empty());
    EXPECT_EQ(-1, parser.feed({0x7E}));
    EXPECT_EQ(Events{"E4"}, parser.events());
    EXPECT_TRUE(parser.guard_intact());
}

TEST(BufferFull, PacketsExactlyAsLargeAsTheBufferAreDelivered) {
    Parser fast(9);
    EXPECT_EQ(2, fast.feed(fast_packet({1, 2, 3}) + fast_packet({4, 5, 6})));
    Parser noescape(7);
    EXPECT_EQ(2, noescape.feed(noescape_packet({1, 2}) + noescape_packet({3, 4})));
    EXPECT_TRUE(fast.guard_intact());
    EXPECT_TRUE(noescape.guard_intact());
}

TEST(BufferFull, ZeroSizedBufferReportsWithoutTouchingMemory) {
    ApplicationProtocol instance;
    int errors = 0;
    createApplicationProtocol(
        nullptr, [](void* user_data, unsigned int) { ++*static_cast<int*>(user_data); }, &errors, &instance,
        nullptr, 0);
    const Bytes frame = framed({1});
    EXPECT_EQ(-1, parseData(&instance, frame.data(), static_cast<uint32_t>(frame.size())));
    EXPECT_EQ(1, errors);
}

// ------------------------------------------------------------------------------------------- chunking

TEST(Chunking, EverySplitGivesTheSameCallbacks) {
    const Bytes stream = framed({0x01, 0x7D, 0x7E, 0x7F, 0x02}) + Bytes{0x7E, 0xAA} + framed({0x03}) +
                         fast_packet({0x7D, 0x7F}) + Bytes{0x10} + noescape_packet({0x7E, 0x7C}) +
                         Bytes{0x20, 0x7E} + framed({0x7D, 0x7C, 0x7C, 0x7C, 0x7C});
    Parser whole;
    const int delivered = whole.feed(stream);
    ASSERT_EQ(5, delivered);
    ASSERT_EQ(8u, whole.events().size());

    for (size_t cut = 1; cut < stream.size(); ++cut) {
        Parser split;
        EXPECT_EQ(delivered, split.feed_split(stream, {cut})) << "cut at " << cut;
        EXPECT_EQ(whole.events(), split.events()) << "cut at " << cut;
        for (size_t second = cut + 1; second < stream.size(); second += 3) {
            Parser three;
            three.feed_split(stream, {cut, second});
            EXPECT_EQ(whole.events(), three.events()) << "cuts at " << cut << ", " << second;
        }
    }
    std::vector<size_t> every;
    for (size_t cut = 1; cut < stream.size(); ++cut)
        every.push_back(cut);
    Parser bytewise;
    EXPECT_EQ(delivered, bytewise.feed_split(stream, every));
    EXPECT_EQ(whole.events(), bytewise.events());
}

} // namespace
