// What a Bootloader holds: the factory of its transport, its logger, the byte link, the communicator that
// pairs each command with its answer, and the command builders. Built in that order and released in reverse,
// so that the link's threads end before the logger and the factory they use.
#ifndef DEVICEBRIDGE_BOOTLOADERIMPL_H
#define DEVICEBRIDGE_BOOTLOADERIMPL_H

#include "Bytes.h"

#include <memory>
#include <string>

class AbstractFactory;
class AbstractIo;
class AbstractRadarCommunicator;
class Commands;
class Logger;

namespace Tervik {

class BootloaderImpl {
public:
    // Takes both and opens the link; a refusal throws std::runtime_error "unable to open file: " + name after
    // releasing everything built so far.
    BootloaderImpl(std::unique_ptr<AbstractFactory> factory, std::unique_ptr<Logger> logger,
                   const std::string& device_name);
    ~BootloaderImpl();
    BootloaderImpl(const BootloaderImpl&) = delete;
    BootloaderImpl& operator=(const BootloaderImpl&) = delete;

    int write_page(unsigned int page_address, const Bytes& page_data);
    int start_application(unsigned int timeout);
    std::string get_bootloader_info();

private:
    Bytes exchange(unsigned int timeout, const Bytes& command);

    std::unique_ptr<AbstractFactory> factory;
    std::unique_ptr<Logger> logger;
    std::unique_ptr<AbstractIo> io;
    std::string device_name;
    std::unique_ptr<AbstractRadarCommunicator> communicator;
    std::unique_ptr<Commands> commands;
};

} // namespace Tervik

#endif
