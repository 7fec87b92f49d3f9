// ping through the native RCP facade, as the C++ twin of the Python binding's PyRCP.ping, for
// python_binding_bench.py to compare against.
//
// With DEVICEBRIDGE_BENCH_DEVICE set, the module is that serial device (the emulator process the Python side
// uses too); otherwise a module emulator on a pseudo-terminal in this process.
#include "AbstractLoggerIo.h"
#include "DeviceBridge.h"
#include "ModuleEmulator.h"
#include "RCP.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace {

class DiscardedLines : public Tervik::AbstractLoggerIo {
public:
    void log(const std::string&) override {}
};

void BM_PingThroughRcpFacade(benchmark::State& state) {
    std::unique_ptr<ModuleEmulator> emulator;
    const char* device = std::getenv("DEVICEBRIDGE_BENCH_DEVICE");
    std::string name = device ? device : "";
    if (name.empty()) {
        emulator.reset(new ModuleEmulator());
        name = emulator->device_path();
    }
    Tervik::DeviceBridge bridge(name, 0, new DiscardedLines);
    Tervik::RCP rcp(bridge.get_radar_interface());
    uint32_t value = 0;
    for (auto _ : state) {
        if (rcp.ping(&value) != 0)
            state.SkipWithError("ping failed");
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(BM_PingThroughRcpFacade)->UseRealTime();

} // namespace
