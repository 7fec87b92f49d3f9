// Logging as a user meets it: lines through a custom output, debug files on a real file system, the null
// logger.
#include "DefaultLoggerIo.h"
#include "StdoutLogger.h"
#include "Trace.h"
#include "VoidLogger.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numeric>
#include <regex>
#include <thread>

namespace {

typedef std::vector<std::string> Lines;
namespace fs = std::filesystem;

class MemoryIo : public Tervik::AbstractLoggerIo {
public:
    explicit MemoryIo(Lines& lines) : lines(lines) {}
    void log(const std::string& line) override { lines.push_back(line); }
    Lines& lines;
};

class LoggerTest : public ::testing::Test {
protected:
    // The texts of the lines the action logs, after their "<seconds> : " head.
    template <typename Action> Lines texts_after(Action action) {
        const size_t before = lines.size();
        action();
        Lines texts;
        for (size_t i = before; i < lines.size(); ++i)
            texts.push_back(lines[i].substr(lines[i].find(" : ") + 3));
        return texts;
    }
    std::string dump(const Bytes& bytes) {
        Lines texts = texts_after([&] { logger.print_bytes(5, bytes); });
        return texts.empty() ? "<nothing>" : texts.back();
    }

    Lines lines;
    std::unique_ptr<StdoutLogger> owner{new StdoutLogger(-1, std::make_unique<MemoryIo>(lines))};
    StdoutLogger& logger = *owner;
};

Bytes counting_bytes(std::size_t size) {
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), 0);
    return bytes;
}

TEST_F(LoggerTest, PrintBytesRendersAtMostTwentyHeadAndThreeTailBytes) {
    const std::string twenty =
        "0x0, 0x1, 0x2, 0x3, 0x4, 0x5, 0x6, 0x7, 0x8, 0x9, 0xa, 0xb, 0xc, 0xd, 0xe, 0xf, "
        "0x10, 0x11, 0x12, 0x13, ";
    EXPECT_EQ("<nothing>", dump(Bytes()));
    EXPECT_EQ("5: {0x5, 0x7d, 0x0, 0xff, 0x10, }", dump(Bytes{0x05, 0x7d, 0x00, 0xff, 0x10}));
    EXPECT_EQ("20: {" + twenty + "}", dump(counting_bytes(20)));
    EXPECT_EQ("21: {" + twenty + "..., 0x12, 0x13, 0x14}", dump(counting_bytes(21)));
    EXPECT_EQ("22: {" + twenty + "..., 0x13, 0x14, 0x15}", dump(counting_bytes(22)));
    EXPECT_EQ("100000: {" + twenty + "..., 0x9d, 0x9e, 0x9f}", dump(counting_bytes(100000)));
}

TEST_F(LoggerTest, LevelDecidesWhatPasses) {
    logger.set_log_level(0);
    EXPECT_EQ(Lines({"e1", "e2"}), texts_after([&] {
                  logger.log(1, "filtered");
                  logger.print_bytes(1, Bytes{1});
                  Trace trace(logger, 3, "scope");
                  logger.error("e1");
                  (logger.serror() << "e2").flush();
              }));
    logger.set_log_level(3);
    EXPECT_EQ(Lines({"three", "1: {0x1, }", "scope -- begin", "scope -- end"}), texts_after([&] {
                  logger.log(3, "three");
                  logger.log(4, "four");
                  logger.print_bytes(3, Bytes{1});
                  logger.print_bytes(4, Bytes{2});
                  Trace trace(logger, 3, "scope");
              }));
    logger.set_log_level(-1);
    EXPECT_EQ(Lines({"loud"}), texts_after([&] { logger.log(4000000000u, "loud"); }));
}

TEST_F(LoggerTest, StreamDeliversOnlyAtFlushAndTestsTheLevelThen) {
    EXPECT_TRUE(texts_after([&] { logger.slog(0) << "never flushed " << 42; }).empty());
    EXPECT_EQ(Lines({"value 42 0x1f", "second"}), texts_after([&] {
                  lstream stream = logger.slog(2);
                  stream << "value " << 42 << " 0x" << std::hex << 31;
                  stream.flush();
                  stream << "second";
                  stream.flush();
              }));
    EXPECT_TRUE(texts_after([&] {
                    lstream stream = logger.slog(2);
                    stream << "composed while passing";
                    logger.set_log_level(1);
                    stream.flush();
                }).empty());
}

TEST_F(LoggerTest, LineIsSecondsSinceStartWithSixDecimalsThenText) {
    // The logger counts on system_clock, so the wait does too; the logger started before this.
    const auto until = std::chrono::system_clock::now() + std::chrono::milliseconds(30);
    while (std::chrono::system_clock::now() < until)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    logger.log(0, "ends in newline\n");
    owner.reset();
    ASSERT_EQ(3u, lines.size());
    std::smatch match;
    ASSERT_TRUE(std::regex_match(lines[1], match, std::regex(R"(^(\d+\.\d{6}) : ends in newline\n$)")))
        << lines[1];
    EXPECT_GE(std::stod(match[1]), 0.03);
    EXPECT_LT(std::stod(match[1]), 60.0);
    EXPECT_TRUE(std::regex_match(lines[0], std::regex(R"(^0\.\d{6} : createing logger StdoutLogger$)")))
        << lines[0];
    EXPECT_TRUE(std::regex_match(lines[2], std::regex(R"(^\d+\.\d{6} : ~StdoutLogger$)"))) << lines[2];
}

TEST(VoidLoggerTest, ShowsOnlyErrorsOnTheConsoleWithoutTime) {
    VoidLogger& logger = void_logger();
    logger.set_log_level(-1);
    testing::internal::CaptureStdout();
    logger.log(1, "talk");
    logger.print_bytes(0, Bytes{1, 2});
    logger.log(0, "zero");
    logger.error("broken");
    (logger.serror() << "streamed " << 7).flush();
    (logger.slog(2) << "streamed talk").flush();
    EXPECT_EQ("zero\nbroken\nstreamed 7\n", testing::internal::GetCapturedStdout());
}

// Each test runs with a fresh temporary directory as the current one, where the debug files land.
class DefaultLoggerIoTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/devicebridge_logger_XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(pattern));
        directory = pattern;
        previous = fs::current_path();
        fs::current_path(directory);
    }
    void TearDown() override {
        fs::current_path(previous);
        fs::remove_all(directory);
    }
    Lines files() const {
        Lines names;
        for (const auto& entry : fs::directory_iterator(directory))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }
    Lines lines_of(const std::string& name) const {
        std::ifstream in(directory / name);
        Lines lines;
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
        return lines;
    }
    // Names carry the whole seconds of std::time: just after its second turns, two quick opens share a name;
    // after the next turn, an open gets another. std::time reads a coarser clock than system_clock, which it
    // can trail by a tick, so the turn is watched on std::time itself.
    static void wait_for_next_second() {
        const std::time_t start = std::time(nullptr);
        while (std::time(nullptr) == start)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    fs::path previous;
    fs::path directory;
};

TEST_F(DefaultLoggerIoTest, FileAppearsWithFirstLineAndRotatesAfter200000Lines) {
    DefaultLoggerIo io(false, true);
    EXPECT_TRUE(files().empty());
    for (int i = 1; i <= 200000; ++i)
        io.log("line " + std::to_string(i));
    ASSERT_EQ(1u, files().size());
    EXPECT_TRUE(std::regex_match(files()[0], std::regex(R"(^debug_\d{8}_\d{6}\.log$)"))) << files()[0];

    wait_for_next_second();
    io.log("line 200001");
    io.log("line 200002");
    const Lines names = files();
    ASSERT_EQ(2u, names.size());
    const Lines first = lines_of(names[0]);
    ASSERT_EQ(200000u, first.size());
    EXPECT_EQ("line 1", first.front());
    EXPECT_EQ("line 200000", first.back());
    EXPECT_EQ(Lines({"line 200001", "line 200002"}), lines_of(names[1]));
}

TEST_F(DefaultLoggerIoTest, TwoFilesWithinOneSecondShareTheNameAndTheSecondEmptiesTheFirst) {
    // A thread held up past the turn of the second (a loaded machine) gets another try.
    for (int attempt = 0; attempt < 5 && (attempt == 0 || files().size() != 1); ++attempt) {
        for (const std::string& name : files())
            fs::remove(directory / name);
        wait_for_next_second();
        DefaultLoggerIo first(false, true);
        DefaultLoggerIo second(false, true);
        first.log("from the first, a longer line");
        second.log("second");
    }
    ASSERT_EQ(1u, files().size());
    EXPECT_EQ(Lines({"second"}), lines_of(files()[0]));
}

// A removed current directory refuses new files even to root, for whom permissions don't count.
TEST_F(DefaultLoggerIoTest, UnopenableFileThrowsIntoWhoeverLogs) {
    ASSERT_EQ(0, rmdir(directory.c_str()));
    try {
        StdoutLogger logger(5, std::make_unique<DefaultLoggerIo>(false, true));
        FAIL() << "the constructor's own line should have thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("file is not open after open", error.what());
    }
    StdoutLogger logger(0, std::make_unique<DefaultLoggerIo>(false, true));
    EXPECT_THROW(logger.error("first"), std::runtime_error);
    EXPECT_THROW(logger.error("again, so the mutex was released"), std::runtime_error);
}

TEST(DefaultLoggerIoDeathTest, FormatOf250CharactersAborts) {
    DefaultLoggerIo io(false, false);
    EXPECT_EQ(std::string(249, 'x'), io.create_filename(std::string(249, 'x')));
    EXPECT_DEATH(io.create_filename(std::string(250, 'x')), "format.size\\(\\) < 250");
}

} // namespace
