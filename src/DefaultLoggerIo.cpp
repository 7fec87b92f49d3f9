#include "DefaultLoggerIo.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <stdexcept>

namespace {

// Kept in release builds too: a format this long would be a programming error, and strftime's buffer is sized
// on the assumption that it never happens.
void check_invariant(bool holds, const char* text) {
    if (holds)
        return;
    std::fprintf(stderr, "Assertion `%s' failed.\n", text);
    std::abort();
}

} // namespace

DefaultLoggerIo::DefaultLoggerIo(bool log_to_stdout, bool log_to_file)
    : log_to_file_(log_to_file), log_to_stdout_(log_to_stdout), line_count_(0) {}

DefaultLoggerIo::~DefaultLoggerIo() {
    if (file_.is_open())
        file_.close();
}

void DefaultLoggerIo::log(const std::string& line) {
    if (log_to_stdout_)
        std::cout << line << std::endl;
    if (!log_to_file_)
        return;
    if (!file_.is_open())
        open_log_file();
    if (++line_count_ > max_lines_per_file) {
        file_.close();
        open_log_file();
        line_count_ = 0;
    }
    // Flushed line by line so that a crash leaves the log complete up to its last line.
    file_ << line << std::endl;
}

// Mode "out" alone truncates, so a file of the same name (opened within the same second) is emptied.
void DefaultLoggerIo::open_log_file() {
    file_.open(create_filename("debug_%Y%m%d_%H%M%S.log"), std::ios_base::out);
    if (!file_.is_open())
        throw std::runtime_error("file is not open after open");
}

std::string DefaultLoggerIo::create_filename(const std::string& format) const {
    check_invariant(format.size() < 250, "format.size() < 250");
    const std::time_t now = std::time(nullptr);
    std::tm local;
    localtime_r(&now, &local);
    char buffer[3000];
    const std::size_t length = std::strftime(buffer, sizeof buffer, format.c_str(), &local);
    return std::string(buffer, length);
}
