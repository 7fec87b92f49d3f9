#include "VoidLogger.h"

#include <iostream>

void VoidLogger::set_log_level(int) {}

void VoidLogger::error(const std::string& text) {
    log(0, text);
}

void VoidLogger::log(unsigned int level, const std::string& text) {
    if (level == 0)
        std::cout << text << std::endl;
}

void VoidLogger::print_bytes(unsigned int, const Bytes&) {}

VoidLogger& void_logger() {
    static VoidLogger instance;
    return instance;
}
