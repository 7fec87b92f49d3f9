#include "DataPlayerPrivate.h"

#include "DataTypes.h"

#include <algorithm>
#include <cassert>
#include <cctype>
#include <cstring>
#include <iostream>

namespace Tervik {

namespace {

// The first field of a text file's header line; the formatter gives such a record no packet.
bool is_header_line(const Bytes& record) {
    static const char prefix[] = "timestamp;";
    const size_t length = sizeof(prefix) - 1;
    if (record.size() < length) {
        return false;
    }
    for (size_t i = 0; i < length; ++i) {
        if (std::tolower(record[i]) != prefix[i]) {
            return false;
        }
    }
    return true;
}

} // namespace

DataPlayerPrivate::DataPlayerPrivate(DataPlayer* q, const std::string& meta_filename, int depth)
    : q_ptr(q), meta_filename(meta_filename), depth(depth) {}

// --- the link's side
// ---------------------------------------------------------------------------------------------

int DataPlayerPrivate::read_packet(uint8_t* buffer, uint32_t max_size, uint32_t* size) {
    DataPlayer::State current;
    std::unique_lock<std::mutex> lock = update_state(&current);
    if (size) {
        *size = 0;
    }
    if (!is_open() || read_failed) {
        return 1;
    }
    if (at_end()) {
        if (!loop_mode) {
            return 1;
        }
        if (current != DataPlayer::PlayingState) {
            return 0;
        }
        process_state_change(DataPlayer::StoppedState, current);
        process_state_change(current, DataPlayer::StoppedState);
        if (!is_open()) {
            return 1;
        }
    }
    if (max_size == 0 || current != DataPlayer::PlayingState) {
        return 0;
    }
    if (pending_packet.is_valid) {
        if (!too_early_to_return_packet(pending_packet)) {
            hand_out(pending_packet.data, buffer, size);
            pending_packet = DataRecord();
        }
        return 0;
    }
    DataRecord record;
    if (next_packet(&record) != 0) {
        return 1;
    }
    if (!record.is_valid) {
        return 0;
    }
    if (record.data.size() > max_size) {
        std::cout << "WARNING: buffer not large enough to fill packet of size: " << record.data.size()
                  << " (max size: " << max_size << ")" << std::endl;
        return 1;
    }
    current_record_ms = record.epoch - reader.get_start_epoch();
    if (!too_early_to_return_packet(record)) {
        hand_out(record.data, buffer, size);
        return 0;
    }
    pending_packet = std::move(record);
    assert(pending_packet.is_valid);
    return 0;
}

void DataPlayerPrivate::wait_until_due(std::chrono::milliseconds limit,
                                       const std::atomic<bool>& interrupted) {
    std::unique_lock<std::mutex> lock(wake_mutex);
    const uint64_t seen = changes;
    lock.unlock();
    if (interrupted) {
        return;
    }
    const Due due = next_due();
    if (due.kind == Due::Now) {
        return;
    }
    ElapsedTimer::Clock::time_point deadline = ElapsedTimer::Clock::now() + limit;
    if (due.kind == Due::At) {
        deadline = std::min(deadline, due.at);
    }
    lock.lock();
    wake_condition.wait_until(lock, deadline, [&] { return changes != seen; });
}

void DataPlayerPrivate::wake() {
    {
        std::lock_guard<std::mutex> lock(wake_mutex);
        ++changes;
    }
    wake_condition.notify_all();
}

int DataPlayerPrivate::ensure_open() {
    std::lock_guard<std::mutex> lock(reader_mutex);
    return is_open() ? 0 : open();
}

void DataPlayerPrivate::rewind() {
    {
        std::lock_guard<std::mutex> lock(reader_mutex);
        reader.seek_byte(0);
        pending_packet = DataRecord();
        read_failed = false;
    }
    wake();
}

// --- the user's side
// ---------------------------------------------------------------------------------------------

// The timer follows at once, so that get_position is right before the reader thread has taken the request.
void DataPlayerPrivate::set_pending_state(DataPlayer::State new_state) {
    {
        std::lock_guard<std::mutex> lock(state_mutex);
        const int current = pending_state != NoState ? pending_state : int(state);
        if (current == new_state) {
            return;
        }
        pending_state = new_state;
        switch (new_state) {
        case DataPlayer::PlayingState:
            if (current == DataPlayer::StoppedState) {
                timer.start(position_set);
            } else {
                const DataPlayer::State old_state = DataPlayer::State(current);
                assert(old_state == DataPlayer::PausedState);
                (void)old_state;
                timer.start(true);
            }
            position_set = false;
            break;
        case DataPlayer::PausedState:
            timer.pause();
            break;
        case DataPlayer::StoppedState:
            stop_requested = true;
            timer.stop();
            break;
        }
    }
    wake();
}

DataPlayer::State DataPlayerPrivate::get_state() const {
    std::lock_guard<std::mutex> lock(state_mutex);
    return pending_state != NoState ? DataPlayer::State(pending_state) : state;
}

int DataPlayerPrivate::set_filter(uint32_t data_types) {
    {
        std::lock_guard<std::mutex> lock(reader_mutex);
        if (reader.set_filter(data_types) != 0) {
            return 1;
        }
        filter = data_types;
        read_failed = false;
    }
    wake();
    return 0;
}

void DataPlayerPrivate::set_playback_rate(float rate) {
    timer.set_tick_rate(rate);
    playback_rate = rate;
    wake();
}

void DataPlayerPrivate::set_loop_mode_enabled(bool enabled) {
    loop_mode = enabled;
    wake();
}

int DataPlayerPrivate::set_position(int64_t ms) {
    if (ms < 0 || ms > duration) {
        return 1;
    }
    {
        DataPlayer::State current;
        std::unique_lock<std::mutex> lock = update_state(&current);
        if (!is_open() && open() != 0) {
            return 1;
        }
        if (reader.seek_ms(ms) != 0) {
            return 1;
        }
        timer.stop();
        timer.start(false);
        if (current != DataPlayer::PlayingState) {
            timer.pause();
        }
        timer.set_elapsed(ms);
        // Lets the next play from Stopped start the timer at the position instead of at zero.
        position_set = current == DataPlayer::StoppedState;
        pending_packet = DataRecord();
        read_failed = false;
        current_record_ms = ms;
    }
    wake();
    return 0;
}

int64_t DataPlayerPrivate::get_position() const {
    if (playback_rate < 0.0f) {
        return current_record_ms;
    }
    return std::min<int64_t>(std::max<int64_t>(timer.elapsed(), 0), duration);
}

// --- with the reader mutex held
// ----------------------------------------------------------------------------------

// A stop and a play between two reads still go through a real stop, which rewinds.
std::unique_lock<std::mutex> DataPlayerPrivate::update_state(DataPlayer::State* new_state) {
    std::unique_lock<std::mutex> reader_lock(reader_mutex);
    DataPlayer::State old_state;
    bool restart = false;
    {
        std::lock_guard<std::mutex> state_lock(state_mutex);
        old_state = state;
        if (pending_state != NoState) {
            state = DataPlayer::State(pending_state);
            pending_state = NoState;
        }
        if (stop_requested) {
            stop_requested = false;
            restart = state != DataPlayer::StoppedState;
        }
        *new_state = state;
    }
    if (restart) {
        process_state_change(DataPlayer::StoppedState, old_state);
        old_state = DataPlayer::StoppedState;
    }
    if (*new_state != old_state) {
        process_state_change(*new_state, old_state);
    }
    return reader_lock;
}

void DataPlayerPrivate::process_state_change(DataPlayer::State new_state, DataPlayer::State old_state) {
    switch (new_state) {
    case DataPlayer::PlayingState:
        open();
        if (old_state == DataPlayer::StoppedState) {
            timer.start(false);
        } else {
            assert(old_state == DataPlayer::PausedState);
            timer.start(true);
        }
        break;
    case DataPlayer::PausedState:
        timer.pause();
        break;
    case DataPlayer::StoppedState:
        close();
        break;
    }
}

int DataPlayerPrivate::open() {
    const int result = reader.open(meta_filename, depth);
    if (result == 0) {
        reader.set_filter(filter);
        formatter.reset(new DataPacketFormater(reader.get_meta_version()));
        duration = reader.get_duration();
        delivered_since_open = false;
        read_failed = false;
        assert(reader.get_filter() == filter);
    }
    return result;
}

bool DataPlayerPrivate::at_end() const {
    return reader.at_end() && !pending_packet.is_valid;
}

void DataPlayerPrivate::close() {
    reader.close();
    timer.stop();
    pending_packet = DataRecord();
    current_record_ms = 0;
}

bool DataPlayerPrivate::too_early_to_return_packet(const DataRecord& record) const {
    const float rate = playback_rate;
    if (rate < 0.0f) {
        return false;
    }
    if (rate == 0.0f) {
        return true;
    }
    assert((record.epoch - reader.get_start_epoch()) == current_record_ms);
    (void)record;
    return timer.elapsed() < current_record_ms;
}

// User headers, performance records and the header lines of text files are passed over. A record that can't
// be converted is lost, with its reason on standard output, and the next call goes on after it; one that
// can't be read holds playing.
int DataPlayerPrivate::next_packet(DataRecord* record) {
    while (!at_end()) {
        *record = reader.read_record();
        if (!record->is_valid) {
            std::cout << "WARNING: failed to read record from recording: " << meta_filename << std::endl;
            std::cout << "playing holds here until the position, the filter or the state changes"
                      << std::endl;
            read_failed = true;
            return 1;
        }
        if (record->is_user_header || record->data_type == PerformanceStatusType) {
            continue;
        }
        Bytes packet = convert(*record);
        if (!packet.empty()) {
            record->data.swap(packet);
            return 0;
        }
        if (is_header_line(record->data)) {
            continue;
        }
        std::cout << "WARNING: failed to convert bytes from disk to valid packet" << std::endl;
        std::cout << "data_type: " << record->data_type << ", size: " << record->data.size() << std::endl;
        return 1;
    }
    *record = DataRecord();
    return 0;
}

// A text field that isn't a number makes the formatter throw; to the player that is one more record that
// doesn't convert, and it must not end the reader's thread.
Bytes DataPlayerPrivate::convert(const DataRecord& record) const {
    try {
        return formatter->from_disk(record.data_type, record.data);
    } catch (const std::exception&) {
        return Bytes();
    }
}

void DataPlayerPrivate::hand_out(const Bytes& packet, uint8_t* buffer, uint32_t* size) {
    if (!packet.empty()) {
        std::memcpy(buffer, packet.data(), packet.size());
    }
    if (size) {
        *size = uint32_t(packet.size());
    }
    delivered_since_open = true;
}

DataPlayerPrivate::Due DataPlayerPrivate::next_due() {
    std::lock_guard<std::mutex> reader_lock(reader_mutex);
    {
        std::lock_guard<std::mutex> state_lock(state_mutex);
        if (pending_state != NoState || stop_requested) {
            return Due{Due::Now, {}};
        }
        if (state != DataPlayer::PlayingState) {
            return Due{Due::OnChange, {}};
        }
    }
    if (!is_open() || read_failed) {
        return Due{Due::OnChange, {}};
    }
    if (at_end()) {
        return Due{loop_mode && delivered_since_open ? Due::Now : Due::OnChange, {}};
    }
    const float rate = playback_rate;
    if (!pending_packet.is_valid || rate < 0.0f) {
        return Due{Due::Now, {}};
    }
    Due due{Due::At, {}};
    if (!timer.time_of(current_record_ms, &due.at)) {
        due.kind = Due::OnChange;
    }
    return due;
}

} // namespace Tervik
