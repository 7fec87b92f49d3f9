#include "RadarTestLink.h"

#include "StdoutLogger.h"
#include "TervikException.h"
#include "UartIo.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>

bool LogJournal::contains(const std::string& fragment) {
    std::lock_guard<std::mutex> lock(mutex);
    return std::any_of(lines.begin(), lines.end(),
                       [&](const std::string& line) { return line.find(fragment) != std::string::npos; });
}

size_t LogJournal::count() {
    std::lock_guard<std::mutex> lock(mutex);
    return lines.size();
}

void LogJournal::clear() {
    std::lock_guard<std::mutex> lock(mutex);
    lines.clear();
}

void JournalOutput::log(const std::string& line) {
    if (journal->refusing) {
        ++journal->refused;
        throw std::runtime_error("file is not open after open");
    }
    std::lock_guard<std::mutex> lock(journal->mutex);
    journal->lines.push_back(line);
}

bool eventually(const std::function<bool()>& condition, double seconds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

std::string outcome(const std::function<void()>& call) {
    try {
        call();
    } catch (const Tervik::TervikException& e) {
        return std::to_string(e.code) + " " + e.what();
    } catch (const std::runtime_error& e) {
        return std::string("runtime_error ") + e.what();
    }
    return "ok";
}

RadarTestLink::RadarTestLink()
    : logger_(new StdoutLogger(3, std::make_unique<JournalOutput>(journal))),
      io_(new UartIo(*logger_, factory_)),
      radar_(new Tervik::RadarInterface(*io_, module.device_path(), factory_, *logger_)) {}

RadarTestLink::~RadarTestLink() = default;

void RadarTestLink::answer(const Bytes& prefix, const std::vector<Bytes>& replies) {
    module.set_handler(prefix, [replies](const Bytes&) { return replies; });
}

std::vector<Bytes> RadarTestLink::commands(const Bytes& prefix) const {
    std::vector<Bytes> matching;
    for (const Bytes& command : module.received_commands())
        if (command.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), command.begin()))
            matching.push_back(command);
    return matching;
}
