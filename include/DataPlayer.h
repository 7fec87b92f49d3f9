// Playing a recording back as if the module were sending it.
//
// A DataPlayer opens a recording by its meta file ("tervik_recording_meta.dat") and hands out each recorded
// packet when its time comes, rebuilt byte for byte as the module sent it. It is driven like a media player:
// play, pause, stop, a playback rate, a position, loop mode. Nothing is handed out until play().
//
// The player does nothing by itself: give it to a DeviceBridge (`DeviceBridge bridge(player)`), and the
// bridge's queues, read_message_* calls, subscriptions and even a DataRecorder receive the recording as they
// would receive a module's stream. The player must outlive every bridge built on it, and serves one bridge
// at a time: it has one position. A bridge takes at most 6158 bytes per packet from its link, so a longer
// packet (a baseband frame of more than about 765 bins) can't be played through a bridge: it is dropped
// with a warning, and playback goes on with the next one. A DataReader reads such records whole.
//
// A record that can't be converted back into a packet is skipped with a warning. A record that can't be read
// (a data file that was damaged or deleted after recording) holds playing at that point with a warning: a new
// position, another filter, or stop and play go on from there.
//
// Every method may be called from any thread, also while a bridge plays; a change takes effect at once.
// Messages go to standard output.
#ifndef DEVICEBRIDGE_DATAPLAYER_H
#define DEVICEBRIDGE_DATAPLAYER_H

#include <cstdint>
#include <string>

namespace Tervik {

class DataPlayerPrivate;

class DataPlayer {
public:
    enum State { StoppedState = 0, PlayingState = 1, PausedState = 2 };

    // --- construction
    // Opens the recording behind the meta file, following its chain of meta files; depth is the number of
    // meta files to take, -1 for all. The player starts Stopped, at the beginning. Throws std::runtime_error
    // "failed to open recording" followed by the file name when the recording can't be opened: a missing or
    // damaged meta file, or a chain that mixes sessions.
    explicit DataPlayer(const std::string& meta_filename, int depth = -1);
    ~DataPlayer();
    DataPlayer(const DataPlayer&) = delete;
    DataPlayer& operator=(const DataPlayer&) = delete;

    // --- playing
    // Playing: packets come out at their recorded pace, from the position (the beginning after a stop).
    // Paused: the position holds, and play() resumes from it. Stopped: the recording rewinds; a later play()
    // starts at the beginning, or at a position set while stopped.
    void set_state(State state);
    void play();
    void pause();
    void stop();
    // The state last asked for.
    State get_state() const;

    // --- choosing data: a mask of DataType bits, or 0xFFFFFFFF (the default) for all. 0 and other values
    // above 65535 are refused with 1; otherwise 0. Doesn't move the position.
    int set_filter(uint32_t data_types);
    uint32_t get_filter() const;

    // --- pace: a multiplier of the recorded pace, 1.0 by default. 2.0 plays twice as fast, 0.5 at half
    // speed; 0 holds the position as a pause does; below zero hands out every packet as fast as it is asked
    // for.
    void set_playback_rate(float rate);
    float get_playback_rate() const;

    // --- loop mode, off by default: at the end of the recording, playing starts over from the beginning.
    // Without it, a player at the end stays Playing and hands out nothing more.
    void set_loop_mode_enabled(bool enabled);
    bool get_loop_mode_enabled() const;

    // --- position, in milliseconds from the start of the recording
    // Moves to `position` (0 to get_duration()); playing goes on from the first packet at or after it. While
    // stopped, the next play() starts there. 1, and nothing moves, for a position outside the recording or a
    // recording that can't be read any more.
    int set_position(int64_t position);
    // Where playback stands: the timer of the recording, or at a rate below zero the time of the last
    // packet handed out.
    int64_t get_position() const;
    int64_t get_duration() const;

    // The meta file as given to the constructor.
    std::string meta_filename() const;

private:
    friend class DataPlayerPrivate;
    DataPlayerPrivate* d_ptr;
};

} // namespace Tervik

#endif
