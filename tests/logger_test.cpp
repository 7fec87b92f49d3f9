// Logging as a user of the library meets it: lines through a custom output, the default debug files on a real
// file system, and the null logger on the console.
#include "AbstractLoggerIo.h"
#include "DefaultLoggerIo.h"
#include "StdoutLogger.h"
#include "Trace.h"
#include "VoidLogger.h"

#include <gtest/gtest.h>

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <fstream>
#include <memory>
#include <mutex>
#include <regex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

struct CapturedLines {
    std::mutex mutex;
    std::vector<std::string> lines;
};

class CapturingIo : public Tervik::AbstractLoggerIo {
public:
    explicit CapturingIo(std::shared_ptr<CapturedLines> captured) : captured(captured) {}
    void log(const std::string& line) override {
        std::lock_guard<std::mutex> lock(captured->mutex);
        captured->lines.push_back(line);
    }

private:
    std::shared_ptr<CapturedLines> captured;
};

// A logger over a capturing output; the texts drop the "<seconds> : " head of each line.
class LoggerTest : public ::testing::Test {
protected:
    void SetUp() override {
        logger.reset(new StdoutLogger(-1, new CapturingIo(captured)));
        captured->lines.clear();
    }

    std::vector<std::string> texts() {
        std::vector<std::string> result;
        for (const std::string& line : captured->lines)
            result.push_back(line.substr(line.find(" : ") + 3));
        return result;
    }
    std::vector<std::string> texts_after(std::function<void()> action) {
        captured->lines.clear();
        action();
        return texts();
    }

    std::shared_ptr<CapturedLines> captured = std::make_shared<CapturedLines>();
    std::unique_ptr<StdoutLogger> logger;
};

typedef std::vector<std::string> Texts;

Bytes counting_bytes(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<unsigned char>(i);
    return bytes;
}

std::string dump(StdoutLogger& logger, std::vector<std::string>& lines, const Bytes& bytes) {
    lines.clear();
    logger.print_bytes(5, bytes);
    return lines.empty() ? "<nothing>" : lines.back().substr(lines.back().find(" : ") + 3);
}

const std::string first_twenty =
    "0x0, 0x1, 0x2, 0x3, 0x4, 0x5, 0x6, 0x7, 0x8, 0x9, 0xa, 0xb, 0xc, 0xd, 0xe, 0xf, "
    "0x10, 0x11, 0x12, 0x13, ";

TEST_F(LoggerTest, PrintBytesRendersAtMostTwentyHeadAndThreeTailBytes) {
    std::vector<std::string>& lines = captured->lines;
    EXPECT_EQ("<nothing>", dump(*logger, lines, Bytes()));
    EXPECT_EQ("5: {0x5, 0x7d, 0x0, 0xff, 0x10, }", dump(*logger, lines, Bytes{0x05, 0x7d, 0x00, 0xff, 0x10}));
    EXPECT_EQ("20: {" + first_twenty + "}", dump(*logger, lines, counting_bytes(20)));
    EXPECT_EQ("21: {" + first_twenty + "..., 0x12, 0x13, 0x14}", dump(*logger, lines, counting_bytes(21)));
    EXPECT_EQ("22: {" + first_twenty + "..., 0x13, 0x14, 0x15}", dump(*logger, lines, counting_bytes(22)));
    EXPECT_EQ("100000: {" + first_twenty + "..., 0x9d, 0x9e, 0x9f}",
              dump(*logger, lines, counting_bytes(100000)));
}

TEST_F(LoggerTest, LevelDecidesWhatPasses) {
    logger->set_log_level(0);
    EXPECT_EQ(Texts({"e1", "e2"}), texts_after([&] {
                  logger->log(1, "filtered");
                  logger->print_bytes(1, Bytes{1});
                  { Trace trace(*logger, 3, "scope"); }
                  logger->error("e1");
                  (logger->serror() << "e2").flush();
              }));

    logger->set_log_level(3);
    EXPECT_EQ(Texts({"three", "1: {0x1, }", "scope -- begin", "scope -- end"}), texts_after([&] {
                  logger->log(3, "three");
                  logger->log(4, "four");
                  logger->print_bytes(3, Bytes{1});
                  logger->print_bytes(4, Bytes{2});
                  Trace trace(*logger, 3, "scope");
              }));

    logger->set_log_level(-1);
    EXPECT_EQ(Texts({"loud"}), texts_after([&] { logger->log(4000000000u, "loud"); }));
}

TEST_F(LoggerTest, StreamDeliversOnlyAtFlushAndTestsTheLevelThen) {
    EXPECT_TRUE(texts_after([&] { logger->slog(0) << "never flushed " << 42; }).empty());

    EXPECT_EQ(Texts({"value 42 0x1f", "second"}), texts_after([&] {
                  lstream stream = logger->slog(2);
                  stream << "value " << 42 << " 0x" << std::hex << 31;
                  stream.flush();
                  stream << "second";
                  stream.flush();
              }));

    EXPECT_TRUE(texts_after([&] {
                    lstream stream = logger->slog(2);
                    stream << "composed while passing";
                    logger->set_log_level(1);
                    stream.flush();
                }).empty());
}

TEST_F(LoggerTest, LineIsSecondsSinceStartWithSixDecimalsThenText) {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    logger->log(0, "hello");
    logger->log(0, "ends in newline\n");
    ASSERT_EQ(2u, captured->lines.size());
    std::smatch match;
    ASSERT_TRUE(std::regex_match(captured->lines[0], match, std::regex(R"(^(\d+\.\d{6}) : hello$)")))
        << captured->lines[0];
    const double seconds = std::stod(match[1]);
    EXPECT_GE(seconds, 0.03);
    EXPECT_LT(seconds, 30.0);
    EXPECT_EQ("ends in newline\n", captured->lines[1].substr(captured->lines[1].find(" : ") + 3));
}

TEST_F(LoggerTest, ConstructionAndDestructionAreNotedAtLevelFive) {
    auto own = std::make_shared<CapturedLines>();
    { StdoutLogger quiet(4, new CapturingIo(own)); }
    EXPECT_TRUE(own->lines.empty());
    { StdoutLogger talkative(5, new CapturingIo(own)); }
    ASSERT_EQ(2u, own->lines.size());
    EXPECT_NE(std::string::npos, own->lines[0].find(" : createing logger StdoutLogger"));
    EXPECT_NE(std::string::npos, own->lines[1].find(" : ~StdoutLogger"));
}

TEST_F(LoggerTest, LinesFromManyThreadsNeverMix) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([this, t] {
            for (int i = 0; i < 200; ++i)
                logger->log(5, "plain " + std::to_string(t) + " line " + std::to_string(i));
        });
    for (std::thread& thread : threads)
        thread.join();
    ASSERT_EQ(800u, captured->lines.size());
    for (const std::string& line : captured->lines)
        ASSERT_TRUE(std::regex_match(line, std::regex(R"(^\d+\.\d{6} : plain \d line \d+$)"))) << line;
}

TEST(VoidLoggerTest, ShowsOnlyErrorsOnTheConsoleWithoutTime) {
    VoidLogger& logger = void_logger();
    EXPECT_EQ(&logger, &void_logger());
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

// Runs each test in a fresh temporary directory as the current one, since the debug files land there.
class DefaultLoggerIoTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/devicebridge_logger_XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(pattern));
        directory = pattern;
        ASSERT_NE(nullptr, getcwd(previous, sizeof previous));
        ASSERT_EQ(0, chdir(pattern));
    }
    void TearDown() override {
        ASSERT_EQ(0, chdir(previous));
        for (const std::string& name : files())
            std::remove((directory + "/" + name).c_str());
        rmdir(directory.c_str());
    }

    std::vector<std::string> files() const {
        std::vector<std::string> names;
        if (DIR* dir = opendir(directory.c_str())) {
            while (dirent* entry = readdir(dir))
                if (entry->d_name[0] != '.')
                    names.push_back(entry->d_name);
            closedir(dir);
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    std::vector<std::string> lines_of(const std::string& name) const {
        std::ifstream in(directory + "/" + name);
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
        return lines;
    }

    // File names carry whole seconds: starting just after a second begins keeps two quick opens in one
    // second, and waiting for the next one gives the next open another name.
    static void wait_for_next_second() {
        const auto now = std::chrono::system_clock::now();
        std::this_thread::sleep_until(std::chrono::ceil<std::chrono::seconds>(now) +
                                      std::chrono::milliseconds(5));
    }

    char previous[4096];
    std::string directory;
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
    const std::vector<std::string> names = files();
    ASSERT_EQ(2u, names.size());
    const std::vector<std::string> first = lines_of(names[0]);
    ASSERT_EQ(200000u, first.size());
    EXPECT_EQ("line 1", first.front());
    EXPECT_EQ("line 200000", first.back());
    EXPECT_EQ(std::vector<std::string>({"line 200001", "line 200002"}), lines_of(names[1]));
}

TEST_F(DefaultLoggerIoTest, TwoFilesWithinOneSecondShareTheNameAndTheSecondEmptiesTheFirst) {
    wait_for_next_second();
    DefaultLoggerIo first(false, true);
    DefaultLoggerIo second(false, true);
    first.log("from the first, a longer line");
    second.log("second");
    ASSERT_EQ(1u, files().size());
    EXPECT_EQ(std::vector<std::string>({"second"}), lines_of(files()[0]));
}

// A removed current directory refuses new files even to root, for whom permissions don't count.
TEST_F(DefaultLoggerIoTest, UnopenableFileThrowsIntoWhoeverLogs) {
    ASSERT_EQ(0, rmdir(directory.c_str()));
    try {
        StdoutLogger logger(5, new DefaultLoggerIo(false, true));
        FAIL() << "the constructor's own line should have thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("file is not open after open", error.what());
    }
    StdoutLogger logger(0, new DefaultLoggerIo(false, true));
    EXPECT_THROW(logger.error("first"), std::runtime_error);
    EXPECT_THROW(logger.error("again, so the mutex was released"), std::runtime_error);
}

TEST(DefaultLoggerIoDeathTest, FormatOf250CharactersAborts) {
    DefaultLoggerIo io(false, false);
    EXPECT_EQ(std::string(249, 'x'), io.create_filename(std::string(249, 'x')));
    EXPECT_DEATH(io.create_filename(std::string(250, 'x')), "format.size\\(\\) < 250");
}

} // namespace
