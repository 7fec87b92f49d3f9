// devicebridge recover: a recording left by a crash becomes one that the reader opens.
#include "RecordingRecovery.h"
#include "Tool.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <memory>

namespace tool {

namespace {

struct Options {
    std::string target;
    bool dry_run = false;
};

int run(const Options& options) {
    struct stat status;
    if (stat(options.target.c_str(), &status) != 0)
        throw Failure("cannot read " + options.target + ": " + std::strerror(errno));
    const Tervik::RecoveryReport report = Tervik::recover_recording(options.target, options.dry_run);
    std::cout << report.summary();
    if (!report.summary().empty() && report.summary().back() != '\n')
        std::cout << "\n";
    return report.status();
}

} // namespace

Runner setup_recover(CLI::App& subcommand) {
    auto options = std::make_shared<Options>();
    subcommand
        .add_option("DIR_OR_META", options->target,
                    "a meta file, or a directory searched three levels deep for crashed recordings")
        ->required();
    subcommand.add_flag("--dry-run", options->dry_run, "only tell what would be done; change nothing");
    subcommand.footer(
        "Cuts each data file to its last complete record, gives the files their final names, "
        "closes the meta file as the recorder would have, and links a directory split that the "
        "crash left unlinked. Never destroys data: a closed recording is left alone, a file that "
        "can't be read is reported and left as it is. Prints what was recovered per data type "
        "and what was dropped and why. Exit status 1 when problems were reported.");
    return [options] { return run(*options); };
}

} // namespace tool
