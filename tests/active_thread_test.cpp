// Task threads and the queue beneath them, driven from real threads.
#include "ActiveThread.h"
#include "StdoutLogger.h"
#include "VoidLogger.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <thread>

namespace {

using std::chrono::milliseconds;
using std::chrono::system_clock;

void pause_ms(int ms) {
    std::this_thread::sleep_for(milliseconds(ms));
}

TEST(ActiveThreadTest, StopAndDestructorRunEveryTaskPostedBeforeThemInOrder) {
    std::vector<int> ran;
    {
        ActiveThread thread("drain", void_logger());
        for (int i = 0; i < 10; ++i)
            thread.add([&ran, i] { pause_ms(1), ran.push_back(i); });
        thread.stop();
        EXPECT_EQ(std::vector<int>({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}), ran);
    }
    ran.clear();
    {
        ActiveThread thread("drain", void_logger());
        for (int i = 0; i < 5; ++i)
            thread.add([&ran, i] { ran.push_back(i); });
    }
    EXPECT_EQ(std::vector<int>({0, 1, 2, 3, 4}), ran);
}

TEST(ActiveThreadTest, SelfPostingTaskEndsWithinTwoFurtherRuns) {
    ActiveThread thread("self posting", void_logger());
    std::atomic<int> runs(0), runs_while_stopping(0);
    std::atomic<bool> stopping(false);
    std::function<void()> pass = [&] {
        ++runs;
        runs_while_stopping += stopping ? 1 : 0;
        pause_ms(10);
        thread.add(pass);
    };
    thread.add(pass);
    while (runs < 3)
        pause_ms(1);
    stopping = true;
    thread.stop();
    EXPECT_LE(runs_while_stopping, 2);
    const int final_runs = runs;
    pause_ms(30);
    EXPECT_EQ(final_runs, runs);
}

TEST(ActiveThreadTest, StopsFromSeveralThreadsReturnAfterTheDrainAndLaterTasksAreDropped) {
    std::atomic<int> ran(0);
    ActiveThread thread("two owners", void_logger());
    for (int i = 0; i < 20; ++i)
        thread.add([&ran] { pause_ms(1), ++ran; });
    std::thread first([&thread] { thread.stop(); });
    std::thread second([&thread] { thread.stop(); });
    first.join();
    second.join();
    EXPECT_EQ(20, ran);
    thread.add([&ran] { ++ran; });
    thread.stop();
    EXPECT_EQ(20, ran);
}

TEST(ActiveThreadTest, TasksPostedFromManyThreadsAllRun) {
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
    thread.stop();
    EXPECT_EQ(2000, ran);
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
        StdoutLogger logger(5, new TextsIo(texts));
        ActiveThread thread("reader", logger);
    }
    EXPECT_NE(texts.end(), std::find(texts.begin(), texts.end(), "task ending: reader"));
    EXPECT_NE(texts.end(), std::find(texts.begin(), texts.end(), "~ActiveThread: reader"));
}

TEST(MessageQueueTest, LimitKeepsTheNewestItems) {
    MessageQueue<int> queue;
    EXPECT_EQ(-1, queue.get_max_count());
    for (int i = 1; i <= 1500; ++i)
        queue.push(i);
    EXPECT_EQ(1500u, queue.size());
    queue.clear();
    EXPECT_TRUE(queue.empty());

    queue.set_max_count(2);
    for (int i = 1; i <= 3; ++i)
        queue.push(i);
    EXPECT_EQ(2u, queue.size());
    EXPECT_EQ(2, queue.pop());
    EXPECT_EQ(3, queue.pop());

    queue.set_max_count(-1);
    for (int i = 4; i <= 6; ++i)
        queue.push(i);
    queue.set_max_count(1);
    EXPECT_EQ(1u, queue.size());
    EXPECT_EQ(6, queue.pop());
}

TEST(MessageQueueTest, LimitZeroStaysEmptyAndWakesNobody) {
    MessageQueue<int> queue;
    queue.push(1);
    queue.set_max_count(0);
    EXPECT_TRUE(queue.empty());
    int item = -1;
    std::thread pusher([&queue] { pause_ms(20), queue.push(2); });
    EXPECT_FALSE(queue.wait_for(system_clock::now() + milliseconds(100), item));
    pusher.join();
    EXPECT_EQ(-1, item);
    EXPECT_TRUE(queue.empty());
}

TEST(MessageQueueTest, TimedWaitTimesOutOrTakesWhatArrives) {
    MessageQueue<std::string> queue;
    std::string item;
    const auto before = system_clock::now();
    EXPECT_FALSE(queue.wait_for(before + milliseconds(50), item));
    EXPECT_GE(system_clock::now() - before, milliseconds(50));

    queue.push("queued");
    EXPECT_TRUE(queue.wait_for(before, item)) << "an item already there is taken even past the deadline";
    EXPECT_EQ("queued", item);

    std::thread pusher([&queue] { pause_ms(20), queue.push("late"); });
    EXPECT_TRUE(queue.wait_for(system_clock::now() + std::chrono::seconds(10), item));
    pusher.join();
    EXPECT_EQ("late", item);
}

TEST(MessageQueueTest, ItemsFromManyProducersArriveOnceEachInProducerOrder) {
    const int producers = 4, per_producer = 2000;
    MessageQueue<int> queue;
    std::vector<std::thread> threads;
    for (int p = 0; p < producers; ++p)
        threads.emplace_back([&queue, p] {
            for (int i = 0; i < per_producer; ++i)
                queue.push(p * per_producer + i);
        });
    std::vector<int> next(producers, 0);
    for (int n = 0; n < producers * per_producer; ++n) {
        const int item = queue.pop();
        ASSERT_EQ(next[item / per_producer]++, item % per_producer);
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(queue.empty());
}

} // namespace
