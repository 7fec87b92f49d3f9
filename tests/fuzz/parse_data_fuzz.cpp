// Feeds the frame parser arbitrary bytes in arbitrary chunks, over a buffer of arbitrary size that the
// sanitizer fences exactly, and compares every callback and result with a byte-by-byte model of the rules.
//
// Input: two bytes of buffer size (modulo 2048), eight bytes of chunk lengths (each modulo 64, used in turn;
// 0 makes an empty call), then the stream.
#include "protocol.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct Event {
    bool is_packet;
    unsigned int code;
    std::string bytes;
    bool operator==(const Event& other) const {
        return is_packet == other.is_packet && code == other.code && bytes == other.bytes;
    }
};
typedef std::vector<Event> Events;

void check(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

// The rules one byte at a time, with no shortcuts. A no-escape length that wraps to match at four stored
// bytes is an overflow, as in the codec.
class Model {
public:
    explicit Model(uint32_t size) : buffer_(size + 5, 0), size_(size) {}

    int feed(const uint8_t* data, uint32_t length, Events& events) {
        int delivered = 0;
        for (uint32_t i = 0; i < length; ++i) {
            if (count_ == size_ || !byte(data[i], events, delivered)) {
                events.push_back({false, 4, {}});
                count_ = 0;
                escape_ = fast_ = noescape_ = false;
                return -1;
            }
        }
        return delivered;
    }

private:
    uint32_t le32(uint32_t at) const {
        return buffer_[at] | buffer_[at + 1] << 8 | buffer_[at + 2] << 16 | uint32_t(buffer_[at + 3]) << 24;
    }
    void packet(uint32_t at, uint32_t length, Events& events, int& delivered) {
        events.push_back({true, 0, std::string(buffer_.begin() + at, buffer_.begin() + at + length)});
        ++delivered;
    }
    void reset() {
        fast_ = noescape_ = false;
        count_ = 0;
        buffer_[0] = 0;
    }
    void store(uint8_t value) {
        buffer_[count_++] = value;
        bool sync = buffer_[0] != 0x7D && count_ >= 4;
        for (uint32_t k = 1; sync && k <= 4; ++k)
            sync = buffer_[count_ - k] == 0x7C;
        if (sync) {
            reset();
            noescape_ = true;
        }
    }
    // Returns false for a no-escape length that can never fit.
    bool byte(uint8_t value, Events& events, int& delivered) {
        if (fast_) {
            buffer_[count_++] = value;
            if (count_ >= 5 && count_ == le32(1) + 6) {
                packet(0, le32(1) + 5, events, delivered);
                fast_ = false;
                count_ = 0;
            }
        } else if (noescape_) {
            buffer_[count_++] = value;
            if (count_ >= 4 && count_ == le32(0) + 5) {
                if (count_ < 5)
                    return false;
                packet(5, le32(0), events, delivered);
                reset();
            }
        } else if (escape_) {
            escape_ = false;
            store(value);
        } else if (value < 0x7D || value > 0x7F) {
            fast_ = fast_ || (value == 0x51 && count_ == 0);
            store(value);
        } else if (value == 0x7F) {
            escape_ = true;
        } else if (value == 0x7D) {
            if (count_ != 0)
                events.push_back({false, 2, {}});
            reset();
        } else if (count_ == 0) {
            events.push_back({false, 3, {}});
        } else {
            uint8_t checksum = 0x7D;
            for (uint32_t k = 0; k + 1 < count_; ++k)
                checksum ^= buffer_[k];
            if (checksum == buffer_[count_ - 1])
                packet(0, count_ - 1, events, delivered);
            else
                events.push_back({false, 1, {}});
            reset();
        }
        return true;
    }

    std::vector<uint8_t> buffer_;
    uint32_t size_;
    uint32_t count_ = 0;
    bool escape_ = false, fast_ = false, noescape_ = false;
};

void print(const char* title, const Events& events) {
    std::fprintf(stderr, "%s:", title);
    for (const Event& event : events) {
        if (event.is_packet)
            std::fprintf(stderr, " packet of %zu", event.bytes.size());
        else
            std::fprintf(stderr, " error %u", static_cast<unsigned>(event.code));
    }
    std::fprintf(stderr, "\n");
}

struct Target {
    uint8_t* buffer;
    uint32_t size;
    Events events;
};

void on_packet(void* user_data, const unsigned char* data, unsigned int length) {
    Target* target = static_cast<Target*>(user_data);
    check(data >= target->buffer && length <= target->size && data - target->buffer <= target->size - length,
          "packet outside the buffer");
    target->events.push_back({true, 0, std::string(reinterpret_cast<const char*>(data), length)});
}

void on_error(void* user_data, unsigned int code) {
    check(code >= 1 && code <= 4, "unknown error code");
    static_cast<Target*>(user_data)->events.push_back({false, code, {}});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const size_t header = 10;
    if (size < header)
        return 0;
    const uint32_t buffer_size = (data[0] | data[1] << 8) % 2048;
    // Exactly as large as asked, so that the sanitizer sees any step past it.
    std::vector<uint8_t>* storage = new std::vector<uint8_t>(buffer_size);
    Target target{storage->data(), buffer_size, {}};
    ApplicationProtocol instance;
    createApplicationProtocol(on_packet, on_error, &target, &instance, target.buffer, buffer_size);
    Model model(buffer_size);

    const uint8_t* stream = data + header;
    size_t remaining = size - header;
    for (size_t turn = 0; remaining > 0 || turn == 0; ++turn) {
        size_t length = data[2 + turn % 8] % 64;
        if (length > remaining)
            length = remaining;
        target.events.clear();
        Events expected;
        const int delivered = parseData(&instance, stream, static_cast<uint32_t>(length));
        const int modelled = model.feed(stream, static_cast<uint32_t>(length), expected);
        check(instance.count <= instance.buffer_size, "count past the buffer");
        check(delivered == modelled, "result differs from the rules");
        if (!(target.events == expected)) {
            print("codec", target.events);
            print("rules", expected);
            check(false, "callbacks differ from the rules");
        }
        stream += length;
        remaining -= length;
        if (turn > 4 * size)
            break;
    }
    delete storage;
    return 0;
}
