#include "Trace.h"

#include "Logger.h"

Trace::Trace(Logger& logger, unsigned int level, const std::string& name)
    : logger(logger), name(name), level(level) {
    logger.log(level, name + " -- begin");
}

Trace::~Trace() {
    try {
        logger.log(level, name + " -- end");
    } catch (...) {
        // Leaving a scope must not throw, least of all while an exception is already on its way out.
    }
}
