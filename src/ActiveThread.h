// The one implementation of Active: a named thread that runs posted tasks in order until it is stopped.
#ifndef DEVICEBRIDGE_ACTIVETHREAD_H
#define DEVICEBRIDGE_ACTIVETHREAD_H

#include "Active.h"
#include "MessageQueue.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

class Logger;

class ActiveThread : public Active {
public:
    // Starts the thread and returns only once it runs, so a task added right after construction is never
    // lost. The name shows in log lines and, cut to 15 characters, as the operating system's thread name.
    ActiveThread(const std::string& name, Logger& logger);
    // Stops (draining the queue) before the members die.
    ~ActiveThread() override;
    ActiveThread(const ActiveThread&) = delete;
    ActiveThread& operator=(const ActiveThread&) = delete;

    void add(std::function<void()> task) override;
    void stop() override;

private:
    void do_stop();
    void loop();
    bool may_end();
    void notify_thread_start();
    void wait_for_thread_start();

    std::string name_;
    bool started_;
    std::mutex start_mutex_;
    std::condition_variable start_condition_;
    MessageQueue<std::function<void()>> q_;
    std::thread thread_;
    // Set on the thread itself by do_stop; read without a lock by add, stop and loop.
    std::atomic<bool> stop_flag_;
    // Makes add's test of the stop flag and its push one step, as seen by the loop's decision to end.
    std::mutex post_mutex_;
    // Lets two owners' threads call stop() at once without both joining.
    std::mutex join_mutex_;
    Logger& logger_;
};

#endif
