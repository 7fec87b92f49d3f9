#include "Writer.h"

#include "Active.h"
#include "Logger.h"
#include "ModuleIo.h"

#include <cassert>
#include <stdexcept>

namespace {

const unsigned int write_attempts = 3;

} // namespace

Writer::Writer(Logger& logger, ModuleIo& transport, Active* thread)
    : logger_(logger), transport_(transport), thread_(thread) {}

Writer::~Writer() {
    thread_->stop();
    thread_.reset();
}

void Writer::write(Bytes bytes) {
    if (error_) {
        log_error_state();
        throw std::runtime_error("Failed to write all bytes to module in previous package\n");
    }
    do_write_sync(bytes);
}

void Writer::do_write_sync(const Bytes& bytes) {
    log_sending(bytes);
    const unsigned int left = send_bytes(bytes);
    if (left != 0) {
        log_error(bytes, left);
        throw std::runtime_error("Failed to write all bytes to module\n");
    }
    logger_.log(3, "sent");
}

void Writer::do_write_async(const Bytes& bytes) {
    if (error_) {
        log_error_state();
        return;
    }
    log_sending(bytes);
    const unsigned int left = send_bytes(bytes);
    if (left != 0) {
        log_error(bytes, left);
        error_ = true;
        thread_->stop();
        return;
    }
    logger_.log(3, "sent");
}

unsigned int Writer::send_bytes(const Bytes& bytes) {
    unsigned int attempts = write_attempts;
    unsigned int done = 0;
    unsigned int left = static_cast<unsigned int>(bytes.size());
    while (attempts > 0 && left > 0) {
        const int written = transport_.write(bytes.data() + done, left);
        if (written < 0) {
            return left;
        }
        if (written == 0) {
            logger_.log(3, "write to module timed out");
            --attempts;
            continue;
        }
        assert(static_cast<unsigned int>(written) <= left &&
               "static_cast<unsigned int>(bytesWritten) <= bytesLeft");
        // Without assertions a transport that over-reports must still not move us past the buffer.
        const unsigned int taken = static_cast<unsigned int>(written) < left ? written : left;
        done += taken;
        left -= taken;
    }
    return left;
}

void Writer::log_error(const Bytes& bytes, unsigned int left) {
    auto line = logger_.serror();
    line << "Failed to write all bytes to module"
         << ", expected bytes written: " << bytes.size() << ", actual bytes written: " << bytes.size() - left;
    line.flush();
}

void Writer::log_error_state() {
    auto line = logger_.serror();
    line << "Failed to write all bytes to module: "
         << "operation ignored due to error state";
    line.flush();
}

void Writer::log_sending(const Bytes& bytes) {
    logger_.log(3, "sending: ");
    logger_.print_bytes(3, bytes);
}
