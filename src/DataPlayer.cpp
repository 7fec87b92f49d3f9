#include "DataPlayer.h"

#include "DataPlayerPrivate.h"

#include <iostream>
#include <stdexcept>

namespace Tervik {

DataPlayer::DataPlayer(const std::string& meta_filename, int depth)
    : d_ptr(new DataPlayerPrivate(this, meta_filename, depth)) {
    if (d_ptr->ensure_open() != 0) {
        delete d_ptr;
        throw std::runtime_error("failed to open recording" + meta_filename);
    }
}

DataPlayer::~DataPlayer() {
    delete d_ptr;
}

void DataPlayer::set_state(State state) {
    if (state != StoppedState && state != PlayingState && state != PausedState) {
        std::cout << "invalid state: " << int(state) << std::endl;
        throw std::runtime_error(std::string("invalid state") + ":" + __func__);
    }
    d_ptr->set_pending_state(state);
}

void DataPlayer::play() {
    d_ptr->set_pending_state(PlayingState);
}

void DataPlayer::pause() {
    d_ptr->set_pending_state(PausedState);
}

void DataPlayer::stop() {
    d_ptr->set_pending_state(StoppedState);
}

DataPlayer::State DataPlayer::get_state() const {
    return d_ptr->get_state();
}

int DataPlayer::set_filter(uint32_t data_types) {
    return d_ptr->set_filter(data_types);
}

uint32_t DataPlayer::get_filter() const {
    return d_ptr->get_filter();
}

void DataPlayer::set_playback_rate(float rate) {
    d_ptr->set_playback_rate(rate);
}

float DataPlayer::get_playback_rate() const {
    return d_ptr->get_playback_rate();
}

void DataPlayer::set_loop_mode_enabled(bool enabled) {
    d_ptr->set_loop_mode_enabled(enabled);
}

bool DataPlayer::get_loop_mode_enabled() const {
    return d_ptr->get_loop_mode_enabled();
}

int DataPlayer::set_position(int64_t position) {
    return d_ptr->set_position(position);
}

int64_t DataPlayer::get_position() const {
    return d_ptr->get_position();
}

int64_t DataPlayer::get_duration() const {
    return d_ptr->get_duration();
}

std::string DataPlayer::meta_filename() const {
    return d_ptr->meta_filename;
}

} // namespace Tervik
