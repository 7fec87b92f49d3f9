// Where finished log lines go. A user who wants the library's diagnostics somewhere else than the console or
// the default debug file derives from this class and hands an instance to a constructor that takes a logger
// output; the object that receives it owns it from then on.
#ifndef DEVICEBRIDGE_ABSTRACTLOGGERIO_H
#define DEVICEBRIDGE_ABSTRACTLOGGERIO_H

#include <string>

namespace Tervik {

class AbstractLoggerIo {
public:
    virtual ~AbstractLoggerIo() {}

    // Receives one complete line, without a trailing newline of its own (a text that ends in a newline keeps
    // it). Lines of one logger arrive one at a time, never concurrently. An implementation must not log
    // through the logger that calls it: that logger holds its mutex during this call and would deadlock.
    virtual void log(const std::string& line) = 0;
};

} // namespace Tervik

#endif
