// Several threads, and threads that end in the middle.
#include <atomic>
#include <map>
#include <sstream>
#include <thread>

#include "logging/LogFixture.h"

using namespace OrvoSupport;

class LogThreadsTest : public PlainLogFixture {};

TEST_F(LogThreadsTest, neverTearMixOrReorderRecords) {
    constexpr int threadCount = 8;
    constexpr int recordCount = 300;
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([this, t] {
            for (int i = 0; i < recordCount; ++i)
                logger << "thread " << t << ' ' << i << string(static_cast<std::size_t>(i % 50), '.')
                       << endrecord;
        });
    }
    for (std::thread& thread : threads) thread.join();

    std::map<int, int> next;
    for (const string& line : lines()) {
        std::istringstream words(line);
        string word;
        int thread = -1;
        int number = -1;
        string rest;
        words >> word >> thread >> number >> rest;
        ASSERT_EQ("thread", word);
        ASSERT_EQ(next[thread]++, number);
        ASSERT_EQ(string(static_cast<std::size_t>(number % 50), '.'), rest);
    }
    EXPECT_EQ(static_cast<std::size_t>(threadCount * recordCount), lines().size());
}

TEST_F(LogThreadsTest, changeSettingsWhileOthersWrite) {
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        while (!stop) logger << setloglevel("Net", 0) << "text" << 1 << endrecord;
    });
    for (int i = 0; i < 200; ++i) {
        logger.setLogLevel(i % 10);
        logger.setLogLevel("Net", i % 10);
        logger.setLogLevel("Area" + std::to_string(i), 3);
        logger.setTarget(i % 2 == 0 ? 0 : OrvoLogging::fileTarget);
        logger.enableRecordData(i % 3 == 0);
        EXPECT_EQ(i % 10, logger.getLogLevel("Net"));
    }
    stop = true;
    writer.join();
    EXPECT_EQ(OrvoLogging::fileTarget, logger.getTarget());
}

TEST_F(LogThreadsTest, settingsDoNotWaitForAnOpenRecord) {
    logger << "open";
    std::thread([this] {
        logger.setLogLevel(8);
        logger.setLogLevel("Net", 3);
        logger.setTarget(OrvoLogging::fileTarget | 4);
        logger.enableRecordData(false);
    }).join();
    logger.setLogLevel(9);
    logger << " and ended" << endrecord;
    EXPECT_EQ("open and ended\n", text());
}

TEST_F(LogThreadsTest, waitWithTheFirstPieceUntilTheOpenRecordHasEnded) {
    logger << "first";
    std::atomic<bool> started{false};
    std::thread second([&] {
        started = true;
        logger << "second" << endrecord;
    });
    while (!started) std::this_thread::yield();
    for (int i = 0; i < 1000; ++i) logger << ".";
    logger << endrecord;
    second.join();
    EXPECT_EQ("first" + string(1000, '.') + "\nsecond\n", text());
}

TEST_F(LogThreadsTest, waitWithRefusedPiecesAndLevelsToo) {
    logger.setLogLevel(5);
    logger << setloglevel(3) << "first";
    std::atomic<bool> started{false};
    std::thread second([&] {
        started = true;
        logger << "refused, because it comes when the level is nine again";
        logger << setloglevel(4);
    });
    while (!started) std::this_thread::yield();
    for (int i = 0; i < 1000; ++i) logger << ".";
    logger << endrecord;
    second.join();
    EXPECT_EQ("first" + string(1000, '.') + "\n", text());
    logger << "at the level of the other thread" << endrecord;
    EXPECT_EQ(2u, lines().size());
}

TEST_F(LogThreadsTest, giveUpEndingTheOpenRecordOfAnother) {
    logger.setLogLevel("Net", 4);
    logger << setloglevel("Net", 3) << "one";
    std::thread([this] { logger.endrecord(); }).join();
    EXPECT_EQ("", text());
    logger << " two" << endrecord;
    EXPECT_EQ("one two\n", text());
}

TEST_F(LogThreadsTest, freeTheLockWithEveryRecordWrittenOrDropped) {
    logger << "written" << 1 << 2 << endrecord;
    logger.setLogLevel("Net", 1);
    logger << setloglevel("Net", 5) << "dropped" << 1 << 2 << endrecord;
    logger << endrecord;
    std::thread([this] { logger << "other" << endrecord; }).join();
    EXPECT_EQ("written12\nother\n", text());
}

TEST_F(LogThreadsTest, carryTheTextOfAThreadThatDiedIntoTheNextRecord) {
    std::thread([this] { logger << "left "; }).join();
    logger << "and found" << endrecord << "next" << endrecord;
    EXPECT_EQ("left and found\nnext\n", text());
}

TEST_F(LogThreadsTest, failOnceToEndTheRecordOfAThreadThatDied) {
    std::thread([this] { logger << setloglevel(3) << "left"; }).join();
    logger.endrecord();
    EXPECT_EQ("", text());
    // More than one only where the system takes its time to end the thread.
    for (int i = 0; i < 100 && text().empty(); ++i) logger.endrecord();
    EXPECT_EQ("left\n", text());
    logger.endrecord();
    EXPECT_EQ("left\n", text());
}
