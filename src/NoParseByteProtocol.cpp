#include "NoParseByteProtocol.h"

NoParseByteProtocol::NoParseByteProtocol(Logger& logger) : logger_(logger) {}

void NoParseByteProtocol::parse(const unsigned char* data, unsigned int length) {
    if (length == 0 || subscribers_.empty()) {
        return;
    }
    subscribers_.front()(data, length);
}

void NoParseByteProtocol::subscribe(PacketCallback callback) {
    subscribers_.push_back(std::move(callback));
}
