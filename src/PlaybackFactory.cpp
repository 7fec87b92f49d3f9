#include "PlaybackFactory.h"

#include "NoParseByteProtocol.h"
#include "PlaybackModuleIo.h"

PlaybackFactory::PlaybackFactory(Tervik::DataPlayer& player) : player_(player) {}

ModuleIo* PlaybackFactory::createModuleIo(Logger& logger) {
    return new PlaybackModuleIo(logger, player_);
}

Protocol* PlaybackFactory::createProtocol(Logger& logger) {
    return new NoParseByteProtocol(logger);
}
