// What differs between a serial link, a TCP link and a playback: the transport, the framing and the threads.
// The caller owns every object a factory returns.
#ifndef DEVICEBRIDGE_ABSTRACTFACTORY_H
#define DEVICEBRIDGE_ABSTRACTFACTORY_H

#include <string>

class Active;
class Logger;
class ModuleIo;
class Protocol;

class AbstractFactory {
public:
    virtual ~AbstractFactory() = default;
    virtual Active* createDispatcherThread(const std::string& name, Logger& logger) = 0;
    virtual Active* createReaderThread(const std::string& name, Logger& logger) = 0;
    virtual Active* createWriterThread(const std::string& name, Logger& logger) = 0;
    virtual ModuleIo* createModuleIo(Logger& logger) = 0;
    // A ByteProtocol: the escaped-frame parser that every real module link needs.
    virtual Protocol* createProtocol(Logger& logger);
};

#endif
