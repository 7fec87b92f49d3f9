// Throughput of the frame parser on the three wire forms, each next to a memcpy of the same bytes. The stream
// is handed over in chunks of the size a read loop typically gets from the transport.
#include "protocol.h"

#include "Bytes.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>

namespace {

const size_t payload_size = 1024;
const size_t packets_per_stream = 1024;
const size_t chunk_size = 4096;
const uint32_t parser_buffer_size = 20000;

void append_to(unsigned char byte, void* user_data) {
    static_cast<Bytes*>(user_data)->push_back(byte);
}

Bytes random_payload(std::mt19937& random) {
    Bytes payload(payload_size);
    for (auto& byte : payload)
        byte = static_cast<unsigned char>(random());
    // A bare 0x51 at the head would announce a fast packet; four 0x7C in a row a no-escape packet.
    payload[0] = 0x50;
    for (size_t i = 3; i < payload.size(); ++i)
        if (payload[i] == 0x7C && payload[i - 1] == 0x7C && payload[i - 2] == 0x7C && payload[i - 3] == 0x7C)
            payload[i] = 0x00;
    return payload;
}

void append_le32(Bytes& stream, uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8)
        stream.push_back(static_cast<unsigned char>(value >> shift));
}

Bytes escaped_stream() {
    std::mt19937 random(1);
    Bytes stream;
    for (size_t i = 0; i < packets_per_stream; ++i) {
        const Bytes payload = random_payload(random);
        createCommand(payload.data(), static_cast<uint32_t>(payload.size()), append_to, &stream);
    }
    return stream;
}

Bytes fast_stream() {
    std::mt19937 random(2);
    Bytes stream;
    for (size_t i = 0; i < packets_per_stream; ++i) {
        const Bytes body = random_payload(random);
        stream.push_back(0x51);
        append_le32(stream, static_cast<uint32_t>(body.size()));
        stream.insert(stream.end(), body.begin(), body.end());
        stream.push_back(0x00);
    }
    return stream;
}

Bytes noescape_stream() {
    std::mt19937 random(3);
    Bytes stream;
    for (size_t i = 0; i < packets_per_stream; ++i) {
        const Bytes body = random_payload(random);
        append_le32(stream, KMS_FLAGSEQUENCE_START_NOESCAPE);
        append_le32(stream, static_cast<uint32_t>(body.size()));
        stream.push_back(0x00);
        stream.insert(stream.end(), body.begin(), body.end());
    }
    return stream;
}

void count_packet(void* user_data, const unsigned char* data, unsigned int length) {
    benchmark::DoNotOptimize(data);
    *static_cast<size_t*>(user_data) += length;
}

void count_error(void*, unsigned int) {}

void parse_stream(benchmark::State& state, const Bytes& stream) {
    Bytes buffer(parser_buffer_size);
    ApplicationProtocol instance;
    size_t delivered = 0;
    createApplicationProtocol(count_packet, count_error, &delivered, &instance, buffer.data(),
                              parser_buffer_size);
    int packets = 0;
    for (auto _ : state) {
        for (size_t at = 0; at < stream.size(); at += chunk_size) {
            const size_t length = std::min(chunk_size, stream.size() - at);
            packets += parseData(&instance, stream.data() + at, static_cast<uint32_t>(length));
        }
    }
    if (packets != static_cast<int>(packets_per_stream * state.iterations()))
        state.SkipWithError("packets were lost");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * stream.size()));
}

void copy_stream(benchmark::State& state, const Bytes& stream) {
    Bytes buffer(parser_buffer_size);
    for (auto _ : state) {
        for (size_t at = 0; at < stream.size(); at += chunk_size) {
            const size_t length = std::min(chunk_size, stream.size() - at);
            std::memcpy(buffer.data(), stream.data() + at, length);
            benchmark::ClobberMemory();
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * stream.size()));
}

void BM_ParseEscapedFrames(benchmark::State& state) {
    parse_stream(state, escaped_stream());
}
void BM_CopyEscapedFrames(benchmark::State& state) {
    copy_stream(state, escaped_stream());
}
void BM_ParseFastPackets(benchmark::State& state) {
    parse_stream(state, fast_stream());
}
void BM_CopyFastPackets(benchmark::State& state) {
    copy_stream(state, fast_stream());
}
void BM_ParseNoEscapePackets(benchmark::State& state) {
    parse_stream(state, noescape_stream());
}
void BM_CopyNoEscapePackets(benchmark::State& state) {
    copy_stream(state, noescape_stream());
}

} // namespace

BENCHMARK(BM_ParseEscapedFrames);
BENCHMARK(BM_CopyEscapedFrames);
BENCHMARK(BM_ParseFastPackets);
BENCHMARK(BM_CopyFastPackets);
BENCHMARK(BM_ParseNoEscapePackets);
BENCHMARK(BM_CopyNoEscapePackets);
