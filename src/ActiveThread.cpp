#include "ActiveThread.h"

#include "Logger.h"

#include <cstdio>
#include <cstdlib>
#include <pthread.h>

namespace {

const std::size_t max_os_thread_name = 15;

// Debuggers and top show this name; the kernel refuses names longer than 15 characters, so cut rather than
// fail.
void set_os_thread_name(const std::string& name) {
    pthread_setname_np(pthread_self(), name.substr(0, max_os_thread_name).c_str());
}

} // namespace

ActiveThread::ActiveThread(const std::string& name, Logger& logger)
    : name_(name), started_(false), stop_flag_(false), logger_(logger) {
    thread_ = std::thread(&ActiveThread::loop, this);
    wait_for_thread_start();
}

ActiveThread::~ActiveThread() {
    stop();
    log_quietly(logger_, 5, "~ActiveThread: ", name_);
}

void ActiveThread::add(std::function<void()> task) {
    std::lock_guard<std::mutex> lock(post_mutex_);
    if (stop_flag_)
        return;
    q_.push(std::move(task));
}

void ActiveThread::stop() {
    std::lock_guard<std::mutex> lock(join_mutex_);
    if (stop_flag_ || !thread_.joinable())
        return;
    q_.push([this] { do_stop(); });
    thread_.join();
    // Kept in release builds: a task left behind would hold a pointer to an object that is about to die.
    if (!q_.empty()) {
        std::fprintf(stderr, "Assertion `%s' failed.\n", "q_.empty()");
        std::abort();
    }
}

void ActiveThread::do_stop() {
    stop_flag_ = true;
}

void ActiveThread::loop() {
    notify_thread_start();
    set_os_thread_name(name_);
    while (!may_end()) {
        std::function<void()> task = q_.pop();
        task();
    }
    log_quietly(logger_, 5, "task ending: ", name_);
}

// Decided under the same mutex as add's test-and-push, so a task from another thread can't slip into the
// queue between the last look at it and the end of the thread, where nobody would ever run it.
bool ActiveThread::may_end() {
    std::lock_guard<std::mutex> lock(post_mutex_);
    return stop_flag_ && q_.empty();
}

void ActiveThread::notify_thread_start() {
    {
        std::lock_guard<std::mutex> lock(start_mutex_);
        started_ = true;
    }
    start_condition_.notify_one();
}

void ActiveThread::wait_for_thread_start() {
    std::unique_lock<std::mutex> lock(start_mutex_);
    start_condition_.wait(lock, [this] { return started_; });
}
