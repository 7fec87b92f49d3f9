// What a link costs the host while it waits: the share of one processor core that the whole process uses.
#ifndef DEVICEBRIDGE_TESTS_PROCESSCPU_H
#define DEVICEBRIDGE_TESTS_PROCESSCPU_H

#include <chrono>
#include <thread>
#include <time.h>

// 1.0 is a whole core, used by all threads together while the calling thread sleeps through the window. A
// loaded machine can only lower it: other processes' time is not counted.
inline double cpu_share_over(std::chrono::milliseconds window) {
    const auto cpu_seconds = [] {
        timespec now;
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
        return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
    };
    const double cpu_before = cpu_seconds();
    const auto start = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(window);
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    return (cpu_seconds() - cpu_before) / wall.count();
}

#endif
