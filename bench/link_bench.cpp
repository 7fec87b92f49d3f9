// The link's two speeds: a command round trip over a pseudo-terminal and over loopback TCP (median and 99th
// percentile per run), and how many streamed packets per second reach a named queue that a consumer drains.
#include "ConcreteFactory.h"
#include "ModuleEmulator.h"
#include "RadarCommunicator.h"
#include "StdoutLogger.h"
#include "TcpIpFactory.h"
#include "UartIo.h"
#include "../tests/link_peer.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

using namespace link_test;

namespace {

class DiscardingLoggerIo : public Tervik::AbstractLoggerIo {
public:
    void log(const std::string&) override {}
};

struct Link {
    explicit Link(bool tcp)
        : logger(0, std::make_unique<DiscardingLoggerIo>()),
          peer(tcp ? Peer::tcp() : Peer::pseudo_terminal()) {
        factory.reset(tcp ? static_cast<AbstractFactory*>(new TcpIpFactory(peer->address(), peer->port()))
                          : new ConcreteFactory());
        io.reset(new UartIo(logger, *factory));
        communicator.reset(new RadarCommunicator(*io, *factory, logger));
        opened = communicator->open(tcp ? "tcp://127.0.0.1" : peer->device());
    }
    ~Link() {
        communicator.reset();
        io.reset();
    }

    StdoutLogger logger;
    std::unique_ptr<Peer> peer;
    std::unique_ptr<AbstractFactory> factory;
    std::unique_ptr<UartIo> io;
    std::unique_ptr<RadarCommunicator> communicator;
    int opened = -1;
};

double percentile(std::vector<double> values, double fraction) {
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, static_cast<size_t>(fraction * values.size()))];
}

// The ping is answered by the module emulator, as a user without hardware would run it.
void round_trip(benchmark::State& state, bool tcp) {
    ModuleEmulator emulator(tcp ? ModuleEmulator::Transport::tcp : ModuleEmulator::Transport::pty);
    StdoutLogger logger(0, std::make_unique<DiscardingLoggerIo>());
    std::unique_ptr<AbstractFactory> factory(tcp ? static_cast<AbstractFactory*>(new TcpIpFactory(
                                                       htonl(INADDR_LOOPBACK), htons(emulator.tcp_port())))
                                                 : new ConcreteFactory());
    UartIo io(logger, *factory);
    std::unique_ptr<RadarCommunicator> communicator(new RadarCommunicator(io, *factory, logger));
    if (communicator->open(tcp ? "tcp://127.0.0.1" : emulator.device_path()) != 0 ||
        !emulator.wait_for_connections(1, std::chrono::seconds(2))) {
        state.SkipWithError("link did not open");
        return;
    }
    const Bytes ping = frame(ping_payload());
    const Bytes comparator{0x01};
    std::vector<double> microseconds;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(communicator->send(2, ping, comparator));
        microseconds.push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
    }
    state.counters["median_us"] = percentile(microseconds, 0.5);
    state.counters["p99_us"] = percentile(microseconds, 0.99);
    communicator.reset();
}

void BM_RoundTripPseudoTerminal(benchmark::State& state) {
    round_trip(state, false);
}
void BM_RoundTripTcp(benchmark::State& state) {
    round_trip(state, true);
}

const uint32_t end_marker = 0xFFFFFFFF;

Bytes application_frame(unsigned int size, uint32_t counter) {
    Bytes payload = data_payload(counter);
    payload.resize(size, 0x33);
    return frame(payload);
}

// Takes packets until the end marker, counting as it goes, which is never the one dropped: a full queue drops
// its oldest packet.
int drain(RadarCommunicator& communicator, std::atomic<int>* progress = nullptr) {
    int taken = 0;
    while (counter_of(communicator.get_packet("stream")) != end_marker) {
        ++taken;
        if (progress != nullptr) {
            progress->store(taken, std::memory_order_relaxed);
        }
    }
    return taken;
}

// The packets come from the benchmark's own socket peer, written as one flood, so that the link rather than
// a rate control sets the pace.
void BM_StreamTcp(benchmark::State& state) {
    const unsigned int size = static_cast<unsigned int>(state.range(0));
    const int packets = static_cast<int>(state.range(1));
    Link link(true);
    if (link.opened != 0) {
        state.SkipWithError("link did not open");
        return;
    }
    link.communicator->subscribe("stream", Bytes{0x50});
    // Runs after "stream" for each packet: counts what reached the queue, whatever the consumer keeps up
    // with.
    std::atomic<int> arrived{0};
    link.communicator->subscribe(
        "zz-count", [&](Bytes) { return ++arrived, true; }, Bytes{0x50});
    Bytes flood;
    for (int counter = 0; counter < packets; ++counter) {
        const Bytes one = application_frame(size, counter);
        flood.insert(flood.end(), one.begin(), one.end());
    }
    int taken_total = 0;
    for (auto _ : state) {
        int taken = 0;
        std::thread consumer([&] { taken = drain(*link.communicator); });
        link.peer->write_raw(flood);
        link.peer->write_raw(application_frame(size, end_marker));
        consumer.join();
        taken_total += taken;
    }
    const int sent = static_cast<int>(state.iterations()) * packets;
    // The end marker of each round arrives too.
    state.counters["lost_before_queue"] = sent - (arrived - static_cast<int>(state.iterations()));
    state.counters["dropped_by_full_queue"] = sent - taken_total;
    state.SetItemsProcessed(state.iterations() * packets);
    state.SetBytesProcessed(state.iterations() * packets * size);
}

// The same stream written in bursts of 250 packets, each only once the consumer's backlog is under 500: the
// rate at which a consumer that takes one packet per call keeps everything, none dropped by the full queue.
void BM_StreamTcpDrainedWithoutDrops(benchmark::State& state) {
    const unsigned int size = static_cast<unsigned int>(state.range(0));
    const int packets = static_cast<int>(state.range(1));
    const int burst = 250;
    Link link(true);
    if (link.opened != 0) {
        state.SkipWithError("link did not open");
        return;
    }
    link.communicator->subscribe("stream", Bytes{0x50});
    Bytes flood;
    for (int counter = 0; counter < burst; ++counter) {
        const Bytes one = application_frame(size, counter);
        flood.insert(flood.end(), one.begin(), one.end());
    }
    int dropped = 0;
    for (auto _ : state) {
        std::atomic<int> progress{0};
        int taken = 0;
        std::thread consumer([&] { taken = drain(*link.communicator, &progress); });
        for (int sent = 0; sent < packets; sent += burst) {
            while (sent - progress.load(std::memory_order_relaxed) > 2 * burst) {
                std::this_thread::yield();
            }
            link.peer->write_raw(flood);
        }
        link.peer->write_raw(application_frame(size, end_marker));
        consumer.join();
        dropped += packets - taken;
    }
    state.SetItemsProcessed(state.iterations() * packets);
    state.counters["dropped_by_full_queue"] = dropped;
}

} // namespace

BENCHMARK(BM_RoundTripPseudoTerminal)->Iterations(5000)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_RoundTripTcp)->Iterations(5000)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_StreamTcp)
    ->Args({100, 100000})
    ->Args({1000, 20000})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_StreamTcpDrainedWithoutDrops)
    ->Args({100, 100000})
    ->Args({1000, 20000})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
