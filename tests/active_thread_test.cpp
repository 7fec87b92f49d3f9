// Task threads and the queue beneath them, driven from real threads.
#include "ActiveThread.h"
#include "StdoutLogger.h"
#include "VoidLogger.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <thread>

namespace {

using std::chrono::milliseconds;
using std::chrono::system_clock;

void pause_ms(int ms) {
    std::this_thread::sleep_for(milliseconds(ms));
}

TEST(ActiveThreadTest, StopAndDestructorRunEveryTaskPostedBeforeThemInOrderAndDropLaterOnes) {
    std::vector<int> ran;
    {
        ActiveThread thread("drain", void_logger());
        for (int i = 0; i < 5; ++i)
            thread.add([&ran, i] { pause_ms(1), ran.push_back(i); });
        thread.stop();
        EXPECT_EQ(std::vector<int>({0, 1, 2, 3, 4}), ran);
        thread.add([&ran] { ran.push_back(-1); });
        thread.stop();
    }
    {
        ActiveThread thread("drain", void_logger());
        for (int i = 5; i < 10; ++i)
            thread.add([&ran, i] { ran.push_back(i); });
    }
    EXPECT_EQ(std::vector<int>({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}), ran);
}

TEST(ActiveThreadTest, TasksFromManyThreadsAllRunAndStopsFromTwoOwnersBothWaitForThem) {
    std::atomic<int> ran(0);
    ActiveThread thread("many posters", void_logger());
    std::vector<std::thread> posters;
    for (int t = 0; t < 4; ++t)
        posters.emplace_back([&] {
            for (int i = 0; i < 500; ++i)
                thread.add([&ran] { ++ran; });
        });
    for (std::thread& poster : posters)
        poster.join();
    // Slow tasks last, so that both stops come while the thread still drains.
    for (int i = 0; i < 20; ++i)
        thread.add([&ran] { pause_ms(1), ++ran; });
    auto stop = [&] {
        thread.stop();
        EXPECT_EQ(2020, ran);
    };
    std::thread first(stop), second(stop);
    first.join();
    second.join();
}

// Whether the thread sleeps in the kernel, as an owner does once its stop() waits for the join.
bool sleeping(pid_t thread_id) {
    std::ifstream stat("/proc/self/task/" + std::to_string(thread_id) + "/stat");
    std::string line;
    std::getline(stat, line);
    const size_t name_end = line.rfind(')');
    return name_end != std::string::npos && name_end + 2 < line.size() && line[name_end + 2] == 'S';
}

TEST(ActiveThreadTest, SelfPostingTaskEndsWithinTwoFurtherRuns) {
    ActiveThread thread("self posting", void_logger());
    const pid_t owner = static_cast<pid_t>(syscall(SYS_gettid));
    std::atomic<int> runs(0), runs_while_stopping(0);
    std::atomic<bool> stopping(false);
    std::function<void()> pass = [&] {
        ++runs;
        // The first run that sees the flag waits until the owner is inside stop(), however slowly the
        // owner gets from setting the flag to the call; so every counted run is one after the call.
        if (stopping && runs_while_stopping++ == 0)
            for (int waited = 0; waited < 10000 && !sleeping(owner); ++waited)
                pause_ms(1);
        thread.add(pass);
    };
    thread.add(pass);
    while (runs < 3)
        pause_ms(1);
    stopping = true;
    thread.stop();
    EXPECT_GE(runs_while_stopping, 1);
    EXPECT_LE(runs_while_stopping, 2);
}

std::string os_thread_name_inside(const std::string& name) {
    char seen[32] = {0};
    ActiveThread thread(name, void_logger());
    thread.add([&seen] { pthread_getname_np(pthread_self(), seen, sizeof seen); });
    thread.stop();
    return seen;
}

TEST(ActiveThreadTest, ThreadCarriesItsNameForTheSystemAndTheLog) {
    EXPECT_EQ("dispatcher", os_thread_name_inside("dispatcher"));
    EXPECT_EQ("a name longer t", os_thread_name_inside("a name longer than fifteen"));

    struct TextsIo : Tervik::AbstractLoggerIo {
        explicit TextsIo(std::vector<std::string>& texts) : texts(texts) {}
        void log(const std::string& line) override { texts.push_back(line.substr(line.find(" : ") + 3)); }
        std::vector<std::string>& texts;
    };
    std::vector<std::string> texts;
    {
        StdoutLogger logger(5, std::make_unique<TextsIo>(texts));
        ActiveThread thread("reader", logger);
    }
    EXPECT_NE(texts.end(), std::find(texts.begin(), texts.end(), "task ending: reader"));
    EXPECT_NE(texts.end(), std::find(texts.begin(), texts.end(), "~ActiveThread: reader"));
}

TEST(MessageQueueTest, LimitKeepsTheNewestItems) {
    MessageQueue<int> queue;
    EXPECT_EQ(-1, queue.get_max_count());
    queue.set_max_count(2);
    for (int i = 1; i <= 3; ++i)
        queue.push(i);
    EXPECT_EQ(2u, queue.size());
    EXPECT_EQ(2, queue.pop());
    EXPECT_EQ(3, queue.pop());

    queue.set_max_count(-1);
    for (int i = 1; i <= 1500; ++i)
        queue.push(i);
    EXPECT_EQ(1500u, queue.size());
    queue.set_max_count(1);
    EXPECT_EQ(1u, queue.size());
    EXPECT_EQ(1500, queue.pop());
    queue.push(1501);
    queue.clear();
    EXPECT_TRUE(queue.empty());
}

// A waiter sees neither what a zero limit throws away nor anything in its place: the first item it takes
// is the one pushed after the limit is lifted, whenever the waiter got to wait.
TEST(MessageQueueTest, LimitZeroStaysEmptyAndWakesNobody) {
    MessageQueue<int> queue;
    queue.push(1);
    queue.set_max_count(0);
    EXPECT_TRUE(queue.empty());
    int item = -1;
    bool taken = false;
    std::thread waiter([&] { taken = queue.wait_for(system_clock::now() + std::chrono::seconds(30), item); });
    pause_ms(20);
    queue.push(2);
    EXPECT_TRUE(queue.empty());
    queue.set_max_count(-1);
    queue.push(3);
    waiter.join();
    EXPECT_TRUE(taken);
    EXPECT_EQ(3, item);
}

TEST(MessageQueueTest, TimedWaitTimesOutOrTakesWhatIsThere) {
    MessageQueue<std::string> queue;
    std::string item;
    const auto before = system_clock::now();
    EXPECT_FALSE(queue.wait_for(before + milliseconds(50), item));
    EXPECT_GE(system_clock::now() - before, milliseconds(50));

    queue.push("queued");
    EXPECT_TRUE(queue.wait_for(before, item)) << "an item already there is taken even past the deadline";
    EXPECT_EQ("queued", item);
}

} // namespace
