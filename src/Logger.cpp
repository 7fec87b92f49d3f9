#include "Logger.h"

Logger::~Logger() {}

lstream Logger::serror() {
    return lstream([this](std::string text) { error(text); });
}

lstream Logger::slog(unsigned int level) {
    return lstream([this, level](std::string text) { log(level, text); });
}
