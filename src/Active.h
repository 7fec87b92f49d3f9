// An active object: a thread with a first-in, first-out queue of tasks on which other threads post work.
#ifndef DEVICEBRIDGE_ACTIVE_H
#define DEVICEBRIDGE_ACTIVE_H

#include <functional>

class Active {
public:
    virtual ~Active() {}

    // Posts a task; never waits for it to run. After the object has stopped, the task is dropped silently.
    // A task must not let an exception escape: that ends the process.
    virtual void add(std::function<void()> task) = 0;

    // Runs every task posted before this call, then ends the thread and waits for it. A second call does
    // nothing. Must not be called from a task of the same object, since it joins that thread.
    virtual void stop() = 0;
};

#endif
