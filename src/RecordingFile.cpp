#include "RecordingFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Writes at the file's position, or at `offset` if it isn't negative, until everything is written or the
// system refuses: a short count is no failure yet, the next call tells why it stopped (EFBIG, ENOSPC).
// Returns the bytes written; *error is 0 or the errno of the refusal.
size_t write_fully(int fd, const unsigned char* data, size_t size, int64_t offset, int* error) {
    size_t done = 0;
    while (done < size) {
        const ssize_t n = offset < 0
                              ? ::write(fd, data + done, size - done)
                              : ::pwrite(fd, data + done, size - done, offset + static_cast<int64_t>(done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            *error = n < 0 ? errno : EIO;
            return done;
        }
        done += static_cast<size_t>(n);
    }
    *error = 0;
    return done;
}

} // namespace

RecordingFile::~RecordingFile() {
    close();
}

bool RecordingFile::open(const std::string& filename) {
    close();
    fd_ = ::open(filename.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    error_ = fd_ < 0 ? errno : 0;
    written_ = 0;
    return fd_ >= 0;
}

bool RecordingFile::close() {
    if (fd_ < 0)
        return true;
    bool closed = flush();
    buffer_.clear();
    if (::close(fd_) != 0 && closed) {
        error_ = errno;
        closed = false;
    }
    fd_ = -1;
    return closed;
}

bool RecordingFile::write(const Bytes& bytes) {
    if (buffer_.size() + bytes.size() > buffer_size && !flush())
        return false;
    if (bytes.size() < buffer_size) {
        append(bytes);
        return true;
    }
    const int64_t before = written_;
    if (write_out(bytes.data(), bytes.size()))
        return true;
    buffer_.insert(buffer_.end(), bytes.begin() + (written_ - before), bytes.end());
    return false;
}

void RecordingFile::append(const Bytes& bytes) {
    buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
}

bool RecordingFile::flush() {
    if (buffer_.empty())
        return true;
    const int64_t before = written_;
    const bool flushed = write_out(buffer_.data(), buffer_.size());
    buffer_.erase(buffer_.begin(), buffer_.begin() + (written_ - before));
    return flushed;
}

void RecordingFile::discard() {
    buffer_.clear();
}

bool RecordingFile::write_at(int64_t offset, const Bytes& bytes) {
    if (offset < 0 || offset + static_cast<int64_t>(bytes.size()) > written_) {
        error_ = EINVAL;
        return false;
    }
    write_fully(fd_, bytes.data(), bytes.size(), offset, &error_);
    return error_ == 0;
}

bool RecordingFile::unlinked() const {
    struct stat status;
    return fd_ >= 0 && ::fstat(fd_, &status) == 0 && status.st_nlink == 0;
}

bool RecordingFile::write_out(const unsigned char* data, size_t size) {
    written_ += static_cast<int64_t>(write_fully(fd_, data, size, -1, &error_));
    return error_ == 0;
}
