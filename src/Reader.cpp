#include "Reader.h"

#include "Active.h"
#include "Logger.h"
#include "ModuleIo.h"
#include "Protocol.h"

Reader::Reader(Logger& logger, ModuleIo& transport, Active* thread, Protocol* protocol)
    : logger_(logger), transport_(transport), thread_(thread), protocol_(protocol) {
    protocol_->subscribe(
        [this](const unsigned char* data, unsigned int length) { handle_packet(data, length); });
}

Reader::~Reader() {
    transport_.interrupt();
    thread_->stop();
    callback_ = nullptr;
    protocol_.reset();
    thread_.reset();
}

void Reader::start(std::function<void(Bytes)> callback) {
    callback_ = std::move(callback);
    start_read();
}

void Reader::start_read() {
    thread_->add([this] { read(); });
}

void Reader::read() {
    bool alive = true;
    try {
        alive = single_read();
    } catch (...) {
        // A task must not let an exception escape; what failed (a logger that cannot write, memory) says
        // nothing about the link, so the loop goes on.
    }
    if (alive) {
        start_read();
    }
}

bool Reader::single_read() {
    unsigned char buffer[read_size];
    const int count = transport_.read(buffer, read_size, 500);
    if (count < 0) {
        logger_.error("io_read() returned negative: \n");
        logger_.error("Reader is bailing out\n");
        return false;
    }
    // A transport that claims more than it was given must not make us read past the buffer.
    const unsigned int length = static_cast<unsigned int>(count) < read_size ? count : read_size;
    logger_.print_bytes(5, Bytes(buffer, buffer + length));
    protocol_->parse(buffer, length);
    return true;
}

void Reader::handle_packet(const unsigned char* data, unsigned int length) {
    if (!callback_) {
        return;
    }
    callback_(Bytes(data, data + length));
}
