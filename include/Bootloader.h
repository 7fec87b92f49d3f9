// Firmware update: the host's side of a module's bootloader.
//
// A module that was told to start its bootloader (RadarInterface::start_bootloader) comes up on the same link
// with a tiny command set of its own. A Bootloader is made after that switch: it opens the link, takes the
// new firmware page by page, tells the module to start its application again, and can ask the bootloader to
// describe itself. It reads no firmware file and knows no image format: the caller cuts the image into pages
// of the size the module wants and calls write_page for each, in order.
//
// An update as a caller runs it:
//
//     Tervik::Bootloader bootloader(device_name, 0);
//     std::cout << bootloader.get_bootloader_info() << "\n";
//     for (each page)
//         if (bootloader.write_page(address, page) != 0)
//             stop: the module refused the page;
//     bootloader.start_application();
//
// Every exchange is a single attempt with nothing retried. A module that does not answer in time makes the
// method throw std::runtime_error "Timeout waiting for response\n". One thread at a time may use an object.
#ifndef DEVICEBRIDGE_BOOTLOADER_H
#define DEVICEBRIDGE_BOOTLOADER_H

#include "AbstractLoggerIo.h"
#include "Bytes.h"

#include <netinet/in.h>

#include <memory>
#include <string>

class Logger;

namespace Tervik {

class BootloaderImpl;

class Bootloader {
public:
    // ---- serial device ----
    // Each constructor opens the link (at 115200 bits per second) and returns a connected object, or throws
    // std::runtime_error "unable to open file: " + the device name, with nothing left behind. A logger output
    // or a logger that is passed in belongs to the Bootloader from the call on, also when the constructor
    // throws: the caller must not delete or share it.

    /// Log lines go to standard output, to "debug_%Y%m%d_%H%M%S.log" in the current directory, to both or to
    /// neither; a line passes when its level is at most log_level (3 shows each exchange, 5 everything).
    Bootloader(const std::string& device_name, bool log_to_stdout, bool log_to_file, unsigned int log_level);
    /// Log lines go to standard output only; no debug file is made. A literal 0 as the level would read as a
    /// null logger as well: write 0u.
    Bootloader(const std::string& device_name, unsigned int log_level);
    /// Log lines go to the caller's own output.
    Bootloader(const std::string& device_name, unsigned int log_level, AbstractLoggerIo* logger_io);
    /// Logs through the caller's logger, at the level it has.
    Bootloader(const std::string& device_name, ::Logger* logger);

    // ---- TCP endpoint ----
    // ip and port in network byte order, as inet_addr and htons give them. The link is named
    // "tcp://" + dotted address + ":" + port in its log and its errors.

    /// Log lines go to the caller's own output.
    Bootloader(in_addr_t ip, in_port_t port, int log_level, AbstractLoggerIo* logger_io);
    /// Logs everything (level 5) to standard output and to a debug file in the current directory.
    Bootloader(in_addr_t ip, in_port_t port);
    /// Logs to standard output and to a debug file in the current directory.
    Bootloader(in_addr_t ip, in_port_t port, int log_level);

    /// Stops the link's threads and closes the link.
    ~Bootloader();
    Bootloader(const Bootloader&) = delete;
    Bootloader& operator=(const Bootloader&) = delete;

    // ---- the update ----

    /// Writes one page: 0 when the module took it, 1 when it refused it (an address outside its flash, a page
    /// of the wrong size). Only the low 16 bits of the address go to the module: 0x12345 writes page 0x2345.
    /// The data is sent as given; its size is the module's business. Waits at most 8 seconds for the answer.
    int write_page(unsigned int page_address, const Bytes& page_data);
    /// Leaves the bootloader and starts the application: 0 when the module agreed, 1 when it refused. Waits
    /// at most 4 seconds. After a 0 the object has no further use: destroy it and connect to the application.
    int start_application();
    /// The same, waiting at most `timeout` seconds.
    int start_application(unsigned int timeout);
    /// The bootloader's description of itself, as the module sends it, or "error fetching info" when its
    /// answer is too short to hold one. Waits at most 2 seconds.
    std::string get_bootloader_info();

private:
    std::unique_ptr<BootloaderImpl> d_ptr;
};

} // namespace Tervik

#endif
