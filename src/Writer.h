// Pushes the bytes of one framed command out through the transport, with a bounded number of attempts.
#ifndef DEVICEBRIDGE_WRITER_H
#define DEVICEBRIDGE_WRITER_H

#include "Bytes.h"

#include <atomic>
#include <memory>

class Active;
class Logger;
class ModuleIo;

class Writer {
public:
    // Takes ownership of the thread, which stays idle: writes run on the caller's thread.
    Writer(Logger& logger, ModuleIo& transport, Active* thread);
    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    // Writes all bytes on the caller's thread. Throws std::runtime_error("Failed to write all bytes to
    // module\n") when the transport fails or takes nothing three times; a writer in the error state throws
    // "Failed to write all bytes to module in previous package\n" without trying.
    void write(Bytes bytes);

private:
    void do_write_sync(const Bytes& bytes);
    // The variant for a write run as a task on the writer's own thread: a failure puts the writer into the
    // error state for good and stops its thread instead of throwing.
    void do_write_async(const Bytes& bytes);
    // The number of bytes left unwritten; 0 is success.
    unsigned int send_bytes(const Bytes& bytes);
    void log_error(const Bytes& bytes, unsigned int left);
    void log_error_state();
    void log_sending(const Bytes& bytes);

    Logger& logger_;
    ModuleIo& transport_;
    std::unique_ptr<Active> thread_;
    std::atomic<bool> error_{false};
};

#endif
