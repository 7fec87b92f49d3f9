// What a call through the C interface costs next to the C++ one: BM_CReadBasebandIqQueued reads 1000-bin
// I/Q frames that are already queued with dba_read_message_baseband_iq into the caller's arrays, as a C
// program or a numerical environment does. Compare with BM_ReadBasebandIqQueued of device_bridge_bench (the
// C++ read_message_baseband_iq on the same queue); bench/c_interface_ctypes.py measures the call through
// ctypes.
#include "ModuleEmulator.h"
#include "SamplePackets.h"
#include "matlab_wrapper.h"
#include "protocol_identifiers.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <thread>
#include <vector>

namespace {

const uint32_t bins = 1000;
const int frames_per_round = 200;

void BM_CReadBasebandIqQueued(benchmark::State& state) {
    ModuleEmulator emulator;
    DeviceBridge* bridge = dba_create_device_bridge(emulator.device_path().c_str(), 0);
    if (!bridge) {
        state.SkipWithError("the link did not open");
        return;
    }
    G5_Type* g5 = dba_get_g5(bridge);
    const Bytes packet = SamplePackets::baseband_packet(
        KMS_ID_BASEBAND_IQ, 1, SamplePackets::Floats(bins, 0.5f), SamplePackets::Floats(bins, -0.5f));
    std::vector<float> i_data(bins), q_data(bins);
    uint32_t frame_counter = 0, num_bins = 0;
    float bin_length = 0, sample_frequency = 0, carrier_frequency = 0, range_offset = 0;
    for (auto _ : state) {
        state.PauseTiming();
        emulator.flood(ModuleEmulator::WireForm::frame, packet, frames_per_round);
        while (dba_peek_message_baseband_iq(g5) < frames_per_round)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        state.ResumeTiming();
        for (int i = 0; i < frames_per_round; ++i)
            dba_read_message_baseband_iq(g5, &frame_counter, &num_bins, &bin_length, &sample_frequency,
                                         &carrier_frequency, &range_offset, i_data.data(), q_data.data());
    }
    state.counters["bins"] = num_bins;
    state.SetItemsProcessed(state.iterations() * frames_per_round);
    dba_destroy_G5_interface(g5);
    dba_destroy_device_bridge(bridge);
}
BENCHMARK(BM_CReadBasebandIqQueued)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
