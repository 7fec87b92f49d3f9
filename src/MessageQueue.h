// A thread-safe first-in, first-out queue with an optional limit. It carries the tasks of an active thread
// and the packets of a subscription.
//
// Limit (max count): -1 no limit (the default); 0 every pushed item is dropped; positive: at most that many
// items are kept, the oldest is dropped to make room. A push never blocks.
#ifndef DEVICEBRIDGE_MESSAGEQUEUE_H
#define DEVICEBRIDGE_MESSAGEQUEUE_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <utility>

template <typename T> class MessageQueue {
public:
    typedef std::chrono::system_clock::time_point Deadline;

    MessageQueue() : max_count_(-1) {}
    virtual ~MessageQueue() {}
    MessageQueue(const MessageQueue&) = delete;
    MessageQueue& operator=(const MessageQueue&) = delete;

    // Wakes one waiting reader; a dropped item (limit 0) wakes nobody.
    void push(T item) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (max_count_ == 0)
                return;
            // Equality suffices: set_max_count has already trimmed the queue to the limit.
            if (max_count_ > 0 && queue_.size() == static_cast<std::size_t>(max_count_))
                queue_.pop_front();
            queue_.push_back(std::move(item));
        }
        condition_.notify_one();
    }

    // Waits without limit while the queue is empty, then removes and returns the front item.
    T pop() {
        std::unique_lock<std::mutex> lock(mutex_);
        condition_.wait(lock, [this] { return !queue_.empty(); });
        return take_front();
    }

    // As pop(), but gives up at an absolute deadline on the system clock. Returns true and moves the front
    // item into `item` if there was one in time; false, with `item` untouched, once the clock stands at or
    // past the deadline. An item already queued is taken without waiting, even if the deadline has passed.
    bool wait_for(const Deadline& deadline, T& item) {
        std::unique_lock<std::mutex> lock(mutex_);
        if (!condition_.wait_until(lock, deadline, [this] { return !queue_.empty(); }))
            return false;
        item = take_front();
        return true;
    }

    std::size_t size() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return queue_.size();
    }

    bool empty() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return queue_.empty();
    }

    void clear() {
        std::lock_guard<std::mutex> lock(mutex_);
        queue_.clear();
    }

    // Stores the new limit and drops the oldest items while there are more than it allows.
    void set_max_count(std::int32_t max_count) {
        std::lock_guard<std::mutex> lock(mutex_);
        max_count_ = max_count;
        while (max_count_ >= 0 && queue_.size() > static_cast<std::size_t>(max_count_))
            queue_.pop_front();
    }

    std::int32_t get_max_count() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return max_count_;
    }

private:
    T take_front() {
        T item = std::move(queue_.front());
        queue_.pop_front();
        return item;
    }

    std::deque<T> queue_;
    mutable std::mutex mutex_;
    std::condition_variable condition_;
    std::int32_t max_count_;
};

#endif
