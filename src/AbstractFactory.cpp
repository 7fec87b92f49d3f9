#include "AbstractFactory.h"

#include "ByteProtocol.h"

Protocol* AbstractFactory::createProtocol(Logger& logger) {
    return new ByteProtocol(logger);
}
