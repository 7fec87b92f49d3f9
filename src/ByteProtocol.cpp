#include "ByteProtocol.h"

#include "Logger.h"

namespace {

// The frame parser is C: no exception may unwind through it, so each callback stops them here. A packet
// whose delivery failed (memory, a logger that cannot write) is lost, and the stream goes on.
template <typename Call> void without_exceptions(Call call) {
    try {
        call();
    } catch (...) {
    }
}

void packet_handler(void* user_data, const unsigned char* data, unsigned int length) {
    without_exceptions([&] { static_cast<ByteProtocol*>(user_data)->handle_packet(data, length); });
}

void error_handler(void* user_data, unsigned int code) {
    without_exceptions([&] { static_cast<ByteProtocol*>(user_data)->handle_error(code); });
}

const char* error_text(unsigned int code) {
    switch (code) {
    case 1:
        return "CRC error";
    case 2:
        return "lost bytes";
    case 3:
        return "incomplete packer";
    case 4:
        return "out of buffer";
    default:
        return "unknown error code";
    }
}

} // namespace

ByteProtocol::ByteProtocol(Logger& logger)
    : logger_(logger), parser_(createApplicationProtocol(packet_handler, error_handler, this, &instance_,
                                                         buffer_, buffer_size)) {}

ByteProtocol::~ByteProtocol() {
    destroyProtocol(parser_);
}

void ByteProtocol::parse(const unsigned char* data, unsigned int length) {
    parseData(parser_, data, length);
}

void ByteProtocol::subscribe(PacketCallback callback) {
    subscribers_.push_back(std::move(callback));
}

void ByteProtocol::handle_packet(const unsigned char* data, unsigned int length) {
    if (length == 0 || subscribers_.empty()) {
        return;
    }
    subscribers_.front()(data, length);
}

void ByteProtocol::handle_error(unsigned int code) {
    auto line = logger_.serror();
    line << "Error parsing incoming data: " << error_text(code);
    line.flush();
}
