// The state behind a DataPlayer, and the side of it that the playback link sees: read_packet, which hands out
// at most one whole packet per call and never blocks, and a wait until the next packet is due.
//
// Two threads meet here: the user's, which asks for state changes, and the link's reader, which asks for
// packets. A state change is a request, acted upon at the next read_packet. Locks, always in this order: the
// reader mutex (reader, formatter, pending packet, current record), the state mutex (state fields), the
// timer's own; the wake mutex is taken alone.
#ifndef DEVICEBRIDGE_DATAPLAYERPRIVATE_H
#define DEVICEBRIDGE_DATAPLAYERPRIVATE_H

#include "DataPacketFormater.h"
#include "DataPlayer.h"
#include "DataReader.h"
#include "ElapsedTimer.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

namespace Tervik {

class DataPlayerPrivate {
public:
    DataPlayerPrivate(DataPlayer* q, const std::string& meta_filename, int depth);

    static DataPlayerPrivate& of(DataPlayer& player) { return *player.d_ptr; }

    // --- the link's side
    // Hands out the next packet if it is due: 0 with *size the packet's length (0 when none is due, or while
    // not playing), 1 at the end of the recording, when it can't be read, or when a record is lost (a line on
    // standard output says why). A record that can't be read holds playing there until the position, the
    // filter or the state changes. size may be null.
    int read_packet(uint8_t* buffer, uint32_t max_size, uint32_t* size);
    // Returns once read_packet may have something to do: at once when it has, otherwise when the next packet
    // is due, when the user changes something, when `interrupted` was set (then followed by wake()), or after
    // `limit` at the latest.
    void wait_until_due(std::chrono::milliseconds limit, const std::atomic<bool>& interrupted);
    // Ends the waits in progress.
    void wake();
    // 0 when the recording is open or opens.
    int ensure_open();
    // Back to the recording's first record; the timer runs on, so that the records from the start come as
    // fast as they can be read until they have caught up.
    void rewind();

    // --- the user's side
    void set_pending_state(DataPlayer::State new_state);
    DataPlayer::State get_state() const;
    int set_filter(uint32_t data_types);
    uint32_t get_filter() const { return filter; }
    void set_playback_rate(float rate);
    float get_playback_rate() const { return playback_rate; }
    void set_loop_mode_enabled(bool enabled);
    bool get_loop_mode_enabled() const { return loop_mode; }
    int set_position(int64_t ms);
    int64_t get_position() const;
    int64_t get_duration() const { return duration; }

    DataPlayer* q_ptr;
    const std::string meta_filename;
    const int depth;

private:
    // What the reader thread may wait for before it calls read_packet again.
    struct Due {
        enum Kind { Now, At, OnChange } kind;
        ElapsedTimer::Clock::time_point at;
    };

    // All below need the reader mutex held.
    std::unique_lock<std::mutex> update_state(DataPlayer::State* state);
    void process_state_change(DataPlayer::State new_state, DataPlayer::State old_state);
    int open();
    bool is_open() const { return reader.is_open(); }
    // The reader is at its end and no packet waits.
    bool at_end() const;
    void close();
    bool too_early_to_return_packet(const DataRecord& record) const;
    // The next record that makes a packet, converted, into record.data; 1 when none is to be had now.
    int next_packet(DataRecord* record);
    Bytes convert(const DataRecord& record) const;
    void hand_out(const Bytes& packet, uint8_t* buffer, uint32_t* size);
    Due next_due();

    static const int NoState = -1;

    // Guarded by state_mutex.
    DataPlayer::State state = DataPlayer::StoppedState;
    int pending_state = NoState;
    bool stop_requested = false;

    // Read without a lock by the user's thread.
    std::atomic<int64_t> current_record_ms{0};
    std::atomic<int64_t> duration{0};
    std::atomic<float> playback_rate{1.0f};
    std::atomic<bool> loop_mode{false};
    std::atomic<bool> position_set{false};
    std::atomic<uint32_t> filter{0xFFFFFFFF};

    // Guarded by reader_mutex.
    std::unique_ptr<DataPacketFormater> formatter;
    DataReader reader;
    DataRecord pending_packet;
    // A loop restart is pointless, and would spin, when the last pass through the recording gave nothing.
    bool delivered_since_open = false;
    // A record couldn't be read: the recording is damaged there, and playing holds until it is opened again,
    // repositioned or filtered otherwise, rather than stumble over the damage on every call.
    bool read_failed = false;

    ElapsedTimer timer;
    std::mutex reader_mutex;
    mutable std::mutex state_mutex;

    // Counts the user's changes, so that a wait sees one that came while it was working out how long to wait.
    std::mutex wake_mutex;
    std::condition_variable wake_condition;
    uint64_t changes = 0;
};

} // namespace Tervik

#endif
