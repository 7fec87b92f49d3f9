// The logger of a connection: filters by level and formats "<seconds since start> : <text>"; where the lines
// go is the business of its AbstractLoggerIo. There is no logging thread: each line is written on the
// caller's thread.
#ifndef DEVICEBRIDGE_STDOUTLOGGER_H
#define DEVICEBRIDGE_STDOUTLOGGER_H

#include "AbstractLoggerIo.h"
#include "Logger.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>

class StdoutLogger : public Logger {
public:
    // logger_io must not be null. The start time taken here is the zero of every line. The constructor logs
    // its first line, which may throw; the output dies with the half-built logger then.
    StdoutLogger(int log_level, std::unique_ptr<Tervik::AbstractLoggerIo> logger_io);
    ~StdoutLogger() override;
    StdoutLogger(const StdoutLogger&) = delete;
    StdoutLogger& operator=(const StdoutLogger&) = delete;

    void set_log_level(int level) override;
    void error(const std::string& text) override;
    // May throw what the output throws (the default output: "file is not open after open"); the mutex is
    // released all the same.
    void log(unsigned int level, const std::string& text) override;
    void print_bytes(unsigned int level, const Bytes& bytes) override;

private:
    bool passes(unsigned int level) const { return level <= level_.load(std::memory_order_relaxed); }
    std::string compose_line(const std::string& text) const;

    const std::chrono::system_clock::time_point start_;
    // Changed while other threads log; relaxed is enough, a message racing a level change may go either way.
    std::atomic<std::uint32_t> level_;
    std::unique_ptr<Tervik::AbstractLoggerIo> io_;
    std::mutex mutex_;
};

#endif
