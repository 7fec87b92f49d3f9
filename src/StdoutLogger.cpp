#include "StdoutLogger.h"

#include <cstddef>
#include <iomanip>
#include <sstream>

namespace {

const std::size_t rendered_head_bytes = 20;
const std::size_t rendered_tail_bytes = 3;

// Width 2 and fill '0' are set ahead of "0x", whose insertion uses them up, so the value itself is unpadded:
// 5 reads "0x5". Every consumer of these dumps knows them in exactly this shape.
void render_byte(std::ostream& out, unsigned char byte) {
    out << std::setw(2) << std::setfill('0') << "0x" << std::hex << static_cast<unsigned int>(byte)
        << std::dec;
}

std::string render_bytes(const Bytes& bytes) {
    std::ostringstream out;
    out << bytes.size() << ": {";
    const std::size_t head = bytes.size() < rendered_head_bytes ? bytes.size() : rendered_head_bytes;
    for (std::size_t i = 0; i < head; ++i) {
        render_byte(out, bytes[i]);
        out << ", ";
    }
    if (bytes.size() > rendered_head_bytes) {
        out << "..., ";
        for (std::size_t i = bytes.size() - rendered_tail_bytes; i < bytes.size(); ++i) {
            render_byte(out, bytes[i]);
            if (i + 1 < bytes.size())
                out << ", ";
        }
    }
    out << "}";
    return out.str();
}

} // namespace

StdoutLogger::StdoutLogger(int log_level, std::unique_ptr<Tervik::AbstractLoggerIo> logger_io)
    : start_(std::chrono::system_clock::now()), level_(static_cast<std::uint32_t>(log_level)),
      io_(std::move(logger_io)) {
    log(5, "createing logger StdoutLogger");
}

StdoutLogger::~StdoutLogger() {
    log_quietly(*this, 5, "~StdoutLogger");
}

void StdoutLogger::set_log_level(int level) {
    level_.store(static_cast<std::uint32_t>(level), std::memory_order_relaxed);
}

void StdoutLogger::error(const std::string& text) {
    log(0, text);
}

void StdoutLogger::log(unsigned int level, const std::string& text) {
    if (!passes(level))
        return;
    std::lock_guard<std::mutex> lock(mutex_);
    io_->log(compose_line(text));
}

// Single precision on purpose: the seconds of a line are a float, so after some 16 s the last digits are
// noise.
std::string StdoutLogger::compose_line(const std::string& text) const {
    const std::int64_t nanoseconds =
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now() - start_)
            .count();
    const float seconds = static_cast<float>(nanoseconds) / 1e9f;
    std::ostringstream line;
    line << std::fixed << std::setprecision(6) << seconds << " : " << text;
    return line.str();
}

void StdoutLogger::print_bytes(unsigned int level, const Bytes& bytes) {
    if (bytes.empty() || !passes(level))
        return;
    log(level, render_bytes(bytes));
}
