#include "CommandTable.h"

#include <algorithm>

void CommandTable::add(const Bytes& prefix, Handler handler) {
    handlers_[prefix] = std::move(handler);
    longest_prefix_ = std::max(longest_prefix_, prefix.size());
}

CommandTable::Handler CommandTable::find(const Bytes& command) const {
    for (size_t length = std::min(command.size(), longest_prefix_) + 1; length-- > 0;) {
        auto found = handlers_.find(Bytes(command.begin(), command.begin() + length));
        if (found != handlers_.end())
            return found->second;
    }
    return Handler();
}
