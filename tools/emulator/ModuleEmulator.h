// A radar module in software. It plays the module's side of the wire protocol over a real pseudo-terminal or
// a TCP socket on 127.0.0.1, so that the library, its demo and its users' scripts run without hardware.
//
// What it does as a module: it cuts the host's escaped frames out of the byte stream, answers each command
// from a table of handlers (ping with the pong of a ready module; every command family of a module through
// its ModuleFirmware; anything it doesn't know with an error reply "not recognized"; a frame with a wrong
// checksum with an error reply "CRC failed"), streams application data packets at a chosen rate, and sends
// packets in any of the three wire forms on request. Told to start its bootloader, it runs that instead of
// its application until the host starts the application again (EmulatedBootloader).
//
// What it does for tests: it logs every command it received, floods the link with packets as fast as the link
// takes them, and injects faults: damaged checksums, lost bytes, silence, late answers, a dropped connection.
//
// All of it runs on one thread named "emulator", from construction until stop() or destruction. Every public
// operation may be called from any thread; settings take effect for everything sent after the call returns.
#ifndef DEVICEBRIDGE_TOOLS_MODULEEMULATOR_H
#define DEVICEBRIDGE_TOOLS_MODULEEMULATOR_H

#include "Bytes.h"
#include "CommandTable.h"
#include "FaultInjector.h"
#include "ModuleWire.h"
#include "SensorStreams.h"
#include "protocol.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class EmulatedBootloader;
class EmulatorLink;
class ModuleFirmware;
struct pollfd;

class ModuleEmulator {
public:
    enum class Transport { pty, tcp };
    // The data streams a module can send by itself.
    typedef ::StreamKind StreamKind;
    typedef emulator_wire::WireForm WireForm;
    typedef CommandTable::Handler Handler;

    // ---- Life
    // ------------------------------------------------------------------------------------------------ Opens
    // the link and starts serving. On TCP, `tcp_port` 0 takes a free port. Throws std::runtime_error when the
    // pseudo-terminal or the port cannot be had.
    explicit ModuleEmulator(Transport transport = Transport::pty, uint16_t tcp_port = 0);
    // Stops.
    ~ModuleEmulator();
    ModuleEmulator(const ModuleEmulator&) = delete;
    ModuleEmulator& operator=(const ModuleEmulator&) = delete;
    // Ends the thread and the connection, as a module that is switched off. Idempotent.
    void stop();

    // ---- Where the host finds the module
    // ------------------------------------------------------------------- The slave device to open, such as
    // "/dev/pts/5"; empty on TCP.
    const std::string& device_path() const { return device_path_; }
    // The listening port, in host order; 0 on a pseudo-terminal.
    uint16_t tcp_port() const { return tcp_port_; }
    // "device: /dev/pts/5" or "tcp: 127.0.0.1:PORT".
    const std::string& address_line() const { return address_line_; }
    // Whether a peer is connected. A pseudo-terminal counts as connected from the start until it is closed.
    bool connected() const { return connected_; }
    // The number of peers taken in so far; 1 on a pseudo-terminal.
    unsigned connections() const { return connections_; }
    // Waits until at least `count` peers have been taken in; false on time-out. A TCP client's connect
    // returns before the emulator takes it in, and whatever is sent before that is lost.
    bool wait_for_connections(unsigned count, std::chrono::milliseconds timeout) const;

    // ---- Commands
    // -------------------------------------------------------------------------------------------- Answers
    // every command that begins with `prefix` (and with no longer registered prefix) with the handler's
    // replies. The handler runs on the emulator's thread; an exception from it is answered with an error
    // reply "command failed".
    void set_handler(const Bytes& prefix, Handler handler);
    // The module's firmware: its settings, profiles, file system and the handlers of its commands. Lives as
    // long as the emulator.
    ModuleFirmware& firmware() { return *firmware_; }
    // The module's bootloader: whether it runs, the image written to it, its page and flash size. Lives as
    // long as the emulator.
    EmulatedBootloader& bootloader() { return *bootloader_; }
    // Whether the module runs its bootloader rather than its application.
    bool in_bootloader() const;
    // The value that a ping is answered with; KMS_DEF_PONGVAL_READY unless set.
    void set_pong_value(uint32_t value);
    // The payloads of all commands received, in order, silent or not.
    std::vector<Bytes> received_commands() const;
    // Waits until at least `count` commands have been received; false on time-out.
    bool wait_for_commands(size_t count, std::chrono::milliseconds timeout) const;
    // Frames from the host whose checksum was wrong.
    unsigned checksum_errors() const;

    // ---- Sending on request
    // ---------------------------------------------------------------------------------- Sends one packet in
    // the given wire form.
    void send(WireForm form, const Bytes& payload);
    // Puts bytes on the line exactly as given (faults of bytes still apply).
    void send_raw(const Bytes& bytes);
    // Sends the packet `count` times, as fast as the link takes them. A new flood replaces one in progress.
    void flood(WireForm form, const Bytes& payload, size_t count);
    // Waits until everything asked for has left (the flood, late replies, pending bytes), or the peer is
    // gone; false on time-out. Streams are not waited for.
    bool wait_until_sent(std::chrono::milliseconds timeout) const;
    // Bytes handed to the link since construction.
    unsigned long long bytes_sent() const;

    // ---- Streams
    // --------------------------------------------------------------------------------------------- Starts
    // (or re-times) a stream of `rate_hz` packets per second, each an escaped frame. While the peer doesn't
    // read, packets beyond about a megabyte of backlog are dropped, as by a module's full transmitter.
    void start_stream(StreamKind kind, double rate_hz);
    void stop_stream(StreamKind kind);
    void stop_streams();
    bool streaming(StreamKind kind) const;
    // The bin count of the baseband streams and the frequency count of the pulse-Doppler and noise map
    // streams; 100 unless set. Applies to the packets made after the call.
    void set_stream_bins(uint32_t bins);
    uint32_t stream_bins() const;
    // Stream packets handed to the link since construction.
    unsigned long long packets_streamed() const;

    // ---- Faults
    // ---------------------------------------------------------------------------------------------- The next
    // `count` escaped frames sent carry a wrong checksum.
    void corrupt_next_frames(unsigned count);
    // The next `count` bytes sent are lost.
    void drop_next_bytes(size_t count);
    // Every k-th byte sent is lost, counted from now; 0 ends it.
    void drop_every_kth_byte(unsigned k);
    // A silent module logs commands and answers none; streams and requested packets still go out.
    void set_silent(bool silent);
    // Each answer leaves this long after its command came in.
    void set_reply_delay(std::chrono::milliseconds delay);
    // Ends all of the above.
    void clear_faults();
    // Drops the connection: the pseudo-terminal's master is closed for good (the host reads EIO and sees a
    // hang-up); on TCP the client's socket is closed (the host reads end of file) and the next client is
    // accepted. Returns once the connection is gone.
    void close_connection();

private:
    typedef std::chrono::steady_clock Clock;

    struct Stream {
        Clock::duration period;
        Clock::time_point next_due;
        uint32_t frame_counter = 0;
    };
    struct Flood {
        bool is_frame = false;
        Bytes wire;
        size_t remaining = 0;
    };
    // One thing the parser found in the host's bytes.
    struct Incoming {
        bool damaged;
        Bytes command;
    };

    void run();
    void serve_once();
    int prepare_locked(pollfd& link_poll);
    void accept_peer();
    void take_input();
    void flush_output();
    void reset_parser();
    void drop_connection_locked();

    void handle(const Incoming& incoming);
    std::vector<Bytes> answer(const Bytes& command);
    void schedule_replies_locked(const std::vector<Bytes>& replies);
    void release_due_replies_locked(Clock::time_point now);
    void emit_due_stream_packets_locked(Clock::time_point now);
    void refill_flood_locked();
    int poll_timeout_locked(Clock::time_point now) const;
    void queue_locked(WireForm form, const Bytes& payload);
    void put_on_line_locked(const Bytes& wire, bool is_frame);
    size_t pending_bytes_locked() const { return outbox_.size() - outbox_sent_; }
    bool all_sent_locked() const;
    void wake();

    std::vector<Bytes> on_ping(const Bytes& command);

    static void on_packet(void* user_data, const unsigned char* data, unsigned int length);
    static void on_error(void* user_data, unsigned int code);

    // Fixed at construction.
    std::unique_ptr<EmulatorLink> link_;
    std::string device_path_;
    uint16_t tcp_port_ = 0;
    std::string address_line_;
    int wake_fd_ = -1;

    // Touched by the emulator's thread alone.
    ApplicationProtocol parser_;
    Bytes parser_buffer_;
    std::vector<Incoming> incoming_;

    // Guarded by mutex_.
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    CommandTable table_;
    FaultInjector faults_;
    uint32_t pong_value_;
    std::vector<Bytes> received_;
    unsigned checksum_errors_ = 0;
    std::map<StreamKind, Stream> streams_;
    uint32_t stream_bins_ = 100;
    std::multimap<Clock::time_point, Bytes> late_replies_;
    Flood flood_;
    Bytes outbox_;
    size_t outbox_sent_ = 0;
    bool close_requested_ = false;
    unsigned long long bytes_sent_ = 0;
    unsigned long long packets_streamed_ = 0;

    std::unique_ptr<ModuleFirmware> firmware_;
    std::unique_ptr<EmulatedBootloader> bootloader_;

    std::atomic<bool> connected_{false};
    std::atomic<unsigned> connections_{0};
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

#endif
