// What the device bridge adds to a command, and how fast baseband frames are read through it, with the module
// emulator on a pseudo-terminal as the module.
//
// BM_PingBareCommunicator is the floor: the communicator's own round trip with no RadarInterface above it.
// BM_PingThroughBridge is the same ping as a user sends it, through the bridge's guard, lock, trace, command
// builder and parser. BM_ReadBasebandIqStream reads 1000-bin I/Q frames as fast as the link brings them;
// BM_ReadBasebandIqQueued reads frames that are already queued, which is the cost of read_message_baseband_iq
// itself.
#include "AbstractLoggerIo.h"
#include "Commands.h"
#include "ConcreteFactory.h"
#include "DeviceBridge.h"
#include "ModuleEmulator.h"
#include "RadarCommunicator.h"
#include "RadarInterface.h"
#include "StdoutLogger.h"
#include "UartIo.h"
#include "UniqueLocked.h"
#include "protocol_identifiers.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <thread>

namespace {

class DiscardedLines : public Tervik::AbstractLoggerIo {
public:
    void log(const std::string&) override {}
};

const uint32_t bins = 1000;
const int frames_per_round = 200;

void put_u32(Bytes& packet, uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8)
        packet.push_back(static_cast<unsigned char>(value >> shift));
}

void put_float(Bytes& packet, float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof(bits));
    put_u32(packet, bits);
}

// An application packet of baseband I/Q data: head, counter, bin count, four floats of the frame's geometry,
// then the I and the Q values.
Bytes baseband_iq_packet(uint32_t frame_counter) {
    Bytes packet{0x50};
    put_u32(packet, KMS_ID_BASEBAND_IQ);
    put_u32(packet, frame_counter);
    put_u32(packet, bins);
    for (float geometry : {0.0064f, 23.328f, 7.29f, 0.2f})
        put_float(packet, geometry);
    for (uint32_t i = 0; i < 2 * bins; ++i)
        put_float(packet, 0.001f * static_cast<float>(i % 97));
    return packet;
}

// Reads one round of frames; the last record's bins go into a counter, which shows that whole records were
// read.
void read_round(benchmark::State& state, Tervik::LockedRadarInterfacePtr& radar) {
    Tervik::BasebandIqData record;
    for (int i = 0; i < frames_per_round; ++i)
        record = radar->read_message_baseband_iq();
    state.counters["bins"] = static_cast<double>(record.i_data.size() + record.q_data.size()) / 2;
}

// A bridge opened on an emulator of its own.
struct BridgeOnEmulator {
    ModuleEmulator emulator;
    Tervik::DeviceBridge bridge{emulator.device_path(), 0, new DiscardedLines};
    Tervik::LockedRadarInterfacePtr& radar = bridge.get_radar_interface();
};

void BM_PingBareCommunicator(benchmark::State& state) {
    ModuleEmulator emulator;
    StdoutLogger logger(0, new DiscardedLines);
    ConcreteFactory factory;
    UartIo io(logger, factory);
    std::unique_ptr<RadarCommunicator> communicator(new RadarCommunicator(io, factory, logger));
    if (communicator->open(emulator.device_path()) != 0) {
        state.SkipWithError("the link did not open");
        return;
    }
    Commands commands;
    const std::vector<Bytes> comparators{{KMS_SPR_PONG}, {KMS_SPR_ERROR}};
    for (auto _ : state)
        benchmark::DoNotOptimize(communicator->send(2, commands.create_ping(), comparators));
}
BENCHMARK(BM_PingBareCommunicator)->UseRealTime();

void BM_PingThroughBridge(benchmark::State& state) {
    BridgeOnEmulator link;
    for (auto _ : state)
        benchmark::DoNotOptimize(link.radar->ping());
}
BENCHMARK(BM_PingThroughBridge)->UseRealTime();

void BM_ReadBasebandIqStream(benchmark::State& state) {
    BridgeOnEmulator link;
    const Bytes packet = baseband_iq_packet(1);
    for (auto _ : state) {
        link.emulator.flood(ModuleEmulator::WireForm::frame, packet, frames_per_round);
        read_round(state, link.radar);
    }
    state.SetItemsProcessed(state.iterations() * frames_per_round);
    state.SetBytesProcessed(state.iterations() * frames_per_round * static_cast<int64_t>(packet.size()));
}
BENCHMARK(BM_ReadBasebandIqStream)->UseRealTime()->Unit(benchmark::kMillisecond);

void BM_ReadBasebandIqQueued(benchmark::State& state) {
    BridgeOnEmulator link;
    const Bytes packet = baseband_iq_packet(1);
    for (auto _ : state) {
        state.PauseTiming();
        link.emulator.flood(ModuleEmulator::WireForm::frame, packet, frames_per_round);
        while (link.radar->peek_message_baseband_iq() < frames_per_round)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        state.ResumeTiming();
        read_round(state, link.radar);
    }
    state.SetItemsProcessed(state.iterations() * frames_per_round);
}
BENCHMARK(BM_ReadBasebandIqQueued)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
