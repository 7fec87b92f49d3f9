#include "Tool.h"

#include "ModuleAddress.h"
#include "protocol_identifiers.h"

#include <ext/stdio_filebuf.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iostream>
#include <sstream>

namespace tool {

namespace {

const char* const basename_prefix = "tervik_";

struct Profile {
    const char* name;
    uint32_t id;
};
const Profile profiles[] = {
    {"presence", KMS_ID_APP_PRESENCE_2},
    {"respiration", KMS_ID_APP_RESP},
    {"sleep", KMS_ID_APP_SLEEP},
};

std::vector<Tervik::DataType> every_type() {
    return Tervik::data_types_in_mask(0xFFFF);
}

} // namespace

// ---- modules

std::unique_ptr<Tervik::DeviceBridge> open_module(const std::string& address, int log_level) {
    ModuleAddress where;
    try {
        where = ModuleAddress::parse(address);
    } catch (const std::invalid_argument& failure) {
        throw Failure(failure.what());
    }
    try {
        return where.connect(log_level < 0 ? 0 : log_level, new LogOutput(log_level >= 0));
    } catch (const std::exception& failure) {
        throw Failure("cannot open " + address + ": " + one_line(failure.what()));
    }
}

void add_log_level_option(CLI::App& subcommand, int& log_level) {
    subcommand
        .add_option("--log-level", log_level,
                    "show the library's log lines up to this level on standard error (0 errors, 3 exchanges, "
                    "5 everything)")
        ->check(CLI::Range(0, 5));
}

void add_meta_file_argument(CLI::App& subcommand, std::string& meta_file) {
    subcommand.add_option("META", meta_file, "the recording's meta file (tervik_recording_meta.dat)")
        ->required();
}

// ---- names

std::string type_name(uint32_t data_type) {
    const std::string basename =
        Tervik::default_basename_for_data_type(static_cast<Tervik::DataType>(data_type));
    if (basename.empty())
        return "type_" + std::to_string(data_type);
    return basename.compare(0, std::strlen(basename_prefix), basename_prefix) == 0
               ? basename.substr(std::strlen(basename_prefix))
               : basename;
}

std::string type_names() {
    std::string names;
    for (Tervik::DataType type : every_type())
        names += (names.empty() ? "" : ", ") + type_name(type);
    return names;
}

Tervik::DataType type_by_name(const std::string& name) {
    for (Tervik::DataType type : every_type())
        if (type_name(type) == name)
            return type;
    throw Failure("unknown data type: " + name + " (known: " + type_names() + ")");
}

Tervik::DataTypes types_by_list(const std::string& list) {
    if (list.empty())
        return 0xFFFF;
    Tervik::DataTypes types = 0;
    std::istringstream names(list);
    std::string name;
    while (std::getline(names, name, ','))
        types |= type_by_name(name);
    if (types == 0)
        throw Failure("no data type given");
    return types;
}

uint32_t profile_by_name(const std::string& name) {
    for (const Profile& profile : profiles)
        if (name == profile.name)
            return profile.id;
    throw Failure("unknown profile: " + name + " (known: presence, respiration, sleep)");
}

std::string profile_name(uint32_t profile_id) {
    for (const Profile& profile : profiles)
        if (profile.id == profile_id)
            return profile.name;
    char number[16];
    std::snprintf(number, sizeof number, "0x%08X", profile_id);
    return number;
}

// ---- output

std::string iso_time(int64_t epoch_ms) {
    const std::time_t seconds = static_cast<std::time_t>(epoch_ms / 1000 - (epoch_ms % 1000 < 0 ? 1 : 0));
    const int milliseconds = static_cast<int>(epoch_ms - static_cast<int64_t>(seconds) * 1000);
    std::tm calendar{};
    gmtime_r(&seconds, &calendar);
    char text[48];
    const size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &calendar);
    std::snprintf(text + length, sizeof text - length, ".%03dZ", milliseconds);
    return text;
}

std::string json_string(const std::string& text) {
    std::string quoted = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += static_cast<char>(c);
        } else if (c < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            quoted += escaped;
        } else {
            quoted += static_cast<char>(c);
        }
    }
    return quoted + "\"";
}

std::string csv_field(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (char c : text)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

std::string hex_bytes(const Bytes& bytes, size_t limit) {
    std::string text;
    char pair[4];
    for (size_t i = 0; i < bytes.size() && i < limit; ++i) {
        std::snprintf(pair, sizeof pair, "%02x", bytes[i]);
        text += (i == 0 ? "" : " ") + std::string(pair);
    }
    return bytes.size() > limit ? text + " ..." : text;
}

std::string one_line(std::string text) {
    for (char& c : text)
        if (c == '\n' || c == '\r')
            c = ' ';
    while (!text.empty() && (text.back() == ' ' || text.back() == '\0'))
        text.pop_back();
    return text;
}

// ---- Ctrl-C

StopSignals::StopSignals() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
}

bool StopSignals::wait(int milliseconds) {
    const timespec time = {milliseconds / 1000, (milliseconds % 1000) * 1000L * 1000L};
    return sigtimedwait(&signals_, nullptr, &time) > 0;
}

// ---- the library's own talk

void LogOutput::log(const std::string& line) {
    if (shown_)
        std::cerr << line << "\n";
}

struct LibraryOutput::Redirection {
    int saved = -1;
    std::unique_ptr<__gnu_cxx::stdio_filebuf<char>> buffer;
    std::unique_ptr<std::ostream> stream;
};

LibraryOutput::LibraryOutput(bool shown) : redirection_(new Redirection) {
    std::cout.flush();
    std::fflush(stdout);
    redirection_->saved = dup(STDOUT_FILENO);
    const int target = shown ? dup(STDERR_FILENO) : open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (redirection_->saved < 0 || target < 0)
        throw Failure("cannot set standard output aside: " + std::string(std::strerror(errno)));
    dup2(target, STDOUT_FILENO);
    close(target);
    // The buffer closes its own descriptor; the saved one puts standard output back at the end.
    redirection_->buffer.reset(
        new __gnu_cxx::stdio_filebuf<char>(dup(redirection_->saved), std::ios::out, 1 << 16));
    redirection_->stream.reset(new std::ostream(redirection_->buffer.get()));
}

LibraryOutput::~LibraryOutput() {
    redirection_->stream->flush();
    redirection_->stream.reset();
    redirection_->buffer.reset();
    std::cout.flush();
    std::fflush(stdout);
    dup2(redirection_->saved, STDOUT_FILENO);
    close(redirection_->saved);
}

std::ostream& LibraryOutput::out() {
    return *redirection_->stream;
}

} // namespace tool
