// What the subcommands of the devicebridge tool share: the table of subcommands, the failure that ends a
// subcommand with its one-line message, the names of data types and profiles, and the forms of output
// (ISO times, JSON strings, CSV fields).
#ifndef DEVICEBRIDGE_TOOLS_DEVICEBRIDGE_TOOL_H
#define DEVICEBRIDGE_TOOLS_DEVICEBRIDGE_TOOL_H

#include "AbstractLoggerIo.h"
#include "Bytes.h"
#include "DataTypes.h"
#include "DeviceBridge.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace tool {

// ---- the subcommands
// Adds its options to the subcommand and returns what runs it once the command line is parsed: the exit
// status, or a Failure.
typedef std::function<int()> Runner;
typedef std::function<Runner(CLI::App& subcommand)> Setup;

struct Command {
    const char* name;
    const char* summary;
    Setup setup;
};

Runner setup_ports(CLI::App& subcommand);
Runner setup_info(CLI::App& subcommand);
Runner setup_record(CLI::App& subcommand);
Runner setup_inspect(CLI::App& subcommand);
Runner setup_cat(CLI::App& subcommand);
Runner setup_export(CLI::App& subcommand);
Runner setup_play(CLI::App& subcommand);
Runner setup_recover(CLI::App& subcommand);

// A failure that ends the subcommand with exit status 1 and its text as the one line on standard error.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// ---- modules
// A bridge to the module at a device name or tcp://HOST:PORT, with the library's log lines shown on standard
// error up to `log_level` (none below 0). Throws Failure naming the address when it can't be opened.
std::unique_ptr<Tervik::DeviceBridge> open_module(const std::string& address, int log_level);
// The --log-level option of the subcommands that talk to a module or play a recording.
void add_log_level_option(CLI::App& subcommand, int& log_level);

// The META argument of the subcommands that read a recording.
void add_meta_file_argument(CLI::App& subcommand, std::string& meta_file);

// ---- names
// A type's name is its files' default basename without the "tervik_" in front: "presence_single",
// "baseband_iq". Throws Failure for a name that is no type.
Tervik::DataType type_by_name(const std::string& name);
std::string type_name(uint32_t data_type);
// A comma separated list of names; empty means every type. Throws Failure naming the first unknown name.
Tervik::DataTypes types_by_list(const std::string& list);
std::string type_names();

// The profiles a module runs: presence, respiration, sleep.
uint32_t profile_by_name(const std::string& name);
// The name of a profile id, or its number in hexadecimal for one that has no name here.
std::string profile_name(uint32_t profile_id);

// ---- output
// "2026-03-04T05:06:07.042Z" for milliseconds since 1970, in UTC.
std::string iso_time(int64_t epoch_ms);
// The text in double quotes, escaped for JSON.
std::string json_string(const std::string& text);
// The field as it stands, or in double quotes when it holds a comma, a quote or a line break.
std::string csv_field(const std::string& text);
// Up to `limit` bytes in hexadecimal, "..." after them when there are more.
std::string hex_bytes(const Bytes& bytes, size_t limit);
// An error text of the library without the line breaks it may end in.
std::string one_line(std::string text);

// ---- Ctrl-C
// SIGINT and SIGTERM blocked in the calling thread and in every thread started after, so that they can't
// cut a system call of the library short; the main thread takes them with wait(). Make one before the
// library starts its threads.
class StopSignals {
public:
    StopSignals();
    // True when a stop signal came within the time.
    bool wait(int milliseconds);

private:
    sigset_t signals_;
};

// ---- the library's own talk
// The library's log lines: on standard error when asked for with --log-level, else nowhere.
class LogOutput : public Tervik::AbstractLoggerIo {
public:
    explicit LogOutput(bool shown) : shown_(shown) {}
    void log(const std::string& line) override;

private:
    bool shown_;
};

// The recording classes print their messages to standard output, where they would mix with the tool's
// output. While a LibraryOutput lives, standard output goes to standard error when `shown` and nowhere
// otherwise, and out() writes to the real standard output.
class LibraryOutput {
public:
    explicit LibraryOutput(bool shown);
    ~LibraryOutput();
    LibraryOutput(const LibraryOutput&) = delete;
    LibraryOutput& operator=(const LibraryOutput&) = delete;
    std::ostream& out();

private:
    struct Redirection;
    std::unique_ptr<Redirection> redirection_;
};

} // namespace tool

#endif
