// What a facade adds to a command: a ping through each facade twin against RadarInterface::ping on the same
// bridge, with the module emulator on a pseudo-terminal.
//
// The facade's share is its lock and one call; the round trip under it (frame, write, the reader's and the
// dispatcher's threads, the reply) is the same for all cases of one bridge. BM_NativePing/0 is the plain
// bridge's RadarInterface called directly, without the lock, in its status form; /1 to /4 are the status
// facades G5N310, RCP, G7N420, G7N310. BM_PythonPing/0 is the Python bridge's RadarInterface, the throwing
// form; /1 to /4 are PyG5N310, PyRCP, PyG7N420, PyG7N310. The CPU column is the calling thread's time per
// call, which is where a facade spends its time; compare each case's median with the /0 of its twin.
//
// A ping's CPU time varies by more than a facade's share from one run to the next on a busy machine, so
// BM_FacadeShare measures that share alone, on a call that stays in the host: counting a queue's packets
// directly on the RadarInterface (/0), through the guard (/1), through G7N420 (/2) and through PyG7N420 (/3).
// The difference between /2 or /3 and /0, set against a ping's CPU time, is what a facade adds to a command.
#include "AbstractLoggerIo.h"
#include "DeviceBridge.h"
#include "ModuleEmulator.h"
#include "PythonDeviceBridge.h"
#include "RadarInterface.h"
#include "UniqueLocked.h"

#include "bench_scratch.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

namespace {

class DiscardedLines : public Tervik::AbstractLoggerIo {
public:
    void log(const std::string&) override {}
};

// Both bridges for the whole program, so that every case of a twin measures the same link. The Python
// bridge writes its debug file into the current directory, which is a scratch directory here.
struct Bridges {
    Bridges() {
        std::filesystem::current_path(scratch.path);
        python.reset(new Tervik::PythonDeviceBridge(python_module.device_path(), 0));
    }
    ~Bridges() {
        python.reset();
        std::filesystem::current_path(previous);
    }

    TemporaryDirectory scratch;
    const std::filesystem::path previous = std::filesystem::current_path();
    ModuleEmulator native_module;
    ModuleEmulator python_module;
    Tervik::DeviceBridge native{native_module.device_path(), 0, new DiscardedLines};
    std::unique_ptr<Tervik::PythonDeviceBridge> python;
};

Bridges& bridges() {
    static Bridges instance;
    return instance;
}

void BM_NativePing(benchmark::State& state) {
    Tervik::DeviceBridge& bridge = bridges().native;
    Tervik::RadarInterface& radar = *bridge.get_radar_interface().get();
    const std::vector<std::function<int(uint32_t*)>> pings = {
        [&](uint32_t* pong) { return radar.ping(pong); },
        [&](uint32_t* pong) { return bridge.get_g5n310().ping(pong); },
        [&](uint32_t* pong) { return bridge.get_rcp().ping(pong); },
        [&](uint32_t* pong) { return bridge.get_g7n420().ping(pong); },
        [&](uint32_t* pong) { return bridge.get_g7n310().ping(pong); },
    };
    const std::function<int(uint32_t*)>& ping = pings.at(state.range(0));
    uint32_t pong = 0;
    for (auto _ : state)
        if (ping(&pong) != 0) {
            state.SkipWithError("ping failed");
            break;
        }
}
BENCHMARK(BM_NativePing)->DenseRange(0, 4)->UseRealTime()->Repetitions(5)->ReportAggregatesOnly(true);

void BM_PythonPing(benchmark::State& state) {
    Tervik::PythonDeviceBridge& bridge = *bridges().python;
    Tervik::G5& radar = bridge.get_g5();
    const std::vector<std::function<uint32_t()>> pings = {
        [&] { return radar.ping(); },
        [&] { return bridge.get_g5n310().ping(); },
        [&] { return bridge.get_rcp().ping(); },
        [&] { return bridge.get_g7n420().ping(); },
        [&] { return bridge.get_g7n310().ping(); },
    };
    const std::function<uint32_t()>& ping = pings.at(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(ping());
}
BENCHMARK(BM_PythonPing)->DenseRange(0, 4)->UseRealTime()->Repetitions(5)->ReportAggregatesOnly(true);

void BM_FacadeShare(benchmark::State& state) {
    Tervik::DeviceBridge& native = bridges().native;
    Tervik::PythonDeviceBridge& python = *bridges().python;
    Tervik::RadarInterface& radar = *native.get_radar_interface().get();
    const std::vector<std::function<int()>> counts = {
        [&] { return radar.peek_message_presence_single(); },
        [&] { return native.get_radar_interface()->peek_message_presence_single(); },
        [&] { return native.get_g7n420().peek_message_presence_single(); },
        [&] { return python.get_g7n420().peek_message_presence_single(); },
    };
    const std::function<int()>& count = counts.at(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(count());
}
BENCHMARK(BM_FacadeShare)->DenseRange(0, 3)->Repetitions(5)->ReportAggregatesOnly(true);

} // namespace
