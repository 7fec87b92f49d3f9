// The bootloader link on the module emulator, over a pseudo-terminal and loopback TCP: a whole update, what
// the module refuses, what the host makes of short and foreign answers, time-outs, and each constructor's
// logger.
#include "Bootloader.h"
#include "DeviceBridge.h"
#include "EmulatedBootloader.h"
#include "RadarTestLink.h"
#include "ScratchDirectory.h"
#include "StdoutLogger.h"
#include "UniqueLocked.h"
#include "protocol_identifiers.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>

namespace {

using std::chrono::seconds;
typedef std::chrono::system_clock Clock; // the clock of the link's time-outs

in_addr_t loopback() {
    return inet_addr("127.0.0.1");
}

Bytes pattern(size_t size, unsigned seed) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<unsigned char>(i * 7 + seed);
    return bytes;
}

Tervik::AbstractLoggerIo* quiet() {
    return new JournalOutput(std::make_shared<LogJournal>());
}

double seconds_taken(const std::function<void()>& call) {
    const Clock::time_point start = Clock::now();
    call();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// A bootloader on the emulator's pseudo-terminal, its log kept in a journal.
struct BootloaderOnPty {
    BootloaderOnPty() { module.bootloader().enter(); }
    ModuleEmulator module;
    std::shared_ptr<LogJournal> journal = std::make_shared<LogJournal>();
    Tervik::Bootloader bootloader{module.device_path(), 3, new JournalOutput(journal)};
};

// Over TCP the whole update runs in the tool's test; here the pseudo-terminal.
TEST(Bootloader, ImageWrittenPageByPageRunsAsTheNewApplication) {
    ModuleEmulator module;
    {
        Tervik::DeviceBridge application(module.device_path(), 0, quiet());
        application.get_radar_interface()->start_bootloader();
        EXPECT_TRUE(module.in_bootloader());
        application.set_default_timeout(1);
        EXPECT_EQ("runtime_error Timeout waiting for response\n",
                  outcome([&] { application.get_radar_interface()->ping(); }))
            << "the bootloader ignores the application's commands";
    }
    const size_t page_size = module.bootloader().page_size();
    const Bytes image = pattern(4 * page_size, 1);
    {
        Tervik::Bootloader bootloader(module.device_path(), 0u, quiet());
        EXPECT_EQ(module.bootloader().description(), bootloader.get_bootloader_info());
        for (unsigned page = 0; page < 4; ++page)
            EXPECT_EQ(0, bootloader.write_page(page, Bytes(image.begin() + page * page_size,
                                                           image.begin() + (page + 1) * page_size)));
        EXPECT_EQ(image, module.bootloader().image());
        EXPECT_EQ(0, bootloader.start_application());
        EXPECT_FALSE(module.in_bootloader());
    }
    Tervik::DeviceBridge updated(module.device_path(), 0, quiet());
    EXPECT_EQ(EmulatedBootloader::version_of(image), updated.get_radar_interface()->get_firmware_version());
}

// Refused pages leave the image as it was; the address goes out as 16 bits, high byte first.
TEST(Bootloader, RefusedPagesGiveOneAndOnlyTheLowAddressBitsGoOut) {
    BootloaderOnPty link;
    link.module.bootloader().set_geometry(16, 16 * 65536);
    const Bytes page = pattern(16, 3);
    EXPECT_EQ(1, link.bootloader.write_page(5, pattern(15, 3))) << "a page of the wrong size";
    EXPECT_EQ(1, link.bootloader.write_page(5, Bytes())) << "an empty page";
    EXPECT_EQ(0, link.bootloader.write_page(0x12345, page));
    const std::vector<Bytes> sent = link.module.received_commands();
    ASSERT_EQ(3u, sent.size());
    EXPECT_EQ((Bytes{0xC0, 0x10, 0x00, 0x05, 0x00}), sent[1]) << "no data bytes";
    EXPECT_EQ((Bytes{0xC0, 0x10, 0x23, 0x45, 0x00}), Bytes(sent[2].begin(), sent[2].begin() + 5));
    const Bytes image = link.module.bootloader().image();
    EXPECT_EQ(page, Bytes(image.begin() + 0x2345 * 16, image.end()));

    link.module.bootloader().set_geometry(16, 32);
    EXPECT_EQ(1, link.bootloader.write_page(2, page)) << "beyond the flash";
    EXPECT_TRUE(link.module.bootloader().image().empty());
    EXPECT_TRUE(link.journal->contains("page: 2"));
}

// Answers as the host sees them, whoever sends them: here the application's command table plays the module.
TEST(Bootloader, InfoIsTheAnswerAfterItsFirstByteWhenThereAreAtLeastFive) {
    ModuleEmulator module;
    Tervik::Bootloader bootloader(module.device_path(), 0u, quiet());
    const std::vector<std::pair<Bytes, std::string>> cases = {
        {{0xE0, 'a', 'b', 'c', 'd'}, "abcd"},
        {{0xE0, 'x', 0, 0xFF, 'y'}, std::string("x\0\xFFy", 4)},
        {{0xE0, 'a', 'b', 'c'}, "error fetching info"},
        {{KMS_SPR_ERROR, 1, 0, 0, 0}, "error fetching info"},
    };
    for (const auto& each : cases) {
        module.set_handler({KMS_SPC_BOOTLOADER},
                           [reply = each.first](const Bytes&) { return std::vector<Bytes>{reply}; });
        EXPECT_EQ(each.second, bootloader.get_bootloader_info());
    }
    EXPECT_EQ(1, bootloader.start_application()) << "the application's error reply";
}

TEST(Bootloader, LateAnswerThrowsAfterTheGivenTimeout) {
    BootloaderOnPty link;
    link.module.set_reply_delay(std::chrono::milliseconds(2500));
    std::string failure;
    const double taken =
        seconds_taken([&] { failure = outcome([&] { link.bootloader.start_application(1); }); });
    EXPECT_EQ("runtime_error Timeout waiting for response\n", failure);
    EXPECT_GE(taken, 1.0);
    EXPECT_LT(taken, 3.5) << "not the default of 4 s";
    EXPECT_TRUE(link.journal->contains("start_application -- end")) << "the trace closes on the way out";
}

TEST(Bootloader, SlowSilentModuleMakesEachExchangeThrowAfterItsTimeout) {
    BootloaderOnPty link;
    link.module.set_silent(true);
    const std::vector<std::pair<double, std::function<void()>>> cases = {
        {8.0, [&] { link.bootloader.write_page(0, pattern(256, 0)); }},
        {4.0, [&] { link.bootloader.start_application(); }},
        {2.0, [&] { link.bootloader.get_bootloader_info(); }},
    };
    for (const auto& each : cases) {
        std::string failure;
        const double taken = seconds_taken([&] { failure = outcome(each.second); });
        EXPECT_EQ("runtime_error Timeout waiting for response\n", failure);
        EXPECT_GE(taken, each.first);
        EXPECT_LT(taken, each.first + 3.0);
    }
}

// ---- the logger of each constructor
// ------------------------------------------------------------------------

class BootloaderLogging : public ScratchDirectory {};

TEST_F(BootloaderLogging, EachConstructorLogsWhereItSays) {
    ModuleEmulator pty, tcp(ModuleEmulator::Transport::tcp);
    pty.bootloader().enter();
    tcp.bootloader().enter();
    const in_port_t port = htons(tcp.tcp_port());
    auto journal = std::make_shared<LogJournal>();
    // What each makes, the TCP clients taken in by then, whether a debug file appears, a line of the journal.
    struct Case {
        std::function<Tervik::Bootloader*()> make;
        unsigned tcp_clients;
        bool debug_file;
        const char* in_journal;
    };
    const std::vector<Case> cases = {
        {[&] { return new Tervik::Bootloader(pty.device_path(), 5u); }, 0, false, nullptr},
        {[&] { return new Tervik::Bootloader(pty.device_path(), false, false, 5); }, 0, false, nullptr},
        {[&] { return new Tervik::Bootloader(pty.device_path(), false, true, 3); }, 0, true, nullptr},
        {[&] { return new Tervik::Bootloader(loopback(), port); }, 1, true, nullptr},
        {[&] { return new Tervik::Bootloader(pty.device_path(), 3u, new JournalOutput(journal)); }, 1, false,
         "get_bootloader_info -- begin"},
        {[&] {
             return new Tervik::Bootloader(pty.device_path(),
                                           new StdoutLogger(5, std::make_unique<JournalOutput>(journal)));
         },
         1, false, "createing logger StdoutLogger"},
        {[&] { return new Tervik::Bootloader(loopback(), port, 3, new JournalOutput(journal)); }, 2, false,
         "get_bootloader_info -- end"},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(i);
        {
            std::unique_ptr<Tervik::Bootloader> bootloader(cases[i].make());
            ASSERT_TRUE(tcp.wait_for_connections(cases[i].tcp_clients, seconds(10)));
            EXPECT_EQ(pty.bootloader().description(), bootloader->get_bootloader_info());
        }
        EXPECT_TRUE(journal->output_deleted || !cases[i].in_journal);
        EXPECT_TRUE(!cases[i].in_journal || journal->contains(cases[i].in_journal));
        journal = std::make_shared<LogJournal>();
        const std::vector<std::string> names = files();
        ASSERT_EQ(cases[i].debug_file ? 1u : 0u, names.size());
        if (cases[i].debug_file) {
            const std::string text = text_of(names[0]);
            EXPECT_NE(std::string::npos, text.find("get_bootloader_info -- begin"));
            EXPECT_EQ(i == 3, text.find("createing logger") != std::string::npos) << "level 5 on (ip, port)";
            std::filesystem::remove(path + "/" + names[0]);
        }
    }
}

TEST_F(BootloaderLogging, UnreachableDeviceThrowsAndReleasesWhatItWasGiven) {
    auto journal = std::make_shared<LogJournal>(), second = std::make_shared<LogJournal>();
    const std::string missing = path + "/missing";
    EXPECT_EQ("runtime_error unable to open file: " + missing,
              outcome([&] { Tervik::Bootloader(missing, 0u, new JournalOutput(journal)); }));
    EXPECT_TRUE(journal->contains("Error opening file: " + missing));
    EXPECT_TRUE(journal->output_deleted);
    EXPECT_EQ("runtime_error unable to open file: " + missing, outcome([&] {
                  Tervik::Bootloader(missing, new StdoutLogger(0, std::make_unique<JournalOutput>(second)));
              }));
    EXPECT_TRUE(second->output_deleted);
    EXPECT_TRUE(files().empty());
}

// The logger's first line throws in the constructor; what was built so far goes, each part once.
TEST_F(BootloaderLogging, DebugFileThatCannotBeMadeFailsTheConstructor) {
    ModuleEmulator module;
    std::filesystem::remove(path);
    EXPECT_EQ("runtime_error file is not open after open",
              outcome([&] { Tervik::Bootloader(module.device_path(), false, true, 5); }));
}

} // namespace
