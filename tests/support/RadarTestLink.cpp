#include "RadarTestLink.h"

#include "AbstractLoggerIo.h"
#include "StdoutLogger.h"
#include "UartIo.h"
#include "UniqueLocked.h"

#include <chrono>
#include <thread>

namespace {
// Keeps lines in memory; the test reads them back through RadarTestLink.
class KeptLines : public Tervik::AbstractLoggerIo {
public:
    explicit KeptLines(std::shared_ptr<RadarTestLink::Lines> lines) : lines(std::move(lines)) {}
    void log(const std::string& line) override {
        std::lock_guard<std::mutex> lock(lines->mutex);
        lines->lines.push_back(line);
    }

private:
    std::shared_ptr<RadarTestLink::Lines> lines;
};
} // namespace

RadarTestLink::RadarTestLink()
    : lines_(std::make_shared<Lines>()), logger_(new StdoutLogger(3, new KeptLines(lines_))) {
    guard_.reset(new Tervik::LockedRadarInterfacePtr(make_radar(module.device_name()).release()));
}

RadarTestLink::~RadarTestLink() {
    guard_.reset();
}

Tervik::RadarInterface& RadarTestLink::radar() {
    return *guard_->get();
}

Tervik::LockedRadarInterfacePtr& RadarTestLink::guard() {
    return *guard_;
}

std::unique_ptr<Tervik::RadarInterface> RadarTestLink::make_radar(const std::string& device_name) {
    links_.emplace_back(new UartIo(*logger_, factory_));
    return std::unique_ptr<Tervik::RadarInterface>(
        new Tervik::RadarInterface(*links_.back(), device_name, factory_, *logger_));
}

bool RadarTestLink::logged(const std::string& fragment) const {
    std::lock_guard<std::mutex> lock(lines_->mutex);
    for (const std::string& line : lines_->lines)
        if (line.find(fragment) != std::string::npos)
            return true;
    return false;
}

void RadarTestLink::clear_log() {
    std::lock_guard<std::mutex> lock(lines_->mutex);
    lines_->lines.clear();
}

bool RadarTestLink::wait_until(const std::function<bool()>& condition, double seconds) const {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}
