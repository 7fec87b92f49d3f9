// The bridge of the Python binding: the same connection stack as DeviceBridge, reporting failures as
// exceptions, which the binding turns into Python's RuntimeError.
//
// Every constructor logs through the default output, to standard output and to a
// "debug_%Y%m%d_%H%M%S.log" file in the current directory, and takes its log level as an argument.
#ifndef DEVICEBRIDGE_PYTHONDEVICEBRIDGE_H
#define DEVICEBRIDGE_PYTHONDEVICEBRIDGE_H

#include "G5.h"
#include "PyDataPlayer.h"

#include <netinet/in.h>

#include <memory>
#include <string>

class AbstractFactory;
class Logger;

namespace Tervik {

class BridgeStack;

class PythonDeviceBridge {
public:
    // Opens nothing: every command fails until open().
    explicit PythonDeviceBridge(int log_level);
    // Opens the serial device; std::runtime_error "unable to open file: " + name if it can't.
    PythonDeviceBridge(const std::string& device_name, int log_level);
    // Connects to the endpoint (network byte order), named "tcp://" + dotted address + ":" + port. open()
    // connects to the same endpoint again, whatever the name: after close(), for a peer that has come back.
    PythonDeviceBridge(in_addr_t ip, in_port_t port, int log_level);
    // Plays the player's recording as if it came from a module, on a link named "__playback__". The player
    // must outlive the bridge; commands fail, as there is no module to answer them.
    PythonDeviceBridge(PyDataPlayer& player, int log_level);
    virtual ~PythonDeviceBridge();
    PythonDeviceBridge(const PythonDeviceBridge&) = delete;
    PythonDeviceBridge& operator=(const PythonDeviceBridge&) = delete;

    // Each takes the connection's lock for the one call.
    std::string git_sha();
    // A refusal throws TervikException(code, "method failed") with the transport's code.
    int open(std::string device_name);
    int close();
    int set_log_level(int new_log_level);
    void set_default_timeout(unsigned int new_default_timeout);
    // The RadarInterface, without the lock. Not part of the supported interface.
    G5& get_g5();

private:
    PythonDeviceBridge(std::unique_ptr<AbstractFactory> factory, std::unique_ptr<Logger> logger,
                       const std::string& device_name);

    std::unique_ptr<BridgeStack> stack;
};

} // namespace Tervik

#endif
