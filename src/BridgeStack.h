// The connection stack that both bridge twins build and own: factory, logger, byte link and the guarded
// RadarInterface, made in that order and released in reverse, so that the link's threads end before the
// logger and the factory they use.
//
// The twins differ only in what they hand out and in how a refused open is reported; everything here is
// shared between them.
#ifndef DEVICEBRIDGE_BRIDGESTACK_H
#define DEVICEBRIDGE_BRIDGESTACK_H

#include "AbstractLoggerIo.h"
#include "UniqueLocked.h"

#include <netinet/in.h>

#include <memory>
#include <string>

class AbstractFactory;
class AbstractIo;
class Logger;

namespace Tervik {

class DataPlayer;
class G5;
class RadarInterface;

class BridgeStack {
public:
    // Takes both. A non-empty name opens the link at once; a refusal throws std::runtime_error
    // "unable to open file: " + name after releasing everything built so far.
    BridgeStack(std::unique_ptr<AbstractFactory> factory, std::unique_ptr<Logger> logger,
                const std::string& device_name);
    ~BridgeStack();
    BridgeStack(const BridgeStack&) = delete;
    BridgeStack& operator=(const BridgeStack&) = delete;

    // The connection's logger, owning its output; a null output stands for the default one, to the debug file
    // and to standard output.
    static std::unique_ptr<Logger> create_logger(int log_level, std::unique_ptr<AbstractLoggerIo> logger_io);
    static std::unique_ptr<AbstractFactory> create_serial_factory();
    static std::unique_ptr<AbstractFactory> create_tcp_factory(in_addr_t ip, in_port_t port);
    // "tcp://" + dotted address + ":" + port in host order; ip and port in network order.
    static std::string tcp_device_name(in_addr_t ip, in_port_t port);
    static std::unique_ptr<AbstractFactory> create_playback_factory(DataPlayer& player);
    // "__playback__".
    static std::string playback_device_name();

    // Each takes the guard's lock for the one call.
    std::string git_sha();
    int open(const std::string& device_name);
    int open_throw(const std::string& device_name);
    int close();
    int set_log_level(int new_log_level);
    void set_default_timeout(unsigned int new_default_timeout);

    // No lock: the target never changes after construction.
    G5& get_g5();
    LockedRadarInterfacePtr& guard() { return radar_interface; }
    const std::string& name() const { return device_name; }

private:
    std::unique_ptr<AbstractFactory> factory;
    std::unique_ptr<Logger> logger;
    std::unique_ptr<AbstractIo> io;
    std::string device_name;
    LockedRadarInterfacePtr radar_interface;
};

} // namespace Tervik

#endif
