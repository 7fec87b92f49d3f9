#include "ModuleEmulator.h"

#include "EmulatedBootloader.h"
#include "ModuleFirmware.h"
#include "ModulePackets.h"
#include "PtyLink.h"
#include "TcpListenLink.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <pthread.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

// Large enough for any command the host sends, file data included.
const size_t parser_buffer_size = 65536;
// Backlog beyond which stream packets are dropped rather than queued.
const size_t stream_backlog_limit = 1 << 20;
// How much of a flood is queued at a time, so that commands are still served between batches.
const size_t flood_batch_bytes = 256 * 1024;
// A stream that fell this far behind (a stalled peer, a paused process) starts afresh rather than bursting.
const std::chrono::seconds stream_catch_up_limit(1);

std::unique_ptr<EmulatorLink> open_link(ModuleEmulator::Transport transport, uint16_t tcp_port) {
    if (transport == ModuleEmulator::Transport::tcp)
        return std::unique_ptr<EmulatorLink>(new TcpListenLink(tcp_port));
    return std::unique_ptr<EmulatorLink>(new PtyLink());
}

} // namespace

// ---- Life
// ------------------------------------------------------------------------------------------------------

ModuleEmulator::ModuleEmulator(Transport transport, uint16_t tcp_port)
    : link_(open_link(transport, tcp_port)), parser_buffer_(parser_buffer_size),
      pong_value_(KMS_DEF_PONGVAL_READY) {
    if (transport == Transport::tcp)
        tcp_port_ = static_cast<TcpListenLink&>(*link_).port();
    else
        device_path_ = static_cast<PtyLink&>(*link_).device_path();
    address_line_ = link_->address_line();
    wake_fd_ = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (wake_fd_ < 0)
        throw std::runtime_error(std::string("eventfd: ") + std::strerror(errno));
    if (link_->connection_fd() >= 0) {
        connected_ = true;
        connections_ = 1;
    }
    reset_parser();
    table_.add(Bytes{KMS_SPC_PING}, [this](const Bytes& command) { return on_ping(command); });
    firmware_.reset(new ModuleFirmware(*this));
    bootloader_.reset(new EmulatedBootloader(*this, *firmware_));
    table_.add(Bytes{KMS_SPC_START_BOOTLOADER},
               [this](const Bytes& command) { return bootloader_->start_bootloader(command); });
    thread_ = std::thread([this] { run(); });
}

ModuleEmulator::~ModuleEmulator() {
    stop();
    ::close(wake_fd_);
}

void ModuleEmulator::stop() {
    stopping_ = true;
    wake();
    if (thread_.joinable() && thread_.get_id() != std::this_thread::get_id())
        thread_.join();
}

void ModuleEmulator::wake() {
    const uint64_t one = 1;
    ssize_t written = ::write(wake_fd_, &one, sizeof one);
    (void)written; // a counter that is already set wakes the loop just as well
}

// ---- The loop
// --------------------------------------------------------------------------------------------------

void ModuleEmulator::run() {
    pthread_setname_np(pthread_self(), "emulator");
    while (!stopping_)
        serve_once();
    std::lock_guard<std::mutex> lock(mutex_);
    drop_connection_locked();
}

// One turn: do what is due, sleep until the link or an operation needs attention or something falls due,
// then read what came in and write what is queued.
void ModuleEmulator::serve_once() {
    pollfd polled[2] = {{wake_fd_, POLLIN, 0}, {-1, 0, 0}};
    int timeout = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        timeout = prepare_locked(polled[1]);
    }
    if (poll(polled, 2, timeout) <= 0)
        return;
    if (polled[0].revents & POLLIN) {
        uint64_t count = 0;
        ssize_t drained = ::read(wake_fd_, &count, sizeof count);
        (void)drained;
    }
    const short link_events = polled[1].revents;
    if (link_events && polled[1].fd == link_->listen_fd())
        accept_peer();
    else if (link_events & (POLLIN | POLLHUP | POLLERR))
        take_input();
    else if (link_events & POLLOUT)
        flush_output();
}

int ModuleEmulator::prepare_locked(pollfd& link_poll) {
    if (close_requested_) {
        drop_connection_locked();
        close_requested_ = false;
        changed_.notify_all();
    }
    const Clock::time_point now = Clock::now();
    release_due_replies_locked(now);
    emit_due_stream_packets_locked(now);
    refill_flood_locked();
    if (link_->connection_fd() >= 0) {
        link_poll.fd = link_->connection_fd();
        link_poll.events = POLLIN | (pending_bytes_locked() > 0 ? POLLOUT : 0);
    } else {
        link_poll.fd = link_->listen_fd();
        link_poll.events = POLLIN;
    }
    return poll_timeout_locked(now);
}

int ModuleEmulator::poll_timeout_locked(Clock::time_point now) const {
    Clock::time_point wake_at = now + std::chrono::seconds(1);
    for (const auto& stream : streams_)
        wake_at = std::min(wake_at, stream.second.next_due);
    if (!late_replies_.empty())
        wake_at = std::min(wake_at, late_replies_.begin()->first);
    if (wake_at <= now)
        return 0;
    // Rounded up: waking a little late is harmless, waking early only spins.
    return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(wake_at - now).count());
}

void ModuleEmulator::accept_peer() {
    if (!link_->accept_peer())
        return;
    reset_parser();
    std::lock_guard<std::mutex> lock(mutex_);
    connected_ = true;
    ++connections_;
    changed_.notify_all();
}

void ModuleEmulator::reset_parser() {
    createApplicationProtocol(&ModuleEmulator::on_packet, &ModuleEmulator::on_error, this, &parser_,
                              parser_buffer_.data(), static_cast<uint32_t>(parser_buffer_.size()));
}

void ModuleEmulator::take_input() {
    unsigned char chunk[4096];
    const ssize_t count = link_->read(chunk, sizeof chunk);
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (count <= 0) {
        // The peer left: end of file on TCP, a failure on any link.
        std::lock_guard<std::mutex> lock(mutex_);
        drop_connection_locked();
        return;
    }
    parseData(&parser_, chunk, static_cast<uint32_t>(count));
    std::vector<Incoming> found;
    found.swap(incoming_);
    for (const Incoming& incoming : found)
        handle(incoming);
    flush_output();
}

void ModuleEmulator::on_packet(void* user_data, const unsigned char* data, unsigned int length) {
    static_cast<ModuleEmulator*>(user_data)->incoming_.push_back(Incoming{false, Bytes(data, data + length)});
}

void ModuleEmulator::on_error(void* user_data, unsigned int code) {
    // Only a damaged checksum is worth an answer: the other codes mean stray bytes between frames.
    if (code == PROTOCOL_ERROR_CHECKSUM)
        static_cast<ModuleEmulator*>(user_data)->incoming_.push_back(Incoming{true, Bytes()});
}

void ModuleEmulator::flush_output() {
    std::lock_guard<std::mutex> lock(mutex_);
    while (pending_bytes_locked() > 0 && link_->connection_fd() >= 0) {
        const ssize_t written = link_->write(outbox_.data() + outbox_sent_, pending_bytes_locked());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0 && errno == EAGAIN)
            break;
        if (written <= 0) {
            drop_connection_locked();
            break;
        }
        outbox_sent_ += static_cast<size_t>(written);
        bytes_sent_ += static_cast<unsigned long long>(written);
    }
    if (pending_bytes_locked() == 0) {
        outbox_.clear();
        outbox_sent_ = 0;
    }
    changed_.notify_all();
}

void ModuleEmulator::drop_connection_locked() {
    link_->close_connection();
    connected_ = false;
    outbox_.clear();
    outbox_sent_ = 0;
    late_replies_.clear();
    flood_ = Flood();
    changed_.notify_all();
}

// ---- Commands
// --------------------------------------------------------------------------------------------------

void ModuleEmulator::handle(const Incoming& incoming) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (incoming.damaged)
            ++checksum_errors_;
        else
            received_.push_back(incoming.command);
        changed_.notify_all();
        if (faults_.silent())
            return;
    }
    const std::vector<Bytes> replies = incoming.damaged
                                           ? std::vector<Bytes>{emulator_packets::error(KMS_SPRE_CRC_FAILED)}
                                           : answer(incoming.command);
    std::lock_guard<std::mutex> lock(mutex_);
    schedule_replies_locked(replies);
}

std::vector<Bytes> ModuleEmulator::answer(const Bytes& command) {
    if (bootloader_->active())
        return bootloader_->answer(command);
    Handler handler;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        handler = table_.find(command);
    }
    if (!handler)
        return {emulator_packets::error(KMS_SPRE_NOT_RECOGNIZED)};
    try {
        return handler(command);
    } catch (...) {
        return {emulator_packets::error(KMS_SPRE_COMMAND_FAILED)};
    }
}

std::vector<Bytes> ModuleEmulator::on_ping(const Bytes& command) {
    // The ping value is sent byte by byte as AE EA AA EE; anything else is no ping of this protocol.
    if (emulator_packets::get_u32(command, 1) != KMS_DEF_PINGVAL)
        return {emulator_packets::error(KMS_SPRE_NOT_RECOGNIZED)};
    std::lock_guard<std::mutex> lock(mutex_);
    return {emulator_packets::pong(pong_value_)};
}

void ModuleEmulator::schedule_replies_locked(const std::vector<Bytes>& replies) {
    const std::chrono::milliseconds delay = faults_.reply_delay();
    for (const Bytes& reply : replies) {
        if (delay.count() > 0)
            late_replies_.emplace(Clock::now() + delay, reply);
        else
            queue_locked(WireForm::frame, reply);
    }
}

void ModuleEmulator::release_due_replies_locked(Clock::time_point now) {
    while (!late_replies_.empty() && late_replies_.begin()->first <= now) {
        queue_locked(WireForm::frame, late_replies_.begin()->second);
        late_replies_.erase(late_replies_.begin());
    }
}

// ---- Output
// ----------------------------------------------------------------------------------------------------

void ModuleEmulator::queue_locked(WireForm form, const Bytes& payload) {
    put_on_line_locked(emulator_wire::encode(form, payload), form == WireForm::frame);
}

void ModuleEmulator::put_on_line_locked(const Bytes& wire, bool is_frame) {
    // Nobody listens: the bytes are lost, as on a line with nothing plugged in.
    if (!connected_)
        return;
    const Bytes sent = faults_.apply(wire, is_frame);
    outbox_.insert(outbox_.end(), sent.begin(), sent.end());
}

bool ModuleEmulator::all_sent_locked() const {
    return !connected_ || (pending_bytes_locked() == 0 && late_replies_.empty() && flood_.remaining == 0);
}

void ModuleEmulator::emit_due_stream_packets_locked(Clock::time_point now) {
    for (auto& entry : streams_) {
        Stream& stream = entry.second;
        if (now - stream.next_due > stream_catch_up_limit)
            stream.next_due = now;
        for (; stream.next_due <= now; stream.next_due += stream.period) {
            const Bytes packet = sensor_stream_packet(entry.first, stream.frame_counter++, stream_bins_);
            if (!connected_ || pending_bytes_locked() > stream_backlog_limit)
                continue;
            queue_locked(WireForm::frame, packet);
            ++packets_streamed_;
        }
    }
}

void ModuleEmulator::refill_flood_locked() {
    while (flood_.remaining > 0 && connected_ && pending_bytes_locked() < flood_batch_bytes) {
        put_on_line_locked(flood_.wire, flood_.is_frame);
        --flood_.remaining;
    }
    if (flood_.remaining == 0)
        flood_.wire.clear();
}

// ---- Operations from other threads
// -----------------------------------------------------------------------------

void ModuleEmulator::set_handler(const Bytes& prefix, Handler handler) {
    std::lock_guard<std::mutex> lock(mutex_);
    table_.add(prefix, std::move(handler));
}

void ModuleEmulator::set_pong_value(uint32_t value) {
    std::lock_guard<std::mutex> lock(mutex_);
    pong_value_ = value;
}

std::vector<Bytes> ModuleEmulator::received_commands() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return received_;
}

bool ModuleEmulator::wait_for_commands(size_t count, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return received_.size() >= count; });
}

bool ModuleEmulator::wait_for_connections(unsigned count, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return connections_ >= count; });
}

bool ModuleEmulator::in_bootloader() const {
    return bootloader_->active();
}

unsigned ModuleEmulator::checksum_errors() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return checksum_errors_;
}

void ModuleEmulator::send(WireForm form, const Bytes& payload) {
    std::lock_guard<std::mutex> lock(mutex_);
    queue_locked(form, payload);
    wake();
}

void ModuleEmulator::send_raw(const Bytes& bytes) {
    std::lock_guard<std::mutex> lock(mutex_);
    put_on_line_locked(bytes, false);
    wake();
}

void ModuleEmulator::flood(WireForm form, const Bytes& payload, size_t count) {
    std::lock_guard<std::mutex> lock(mutex_);
    flood_.is_frame = form == WireForm::frame;
    flood_.wire = emulator_wire::encode(form, payload);
    flood_.remaining = count;
    wake();
}

bool ModuleEmulator::wait_until_sent(std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return all_sent_locked() || stopping_; });
}

unsigned long long ModuleEmulator::bytes_sent() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return bytes_sent_;
}

void ModuleEmulator::start_stream(StreamKind kind, double rate_hz) {
    if (!(rate_hz > 0.0))
        throw std::invalid_argument("stream rate must be positive");
    std::lock_guard<std::mutex> lock(mutex_);
    Stream& stream = streams_[kind];
    stream.period = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1.0 / rate_hz));
    stream.period = std::max(stream.period, Clock::duration(1));
    stream.next_due = Clock::now();
    wake();
}

void ModuleEmulator::stop_stream(StreamKind kind) {
    std::lock_guard<std::mutex> lock(mutex_);
    streams_.erase(kind);
}

void ModuleEmulator::stop_streams() {
    std::lock_guard<std::mutex> lock(mutex_);
    streams_.clear();
}

bool ModuleEmulator::streaming(StreamKind kind) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return streams_.count(kind) > 0;
}

void ModuleEmulator::set_stream_bins(uint32_t bins) {
    std::lock_guard<std::mutex> lock(mutex_);
    stream_bins_ = bins;
}

uint32_t ModuleEmulator::stream_bins() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return stream_bins_;
}

unsigned long long ModuleEmulator::packets_streamed() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return packets_streamed_;
}

void ModuleEmulator::corrupt_next_frames(unsigned count) {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.corrupt_next_frames(count);
}

void ModuleEmulator::drop_next_bytes(size_t count) {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.drop_next_bytes(count);
}

void ModuleEmulator::drop_every_kth_byte(unsigned k) {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.drop_every_kth_byte(k);
}

void ModuleEmulator::set_silent(bool silent) {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.set_silent(silent);
}

void ModuleEmulator::set_reply_delay(std::chrono::milliseconds delay) {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.set_reply_delay(delay);
}

void ModuleEmulator::clear_faults() {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.clear();
}

void ModuleEmulator::close_connection() {
    std::unique_lock<std::mutex> lock(mutex_);
    // A handler on the emulator's own thread may drop the line at once; anyone else asks the thread and
    // waits.
    if (std::this_thread::get_id() == thread_.get_id() || !thread_.joinable()) {
        drop_connection_locked();
        return;
    }
    close_requested_ = true;
    wake();
    changed_.wait(lock, [&] { return !close_requested_ || stopping_; });
}
