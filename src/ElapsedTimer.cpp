#include "ElapsedTimer.h"

#include <cassert>
#include <cmath>

namespace Tervik {

namespace {

typedef std::chrono::duration<double, std::milli> Milliseconds;

} // namespace

void ElapsedTimer::start(bool adjust) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_state == RunningState) {
        return;
    }
    // A frozen timer keeps its held time: it runs again from there at the next positive rate.
    if (!is_frozen()) {
        m_start = Clock::now();
        if (adjust && m_state == PausedState) {
            set_adjusted_elapsed(m_start, m_elapsed);
        }
        m_elapsed = 0;
    }
    m_state = RunningState;
}

void ElapsedTimer::stop() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_state = StoppedState;
    m_elapsed = 0;
}

void ElapsedTimer::pause() {
    std::lock_guard<std::mutex> lock(m_mutex);
    const int64_t now_elapsed = elapsed_locked();
    if (m_state == PausedState) {
        return;
    }
    if (!is_frozen()) {
        m_elapsed = now_elapsed;
    }
    m_state = PausedState;
}

ElapsedTimer::State ElapsedTimer::state() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_state;
}

int64_t ElapsedTimer::elapsed() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return elapsed_locked();
}

void ElapsedTimer::set_elapsed(int64_t ms) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_state == PausedState || (m_state == RunningState && is_frozen())) {
        m_elapsed = ms;
    } else if (m_state == RunningState) {
        set_adjusted_elapsed(Clock::now(), ms);
    }
}

void ElapsedTimer::set_tick_rate(float rate) {
    std::lock_guard<std::mutex> lock(m_mutex);
    const int64_t now_elapsed = elapsed_locked();
    const Clock::time_point now = Clock::now();
    if (rate < 0.0f) {
        rate = 1.0f;
    }
    const bool was_frozen = is_frozen();
    const bool running = m_state == RunningState;
    if (rate == 0.0f) {
        if (!was_frozen && running) {
            m_elapsed = now_elapsed;
        }
        m_tick_rate = 0.0f;
        return;
    }
    assert(rate > 0.0f);
    m_tick_rate = rate;
    if (was_frozen && running) {
        m_elapsed = 0;
        m_start = now;
    }
    if (running) {
        set_adjusted_elapsed(now, now_elapsed);
    }
}

bool ElapsedTimer::time_of(int64_t ms, Clock::time_point* when) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_state != RunningState || is_frozen()) {
        return false;
    }
    *when = m_start + std::chrono::duration_cast<Clock::duration>(Milliseconds(double(ms) / m_tick_rate));
    return true;
}

int64_t ElapsedTimer::calc_elapsed(Clock::time_point now) const {
    return std::llround(Milliseconds(now - m_start).count() * double(m_tick_rate));
}

// Exact to the steady clock's resolution rather than to whole milliseconds, so that a timer set to a record's
// time hands that record out at once and not a millisecond later.
void ElapsedTimer::set_adjusted_elapsed(Clock::time_point now, int64_t ms) {
    assert(m_tick_rate != 0.0f);
    m_start = now - std::chrono::duration_cast<Clock::duration>(Milliseconds(double(ms) / m_tick_rate));
}

int64_t ElapsedTimer::elapsed_locked() const {
    if (m_state == StoppedState) {
        return 0;
    }
    if (m_state == PausedState || is_frozen()) {
        return m_elapsed;
    }
    return calc_elapsed(Clock::now());
}

} // namespace Tervik
