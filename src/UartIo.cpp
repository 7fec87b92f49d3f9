#include "UartIo.h"

#include "AbstractFactory.h"
#include "ModuleIo.h"
#include "Reader.h"
#include "Writer.h"

UartIo::UartIo(Logger& logger, AbstractFactory& factory) : logger_(logger), factory_(factory) {}

UartIo::~UartIo() = default;

bool UartIo::is_ready() {
    return ready_;
}

int UartIo::open(const std::string& device_name, std::function<void(Bytes)> callback) {
    std::unique_ptr<ModuleIo> transport(factory_.createModuleIo(logger_));
    // A reader of an earlier open still reads its transport: it must stop before that transport goes.
    release_link();
    ready_ = false;
    transport_ = std::move(transport);
    writer_.reset(new Writer(logger_, *transport_, factory_.createWriterThread("writer", logger_)));
    Active* reader_thread = factory_.createReaderThread("reader", logger_);
    reader_.reset(new Reader(logger_, *transport_, reader_thread, factory_.createProtocol(logger_)));
    const int result = transport_->open(device_name);
    if (result != 0) {
        return result;
    }
    reader_->start(callback);
    ready_ = true;
    return 0;
}

void UartIo::close() {
    ready_ = false;
    writer_.reset();
    reader_.reset();
    transport_.reset();
}

void UartIo::write(Bytes bytes) {
    if (!ready_) {
        return;
    }
    writer_->write(std::move(bytes));
}

void UartIo::set_baudrate(unsigned int bits_per_second) {
    if (!transport_) {
        return;
    }
    transport_->set_baudrate(bits_per_second);
}

void UartIo::release_link() {
    reader_.reset();
    writer_.reset();
    transport_.reset();
}
