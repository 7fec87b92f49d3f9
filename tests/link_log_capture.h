// A real StdoutLogger whose lines land in memory, so that tests can check the texts, and a wait for a
// condition.
#ifndef DEVICEBRIDGE_TESTS_LINK_LOG_CAPTURE_H
#define DEVICEBRIDGE_TESTS_LINK_LOG_CAPTURE_H

#include "StdoutLogger.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace link_test {

// Returns as soon as the condition holds; false only after the whole wait, which is generous because the
// sanitizer builds run many times slower on a loaded machine.
template <typename Condition> bool eventually(Condition condition, int milliseconds = 10000) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return condition();
}

// The text of the runtime_error that the call throws; empty if it returns.
template <typename Call> std::string failure_of(Call call) {
    try {
        call();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

class LogCapture {
public:
    explicit LogCapture(int level = -1)
        : lines_(std::make_shared<Lines>()), logger_(level, std::make_unique<Sink>(lines_)) {}
    Logger& logger() { return logger_; }

    // Lines that contain the text.
    int count(const std::string& text) const {
        std::lock_guard<std::mutex> lock(lines_->mutex);
        return static_cast<int>(
            std::count_if(lines_->lines.begin(), lines_->lines.end(),
                          [&](const std::string& line) { return line.find(text) != std::string::npos; }));
    }
    bool contains(const std::string& text) const { return count(text) > 0; }
    bool wait_for(const std::string& text, int milliseconds = 10000) const {
        return eventually([&] { return contains(text); }, milliseconds);
    }

private:
    struct Lines {
        std::mutex mutex;
        std::vector<std::string> lines;
    };
    class Sink : public Tervik::AbstractLoggerIo {
    public:
        explicit Sink(std::shared_ptr<Lines> lines) : lines_(std::move(lines)) {}
        void log(const std::string& line) override {
            std::lock_guard<std::mutex> lock(lines_->mutex);
            lines_->lines.push_back(line);
        }

    private:
        std::shared_ptr<Lines> lines_;
    };
    std::shared_ptr<Lines> lines_;
    StdoutLogger logger_;
};

} // namespace link_test

#endif
