// devicebridge play: a recording played through a DeviceBridge, as an application would receive it.
#include "ByteCursor.h"
#include "DataPlayer.h"
#include "MetaFileSummary.h"
#include "RadarInterface.h"
#include "RecordDecoder.h"
#include "Tool.h"
#include "UniqueLocked.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <memory>
#include <mutex>

namespace tool {

namespace {

typedef std::chrono::steady_clock Clock;

const char* const printer_subscription = "devicebridge play";
// With nothing more to come, the end is declared after this long without a packet.
const int quiet_milliseconds = 1000;

struct Options {
    std::string meta_file, types;
    float rate = 1.0f;
    bool loop = false;
    int64_t from = 0;
    int log_level = -1;
};

std::string field(const char* name, const std::string& value) {
    return std::string("  ") + name + " " + value;
}

// The readings of presence, respiration and sleep packets as a row; other packets by their size.
std::string row_of(Tervik::DataType type, const Bytes& packet) {
    ByteCursor cursor(packet, 5);
    const uint32_t counter = cursor.u32(), state = cursor.u32();
    std::string row;
    switch (type) {
    case Tervik::PresenceSingleDataType: {
        const float distance = cursor.f32();
        const uint8_t direction = cursor.u8();
        const uint32_t signal = cursor.u32();
        row = field("counter", std::to_string(counter)) + field("state", std::to_string(state)) +
              field("distance", float_text(distance)) + field("direction", std::to_string(direction)) +
              field("signal_quality", std::to_string(signal));
        break;
    }
    case Tervik::RespirationDataType: {
        const uint32_t rpm = cursor.u32();
        const float distance = cursor.f32(), movement = cursor.f32();
        const uint32_t signal = cursor.u32();
        row = field("counter", std::to_string(counter)) + field("state", std::to_string(state)) +
              field("rpm", std::to_string(rpm)) + field("distance", float_text(distance)) +
              field("movement", float_text(movement)) + field("signal_quality", std::to_string(signal));
        break;
    }
    case Tervik::SleepDataType: {
        const float rpm = cursor.f32(), distance = cursor.f32();
        const uint32_t signal = cursor.u32();
        row = field("counter", std::to_string(counter)) + field("state", std::to_string(state)) +
              field("rpm", float_text(rpm)) + field("distance", float_text(distance)) +
              field("signal_quality", std::to_string(signal));
        break;
    }
    default:
        return field("bytes", std::to_string(packet.size()));
    }
    return cursor.ok() ? row : "  malformed: " + hex_bytes(packet, 16);
}

class Printer {
public:
    Printer(std::ostream& out, const Tervik::DataPlayer& player) : out_(out), player_(player) {}
    bool packet(const Bytes& packet) {
        const Tervik::DataType type = type_of_packet(packet);
        std::lock_guard<std::mutex> lock(mutex_);
        last_ = Clock::now();
        if (type == Tervik::InvalidDataType)
            return true;
        char position[32];
        std::snprintf(position, sizeof position, "%8lld", static_cast<long long>(player_.get_position()));
        out_ << position << "  " << type_name(type) << row_of(type, packet) << "\n";
        return true;
    }
    bool quiet_since(Clock::time_point start) {
        std::lock_guard<std::mutex> lock(mutex_);
        const Clock::time_point last = std::max(last_, start);
        return Clock::now() - last >= std::chrono::milliseconds(quiet_milliseconds);
    }
    void flush() {
        std::lock_guard<std::mutex> lock(mutex_);
        out_.flush();
    }

private:
    std::mutex mutex_;
    std::ostream& out_;
    const Tervik::DataPlayer& player_;
    Clock::time_point last_;
};

std::unique_ptr<Tervik::DataPlayer> open_player(const std::string& meta_file) {
    try {
        return std::unique_ptr<Tervik::DataPlayer>(new Tervik::DataPlayer(meta_file));
    } catch (const std::exception& failure) {
        explain_refusal(meta_file, one_line(failure.what()));
    }
}

int run(const Options& options) {
    const Tervik::DataTypes types = types_by_list(options.types);
    if (options.rate == 0.0f)
        throw Failure("--rate 0 would never play");
    StopSignals stop_signals;
    LibraryOutput library(options.log_level >= 0);
    std::unique_ptr<Tervik::DataPlayer> player = open_player(options.meta_file);
    if (options.from < 0 || options.from > player->get_duration())
        throw Failure("--from " + std::to_string(options.from) + " lies outside the recording's " +
                      std::to_string(player->get_duration()) + " ms");
    player->set_filter(options.types.empty() ? 0xFFFFFFFF : types);
    player->set_playback_rate(options.rate);
    player->set_loop_mode_enabled(options.loop);
    if (options.from > 0)
        player->set_position(options.from);
    Printer printer(library.out(), *player);
    {
        Tervik::DeviceBridge bridge(*player, options.log_level < 0 ? 0 : options.log_level,
                                    new LogOutput(options.log_level >= 0));
        bridge.get_radar_interface()->subscribe(printer_subscription, Bytes(),
                                                [&printer](Bytes packet) { return printer.packet(packet); });
        const Clock::time_point start = Clock::now();
        player->play();
        while (!stop_signals.wait(100)) {
            const bool all_played = options.rate < 0.0f || player->get_position() >= player->get_duration();
            if (!options.loop && all_played && printer.quiet_since(start))
                break;
        }
        player->stop();
    } // the bridge's threads are gone: nothing prints any more
    printer.flush();
    return 0;
}

} // namespace

Runner setup_play(CLI::App& subcommand) {
    auto options = std::make_shared<Options>();
    add_meta_file_argument(subcommand, options->meta_file);
    subcommand
        .add_option("--rate", options->rate,
                    "multiple of the recorded pace; below 0 as fast as the link takes the packets")
        ->capture_default_str();
    subcommand.add_flag("--loop", options->loop, "start over at the end, until Ctrl-C");
    subcommand.add_option("--from", options->from, "millisecond from the recording's start to begin at");
    subcommand.add_option("--types", options->types, "comma separated data types to play (default: all)");
    add_log_level_option(subcommand, options->log_level);
    subcommand.footer(
        "Plays the recording through a DeviceBridge on a DataPlayer and prints each packet as "
        "it arrives, with the player's position in milliseconds: presence, respiration and sleep "
        "readings as rows of their fields, other packets by type and size. Ends at the end of "
        "the recording, or with Ctrl-C.");
    return [options] { return run(*options); };
}

} // namespace tool
