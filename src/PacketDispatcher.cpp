#include "PacketDispatcher.h"

#include "Active.h"
#include "HostParserWrapper.h"
#include "Logger.h"
#include "Trace.h"
#include "protocol_host_parser.h"

#include <algorithm>
#include <exception>

namespace {

bool begins_with(const Bytes& packet, const Bytes& comparator) {
    return comparator.size() <= packet.size() &&
           std::equal(comparator.begin(), comparator.end(), packet.begin());
}

bool selects(const std::vector<Bytes>& comparators, const Bytes& packet) {
    return std::any_of(comparators.begin(), comparators.end(),
                       [&packet](const Bytes& comparator) { return begins_with(packet, comparator); });
}

} // namespace

// Every task runs behind this guard: an exception escaping a task would end the process, and a handler or
// logger that fails must cost its own packet only.
template <typename Task> void PacketDispatcher::post(Task task) {
    thread_->add([this, task = std::move(task)]() mutable {
        try {
            task();
        } catch (const std::exception& failure) {
            report_failure(failure.what());
        } catch (...) {
            report_failure("unknown exception");
        }
    });
}

PacketDispatcher::PacketDispatcher(Active* thread, Logger& logger) : thread_(thread), logger_(logger) {}

PacketDispatcher::~PacketDispatcher() {
    Trace trace(logger_, 3, "~PacketDispatcher", std::nothrow);
    thread_->stop();
}

void PacketDispatcher::dispatch_packet(Bytes packet) {
    logger_.log(3, "dispatching packet: ");
    logger_.print_bytes(3, packet);
    post([this, packet = std::move(packet)]() mutable { do_dispatch_packet(std::move(packet)); });
}

void PacketDispatcher::subscribe(std::string name, Handler handler, std::vector<Bytes> comparators) {
    post([this, name = std::move(name), handler = std::move(handler),
          comparators = std::move(comparators)]() mutable {
        do_subscribe(std::move(name), std::move(handler), std::move(comparators));
    });
}

void PacketDispatcher::unsubscribe(const std::string& name) {
    post([this, name] { do_unsubscribe(name); });
}

void PacketDispatcher::subscribe(PacketParserCallback* callback) {
    post([this, callback] { do_subscribe_callback(callback); });
}

void PacketDispatcher::unsubscribe(PacketParserCallback* callback) {
    post([this, callback] { do_unsubscribe_callback(callback); });
}

void PacketDispatcher::do_subscribe(std::string name, Handler handler, std::vector<Bytes> comparators) {
    subscriptions_[std::move(name)] = Subscription(std::move(comparators), std::move(handler));
}

void PacketDispatcher::do_unsubscribe(std::string name) {
    subscriptions_.erase(name);
}

void PacketDispatcher::do_subscribe_callback(PacketParserCallback* callback) {
    parser_callback_ = callback;
}

void PacketDispatcher::do_unsubscribe_callback(PacketParserCallback* callback) {
    if (parser_callback_ == callback) {
        parser_callback_ = nullptr;
    }
}

void PacketDispatcher::do_dispatch_packet(Bytes packet) {
    parse_and_callback(packet);
    if (dispatch_to_callbacks(packet)) {
        return;
    }
    auto line = logger_.slog(1);
    line << "do_dispatch_packet, " << __LINE__ << " -- we did not find a handler for this package";
    line.flush();
}

void PacketDispatcher::parse_and_callback(const Bytes& packet) {
    if (parser_callback_ == nullptr) {
        return;
    }
    HostParserWrapper wrapper;
    parse(&wrapper, packet.data(), static_cast<unsigned int>(packet.size()), parser_callback_);
}

bool PacketDispatcher::dispatch_to_callbacks(const Bytes& packet) {
    bool handled = false;
    for (auto& entry : subscriptions_) {
        const Subscription& subscription = entry.second;
        if (selects(subscription.first, packet)) {
            subscription.second(packet);
            handled = true;
        }
    }
    return handled;
}

void PacketDispatcher::report_failure(const char* what) {
    log_quietly(logger_, 0, "PacketDispatcher: a task failed: ", what);
}
