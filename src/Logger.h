// The interface through which every object of the link runtime writes its diagnostics.
//
// Levels are unsigned numbers, higher means more talk: 0 errors (always pass), 1 packets without a handler,
// 2 closing of a port, 3 traces and writer traffic, 5 construction notes and byte dumps. A message of level L
// passes when L is at most the configured level; set_log_level(-1) lets everything through.
#ifndef DEVICEBRIDGE_LOGGER_H
#define DEVICEBRIDGE_LOGGER_H

#include "Bytes.h"
#include "lstream.h"

#include <sstream>
#include <string>

class Logger {
public:
    virtual ~Logger();

    // Stored as unsigned, so -1 means "everything".
    virtual void set_log_level(int level) = 0;

    // A stream whose text goes to error() at flush().
    virtual lstream serror();
    // A stream whose text goes to log(level, ...) at flush(); the level is tested then, after composing.
    virtual lstream slog(unsigned int level);

    virtual void error(const std::string& text) = 0;
    virtual void log(unsigned int level, const std::string& text) = 0;
    // A short rendering of a buffer: its size and at most 23 of its bytes. Tests the level before composing.
    virtual void print_bytes(unsigned int level, const Bytes& bytes) = 0;
};

// For destructors and the ends of threads, which must never let an exception out: logs the parts as one text
// and drops whatever composing it or the logger's output throws (a debug file that cannot be reopened).
template <typename... Parts>
void log_quietly(Logger& logger, unsigned int level, const Parts&... parts) noexcept {
    try {
        std::ostringstream text;
        (text << ... << parts);
        logger.log(level, text.str());
    } catch (...) {
    }
}

#endif
