// The clock of a playback: milliseconds of recording time, which run at a rate of their own against the
// steady clock. It can be paused, and a rate of 0 freezes it until a positive rate comes.
#ifndef DEVICEBRIDGE_ELAPSEDTIMER_H
#define DEVICEBRIDGE_ELAPSEDTIMER_H

#include <chrono>
#include <cstdint>
#include <mutex>

namespace Tervik {

class ElapsedTimer {
public:
    typedef std::chrono::steady_clock Clock;
    enum State { StoppedState = 0, RunningState = 1, PausedState = 2 };

    // Runs from 0; with `adjust`, a paused timer runs on from the time it holds. Does nothing while running.
    // A frozen timer keeps the time it holds until a positive rate comes.
    void start(bool adjust);
    // Back to 0.
    void stop();
    // Holds the time until the next start.
    void pause();
    State state() const;
    // 0 when stopped; the held time when paused or frozen.
    int64_t elapsed() const;
    // Makes the time `ms` from now on; ignored when stopped.
    void set_elapsed(int64_t ms);
    // The pace against the steady clock, carrying on from the present time without a jump. Below zero counts
    // as 1; zero freezes the time.
    void set_tick_rate(float rate);
    // The moment at which elapsed() reaches `ms`; false while the time doesn't advance (stopped, paused or
    // frozen).
    bool time_of(int64_t ms, Clock::time_point* when) const;

private:
    int64_t calc_elapsed(Clock::time_point now) const;
    // Moves the start so that the time at `now` is `ms`.
    void set_adjusted_elapsed(Clock::time_point now, int64_t ms);
    int64_t elapsed_locked() const;
    bool is_frozen() const { return m_tick_rate == 0.0f; }

    State m_state = StoppedState;
    int64_t m_elapsed = 0;
    float m_tick_rate = 1.0f;
    Clock::time_point m_start;
    mutable std::mutex m_mutex;
};

} // namespace Tervik

#endif
