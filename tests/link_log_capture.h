// A real StdoutLogger whose lines land in memory, so that the link tests can check the texts.
#ifndef DEVICEBRIDGE_TESTS_LINK_LOG_CAPTURE_H
#define DEVICEBRIDGE_TESTS_LINK_LOG_CAPTURE_H

#include "StdoutLogger.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace link_test {

class LogCapture {
public:
    explicit LogCapture(int level = -1)
        : lines_(std::make_shared<Lines>()), logger_(level, new Sink(lines_)) {}

    Logger& logger() { return logger_; }

    // Lines that contain the text.
    int count(const std::string& text) const {
        std::lock_guard<std::mutex> lock(lines_->mutex);
        return static_cast<int>(
            std::count_if(lines_->lines.begin(), lines_->lines.end(),
                          [&](const std::string& line) { return line.find(text) != std::string::npos; }));
    }
    bool contains(const std::string& text) const { return count(text) > 0; }

    // Waits until some line contains the text, at most the given time.
    bool wait_for(const std::string& text, int milliseconds = 3000) const {
        for (int waited = 0; waited < milliseconds; waited += 5) {
            if (contains(text)) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return contains(text);
    }

    // The text of every line, after the time stamp.
    std::vector<std::string> texts() const {
        std::lock_guard<std::mutex> lock(lines_->mutex);
        std::vector<std::string> result;
        for (const std::string& line : lines_->lines) {
            const size_t separator = line.find(" : ");
            result.push_back(separator == std::string::npos ? line : line.substr(separator + 3));
        }
        return result;
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
