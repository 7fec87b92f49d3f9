// What logging costs the threads that log: a message below the level, a passing line into an output that
// discards it, and a byte dump of a received chunk.
#include "AbstractLoggerIo.h"
#include "StdoutLogger.h"
#include "Trace.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

class NullIo : public Tervik::AbstractLoggerIo {
public:
    void log(const std::string& line) override { benchmark::DoNotOptimize(line.data()); }
};

void BM_FilteredLog(benchmark::State& state) {
    StdoutLogger logger(0, std::make_unique<NullIo>());
    const std::string text = "a message nobody reads";
    for (auto _ : state)
        logger.log(5, text);
}
BENCHMARK(BM_FilteredLog);

void BM_FilteredStream(benchmark::State& state) {
    StdoutLogger logger(0, std::make_unique<NullIo>());
    for (auto _ : state) {
        lstream stream = logger.slog(5);
        stream << "value " << 42;
        stream.flush();
    }
}
BENCHMARK(BM_FilteredStream);

void BM_FilteredTrace(benchmark::State& state) {
    StdoutLogger logger(0, std::make_unique<NullIo>());
    for (auto _ : state)
        Trace trace(logger, 3, "open");
}
BENCHMARK(BM_FilteredTrace);

void BM_PassingLineIntoNullOutput(benchmark::State& state) {
    StdoutLogger logger(-1, std::make_unique<NullIo>());
    const std::string text = "a message of ordinary length for the log";
    for (auto _ : state)
        logger.log(5, text);
}
BENCHMARK(BM_PassingLineIntoNullOutput);

void BM_PrintBytesOfOneKilobyte(benchmark::State& state) {
    StdoutLogger logger(-1, std::make_unique<NullIo>());
    const Bytes chunk(1024, 0x7d);
    for (auto _ : state)
        logger.print_bytes(5, chunk);
}
BENCHMARK(BM_PrintBytesOfOneKilobyte);

void BM_FilteredPrintBytes(benchmark::State& state) {
    StdoutLogger logger(0, std::make_unique<NullIo>());
    const Bytes chunk(1024, 0x7d);
    for (auto _ : state)
        logger.print_bytes(5, chunk);
}
BENCHMARK(BM_FilteredPrintBytes);

} // namespace
