// firmware_update: writes a firmware image into a module through its bootloader.
//
// The module is told to start its bootloader through its application (unless it runs its bootloader
// already), the tool connects to the bootloader, writes the image page by page and starts the application
// again, which must then answer with its firmware version. Exit status 0 only for a complete update.
#include "AbstractLoggerIo.h"
#include "Bootloader.h"
#include "DeviceBridge.h"
#include "ModuleAddress.h"
#include "RadarInterface.h"
#include "UniqueLocked.h"

#include <CLI/CLI.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

typedef std::chrono::steady_clock Clock;

const char* const program = "firmware_update";
// A page address has 16 bits on the wire.
const int64_t page_addresses = 65536;
// Erased flash: what pads the last page of an image that doesn't fill it.
const unsigned char erased = 0xFF;

const char* const description =
    "Writes a firmware image into a radar module through its bootloader.\n"
    "\n"
    "DEVICE is a serial device such as /dev/ttyACM0, or tcp://HOST:PORT for a module behind a network "
    "bridge.\n"
    "IMAGE is a plain binary file: its bytes go to the module's flash as they are, cut into pages of\n"
    "--page-size bytes; a last page that the image doesn't fill is padded with 0xFF, as erased flash reads.\n"
    "\n"
    "Steps: ask the application for its firmware version and tell it to start the bootloader (skipped with\n"
    "--in-bootloader); connect to the bootloader, waiting up to --wait seconds for the module's restart, "
    "and\n"
    "print its description; write the pages in order, with a progress bar on standard error, stopping at "
    "the\n"
    "first page the module refuses (the message names the page and its address); start the application,\n"
    "connect to it and print its firmware version.\n"
    "\n"
    "A page address counts pages, not bytes: the image's first page goes to --start-address, each next page\n"
    "to the next address. Nothing is sent to the module when the input is wrong (no image, an empty one, a\n"
    "page size of 0 or larger than the image, addresses beyond 65535).\n"
    "\n"
    "Exit status: 0 when every page was written and the application answered afterwards; 1 otherwise, with\n"
    "a one-line message on standard error.";

struct Options {
    std::string device;
    std::string image_path;
    int64_t page_size = 256;
    int64_t start_address = 0;
    bool in_bootloader = false;
    double wait_seconds = 10.0;
    int log_level = -1;
};

// A failure that ends the program with its one-line message.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The library's log lines: to standard error when asked for, else nowhere.
class LogOutput : public Tervik::AbstractLoggerIo {
public:
    explicit LogOutput(bool shown) : shown_(shown) {}
    void log(const std::string& line) override {
        if (shown_)
            std::cerr << line << "\n";
    }

private:
    bool shown_;
};

std::string trimmed(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\0'))
        text.pop_back();
    return text;
}

// ---- the image
// -----------------------------------------------------------------------------------------------

Bytes read_image(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        throw Failure("cannot read image " + path + ": " + std::strerror(errno));
    if (!S_ISREG(status.st_mode))
        throw Failure("cannot read image " + path + ": not a regular file");
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw Failure("cannot read image " + path + ": " + std::strerror(errno));
    Bytes image((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (file.bad())
        throw Failure("cannot read image " + path);
    if (image.empty())
        throw Failure("image " + path + " is empty");
    return image;
}

size_t page_count(const Options& options, size_t image_size) {
    if (options.page_size <= 0)
        throw Failure("page size must be at least 1 byte");
    if (static_cast<uint64_t>(options.page_size) > image_size)
        throw Failure("page size " + std::to_string(options.page_size) + " is larger than the image (" +
                      std::to_string(image_size) + " bytes)");
    const size_t size = static_cast<size_t>(options.page_size);
    const size_t pages = (image_size + size - 1) / size;
    if (options.start_address < 0 || options.start_address + static_cast<int64_t>(pages) > page_addresses)
        throw Failure("the image's " + std::to_string(pages) + " pages from address " +
                      std::to_string(options.start_address) + " do not fit the page addresses 0 to 65535");
    return pages;
}

Bytes page_of(const Bytes& image, size_t index, size_t page_size) {
    const size_t start = index * page_size;
    const size_t end = std::min(image.size(), start + page_size);
    Bytes page(image.begin() + static_cast<std::ptrdiff_t>(start),
               image.begin() + static_cast<std::ptrdiff_t>(end));
    page.resize(page_size, erased);
    return page;
}

// ---- progress
// ------------------------------------------------------------------------------------------------

// Pages done, bytes and rate on standard error: redrawn in place on a terminal, a line per tenth otherwise.
class Progress {
public:
    Progress(size_t pages, size_t page_size)
        : pages_(pages), page_size_(page_size), start_(Clock::now()), terminal_(isatty(STDERR_FILENO) != 0) {}

    void show(size_t done) {
        const size_t tenth = done * 10 / pages_;
        if (!terminal_ && tenth == last_tenth_ && done != pages_)
            return;
        last_tenth_ = tenth;
        const double seconds = std::chrono::duration<double>(Clock::now() - start_).count();
        const size_t bytes = done * page_size_;
        const int width = 30, filled = static_cast<int>(done * width / pages_);
        char line[160];
        std::snprintf(line, sizeof line, "[%s%s] %zu/%zu pages, %zu bytes, %.1f KiB/s",
                      std::string(static_cast<size_t>(filled), '#').c_str(),
                      std::string(static_cast<size_t>(width - filled), ' ').c_str(), done, pages_, bytes,
                      seconds > 0.0 ? static_cast<double>(bytes) / 1024.0 / seconds : 0.0);
        std::cerr << (terminal_ ? "\r" : "") << line << (terminal_ && done != pages_ ? "" : "\n")
                  << std::flush;
    }
    // Ends a line left open on a terminal, before a message.
    void interrupt() {
        if (terminal_ && last_tenth_ != no_tenth)
            std::cerr << "\n";
    }

private:
    static const size_t no_tenth = static_cast<size_t>(-1);
    size_t pages_, page_size_;
    Clock::time_point start_;
    bool terminal_;
    size_t last_tenth_ = no_tenth;
};

// ---- the module
// ----------------------------------------------------------------------------------------------

class Updater {
public:
    Updater(const Options& options, ModuleAddress address)
        : options_(options), address_(std::move(address)),
          wait_(std::chrono::duration_cast<Clock::duration>(
              std::chrono::duration<double>(options.wait_seconds))) {}

    // The application's firmware version; with `patient`, tries again until the module is back from a
    // restart.
    std::string application_version(bool patient) {
        return attempt(patient, [&] {
            std::unique_ptr<Tervik::DeviceBridge> bridge = connect_application();
            return trimmed(bridge->get_radar_interface()->get_firmware_version());
        });
    }

    void start_bootloader() {
        std::unique_ptr<Tervik::DeviceBridge> bridge = connect_application();
        bridge->get_radar_interface()->start_bootloader();
    }

    // Connects to the bootloader and returns its description; with `patient`, as the module restarts.
    std::string connect_bootloader(bool patient) {
        return attempt(patient, [&] {
            bootloader_.reset();
            bootloader_ = make_bootloader();
            const std::string info = bootloader_->get_bootloader_info();
            if (info == "error fetching info")
                throw Failure("the bootloader does not describe itself");
            return trimmed(info);
        });
    }

    // Stops at the first refused page, naming it.
    void write(const Bytes& image, size_t pages) {
        const size_t size = static_cast<size_t>(options_.page_size);
        Progress progress(pages, size);
        progress.show(0);
        for (size_t index = 0; index < pages; ++index) {
            const unsigned int address =
                static_cast<unsigned int>(options_.start_address) + static_cast<unsigned int>(index);
            const std::string which = "page " + std::to_string(index + 1) + " of " + std::to_string(pages) +
                                      " (address " + std::to_string(address) + ")";
            int result = 1;
            try {
                result = bootloader_->write_page(address, page_of(image, index, size));
            } catch (const std::exception& failure) {
                progress.interrupt();
                throw Failure(which + ": " + trimmed(failure.what()));
            }
            if (result != 0) {
                progress.interrupt();
                throw Failure(which + " refused by the module");
            }
            progress.show(index + 1);
        }
    }

    void start_application() {
        if (bootloader_->start_application() != 0)
            throw Failure("the module refused to start its application");
        bootloader_.reset();
    }

private:
    std::unique_ptr<Tervik::DeviceBridge> connect_application() {
        return address_.connect(log_level(), log_output());
    }

    std::unique_ptr<Tervik::Bootloader> make_bootloader() {
        if (address_.tcp)
            return std::unique_ptr<Tervik::Bootloader>(
                new Tervik::Bootloader(address_.ip, address_.port, log_level(), log_output()));
        return std::unique_ptr<Tervik::Bootloader>(
            new Tervik::Bootloader(address_.text, static_cast<unsigned int>(log_level()), log_output()));
    }

    Tervik::AbstractLoggerIo* log_output() const { return new LogOutput(options_.log_level >= 0); }
    // Unshown lines are not even composed beyond the errors.
    int log_level() const { return options_.log_level >= 0 ? options_.log_level : 0; }

    // A module that restarts is gone for a while (a USB device is enumerated anew, a network bridge takes a
    // new client): each try is a new connection, until one answers or the wait is over.
    std::string attempt(bool patient, const std::function<std::string()>& once) {
        const Clock::time_point deadline = Clock::now() + wait_;
        for (;;) {
            try {
                return once();
            } catch (const std::exception& failure) {
                if (!patient || Clock::now() >= deadline)
                    throw Failure(trimmed(failure.what()));
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
    }

    const Options& options_;
    ModuleAddress address_;
    Clock::duration wait_;
    std::unique_ptr<Tervik::Bootloader> bootloader_;
};

void run(const Options& options) {
    ModuleAddress address;
    try {
        address = ModuleAddress::parse(options.device);
    } catch (const std::invalid_argument& failure) {
        throw Failure(failure.what());
    }
    const Bytes image = read_image(options.image_path);
    const size_t pages = page_count(options, image.size());
    Updater updater(options, address);

    std::string before;
    if (!options.in_bootloader) {
        try {
            before = updater.application_version(false);
        } catch (const std::exception& failure) {
            throw Failure("no application answers at " + options.device + ": " + trimmed(failure.what()));
        }
        std::cout << "application firmware version: " << before << std::endl;
        try {
            updater.start_bootloader();
        } catch (const std::exception& failure) {
            throw Failure("the module did not start its bootloader: " + trimmed(failure.what()));
        }
    }
    try {
        std::cout << "bootloader: " << updater.connect_bootloader(!options.in_bootloader) << std::endl;
    } catch (const std::exception& failure) {
        throw Failure("no bootloader at " + options.device + ": " + trimmed(failure.what()));
    }
    updater.write(image, pages);
    try {
        updater.start_application();
        const std::string after = updater.application_version(true);
        std::cout << "application firmware version: " << after << (after == before ? " (unchanged)" : "")
                  << std::endl;
    } catch (const std::exception& failure) {
        throw Failure("the application did not come back after the update: " + trimmed(failure.what()));
    }
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app(description, program);
    app.add_option("DEVICE", options.device, "serial device, or tcp://HOST:PORT")->required();
    app.add_option("IMAGE", options.image_path, "firmware image, a plain binary file")->required();
    app.add_option("--page-size", options.page_size, "bytes of a flash page")->capture_default_str();
    app.add_option("--start-address", options.start_address, "page address of the image's first page")
        ->capture_default_str();
    app.add_flag("--in-bootloader", options.in_bootloader,
                 "the module runs its bootloader already: don't ask the application to start it");
    app.add_option("--wait", options.wait_seconds, "seconds to wait for the module after each restart")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    app.add_option("--log-level", options.log_level,
                   "show the library's log lines up to this level on standard error (0 errors, 3 exchanges, "
                   "5 everything)")
        ->check(CLI::NonNegativeNumber);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        return 0;
    } catch (const CLI::ParseError& failure) {
        std::cerr << program << ": " << failure.what() << " (see --help)\n";
        return 1;
    }
    try {
        run(options);
    } catch (const std::exception& failure) {
        std::cerr << program << ": " << failure.what() << "\n";
        return 1;
    }
    return 0;
}
