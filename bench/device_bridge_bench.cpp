// What the device bridge adds to a command, and how fast baseband frames are read through it, with the module
// emulator on a pseudo-terminal as the module.
//
// BM_PingBareCommunicator is the floor: the communicator's own round trip with no RadarInterface above it.
// BM_PingThroughBridge is the same ping as a user sends it, through the bridge's guard, lock, trace, command
// builder and parser. BM_ReadBasebandIqStream reads 1000-bin I/Q frames as fast as the link brings them;
// BM_ReadBasebandIqQueued reads frames that are already queued, which is the cost of read_message_baseband_iq
// itself.
//
// A module that goes away and comes back, over the pseudo-terminal (/0) and loopback TCP (/1):
// BM_CpuWhileModuleGone measures, while the bridge stays open on a module that has gone, the share of one
// core that the whole process uses ("cpu_percent", one second of wall time per iteration);
// BM_CpuWhileModuleQuiet is the same with the module there and silent, the floor; BM_CpuWhileHostGone is the
// emulator streaming on with no host. BM_OpenToFirstPacket is the time from open() on the bridge, after
// close(), to the first streamed packet of a module that has come back (a new pseudo-terminal, or the same
// TCP port).
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

#include "../tests/support/ProcessCpu.h"

#include <benchmark/benchmark.h>

#include <arpa/inet.h>

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
    StdoutLogger logger(0, std::make_unique<DiscardedLines>());
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

typedef ModuleEmulator::Transport Transport;

// A bridge on a module that can go away and be replaced, on the same TCP port or on a new pseudo-terminal.
struct ReplaceableModule {
    explicit ReplaceableModule(const benchmark::State& state)
        : transport(state.range(0) ? Transport::tcp : Transport::pty),
          emulator(new ModuleEmulator(transport)), port(emulator->tcp_port()),
          bridge(transport == Transport::tcp
                     ? new Tervik::DeviceBridge(inet_addr("127.0.0.1"), htons(port), 0, new DiscardedLines)
                     : new Tervik::DeviceBridge(emulator->device_path(), 0, new DiscardedLines)) {}

    std::string device() const {
        return transport == Transport::tcp ? "tcp://127.0.0.1:" + std::to_string(port)
                                           : emulator->device_path();
    }
    // False when no packet came within ten seconds.
    bool streaming(double rate_hz) {
        emulator->start_stream(ModuleEmulator::StreamKind::presence_single, rate_hz);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (bridge->get_radar_interface()->peek_message_presence_single() == 0) {
            if (std::chrono::steady_clock::now() > deadline)
                return false;
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        return true;
    }

    Transport transport;
    std::unique_ptr<ModuleEmulator> emulator;
    uint16_t port;
    std::unique_ptr<Tervik::DeviceBridge> bridge;
};

enum class Gone { module, nothing, host };

void cpu_share(benchmark::State& state, Gone gone) {
    ReplaceableModule link(state);
    if (!link.streaming(100)) {
        state.SkipWithError("nothing streamed");
        return;
    }
    if (gone == Gone::module)
        link.emulator.reset();
    else if (gone == Gone::host)
        link.bridge.reset();
    else
        link.emulator->stop_streams();
    // The loss is seen within a poll period; what follows is the steady state.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    double percent = 0;
    for (auto _ : state)
        percent += 100 * cpu_share_over(std::chrono::seconds(1));
    state.counters["cpu_percent"] = percent / static_cast<double>(state.iterations());
}

void BM_CpuWhileModuleGone(benchmark::State& state) {
    cpu_share(state, Gone::module);
}
BENCHMARK(BM_CpuWhileModuleGone)->Arg(0)->Arg(1)->Iterations(3)->UseRealTime()->Unit(benchmark::kMillisecond);

void BM_CpuWhileModuleQuiet(benchmark::State& state) {
    cpu_share(state, Gone::nothing);
}
BENCHMARK(BM_CpuWhileModuleQuiet)
    ->Arg(0)
    ->Arg(1)
    ->Iterations(3)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

void BM_CpuWhileHostGone(benchmark::State& state) {
    cpu_share(state, Gone::host);
}
BENCHMARK(BM_CpuWhileHostGone)->Arg(0)->Arg(1)->Iterations(3)->UseRealTime()->Unit(benchmark::kMillisecond);

// Each round: the module goes, a new one comes, the bridge is closed; open() and the first packet are timed.
// The new module streams from the moment the host has opened it.
void BM_OpenToFirstPacket(benchmark::State& state) {
    ReplaceableModule link(state);
    for (auto _ : state) {
        link.emulator.reset();
        link.emulator.reset(new ModuleEmulator(link.transport, link.port));
        link.bridge->close();
        const auto start = std::chrono::steady_clock::now();
        if (link.bridge->open(link.device()) != 0 || !link.streaming(1000)) {
            state.SkipWithError("the module did not come back");
            return;
        }
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
}
BENCHMARK(BM_OpenToFirstPacket)
    ->Arg(0)
    ->Arg(1)
    ->Iterations(20)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
