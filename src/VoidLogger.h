// The logger of places that have no real one. It still shows errors (level 0) on standard output, without a
// time.
#ifndef DEVICEBRIDGE_VOIDLOGGER_H
#define DEVICEBRIDGE_VOIDLOGGER_H

#include "Logger.h"

class VoidLogger : public Logger {
public:
    void set_log_level(int level) override;
    void error(const std::string& text) override;
    void log(unsigned int level, const std::string& text) override;
    void print_bytes(unsigned int level, const Bytes& bytes) override;
};

// The one shared instance, for objects built without a logger (the data recorder's default constructor). It
// is made on first use, so it is ready even for objects constructed during static initialisation, and it has
// no state, so any number of threads may use it.
VoidLogger& void_logger();

#endif
