// module_emulator: a radar module in software, on a pseudo-terminal or a TCP port of 127.0.0.1.
//
// The first line on standard output tells the host where to connect, "device: /dev/pts/5" or
// "tcp: 127.0.0.1:PORT". The program serves until SIGINT or SIGTERM, or until --duration has passed.
#include "EmulatedBootloader.h"
#include "ModuleEmulator.h"
#include "ModuleFirmware.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

const char* const usage =
    "usage: module_emulator [--tcp PORT] [options]\n"
    "\n"
    "Plays a radar module on a pseudo-terminal (the default) or on a TCP port of 127.0.0.1 (0: a free one).\n"
    "The first line of output names the device or the address to connect to.\n"
    "\n"
    "  --tcp PORT            serve TCP clients, one at a time, instead of a pseudo-terminal\n"
    "  --profile NAME        start with this profile loaded and running: presence, respiration or sleep\n"
    "                        (by default the host loads one and sets run mode, as with a real module)\n"
    "  --rate HZ             packets per second of the profile's readings (default 5)\n"
    "  --bins N              bins of a baseband frame and of a pulse-Doppler row (default 100)\n"
    "  --stream KIND         stream packets of KIND at --rate, whatever the host asks: presence (presence\n"
    "                        single) or baseband_iq\n"
    "  --stream-on-signal    start the --stream only when SIGUSR1 arrives (lets a host block on an idle\n"
    "                        stream first)\n"
    "  --duration SECONDS    stop after this time (default: until SIGINT or SIGTERM)\n"
    "  --pong-value VALUE    answer ping with this value (default 0xAAEEAEEA, ready)\n"
    "bootloader (entered by the host's start_bootloader command):\n"
    "  --bootloader          start in the bootloader rather than in the application\n"
    "  --page-size BYTES     size of a flash page (default 256)\n"
    "  --flash-size BYTES    size of the flash, a whole number of pages (default 131072)\n"
    "faults:\n"
    "  --corrupt N           send the next N frames with a wrong checksum\n"
    "  --drop-bytes N        lose the next N bytes sent\n"
    "  --drop-every K        lose every K-th byte sent\n"
    "  --silent              answer no command\n"
    "  --delay MS            answer each command MS milliseconds late\n"
    "  --close-after SECONDS drop the connection after this time (TCP: the next client is served)\n"
    "  --help                show this text\n";

struct Options {
    ModuleEmulator::Transport transport = ModuleEmulator::Transport::pty;
    unsigned long port = 0;
    bool stream = false;
    bool stream_on_signal = false;
    ModuleEmulator::StreamKind stream_kind = ModuleEmulator::StreamKind::presence_single;
    uint32_t profile = 0;
    double rate = 5.0;
    unsigned long bins = 100;
    double duration = 0.0;
    double close_after = 0.0;
    unsigned long pong_value = KMS_DEF_PONGVAL_READY;
    unsigned long corrupt = 0;
    unsigned long drop_bytes = 0;
    unsigned long drop_every = 0;
    bool silent = false;
    unsigned long delay_ms = 0;
    bool bootloader = false;
    unsigned long page_size = EmulatedBootloader::default_page_size;
    unsigned long flash_size = EmulatedBootloader::default_flash_size;
};

unsigned long to_unsigned(const std::string& flag, const char* text) {
    char* end = nullptr;
    errno = 0;
    const unsigned long value = std::strtoul(text, &end, 0);
    if (errno != 0 || end == text || *end != '\0' || text[0] == '-')
        throw std::invalid_argument(flag + ": not a number: " + text);
    return value;
}

double to_seconds(const std::string& flag, const char* text) {
    char* end = nullptr;
    const double value = std::strtod(text, &end);
    if (end == text || *end != '\0' || !(value > 0.0))
        throw std::invalid_argument(flag + ": not a positive number: " + text);
    return value;
}

uint32_t profile_id(const std::string& name) {
    if (name == "presence")
        return KMS_ID_APP_PRESENCE_2;
    if (name == "respiration")
        return KMS_ID_APP_RESP;
    if (name == "sleep")
        return KMS_ID_APP_SLEEP;
    throw std::invalid_argument("--profile: unknown profile: " + name);
}

// Every option is listed in the usage text, as "  --name ".
bool usage_mentions(const std::string& flag) {
    return std::strstr(usage, ("  " + flag + " ").c_str()) != nullptr;
}

// Returns false when the program should only print its usage.
bool parse(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string flag = argv[i];
        if (flag == "--help" || flag == "-h")
            return false;
        if (flag == "--silent" || flag == "--bootloader" || flag == "--stream-on-signal") {
            (flag == "--silent"       ? options.silent
             : flag == "--bootloader" ? options.bootloader
                                      : options.stream_on_signal) = true;
            continue;
        }
        if (flag.compare(0, 2, "--") != 0 || !usage_mentions(flag))
            throw std::invalid_argument("unknown option: " + flag);
        if (i + 1 >= argc)
            throw std::invalid_argument(flag + ": missing its value");
        const char* value = argv[++i];
        if (flag == "--tcp") {
            options.transport = ModuleEmulator::Transport::tcp;
            options.port = to_unsigned(flag, value);
            if (options.port > 65535)
                throw std::invalid_argument("--tcp: no such port: " + std::string(value));
        } else if (flag == "--stream") {
            if (std::strcmp(value, "presence") == 0)
                options.stream_kind = ModuleEmulator::StreamKind::presence_single;
            else if (std::strcmp(value, "baseband_iq") == 0)
                options.stream_kind = ModuleEmulator::StreamKind::baseband_iq;
            else
                throw std::invalid_argument("--stream: unknown stream: " + std::string(value));
            options.stream = true;
        } else if (flag == "--profile") {
            options.profile = profile_id(value);
        } else if (flag == "--bins") {
            options.bins = to_unsigned(flag, value);
            if (options.bins == 0 || options.bins > 100000)
                throw std::invalid_argument("--bins: not in 1 to 100000: " + std::string(value));
        } else if (flag == "--rate") {
            options.rate = to_seconds(flag, value);
        } else if (flag == "--duration") {
            options.duration = to_seconds(flag, value);
        } else if (flag == "--close-after") {
            options.close_after = to_seconds(flag, value);
        } else if (flag == "--pong-value") {
            options.pong_value = to_unsigned(flag, value);
        } else if (flag == "--corrupt") {
            options.corrupt = to_unsigned(flag, value);
        } else if (flag == "--drop-bytes") {
            options.drop_bytes = to_unsigned(flag, value);
        } else if (flag == "--drop-every") {
            options.drop_every = to_unsigned(flag, value);
        } else if (flag == "--delay") {
            options.delay_ms = to_unsigned(flag, value);
        } else if (flag == "--page-size") {
            options.page_size = to_unsigned(flag, value);
        } else if (flag == "--flash-size") {
            options.flash_size = to_unsigned(flag, value);
        } else {
            throw std::invalid_argument("unknown option: " + flag);
        }
    }
    return true;
}

void configure(ModuleEmulator& emulator, const Options& options) {
    emulator.set_pong_value(static_cast<uint32_t>(options.pong_value));
    emulator.corrupt_next_frames(static_cast<unsigned>(options.corrupt));
    emulator.drop_next_bytes(options.drop_bytes);
    emulator.drop_every_kth_byte(static_cast<unsigned>(options.drop_every));
    emulator.set_silent(options.silent);
    emulator.set_reply_delay(std::chrono::milliseconds(options.delay_ms));
    emulator.set_stream_bins(static_cast<uint32_t>(options.bins));
    emulator.firmware().set_stream_rates(options.rate, 20.0);
    if (options.profile != 0)
        emulator.firmware().run_profile(options.profile);
    if (options.stream && !options.stream_on_signal)
        emulator.start_stream(options.stream_kind, options.rate);
    if (options.page_size > UINT32_MAX || options.flash_size > UINT32_MAX)
        throw std::invalid_argument("--page-size, --flash-size: too large");
    emulator.bootloader().set_geometry(static_cast<uint32_t>(options.page_size),
                                       static_cast<uint32_t>(options.flash_size));
    if (options.bootloader)
        emulator.bootloader().enter();
}

timespec to_timespec(double seconds) {
    timespec time;
    time.tv_sec = static_cast<time_t>(seconds);
    time.tv_nsec = static_cast<long>((seconds - static_cast<double>(time.tv_sec)) * 1e9);
    return time;
}

// Waits for SIGINT or SIGTERM, at most `seconds` when that is positive; true if one came. A SIGUSR1 on the
// way (taken only with --stream-on-signal) starts the stream and the wait goes on.
bool wait_for_signal(ModuleEmulator& emulator, const sigset_t& signals, const Options& options,
                     double seconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    for (;;) {
        int signal_number = 0;
        if (seconds <= 0.0) {
            signal_number = sigwaitinfo(&signals, nullptr);
            if (signal_number < 0 && errno != EINTR)
                return true;
        } else {
            const double left = std::chrono::duration<double>(end - std::chrono::steady_clock::now()).count();
            if (left <= 0.0)
                return false;
            const timespec limit = to_timespec(left);
            signal_number = sigtimedwait(&signals, nullptr, &limit);
            if (signal_number < 0 && errno != EINTR)
                return false;
        }
        if (signal_number == SIGUSR1)
            emulator.start_stream(options.stream_kind, options.rate);
        else if (signal_number > 0)
            return true;
    }
}

// Serves until a signal or the end of the duration, dropping the connection once on the way if asked.
void serve(ModuleEmulator& emulator, const sigset_t& signals, const Options& options) {
    const auto start = std::chrono::steady_clock::now();
    auto elapsed = [&] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    if (options.close_after > 0.0 && (options.duration <= 0.0 || options.close_after < options.duration)) {
        if (wait_for_signal(emulator, signals, options, options.close_after))
            return;
        emulator.close_connection();
    }
    if (options.duration <= 0.0) {
        wait_for_signal(emulator, signals, options, 0.0);
        return;
    }
    const double left = options.duration - elapsed();
    if (left > 0.0)
        wait_for_signal(emulator, signals, options, left);
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    try {
        if (!parse(argc, argv, options)) {
            std::cout << usage;
            return 0;
        }
    } catch (const std::invalid_argument& failure) {
        std::cerr << "module_emulator: " << failure.what() << "\n" << usage;
        return 2;
    }
    // The signals are taken synchronously by the main thread; blocked before the emulator's thread starts, so
    // that the thread inherits the mask and never receives them.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    if (options.stream && options.stream_on_signal)
        sigaddset(&signals, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    try {
        ModuleEmulator emulator(options.transport, static_cast<uint16_t>(options.port));
        configure(emulator, options);
        std::cout << emulator.address_line() << std::endl;
        serve(emulator, signals, options);
        emulator.stop();
    } catch (const std::exception& failure) {
        std::cerr << "module_emulator: " << failure.what() << "\n";
        return 1;
    }
    return 0;
}
