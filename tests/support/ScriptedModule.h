// A stand-in for a module on a real pseudo-terminal: it reads the host's frames and answers each command with
// the replies scripted for the longest matching command prefix. Unscripted commands get no answer, which the
// host sees as a time-out. It can also push packets of its own, framed or raw.
#ifndef DEVICEBRIDGE_TESTS_SCRIPTEDMODULE_H
#define DEVICEBRIDGE_TESTS_SCRIPTEDMODULE_H

#include "Bytes.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class ScriptedModule {
public:
    ScriptedModule();
    ~ScriptedModule();
    ScriptedModule(const ScriptedModule&) = delete;
    ScriptedModule& operator=(const ScriptedModule&) = delete;

    // The slave side's path, for the host to open.
    const std::string& device_name() const { return device_name_; }

    typedef std::function<std::vector<Bytes>(const Bytes& command)> Responder;

    // Every command that starts with `command_prefix` is answered with these payloads, each framed.
    void answer(const Bytes& command_prefix, std::vector<Bytes> replies);
    // The same with replies made from the command itself, on the module's thread.
    void answer_with(const Bytes& command_prefix, Responder responder);
    // A packet sent unasked: framed, or as raw bytes on the line.
    void send(const Bytes& payload);
    void send_raw(const Bytes& bytes);

    // The payloads of the commands received so far, in order.
    std::vector<Bytes> received() const;
    size_t count_received(const Bytes& command_prefix) const;
    // Waits up to `seconds` for the count of received commands with the prefix to reach `count`.
    bool wait_for(const Bytes& command_prefix, size_t count, double seconds) const;

    static Bytes frame(const Bytes& payload);

private:
    void run();
    void take_byte(uint8_t byte);
    void handle_command(const Bytes& payload);
    void write_all(const Bytes& bytes);

    int master_ = -1;
    int slave_ = -1;
    std::string device_name_;
    std::atomic<bool> stopping_{false};
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::map<Bytes, Responder> script_;
    std::vector<Bytes> received_;
    std::mutex write_mutex_;
    Bytes pending_;
    bool in_frame_ = false;
    bool escaped_ = false;
    std::thread thread_;
};

// Packets as a module sends them.
namespace module_packets {
Bytes u32(uint32_t value);
Bytes f32(float value);
Bytes join(std::initializer_list<Bytes> parts);
Bytes floats(const std::vector<float>& values);

Bytes ack();
Bytes error(uint32_t code);
Bytes pong(uint32_t value);
// 11, data type, content id, info, length, data and the byte behind the data.
Bytes reply(uint8_t data_type, uint32_t content_id, const Bytes& data, uint32_t info = 0);
// A0, data type, content id, info, length, data.
Bytes data_message(uint8_t data_type, uint32_t content_id, uint32_t info, const Bytes& data);
// "P", the 32-bit id and the body.
Bytes app(uint32_t id, const Bytes& body);
// "Q", the length, the body and a trailing byte, unframed.
Bytes fast(const Bytes& body);
} // namespace module_packets

#endif
