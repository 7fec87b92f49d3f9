#include "Trace.h"

#include "Logger.h"

Trace::Trace(Logger& logger, unsigned int level, const std::string& name)
    : logger(logger), name(name), level(level) {
    logger.log(level, name + " -- begin");
}

Trace::Trace(Logger& logger, unsigned int level, const std::string& name, std::nothrow_t) noexcept
    : logger(logger), level(level) {
    log_quietly(logger, level, name, " -- begin");
    // The copy allocates; should that fail, the end line goes out without the name.
    try {
        this->name = name;
    } catch (...) {
    }
}

Trace::~Trace() {
    log_quietly(logger, level, name, " -- end");
}
