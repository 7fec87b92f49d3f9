// The output stream of one data file of a recording: binary, appending, with a buffer large enough that
// records of a kilobyte or more are gathered into few writes. (The standard file streams hand every write of
// a kilobyte or more straight to the operating system, one system call per record.)
#ifndef DEVICEBRIDGE_DATAFILESTREAM_H
#define DEVICEBRIDGE_DATAFILESTREAM_H

#include "Bytes.h"

#include <cstdio>
#include <memory>
#include <string>

class DataFileStream {
public:
    DataFileStream() = default;
    // Closes the file, writing what is buffered.
    ~DataFileStream();
    DataFileStream(const DataFileStream&) = delete;
    DataFileStream& operator=(const DataFileStream&) = delete;

    // Creates or truncates the file; false if it can't be opened. Closes a file open before.
    bool open(const std::string& filename);
    bool is_open() const { return file_ != nullptr; }
    // Buffered; a failed write is not reported, as with a standard stream.
    void write(const Bytes& bytes);
    void close();

private:
    static const size_t buffer_size = 64 * 1024;

    FILE* file_ = nullptr;
    std::unique_ptr<char[]> buffer_;
};

#endif
