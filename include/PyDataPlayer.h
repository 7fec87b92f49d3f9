// The Python binding's face of DataPlayer: one player, every call forwarded unchanged. Give it to a
// PythonDeviceBridge to play the recording through the whole stack.
#ifndef DEVICEBRIDGE_PYDATAPLAYER_H
#define DEVICEBRIDGE_PYDATAPLAYER_H

#include "DataPlayer.h"

namespace Tervik {

class PythonDeviceBridge;

class PyDataPlayer {
public:
    // Opens the recording; std::runtime_error "failed to open recording" + the file name if it can't.
    explicit PyDataPlayer(const std::string& meta_filename, int depth = -1);
    PyDataPlayer(const PyDataPlayer&) = delete;
    PyDataPlayer& operator=(const PyDataPlayer&) = delete;

    // --- playing: nothing is handed out until play(); stop() rewinds.
    void play();
    void pause();
    void stop();

    // --- a mask of DataType bits, or 0xFFFFFFFF for all; 1 for a refused mask.
    int set_filter(uint32_t data_types);
    uint32_t get_filter() const;

    // --- a multiplier of the recorded pace: 0 holds, below zero as fast as possible.
    void set_playback_rate(float rate);
    float get_playback_rate() const;

    // --- at the end of the recording, start over from the beginning.
    void set_loop_mode_enabled(bool enabled);
    bool get_loop_mode_enabled() const;

    // --- milliseconds from the start of the recording; set_position gives 1 outside 0 to get_duration().
    int set_position(int64_t position);
    int64_t get_position() const;
    int64_t get_duration() const;

    std::string meta_filename() const;

private:
    friend class PythonDeviceBridge;
    DataPlayer player;
};

} // namespace Tervik

#endif
