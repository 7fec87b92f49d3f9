// The error that the device interface throws when a module refuses a command or a link step fails.
//
// It is an ordinary std::runtime_error (what() carries the text) with the module's error code beside it, so
// that a caller can tell a refusal by the module (its KMS_SPRE_ code) from a time-out (a plain runtime
// error).
#ifndef DEVICEBRIDGE_TERVIKEXCEPTION_H
#define DEVICEBRIDGE_TERVIKEXCEPTION_H

#include <stdexcept>

namespace Tervik {

class TervikException : public std::runtime_error {
public:
    TervikException(int code, const char* message) : std::runtime_error(message), code(code) {}
    TervikException(int code, const std::string& message) : std::runtime_error(message), code(code) {}

    // The module's error code, 32 for an error reply without one, 1 for a failure of the host.
    int code;
};

} // namespace Tervik

#endif
