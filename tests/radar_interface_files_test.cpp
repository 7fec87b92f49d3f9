// Module file operations against a scripted module that keeps a small file store of its own.
#include "RadarTestLink.h"

#include <gtest/gtest.h>

#include <map>
#include <mutex>

using namespace module_packets;

namespace {

uint32_t word_at(const Bytes& command, size_t index) {
    size_t offset = 2 + 4 * index;
    uint32_t value = 0;
    for (size_t i = 0; i < 4 && offset + i < command.size(); ++i)
        value |= uint32_t(command[offset + i]) << (8 * i);
    return value;
}

// Files by (type, identifier), with the chunk sizes of every transfer for the tests to look at.
class FileStore {
public:
    explicit FileStore(ScriptedModule& module) {
        module.answer_with({0x90, 0x66}, [this](const Bytes& c) { return create(c); });
        module.answer_with({0x90, 0x67}, [this](const Bytes& c) { return write(c); });
        module.answer_with({0x90, 0x68}, [this](const Bytes& c) { return close(c); });
        module.answer_with({0x90, 0x72}, [this](const Bytes& c) { return open(c); });
        module.answer_with({0x90, 0x69}, [this](const Bytes& c) { return length(c); });
        module.answer_with({0x90, 0x71}, [this](const Bytes& c) { return read(c); });
    }

    // Copies taken under the store's lock: the module's thread writes these.
    std::vector<uint32_t> written_chunks() const { return copy(written_chunks_); }
    std::vector<uint32_t> read_chunks() const { return copy(read_chunks_); }
    std::vector<uint32_t> commits() const { return copy(commits_); }

private:
    std::vector<uint32_t> copy(const std::vector<uint32_t>& values) const {
        std::lock_guard<std::mutex> lock(mutex);
        return values;
    }

    typedef std::pair<uint32_t, uint32_t> Key;
    static Key key(const Bytes& c) { return {word_at(c, 0), word_at(c, 1)}; }

    std::vector<Bytes> create(const Bytes& c) {
        std::lock_guard<std::mutex> lock(mutex);
        pending[key(c)] = Bytes(word_at(c, 2), 0);
        return {ack()};
    }
    std::vector<Bytes> write(const Bytes& c) {
        std::lock_guard<std::mutex> lock(mutex);
        uint32_t offset = word_at(c, 2), size = word_at(c, 3);
        Bytes& file = pending[key(c)];
        std::copy(c.begin() + 18, c.begin() + 18 + size, file.begin() + offset);
        written_chunks_.push_back(size);
        return {ack()};
    }
    std::vector<Bytes> close(const Bytes& c) {
        std::lock_guard<std::mutex> lock(mutex);
        commits_.push_back(word_at(c, 2));
        if (word_at(c, 2))
            files[key(c)] = pending[key(c)];
        return {ack()};
    }
    std::vector<Bytes> open(const Bytes& c) {
        std::lock_guard<std::mutex> lock(mutex);
        return {files.count(key(c)) ? ack() : error(0x21)};
    }
    std::vector<Bytes> length(const Bytes& c) {
        std::lock_guard<std::mutex> lock(mutex);
        return {reply(0x11, 0, u32(uint32_t(files[key(c)].size())))};
    }
    std::vector<Bytes> read(const Bytes& c) {
        std::lock_guard<std::mutex> lock(mutex);
        const Bytes& file = files[key(c)];
        uint32_t offset = word_at(c, 2), size = word_at(c, 3);
        read_chunks_.push_back(size);
        return {reply(0x10, 0, Bytes(file.begin() + offset, file.begin() + offset + size))};
    }

    mutable std::mutex mutex;
    std::map<Key, Bytes> files, pending;
    std::vector<uint32_t> written_chunks_, read_chunks_, commits_;
};

class RadarFiles : public ::testing::Test {
protected:
    RadarTestLink link;
    ScriptedModule& module = link.module;
    Tervik::RadarInterface& radar = link.radar();
    FileStore store{module};

    Bytes pattern(size_t size) {
        Bytes data(size);
        for (size_t i = 0; i < size; ++i)
            data[i] = uint8_t(i * 7 + 0x7D);
        return data;
    }
};

TEST_F(RadarFiles, EmptyFileNeedsNoDataCommands) {
    radar.set_file(3, 9, Bytes());
    EXPECT_TRUE(store.written_chunks().empty());
    EXPECT_TRUE(radar.get_file(3, 9).empty());
    EXPECT_TRUE(store.read_chunks().empty());
    EXPECT_EQ((std::vector<uint32_t>{1, 0}), store.commits()) << "written with commit, read without";
}

TEST_F(RadarFiles, ExactlyOneChunk) {
    Bytes data = pattern(2000);
    radar.set_file(3, 9, data);
    EXPECT_EQ(data, radar.get_file(3, 9));
    EXPECT_EQ((std::vector<uint32_t>{2000}), store.written_chunks());
    EXPECT_EQ((std::vector<uint32_t>{2000}), store.read_chunks());
}

TEST_F(RadarFiles, OneByteOverAChunk) {
    Bytes data = pattern(2001);
    EXPECT_EQ(0, radar.set_file_no_throw(3, 9, data));
    Bytes back;
    EXPECT_EQ(0, radar.get_file_no_throw(3, 9, back));
    EXPECT_EQ(data, back);
    EXPECT_EQ((std::vector<uint32_t>{2000, 1}), store.written_chunks());
    EXPECT_EQ((std::vector<uint32_t>{2000, 1}), store.read_chunks());
}

TEST_F(RadarFiles, RefusedFileCommandIsARuntimeErrorAndLeavesTheFileOpen) {
    try {
        radar.get_file(3, 10);
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ("parse_reply failed in open_file", e.what());
    }
    EXPECT_EQ(1, radar.open_file_no_throw(3, 10));
    EXPECT_FALSE(link.logged("error code"));
    EXPECT_TRUE(store.commits().empty());
}

TEST_F(RadarFiles, ListingSplitsTheWordsInTypesAndIdentifiers) {
    module.answer({0x90, 0x65}, {reply(0x11, 0, join({u32(1), u32(2), u32(10), u32(20), u32(30)}))});
    Tervik::Files files = radar.find_all_files();
    EXPECT_EQ((std::vector<int32_t>{1, 2}), files.file_type_items);
    EXPECT_EQ((std::vector<int32_t>{10, 20, 30}), files.file_identifier_items);

    module.answer({0x90, 0x65}, {reply(0x11, 0, {})});
    ASSERT_EQ(0, radar.find_all_files_no_throw(files));
    EXPECT_TRUE(files.file_type_items.empty());
    EXPECT_TRUE(files.file_identifier_items.empty());

    module.answer({0x90, 0x64}, {reply(0x11, 0, join({u32(4), u32(0xFFFFFFFF)}))});
    EXPECT_EQ((std::vector<int32_t>{4, -1}), radar.search_for_file_by_type(2));
}

TEST_F(RadarFiles, ParameterFilesByName) {
    module.answer({0x10, 0x11}, {reply(0x13, 0, Bytes{'a', '=', '1'})});
    EXPECT_EQ("a=1", radar.get_parameter_file("settings"));
    Bytes sent = module.received().back();
    ASSERT_EQ(19u, sent.size());
    EXPECT_EQ(u32(9), Bytes(sent.begin() + 6, sent.begin() + 10)) << "the name's length counts its 0 byte";
    EXPECT_EQ(0, sent.back());
}

} // namespace
