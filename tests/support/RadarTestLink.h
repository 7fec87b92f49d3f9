// What the tests of RadarInterface and the device bridge share: a logger output that keeps its lines for the
// test, a patient wait, and one RadarInterface on the module emulator over a real pseudo-terminal.
#ifndef DEVICEBRIDGE_TESTS_RADARTESTLINK_H
#define DEVICEBRIDGE_TESTS_RADARTESTLINK_H

#include "AbstractLoggerIo.h"
#include "ConcreteFactory.h"
#include "ModuleEmulator.h"
#include "RadarInterface.h"
#include "ScriptedModule.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class Logger;
class UartIo;

// The lines that one logger wrote; they outlive the logger and its output.
struct LogJournal {
    std::mutex mutex;
    std::vector<std::string> lines;
    std::atomic<bool> output_deleted{false};
    // While set, the output throws as a debug file that cannot be reopened does, and counts the lines lost.
    std::atomic<bool> refusing{false};
    std::atomic<int> refused{0};

    bool contains(const std::string& fragment);
    size_t count();
    void clear();
};

class JournalOutput : public Tervik::AbstractLoggerIo {
public:
    explicit JournalOutput(std::shared_ptr<LogJournal> journal) : journal(std::move(journal)) {}
    ~JournalOutput() override { journal->output_deleted = true; }
    void log(const std::string& line) override;

private:
    std::shared_ptr<LogJournal> journal;
};

// Polls the condition until it holds or the time is up. The default is generous: sanitizer builds on a loaded
// machine run many times slower, and a green run returns as soon as the condition holds.
bool eventually(const std::function<bool()>& condition, double seconds = 10);

// How a call ended: "ok", "<code> <text>" for a TervikException, "runtime_error <text>" for any other
// standard runtime error.
std::string outcome(const std::function<void()>& call);

class RadarTestLink {
public:
    RadarTestLink();
    ~RadarTestLink();

    ModuleEmulator module;
    std::shared_ptr<LogJournal> journal = std::make_shared<LogJournal>();

    Tervik::RadarInterface& radar() { return *radar_; }
    bool logged(const std::string& fragment) { return journal->contains(fragment); }
    // Every command that begins with the prefix is answered with these payloads instead of the firmware's.
    void answer(const Bytes& prefix, const std::vector<Bytes>& replies);
    // The commands received so far that begin with the prefix.
    std::vector<Bytes> commands(const Bytes& prefix) const;

private:
    std::unique_ptr<Logger> logger_;
    ConcreteFactory factory_;
    std::unique_ptr<UartIo> io_;
    std::unique_ptr<Tervik::RadarInterface> radar_;
};

#endif
