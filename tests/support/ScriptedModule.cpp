#include "ScriptedModule.h"

#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <termios.h>
#include <unistd.h>

namespace {
const uint8_t flag_start = 0x7D;
const uint8_t flag_end = 0x7E;
const uint8_t flag_escape = 0x7F;

bool is_flag(uint8_t byte) {
    return byte >= flag_start && byte <= flag_escape;
}

bool starts_with(const Bytes& bytes, const Bytes& prefix) {
    return bytes.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), bytes.begin());
}
} // namespace

ScriptedModule::ScriptedModule() {
    char name[256] = {0};
    if (openpty(&master_, &slave_, name, nullptr, nullptr) != 0)
        throw std::runtime_error("openpty failed");
    // The test keeps the slave open, so that the master never sees a hang-up while the host reconnects.
    termios settings;
    tcgetattr(slave_, &settings);
    cfmakeraw(&settings);
    tcsetattr(slave_, TCSANOW, &settings);
    device_name_ = name;
    thread_ = std::thread([this] { run(); });
}

ScriptedModule::~ScriptedModule() {
    stopping_ = true;
    thread_.join();
    ::close(master_);
    ::close(slave_);
}

void ScriptedModule::answer(const Bytes& command_prefix, std::vector<Bytes> replies) {
    answer_with(command_prefix, [replies](const Bytes&) { return replies; });
}

void ScriptedModule::answer_with(const Bytes& command_prefix, Responder responder) {
    std::lock_guard<std::mutex> lock(mutex_);
    script_[command_prefix] = std::move(responder);
}

Bytes ScriptedModule::frame(const Bytes& payload) {
    Bytes out{flag_start};
    uint8_t checksum = flag_start;
    auto put = [&](uint8_t byte) {
        if (is_flag(byte))
            out.push_back(flag_escape);
        out.push_back(byte);
    };
    for (uint8_t byte : payload) {
        checksum ^= byte;
        put(byte);
    }
    put(checksum);
    out.push_back(flag_end);
    return out;
}

void ScriptedModule::send(const Bytes& payload) {
    write_all(frame(payload));
}

void ScriptedModule::send_raw(const Bytes& bytes) {
    write_all(bytes);
}

void ScriptedModule::write_all(const Bytes& bytes) {
    std::lock_guard<std::mutex> lock(write_mutex_);
    size_t done = 0;
    while (done < bytes.size()) {
        ssize_t n = ::write(master_, bytes.data() + done, bytes.size() - done);
        if (n <= 0)
            return;
        done += size_t(n);
    }
}

std::vector<Bytes> ScriptedModule::received() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return received_;
}

size_t ScriptedModule::count_received(const Bytes& command_prefix) const {
    std::lock_guard<std::mutex> lock(mutex_);
    size_t count = 0;
    for (const Bytes& command : received_)
        count += starts_with(command, command_prefix) ? 1 : 0;
    return count;
}

bool ScriptedModule::wait_for(const Bytes& command_prefix, size_t count, double seconds) const {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (count_received(command_prefix) < count) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

void ScriptedModule::run() {
    uint8_t buffer[4096];
    while (!stopping_) {
        pollfd descriptor{master_, POLLIN, 0};
        if (poll(&descriptor, 1, 20) <= 0 || !(descriptor.revents & POLLIN))
            continue;
        ssize_t n = ::read(master_, buffer, sizeof buffer);
        for (ssize_t i = 0; i < n; ++i)
            take_byte(buffer[i]);
    }
}

void ScriptedModule::take_byte(uint8_t byte) {
    if (escaped_) {
        escaped_ = false;
        pending_.push_back(byte);
    } else if (byte == flag_escape) {
        escaped_ = true;
    } else if (byte == flag_start) {
        pending_.clear();
        in_frame_ = true;
    } else if (byte == flag_end && in_frame_) {
        in_frame_ = false;
        if (pending_.empty())
            return;
        uint8_t checksum = flag_start;
        for (size_t i = 0; i + 1 < pending_.size(); ++i)
            checksum ^= pending_[i];
        if (checksum == pending_.back())
            handle_command(Bytes(pending_.begin(), pending_.end() - 1));
        pending_.clear();
    } else if (in_frame_) {
        pending_.push_back(byte);
    }
}

void ScriptedModule::handle_command(const Bytes& payload) {
    Responder responder;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        received_.push_back(payload);
        size_t best = 0;
        for (const auto& rule : script_) {
            if (starts_with(payload, rule.first) && (!responder || rule.first.size() >= best)) {
                best = rule.first.size();
                responder = rule.second;
            }
        }
    }
    if (!responder)
        return;
    for (const Bytes& reply : responder(payload))
        send(reply);
}

namespace module_packets {

Bytes u32(uint32_t value) {
    return {uint8_t(value), uint8_t(value >> 8), uint8_t(value >> 16), uint8_t(value >> 24)};
}

Bytes f32(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return u32(bits);
}

Bytes join(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& part : parts)
        out.insert(out.end(), part.begin(), part.end());
    return out;
}

Bytes floats(const std::vector<float>& values) {
    Bytes out;
    for (float value : values) {
        Bytes bytes = f32(value);
        out.insert(out.end(), bytes.begin(), bytes.end());
    }
    return out;
}

Bytes ack() {
    return {0x10};
}

Bytes error(uint32_t code) {
    return join({{0x20}, u32(code)});
}

Bytes pong(uint32_t value) {
    return join({{0x01}, u32(value)});
}

Bytes reply(uint8_t data_type, uint32_t content_id, const Bytes& data, uint32_t info) {
    return join({{0x11, data_type}, u32(content_id), u32(info), u32(uint32_t(data.size())), data, {0x00}});
}

Bytes data_message(uint8_t data_type, uint32_t content_id, uint32_t info, const Bytes& data) {
    return join({{0xA0, data_type}, u32(content_id), u32(info), u32(uint32_t(data.size())), data});
}

Bytes app(uint32_t id, const Bytes& body) {
    return join({{0x50}, u32(id), body});
}

Bytes fast(const Bytes& body) {
    return join({{0x51}, u32(uint32_t(body.size())), body, {0x00}});
}

} // namespace module_packets
