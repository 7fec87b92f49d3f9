// A host parser table whose callbacks forward each record to the PacketParserCallback passed as user data.
// Replies, data floats, system status and the respiration lists stay at the do-nothing defaults: a push
// consumer never sees them.
#ifndef DEVICEBRIDGE_HOSTPARSERWRAPPER_H
#define DEVICEBRIDGE_HOSTPARSERWRAPPER_H

#include "protocol_host_parser.h"

struct HostParserWrapper : HostParser {
    HostParserWrapper();
};

#endif
