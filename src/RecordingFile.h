// An output file of a recording: buffered, and exact about what reached the operating system. A write the
// system refuses (a full disk, a file size limit, a vanished directory's file system) leaves what it took
// written and the rest buffered, so that the recorder can tell which records are on disk, drop those that
// aren't, or try again later.
#ifndef DEVICEBRIDGE_RECORDINGFILE_H
#define DEVICEBRIDGE_RECORDINGFILE_H

#include "Bytes.h"

#include <cstdint>
#include <string>

class RecordingFile {
public:
    RecordingFile() = default;
    // Closes the file, writing what is buffered if the system takes it.
    ~RecordingFile();
    RecordingFile(const RecordingFile&) = delete;
    RecordingFile& operator=(const RecordingFile&) = delete;

    // Creates or truncates the file; false if it can't be opened, with error() set. Closes a file open
    // before.
    bool open(const std::string& filename);
    bool is_open() const { return fd_ >= 0; }
    // Closes, writing the buffer first; false if some of it wasn't taken or the close failed. Nothing stays
    // buffered after it.
    bool close();

    // Buffers the bytes, writing the buffer out first when they don't fit. False if that write failed.
    bool write(const Bytes& bytes);
    // Buffers the bytes and nothing more: the owner decides when they go out, by flush().
    void append(const Bytes& bytes);
    // Writes the buffer out. False if the system refused part of it, which then stays buffered.
    bool flush();
    // Forgets what is buffered: bytes that will never be written.
    void discard();
    // Overwrites bytes at an offset that is already written.
    bool write_at(int64_t offset, const Bytes& bytes);

    // Bytes the system has taken, and those plus the buffered ones: where the next write lands.
    int64_t written() const { return written_; }
    int64_t size() const { return written_ + static_cast<int64_t>(buffer_.size()); }
    // What is buffered, for an owner that must take back bytes it can no longer stand behind.
    Bytes& buffer() { return buffer_; }
    // Whether the last write out failed, and its errno.
    bool failed() const { return error_ != 0; }
    int error() const { return error_; }
    // Whether the file has lost its name: removed, or its directory with it.
    bool unlinked() const;

private:
    bool write_out(const unsigned char* data, size_t size);

    static const size_t buffer_size = 64 * 1024;

    int fd_ = -1;
    int64_t written_ = 0;
    int error_ = 0;
    Bytes buffer_;
};

#endif
