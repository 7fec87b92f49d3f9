#include "PyDataPlayer.h"

namespace Tervik {

PyDataPlayer::PyDataPlayer(const std::string& meta_filename, int depth) : player(meta_filename, depth) {}

void PyDataPlayer::play() {
    player.play();
}

void PyDataPlayer::pause() {
    player.pause();
}

void PyDataPlayer::stop() {
    player.stop();
}

int PyDataPlayer::set_filter(uint32_t data_types) {
    return player.set_filter(data_types);
}

uint32_t PyDataPlayer::get_filter() const {
    return player.get_filter();
}

void PyDataPlayer::set_playback_rate(float rate) {
    player.set_playback_rate(rate);
}

float PyDataPlayer::get_playback_rate() const {
    return player.get_playback_rate();
}

void PyDataPlayer::set_loop_mode_enabled(bool enabled) {
    player.set_loop_mode_enabled(enabled);
}

bool PyDataPlayer::get_loop_mode_enabled() const {
    return player.get_loop_mode_enabled();
}

int PyDataPlayer::set_position(int64_t position) {
    return player.set_position(position);
}

int64_t PyDataPlayer::get_position() const {
    return player.get_position();
}

int64_t PyDataPlayer::get_duration() const {
    return player.get_duration();
}

std::string PyDataPlayer::meta_filename() const {
    return player.meta_filename();
}

} // namespace Tervik
