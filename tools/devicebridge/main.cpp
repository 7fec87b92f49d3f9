// devicebridge: looks at radar modules and recordings without a program of one's own.
//
// Each subcommand lives in a unit of its own and is listed in the table below; this file only parses the
// command line and turns a failure into its one line on standard error and exit status 1.
#include "Tool.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <map>

namespace {

const char* const program = "devicebridge";

const tool::Command commands[] = {
    {"ports", "List the serial ports of this machine", tool::setup_ports},
    {"info", "Ask a module who it is", tool::setup_info},
    {"record", "Record a module's data until Ctrl-C or a duration", tool::setup_record},
    {"inspect", "Describe a recording: header, types, files and health", tool::setup_inspect},
    {"cat", "Print a recording's records, one line each", tool::setup_cat},
    {"export", "Write a recording as one CSV file per data type", tool::setup_export},
    {"play", "Play a recording back and print what an application receives", tool::setup_play},
    {"recover", "Make a recording left by a crash readable again", tool::setup_recover},
};

const char* const description =
    "Looks at radar modules and recordings.\n"
    "\n"
    "A module is a serial device such as /dev/ttyACM0, or tcp://HOST:PORT for one behind a network bridge.\n"
    "A recording is given by its meta file, tervik_recording_meta.dat in the session directory.\n"
    "Data types are named as their files are: presence_single, baseband_iq, ...; profiles are presence,\n"
    "respiration and sleep.\n"
    "\n"
    "Exit status: 0 on success; 1 with a one-line message on standard error otherwise.";

} // namespace

int main(int argc, char** argv) {
    CLI::App app(description, program);
    app.require_subcommand(1);
    std::map<const CLI::App*, tool::Runner> runners;
    for (const tool::Command& command : commands) {
        CLI::App* subcommand = app.add_subcommand(command.name, command.summary);
        runners[subcommand] = command.setup(*subcommand);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        return 0;
    } catch (const CLI::CallForAllHelp&) {
        std::cout << app.help("", CLI::AppFormatMode::All);
        return 0;
    } catch (const CLI::ParseError& failure) {
        std::cerr << program << ": " << tool::one_line(failure.what()) << " (see --help)\n";
        return 1;
    }
    const CLI::App* chosen = app.get_subcommands().front();
    try {
        return runners[chosen]();
    } catch (const std::exception& failure) {
        std::cout.flush();
        std::cerr << program << " " << chosen->get_name() << ": " << tool::one_line(failure.what()) << "\n";
        return 1;
    }
}
