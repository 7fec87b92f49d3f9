// A scope marker: logs name + " -- begin" when built and name + " -- end" when the scope is left.
#ifndef DEVICEBRIDGE_TRACE_H
#define DEVICEBRIDGE_TRACE_H

#include <string>

class Logger;

class Trace {
public:
    // Both texts are composed whatever the level; most traces run at level 3.
    Trace(Logger& logger, unsigned int level, const std::string& name);
    ~Trace();
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

private:
    Logger& logger;
    std::string name;
    unsigned int level;
};

#endif
