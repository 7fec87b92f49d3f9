// From command bytes to the module's handler of that command. A command is picked by the longest registered
// prefix with which its payload begins: one byte for the simple commands (ping: 01), two for the families
// with sub-commands (90 58, system information), more where a family selects by an id word (10 11 and the
// detection zone id), so that a family can have one general handler and specialised ones beside it.
#ifndef DEVICEBRIDGE_TOOLS_COMMANDTABLE_H
#define DEVICEBRIDGE_TOOLS_COMMANDTABLE_H

#include "Bytes.h"

#include <functional>
#include <map>
#include <vector>

class CommandTable {
public:
    // Takes the command's payload, returns the payloads of the replies, each sent as an escaped frame.
    typedef std::function<std::vector<Bytes>(const Bytes& command)> Handler;

    // Registers or replaces the handler of a prefix.
    void add(const Bytes& prefix, Handler handler);
    // The handler of the longest prefix of the command, or an empty one when no prefix fits.
    Handler find(const Bytes& command) const;

private:
    std::map<Bytes, Handler> handlers_;
    size_t longest_prefix_ = 0;
};

#endif
