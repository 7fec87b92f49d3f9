// The devicebridge tool run as a process: against the module emulator on a pseudo-terminal and on TCP, and
// on recordings in scratch directories. Every subcommand's main path, the errors a user meets, a record →
// inspect → cat → export → play round trip, Ctrl-C during a recording and recovery after a kill.
#include "DataReader.h"
#include "DataRecorder.h"
#include "ModuleEmulator.h"
#include "ModuleFirmware.h"
#include "SamplePackets.h"
#include "ScratchDirectory.h"
#include "SensorStreams.h"
#include "protocol_identifiers.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <sstream>
#include <thread>

namespace {

namespace fs = std::filesystem;
typedef std::chrono::steady_clock Clock;

struct Outcome {
    int status;
    std::string out, err;
};

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> fields;
    std::istringstream stream(text);
    for (std::string field; std::getline(stream, field, separator);)
        fields.push_back(field);
    return fields;
}

bool eventually(const std::function<bool()>& condition,
                std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    const Clock::time_point deadline = Clock::now() + limit;
    while (!condition()) {
        if (Clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

class DevicebridgeTool : public ScratchDirectory {
protected:
    // Starts the tool with its output going to files named after `tag`.
    pid_t start(const std::vector<std::string>& arguments, const std::string& tag = "run") {
        const std::string out = path + "/" + tag + ".out", err = path + "/" + tag + ".err";
        const pid_t pid = fork();
        if (pid == 0) {
            std::vector<char*> argv{const_cast<char*>(DEVICEBRIDGE_PROGRAM)};
            for (const std::string& argument : arguments)
                argv.push_back(const_cast<char*>(argument.c_str()));
            argv.push_back(nullptr);
            dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
            dup2(open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
            execv(DEVICEBRIDGE_PROGRAM, argv.data());
            _exit(127);
        }
        return pid;
    }
    Outcome finish(pid_t pid, const std::string& tag = "run") {
        int status = 0;
        waitpid(pid, &status, 0);
        return Outcome{WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), text_of(tag + ".out"),
                       text_of(tag + ".err")};
    }
    Outcome run(const std::vector<std::string>& arguments) { return finish(start(arguments)); }

    // A recording from the emulator's presence profile with baseband; its meta file.
    std::string record(const std::string& device, const std::string& types,
                       const std::string& seconds = "1.5") {
        fs::create_directory("recordings");
        const Outcome recorded = run({"record", device, "recordings", "--profile", "presence", "--types",
                                      types, "--duration", seconds});
        EXPECT_EQ(0, recorded.status) << recorded.err;
        const std::vector<std::string> out = lines_of(recorded.out);
        return out.empty() ? "" : out.back();
    }

    static std::string tcp(const ModuleEmulator& module) {
        return "tcp://127.0.0.1:" + std::to_string(module.tcp_port());
    }

    // The file's names and sizes below `directory`.
    static std::map<std::string, uintmax_t> snapshot(const std::string& directory) {
        std::map<std::string, uintmax_t> files;
        for (const auto& entry : fs::recursive_directory_iterator(directory))
            files[entry.path().string()] = entry.is_regular_file() ? entry.file_size() : 0;
        return files;
    }
};

TEST_F(DevicebridgeTool, PortsListsWhatThereIsAndExitsZero) {
    const Outcome text = run({"ports"}), json = run({"ports", "--json"});
    EXPECT_EQ(0, text.status) << text.err;
    EXPECT_EQ(0, json.status) << json.err;
    EXPECT_EQ(0u, json.out.find('[')) << json.out;
}

TEST_F(DevicebridgeTool, InfoTellsWhoTheModuleIsOverPtyAndTcp) {
    ModuleEmulator pty, network(ModuleEmulator::Transport::tcp);
    pty.firmware().run_profile(KMS_ID_APP_PRESENCE_2);
    for (const std::string& address : {pty.device_path(), tcp(network)}) {
        SCOPED_TRACE(address);
        const Outcome text = run({"info", address});
        EXPECT_EQ(0, text.status) << text.err;
        for (const char* line :
             {"ping: 0xAAEEAEEA (ready)\n", "firmware id: ", "firmware version: ", "serial number: ",
              "item number: ", "order code: ", "build info: ", "app id list: "})
            EXPECT_NE(std::string::npos, text.out.find(line)) << line << " in " << text.out;
        EXPECT_NE(
            std::string::npos,
            text.out.find(address == pty.device_path() ? "profile: presence (0x014D4AB8)" : "profile: none"));
        const Outcome json = run({"info", address, "--json"});
        EXPECT_EQ(0, json.status);
        EXPECT_NE(std::string::npos, json.out.find("\"ready\": true"));
        EXPECT_NE(std::string::npos, json.out.find("\"firmware_id\": \""));
    }
}

TEST_F(DevicebridgeTool, BadInputIsOneLineAndExitStatusOne) {
    ModuleEmulator silent;
    silent.set_silent(true);
    fs::create_directory("empty");
    fs::create_directory("locked");
    chmod("locked", 0500);
    std::ofstream("garbage.dat") << "not a meta file at all, but long enough to hold a header of one";
    const std::string missing = path + "/missing/tervik_recording_meta.dat";
    struct Case {
        std::vector<std::string> arguments;
        std::string message;
    };
    std::vector<Case> cases = {
        {{"info", path + "/no_device"}, "info: cannot open " + path + "/no_device: unable to open file"},
        {{"info", "tcp://127.0.0.1:0"}, "not an address of the form tcp://HOST:PORT"},
        {{"info", silent.device_path()}, "no module answers at " + silent.device_path()},
        {{"inspect", missing}, "cannot read meta file " + missing + ": No such file or directory"},
        {{"inspect", "garbage.dat"}, "garbage.dat is not a meta file of a recording"},
        {{"cat", missing}, "cat: cannot read meta file"},
        {{"cat", "garbage.dat", "--types", "presence_single,bogus"}, "unknown data type: bogus"},
        {{"cat", "garbage.dat"}, "cat: garbage.dat is not a meta file of a recording"},
        {{"play", "garbage.dat"}, "play: garbage.dat is not a meta file of a recording"},
        {{"export", "garbage.dat", "missing"}, "output directory missing does not exist"},
        {{"play", missing}, "play: cannot read meta file"},
        {{"record", silent.device_path(), "empty", "--profile", "walking", "--types", "presence_single"},
         "unknown profile: walking"},
        {{"record", silent.device_path(), "empty", "--profile", "sleep", "--types", "sleep,bogus"},
         "unknown data type: bogus"},
        {{"record", silent.device_path(), "missing", "--profile", "sleep", "--types", "sleep"},
         "directory missing can't be used: No such file or directory"},
        {{"record", silent.device_path(), "empty", "--profile", "sleep", "--types", "sleep"},
         "no module answers at"},
        {{"recover", "missing"}, "cannot read missing: No such file or directory"},
        {{"inspect"}, "META is required"},
    };
    if (geteuid() != 0) // root writes anywhere
        cases.push_back({{"record", silent.device_path(), "locked", "--profile", "sleep", "--types", "sleep"},
                         "directory locked is not writable"});
    for (const Case& each : cases) {
        SCOPED_TRACE(each.arguments.front() + " " + (each.arguments.size() > 1 ? each.arguments[1] : ""));
        const Outcome outcome = run(each.arguments);
        EXPECT_EQ(1, outcome.status);
        EXPECT_EQ(0u, outcome.err.find("devicebridge")) << outcome.err;
        EXPECT_NE(std::string::npos, outcome.err.find(each.message)) << outcome.err;
        EXPECT_EQ(outcome.err.size() - 1, outcome.err.find('\n')) << "one line: " << outcome.err;
    }
    EXPECT_TRUE(fs::is_empty("empty")) << "nothing half-written";
    for (const char* command : {"ports", "info", "record", "inspect", "cat", "export", "play", "recover"}) {
        const Outcome help = run({command, "--help"});
        EXPECT_EQ(0, help.status) << command;
        EXPECT_NE(std::string::npos, help.out.find(std::string("devicebridge ") + command)) << help.out;
    }
}

// Reads back what was recorded, and checks the baseband CSV against the frames the emulator makes.
TEST_F(DevicebridgeTool, RecordingRoundTripsThroughInspectCatExportAndPlay) {
    ModuleEmulator module;
    const std::string meta = record(module.device_path(), "presence_single,baseband_iq");
    ASSERT_TRUE(fs::exists(meta)) << meta;
    EXPECT_EQ(KMS_SM_IDLE, module.firmware().state().settings.sensor_mode) << "the module is left idle";

    Tervik::DataReader reader;
    ASSERT_EQ(0, reader.open(meta));
    size_t records = 0, presence = 0;
    for (Tervik::DataRecord record = reader.read_record(); record.is_valid; record = reader.read_record()) {
        ++records;
        presence += record.data_type == Tervik::PresenceSingleDataType && record.data[0] != 'T';
    }
    ASSERT_GT(presence, 2u);

    const Outcome inspected = run({"inspect", meta, "--json"});
    EXPECT_EQ(0, inspected.status) << inspected.err;
    EXPECT_NE(std::string::npos, inspected.out.find("\"healthy\": true")) << inspected.out;
    EXPECT_NE(std::string::npos,
              inspected.out.find("\"presence_single\": {\"records\": " + std::to_string(presence + 1)));

    const Outcome catted = run({"cat", meta});
    EXPECT_EQ(0, catted.status) << catted.err;
    EXPECT_EQ(records, lines_of(catted.out).size());
    // The header line is at 0 ms; the first reading comes when the module sends it, later on a slow machine.
    std::string first_reading_ms;
    for (const std::string& line : lines_of(catted.out))
        if (line.find("presence_single") != std::string::npos &&
            line.find("TimeStamp;") == std::string::npos) {
            std::istringstream(line) >> first_reading_ms >> first_reading_ms;
            break;
        }
    const Outcome only_presence = run({"cat", meta, "--types", "presence_single", "--to", first_reading_ms});
    EXPECT_EQ(2u, lines_of(only_presence.out).size())
        << "the header line and the first reading: " << only_presence.out;

    fs::create_directory("csv");
    const Outcome exported = run({"export", meta, "csv"});
    EXPECT_EQ(0, exported.status) << exported.err;
    const std::vector<std::string> rows = lines_of(text_of("csv/baseband_iq.csv"));
    ASSERT_GT(rows.size(), 100u);
    EXPECT_EQ("time,ms_from_start,frame,bin,range,i,q", rows[0]);
    for (size_t row = 1; row < rows.size(); row += 37) {
        const std::vector<std::string> fields = split(rows[row], ',');
        ASSERT_EQ(7u, fields.size()) << rows[row];
        const uint32_t frame = std::stoul(fields[2]), bin = std::stoul(fields[3]);
        const Bytes packet = sensor_stream_packet(StreamKind::baseband_iq, frame, 100);
        float i, q;
        std::memcpy(&i, &packet[29 + 4 * bin], 4);
        std::memcpy(&q, &packet[29 + 4 * (100 + bin)], 4);
        EXPECT_EQ(i, std::stof(fields[5])) << rows[row];
        EXPECT_EQ(q, std::stof(fields[6])) << rows[row];
    }
    const std::vector<std::string> presence_rows = lines_of(text_of("csv/presence_single.csv"));
    EXPECT_EQ("TimeStamp,Counter,PresenceState,Distance,Direction,SignalQuality", presence_rows.at(0));
    EXPECT_EQ(presence + 1, presence_rows.size());
    for (const std::string& name : files())
        EXPECT_EQ(std::string::npos, name.find(".part"));

    const Outcome played = run({"play", meta, "--rate", "-1", "--types", "presence_single"});
    EXPECT_EQ(0, played.status) << played.err;
    const std::vector<std::string> packets = lines_of(played.out);
    ASSERT_EQ(presence, packets.size()) << played.out;
    EXPECT_NE(std::string::npos, packets[0].find("presence_single  counter 0  state 1  distance "))
        << packets[0];
}

TEST_F(DevicebridgeTool, ExportSkipsMalformedRecordsWithoutCrashing) {
    fs::create_directory("made");
    std::string meta;
    {
        Tervik::DataRecorder recorder;
        recorder.subscribe_to_meta_file_available(
            [&meta](const std::string&, const std::string& name) { meta = name; });
        ASSERT_EQ(0, recorder.start_recording(Tervik::BasebandApDataType, "made"));
        recorder.process(Tervik::BasebandApDataType,
                         SamplePackets::baseband_packet(13, 7, {1.0f, 2.0f}, {3.0f, 4.0f}));
        Bytes lying = SamplePackets::baseband_packet(13, 8, {1.0f}, {2.0f});
        lying[9] = 0xFF; // a bin count far beyond the record
        recorder.process(Tervik::BasebandApDataType, lying);
        recorder.process(Tervik::BasebandApDataType, Bytes{0x50, 13, 0, 0, 0, 1});
    }
    fs::create_directory("csv");
    const Outcome exported = run({"export", meta, "csv"});
    EXPECT_EQ(0, exported.status) << exported.err;
    EXPECT_NE(std::string::npos, exported.err.find("2 malformed records skipped"));
    const std::vector<std::string> rows = lines_of(text_of("csv/baseband_ap.csv"));
    ASSERT_EQ(3u, rows.size());
    const std::vector<std::string> second_bin = split(rows[2], ',');
    ASSERT_EQ(7u, second_bin.size());
    EXPECT_EQ((std::vector<std::string>{"7", "1", "2", "4"}),
              (std::vector<std::string>{second_bin[2], second_bin[3], second_bin[5], second_bin[6]}));
    const Outcome catted = run({"cat", meta});
    EXPECT_EQ(0, catted.status);
    EXPECT_NE(std::string::npos, catted.out.find("malformed: 08 00 00 00 ff 00 00 00"));
}

TEST_F(DevicebridgeTool, CtrlCEndsARecordingOverTcpCleanly) {
    ModuleEmulator module(ModuleEmulator::Transport::tcp);
    fs::create_directory("recordings");
    const pid_t child =
        start({"record", tcp(module), "recordings", "--profile", "respiration", "--types",
               "respiration,respiration_movinglist", "--split-bytes", "300", "--session-id", "desk"});
    const auto closed_data_files = [] {
        size_t count = 0;
        for (const auto& entry : fs::recursive_directory_iterator("recordings"))
            count += entry.path().extension() == ".csv";
        return count;
    };
    ASSERT_TRUE(eventually([&] { return closed_data_files() >= 2; })) << "files split at 300 bytes";
    kill(child, SIGINT);
    const Outcome recorded = finish(child);
    EXPECT_EQ(0, recorded.status) << recorded.err;
    const std::string meta = lines_of(recorded.out).back();
    Tervik::DataReader reader;
    EXPECT_EQ(0, reader.open(meta));
    EXPECT_EQ(static_cast<uint32_t>(Tervik::RespirationDataType | Tervik::RespirationMovingListDataType),
              reader.get_data_types());
    EXPECT_EQ("desk", reader.get_session_id());
    const std::string summary = lines_of(recorded.err).back();
    EXPECT_NE(std::string::npos, summary.find("(interrupted)")) << summary;
    const size_t files_closed = std::stoul(summary.substr(summary.find("files closed ") + 13));
    EXPECT_EQ(closed_data_files(), files_closed) << summary;
    EXPECT_EQ(KMS_SM_IDLE, module.firmware().state().settings.sensor_mode);
    for (const auto& entry : fs::recursive_directory_iterator("recordings"))
        EXPECT_NE(".writing", entry.path().extension()) << entry.path();
}

TEST_F(DevicebridgeTool, RecoverMakesAKilledRecordingReadable) {
    ModuleEmulator module;
    fs::create_directory("recordings");
    const pid_t child = start({"record", module.device_path(), "recordings", "--profile", "presence",
                               "--types", "presence_single,baseband_ap"});
    std::string crashed_meta;
    ASSERT_TRUE(eventually([&] {
        for (const auto& entry : fs::recursive_directory_iterator("recordings"))
            if (entry.path().filename() == "tervik_recording_meta.writing" && entry.file_size() > 400)
                crashed_meta = entry.path().string();
        return !crashed_meta.empty();
    }));
    std::this_thread::sleep_for(
        std::chrono::milliseconds(700)); // lets the recorder hand its data to the system
    kill(child, SIGKILL);
    finish(child);

    const auto before = snapshot("recordings");
    const Outcome dry = run({"recover", "recordings", "--dry-run"});
    EXPECT_EQ(0, dry.status) << dry.out << dry.err;
    EXPECT_NE(std::string::npos, dry.out.find("would ")) << dry.out;
    EXPECT_EQ(before, snapshot("recordings")) << "a dry run changes nothing";
    const Outcome inspected = run({"inspect", crashed_meta});
    EXPECT_EQ(0, inspected.status);
    EXPECT_NE(std::string::npos, inspected.out.find("not closed")) << inspected.out;

    const Outcome recovered = run({"recover", "recordings"});
    EXPECT_EQ(0, recovered.status) << recovered.out << recovered.err;
    const std::string meta = fs::path(crashed_meta).replace_extension(".dat").string();
    Tervik::DataReader reader;
    EXPECT_EQ(0, reader.open(meta));
    EXPECT_TRUE(reader.read_record().is_valid);
    const Outcome healthy = run({"inspect", meta});
    EXPECT_NE(std::string::npos, healthy.out.find("recording: healthy")) << healthy.out;

    const Outcome again = run({"recover", "recordings"});
    EXPECT_EQ(0, again.status);
    EXPECT_NE(std::string::npos, again.out.find("nothing to recover")) << again.out;
}

} // namespace
