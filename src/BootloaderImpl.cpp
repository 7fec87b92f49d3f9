#include "BootloaderImpl.h"

#include "AbstractFactory.h"
#include "Commands.h"
#include "Logger.h"
#include "RadarCommunicator.h"
#include "Trace.h"
#include "UartIo.h"
#include "protocol_identifiers.h"

#include <stdexcept>
#include <vector>

namespace Tervik {

namespace {

const unsigned int trace_level = 3;
const unsigned int write_page_timeout = 8;
const unsigned int info_timeout = 2;
// Every answer of a bootloader begins with this byte.
const unsigned char bootloader_key = 0xE0;
// A description shorter than this is no description.
const size_t shortest_info_reply = 5;

bool accepted(const Bytes& reply) {
    return !reply.empty() && reply[0] == bootloader_key;
}

} // namespace

BootloaderImpl::BootloaderImpl(std::unique_ptr<AbstractFactory> factory, std::unique_ptr<Logger> logger,
                               const std::string& device_name)
    : factory(std::move(factory)), logger(std::move(logger)), io(new UartIo(*this->logger, *this->factory)),
      device_name(device_name), communicator(new RadarCommunicator(*io, *this->factory, *this->logger)),
      commands(new Commands) {
    if (communicator->open(device_name) != 0)
        throw std::runtime_error("unable to open file: " + device_name);
}

// Members go in reverse: the communicator stops the link's threads before the link, the logger and the
// factory that those threads use.
BootloaderImpl::~BootloaderImpl() = default;

// A refusal comes as the module's ordinary error reply: waiting for it as well turns a refused page into a
// prompt 1 instead of a time-out. Anything else the module may send meanwhile is no answer.
Bytes BootloaderImpl::exchange(unsigned int timeout, const Bytes& command) {
    const std::vector<Bytes> answers = {Bytes{bootloader_key}, Bytes{KMS_SPR_ERROR}};
    return communicator->send(timeout, command, answers);
}

int BootloaderImpl::write_page(unsigned int page_address, const Bytes& page_data) {
    Trace trace(*logger, trace_level, "write_page");
    lstream note = logger->slog(trace_level);
    note << "page: " << page_address;
    note.flush();
    const Bytes reply = exchange(write_page_timeout, commands->create_write_page(page_address, page_data));
    return accepted(reply) ? 0 : 1;
}

int BootloaderImpl::start_application(unsigned int timeout) {
    Trace trace(*logger, trace_level, "start_application");
    return accepted(exchange(timeout, commands->create_start_application_command())) ? 0 : 1;
}

std::string BootloaderImpl::get_bootloader_info() {
    Trace trace(*logger, trace_level, "get_bootloader_info");
    const Bytes reply = exchange(info_timeout, commands->create_get_bootloader_info());
    if (reply.size() < shortest_info_reply || !accepted(reply))
        return "error fetching info";
    return std::string(reply.begin() + 1, reply.end());
}

} // namespace Tervik
