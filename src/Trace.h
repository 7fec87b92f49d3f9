// A scope marker: logs name + " -- begin" when built and name + " -- end" when the scope is left.
#ifndef DEVICEBRIDGE_TRACE_H
#define DEVICEBRIDGE_TRACE_H

#include <new>
#include <string>

class Logger;

class Trace {
public:
    // Both texts are composed whatever the level; most traces run at level 3.
    Trace(Logger& logger, unsigned int level, const std::string& name);
    // For a destructor's own scope: the begin line doesn't throw either.
    Trace(Logger& logger, unsigned int level, const std::string& name, std::nothrow_t) noexcept;
    // Never throws: a scope is often left while an exception is already on its way out.
    ~Trace();
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

private:
    Logger& logger;
    std::string name;
    unsigned int level;
};

#endif
