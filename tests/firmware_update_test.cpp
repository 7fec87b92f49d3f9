// The firmware update tool run as a process against the module emulator, over a pseudo-terminal and loopback
// TCP: whole updates, a refused page, and input that must be turned away before anything reaches the module.
#include "EmulatedBootloader.h"
#include "ModuleEmulator.h"
#include "ScratchDirectory.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <fstream>

namespace {

struct Outcome {
    int status;
    std::string out, err;
};

class FirmwareUpdate : public ScratchDirectory {
protected:
    Outcome update(const std::string& arguments) {
        const int status =
            std::system((std::string(FIRMWARE_UPDATE_PROGRAM) + " " + arguments + " >out 2>err").c_str());
        return Outcome{WIFEXITED(status) ? WEXITSTATUS(status) : -1, text_of("out"), text_of("err")};
    }
    // An image of `size` bytes in the file "image", and the same padded to whole pages.
    Bytes image(size_t size, size_t page_size) {
        Bytes bytes(size);
        for (size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<unsigned char>(i * 13 + 5);
        std::ofstream("image", std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), size);
        bytes.resize((size + page_size - 1) / page_size * page_size, 0xFF);
        return bytes;
    }
};

TEST_F(FirmwareUpdate, WritesTheImageAndReportsTheNewVersion) {
    ModuleEmulator pty, tcp(ModuleEmulator::Transport::tcp);
    tcp.bootloader().set_geometry(128, 128 * 16);
    tcp.bootloader().enter();
    struct Case {
        ModuleEmulator& module;
        std::string arguments;
        size_t page_size, first_page;
    };
    for (const Case& each : {Case{pty, pty.device_path() + " image", 256, 0},
                             Case{tcp,
                                  "tcp://127.0.0.1:" + std::to_string(tcp.tcp_port()) +
                                      " image --page-size 128 --start-address 2 --in-bootloader",
                                  128, 2}}) {
        SCOPED_TRACE(each.arguments);
        Bytes expected = image(700, each.page_size);
        const Outcome run = update(each.arguments);
        EXPECT_EQ(0, run.status) << run.err;
        expected.insert(expected.begin(), each.first_page * each.page_size, 0xFF);
        EXPECT_EQ(expected, each.module.bootloader().image());
        EXPECT_NE(std::string::npos,
                  run.out.find("bootloader: " + each.module.bootloader().description() + "\n"));
        EXPECT_NE(std::string::npos,
                  run.out.find("application firmware version: " + EmulatedBootloader::version_of(expected)));
        EXPECT_NE(std::string::npos, run.err.find(each.page_size == 256 ? "3/3 pages" : "6/6 pages"));
        EXPECT_FALSE(each.module.in_bootloader());
    }
}

TEST_F(FirmwareUpdate, RefusedPageStopsTheUpdateWithItsPageAndAddress) {
    ModuleEmulator module;
    module.bootloader().set_geometry(256, 512);
    image(600, 256);
    const Outcome run = update(module.device_path() + " image");
    EXPECT_EQ(1, run.status);
    EXPECT_NE(std::string::npos,
              run.err.find("firmware_update: page 3 of 3 (address 2) refused by the module\n"));
    EXPECT_TRUE(module.in_bootloader()) << "no application start after a refusal";
}

TEST_F(FirmwareUpdate, BadInputIsOneLineAndNothingReachesTheModule) {
    ModuleEmulator module;
    const std::string device = module.device_path();
    std::ofstream("empty");
    image(100, 1);
    const std::vector<std::pair<std::string, std::string>> cases = {
        {device + " missing", "cannot read image missing: No such file or directory"},
        {device + " empty", "image empty is empty"},
        {device + " image --page-size 0", "page size must be at least 1 byte"},
        {device + " image --page-size 101", "page size 101 is larger than the image (100 bytes)"},
        {device + " image --start-address 65500 --page-size 1", "do not fit the page addresses 0 to 65535"},
        {"tcp://127.0.0.1:0 image", "not an address of the form tcp://HOST:PORT"},
        {path + "/no_device image --page-size 10",
         "no application answers at " + path + "/no_device: unable to open file"},
        {device, "IMAGE is required"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.first);
        const Outcome run = update(each.first);
        EXPECT_EQ(1, run.status);
        EXPECT_EQ(0, run.err.find("firmware_update: ")) << run.err;
        EXPECT_NE(std::string::npos, run.err.find(each.second)) << run.err;
        EXPECT_EQ(run.err.size() - 1, run.err.find('\n')) << "one line";
    }
    EXPECT_TRUE(module.received_commands().empty());

    const Outcome help = update("--help");
    EXPECT_EQ(0, help.status);
    for (const char* option : {"--page-size", "--start-address", "--in-bootloader", "--wait", "Exit status"})
        EXPECT_NE(std::string::npos, help.out.find(option)) << option;
}

} // namespace
