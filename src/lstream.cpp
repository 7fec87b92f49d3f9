#include "lstream.h"

#include <utility>

lstream::lstream(Sink sink) : sink(std::move(sink)) {}

lstream::lstream(lstream&& other) : sink(std::move(other.sink)), stream(std::move(other.stream)) {}

lstream& lstream::operator=(lstream&& other) {
    sink = std::move(other.sink);
    stream = std::move(other.stream);
    return *this;
}

lstream& lstream::operator<<(std::ostream& (*manipulator)(std::ostream&)) {
    stream << manipulator;
    return *this;
}

lstream& lstream::operator<<(std::ios_base& (*manipulator)(std::ios_base&)) {
    stream << manipulator;
    return *this;
}

void lstream::flush() {
    std::string text = stream.str();
    stream.str(std::string());
    stream.clear();
    if (sink)
        sink(std::move(text));
}
