// Moves every packet off the reader's thread and hands it to the named subscriptions that select it, in name
// order. All table changes and all dispatching run as tasks on the one "dispatcher" thread, so the tables
// need no lock, and a subscription posted before a command is written is in force before its reply is
// dispatched.
#ifndef DEVICEBRIDGE_PACKETDISPATCHER_H
#define DEVICEBRIDGE_PACKETDISPATCHER_H

#include "Bytes.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class Active;
class Logger;
class PacketParserCallback;

class PacketDispatcher {
public:
    typedef std::function<bool(const Bytes&)> Handler;

    // Takes ownership of the thread.
    PacketDispatcher(Active* thread, Logger& logger);
    ~PacketDispatcher();
    PacketDispatcher(const PacketDispatcher&) = delete;
    PacketDispatcher& operator=(const PacketDispatcher&) = delete;

    // Each of these posts a task and returns before it takes effect; posts keep their order.
    void dispatch_packet(Bytes packet);
    // A packet is selected when it begins with one of the comparators; an empty comparator selects every
    // packet, an empty list none. A second subscription under a name replaces the first. The handler must not
    // be empty, and runs on the dispatcher's thread.
    void subscribe(std::string name, Handler handler, std::vector<Bytes> comparators);
    void unsubscribe(const std::string& name);
    // The push interface: sees each decodable packet before the subscriptions. At most one; not owned.
    void subscribe(PacketParserCallback* callback);
    // Clears the push interface only if it is this one.
    void unsubscribe(PacketParserCallback* callback);

private:
    typedef std::pair<std::vector<Bytes>, Handler> Subscription;

    void do_subscribe(std::string name, Handler handler, std::vector<Bytes> comparators);
    void do_unsubscribe(std::string name);
    void do_subscribe_callback(PacketParserCallback* callback);
    void do_unsubscribe_callback(PacketParserCallback* callback);
    void do_dispatch_packet(Bytes packet);
    void parse_and_callback(const Bytes& packet);
    bool dispatch_to_callbacks(const Bytes& packet);
    template <typename Task> void post(Task task);
    void report_failure(const char* what);

    std::unique_ptr<Active> thread_;
    Logger& logger_;
    PacketParserCallback* parser_callback_ = nullptr;
    std::map<std::string, Subscription> subscriptions_;
};

#endif
