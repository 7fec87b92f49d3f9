// The Python binding's face of DataPlayer: one player, every call forwarded unchanged. Give it to a
// PythonDeviceBridge to play the recording through the whole stack.
#ifndef DEVICEBRIDGE_PYDATAPLAYER_H
#define DEVICEBRIDGE_PYDATAPLAYER_H

#include "DataPlayer.h"

namespace Tervik {

class PythonDeviceBridge;

class PyDataPlayer {
public:
    /// Opens the recording; std::runtime_error "failed to open recording" + the file name if it can't.
    explicit PyDataPlayer(const std::string& meta_filename, int depth = -1);
    PyDataPlayer(const PyDataPlayer&) = delete;
    PyDataPlayer& operator=(const PyDataPlayer&) = delete;

    // --- playing: nothing is handed out until play(); stop() rewinds.
    /// Hands out packets at their recorded pace, from the position.
    void play();
    /// Holds the position; play() resumes from it.
    void pause();
    /// Rewinds; a later play() starts at the beginning.
    void stop();

    // --- a mask of DataType bits, or 0xFFFFFFFF for all; 1 for a refused mask.
    /// Plays only records of these types.
    int set_filter(uint32_t data_types);
    /// The mask of types that are played.
    uint32_t get_filter() const;

    // --- a multiplier of the recorded pace: 0 holds, below zero as fast as possible.
    /// 2.0 plays twice as fast, 0.5 at half speed.
    void set_playback_rate(float rate);
    /// The multiplier of the recorded pace, 1.0 by default.
    float get_playback_rate() const;

    // --- at the end of the recording, start over from the beginning.
    /// Switches loop mode on or off; off by default.
    void set_loop_mode_enabled(bool enabled);
    /// True when playing starts over at the end.
    bool get_loop_mode_enabled() const;

    // --- milliseconds from the start of the recording; set_position gives 1 outside 0 to get_duration().
    /// Moves to a position in milliseconds from the start.
    int set_position(int64_t position);
    /// Where playback stands, in milliseconds from the start.
    int64_t get_position() const;
    /// Length of the recording in milliseconds.
    int64_t get_duration() const;

    /// The meta file as given to the constructor.
    std::string meta_filename() const;

private:
    friend class PythonDeviceBridge;
    DataPlayer player;
};

} // namespace Tervik

#endif
