// The default logger output: standard output, a debug file in the current directory, or both.
//
// The file is named "debug_%Y%m%d_%H%M%S.log" after the local time at which it is opened, and is created only
// when the first line is to be written. After 200000 lines the file is closed and a new one begins; two files
// opened within one second get the same name, and the second empties the first.
#ifndef DEVICEBRIDGE_DEFAULTLOGGERIO_H
#define DEVICEBRIDGE_DEFAULTLOGGERIO_H

#include "AbstractLoggerIo.h"

#include <cstdint>
#include <fstream>
#include <string>

class DefaultLoggerIo : public Tervik::AbstractLoggerIo {
public:
    static const std::uint32_t max_lines_per_file = 200000;

    DefaultLoggerIo(bool log_to_stdout, bool log_to_file);
    ~DefaultLoggerIo() override;

    // Throws std::runtime_error("file is not open after open") when the debug file can't be created.
    // Has no lock of its own: the logger serialises the calls.
    void log(const std::string& line) override;

    // The local time now, formatted by strftime. A format of 250 characters or more is a programming error
    // and aborts.
    std::string create_filename(const std::string& format) const;

private:
    void open_log_file();

    bool log_to_file_;
    bool log_to_stdout_;
    std::ofstream file_;
    std::uint32_t line_count_;
};

#endif
