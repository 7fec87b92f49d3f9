// Module file operations against the module emulator's file system.
#include "RadarTestLink.h"

#include <gtest/gtest.h>

using namespace module_packets;

namespace {

class RadarFiles : public ::testing::Test {
protected:
    RadarTestLink link;
    Tervik::RadarInterface& radar = link.radar();

    // Word `index` after the two command bytes of each command with the prefix that names file (3,
    // identifier): chunk sizes, commit flags.
    std::vector<uint32_t> words(const Bytes& prefix, uint32_t identifier, size_t index) {
        std::vector<uint32_t> values;
        for (const Bytes& command : link.commands(prefix))
            if (word(command, 0) == 3 && word(command, 1) == identifier)
                values.push_back(word(command, index));
        return values;
    }
    static uint32_t word(const Bytes& command, size_t index) {
        uint32_t value = 0;
        for (size_t i = 0; i < 4 && 2 + 4 * index + i < command.size(); ++i)
            value |= uint32_t(command[2 + 4 * index + i]) << (8 * i);
        return value;
    }
};

TEST_F(RadarFiles, WholeFilesMoveInChunksOf2000Bytes) {
    const std::vector<std::pair<size_t, std::vector<uint32_t>>> cases = {
        {0, {}}, {2000, {2000}}, {2001, {2000, 1}}};
    uint32_t identifier = 0;
    for (const auto& file : cases) {
        SCOPED_TRACE(file.first);
        Bytes data(file.first);
        for (size_t i = 0; i < data.size(); ++i)
            data[i] = uint8_t(i * 7 + 0x7D);
        radar.set_file(3, ++identifier, data);
        Bytes back{1};
        EXPECT_EQ(0, radar.get_file_no_throw(3, identifier, back));
        EXPECT_EQ(data, back);
        EXPECT_EQ(file.second, words({0x90, 0x67}, identifier, 3)) << "written chunks";
        EXPECT_EQ(file.second, words({0x90, 0x71}, identifier, 3)) << "read chunks";
        EXPECT_EQ((std::vector<uint32_t>{1, 0}), words({0x90, 0x68}, identifier, 2))
            << "commit on write only";
    }
    EXPECT_EQ((std::vector<int32_t>{1, 2, 3}), radar.search_for_file_by_type(3));
}

TEST_F(RadarFiles, RefusedFileCommandIsARuntimeErrorAndLeavesTheFileAlone) {
    EXPECT_EQ("runtime_error parse_reply failed in open_file", outcome([&] { radar.get_file(3, 10); }));
    EXPECT_EQ(1, radar.open_file_no_throw(3, 10));
    EXPECT_FALSE(link.logged("error code"));
    EXPECT_TRUE(link.commands({0x90, 0x68}).empty()) << "no close after a failed step";
}

TEST_F(RadarFiles, ListingSplitsAnOddWordCountWithTheExtraIdentifier) {
    link.answer({0x90, 0x65}, {reply(0x11, 0, join({u32(1), u32(2), u32(10), u32(20), u32(30)}))});
    Tervik::Files files = radar.find_all_files();
    EXPECT_EQ((std::vector<int32_t>{1, 2}), files.file_type_items);
    EXPECT_EQ((std::vector<int32_t>{10, 20, 30}), files.file_identifier_items);

    link.answer({0x90, 0x65}, {reply(0x11, 0, {})});
    ASSERT_EQ(0, radar.find_all_files_no_throw(files));
    EXPECT_TRUE(files.file_type_items.empty());
    EXPECT_TRUE(files.file_identifier_items.empty());
}

TEST_F(RadarFiles, ParameterFilesByName) {
    EXPECT_EQ(0, radar.set_parameter_file_no_throw("presence.par", "sensitivity=5"));
    EXPECT_EQ("sensitivity=5", radar.get_parameter_file("presence.par"));
}

} // namespace
