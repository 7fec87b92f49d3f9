// A text stream that knows where its text goes: composed with <<, delivered once at flush().
#ifndef DEVICEBRIDGE_LSTREAM_H
#define DEVICEBRIDGE_LSTREAM_H

#include <functional>
#include <sstream>
#include <string>

class lstream {
public:
    typedef std::function<void(std::string)> Sink;

    explicit lstream(Sink sink);
    lstream(lstream&& other);
    lstream& operator=(lstream&& other);
    lstream(const lstream&) = delete;
    lstream& operator=(const lstream&) = delete;

    // Without flush() the text is discarded when the stream dies: a half-composed message never appears.
    ~lstream() = default;

    template <typename T> lstream& operator<<(const T& value) {
        stream << value;
        return *this;
    }
    // Manipulators such as std::hex or std::endl.
    lstream& operator<<(std::ostream& (*manipulator)(std::ostream&));
    lstream& operator<<(std::ios_base& (*manipulator)(std::ios_base&));

    // Hands everything written since the last flush to the sink in one call and starts over empty.
    void flush();

private:
    Sink sink;
    std::stringstream stream;
};

#endif
