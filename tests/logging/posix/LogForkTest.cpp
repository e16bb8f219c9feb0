// A process that logs forks, whatever its threads do at that moment, and both sides go on logging.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <map>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "OrvoLogging.h"
#include "OrvoObjectBase.h"
#include "OrvoTimer.h"
#include "support/ChildProcess.h"
#include "support/Sanitizers.h"
#include "support/TempFolder.h"

namespace {

using namespace OrvoSupport;
using testing_support::ChildProcess;
using testing_support::TempFolder;

constexpr int writers = 8;
constexpr int forks = 100;
constexpr int linesOfAChild = 3;
constexpr int limit = 60;  // seconds

class LogForkTest : public testing::Test {
protected:
    void SetUp() override {
        // As the first piece of a record does, for its time-out.
        if (testing_support::threadSanitizer)
            GTEST_SKIP() << "the thread sanitizer ends forked children that start a thread";
    }
};

/// What a writer says: "<who> <number> <text>". The text makes the record grow beyond what it had room for.
void say(OrvoLogging& logger, const std::string& who, int number) {
    logger << setloglevel(number % 2 ? "odd" : "even", 1) << who << " " << number << " "
           << std::string(static_cast<std::size_t>(number * 37 % 500), '.') << "end" << endrecord;
}

struct Telling : OrvoDependent {
    Telling(OrvoLogging& logger_, const std::string& who_) : logger(logger_), who(who_) {}
    void handleNotification(OrvoCollaborator&, const OrvoNotification&) override {
        say(logger, who, count++);
    }
    OrvoLogging& logger;
    const std::string who;
    std::atomic<int> count{0};
};

/// The host: what it has is destroyed when the process, or a child that it forked, leaves by exit().
class Host {
public:
    explicit Host(const std::string& file)
        : m_logger(file, OrvoLogging::fileTarget, 9), m_telling(m_logger, "timer") {
        OrvoLogging::setInstance(m_logger);
        m_timer.addDependent(m_telling);
        m_timer.reset();
        for (int i = 0; i < writers; ++i) {
            m_threads.push_back(new std::thread([this, i] {
                for (; !m_stop; ++m_written[i]) {
                    say(m_logger, "writer" + std::to_string(i), m_written[i]);
                    m_logger.setLogLevel("area" + std::to_string(m_written[i] % 50), 5);
                    // Leaves the machine, and the disk, to others.
                    if (m_written[i] % 16 == 15) std::this_thread::sleep_for(std::chrono::milliseconds(1));
                }
            }));
        }
    }

    ~Host() {
        m_timer.stop();
        if (!m_child.empty()) {
            say(m_logger, m_child, linesOfAChild);
            m_last = nullptr;
        } else {
            m_stop = true;
            for (std::thread* thread : m_threads) {
                thread->join();
                delete thread;
            }
            // For the test, how much each of them has said.
            for (int i = 0; i < writers; ++i)
                m_logger << setloglevel(0) << "writer" << i << " " << m_written[i] << " total" << endrecord;
            m_logger << setloglevel(0) << "timer " << m_telling.count << " total" << endrecord;
        }
    }

    /// In a child; returns 0 when all went well.
    int liveAsChild(int number) {
        m_child = "child" + std::to_string(number);
        for (int i = 0; i < linesOfAChild; ++i) say(m_logger, m_child, i);
        if (m_logger.getLogLevel("area1") < 0) return 1;
        OrvoTimer own(1, false);
        own.reset();
        if (own.wait(limit * 1000) != 0) return 2;
        m_telling.count = 0;
        return 0;
    }

private:
    OrvoLogging m_logger;
    Telling m_telling;
    OrvoTimer m_timer{1, false};
    OrvoSmartPointer<OrvoObjectBase> m_last{new OrvoObjectBase};
    std::vector<std::thread*> m_threads;  // a child has none of them, and must not touch them
    std::atomic<int> m_written[writers] = {};
    std::atomic<bool> m_stop{false};
    std::string m_child;
};

/// The exit code of a child; it is killed when it hangs.
int exitCodeOf(pid_t child) {
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

OSUPT_CHILD(forksAndLogs) {
    static Host host(arguments.at(0));
    for (int i = 0; i < forks; ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::alarm(limit);
            const int code = host.liveAsChild(i);
            if (i % 3 == 0) return code;
            if (i % 3 == 1) ::exit(code);
            ::_exit(code);
        }
        if (const int code = exitCodeOf(child); code != 0) {
            ::fprintf(stderr, "child %d: %d\n", i, code);
            ::_exit(1);
        }
    }
    return 0;
}

/// How many lines each of them has written; fails when one is not whole or out of turn.
std::map<std::string, int> linesByWriter(const std::string& file, std::map<std::string, int>& totals) {
    std::map<std::string, int> lines;
    std::istringstream text(testing_support::readFile(file));
    for (std::string line; std::getline(text, line);) {
        std::istringstream words(line.substr(line[0] == '2' ? line.find("] ") + 2 : 0));
        std::string who, end;
        int number = -1;
        words >> who >> number >> end;
        if (end == "total") {
            totals[who] = number;
        } else {
            const std::string wanted = std::string(static_cast<std::size_t>(number * 37 % 500), '.') + "end";
            EXPECT_TRUE(number == lines[who]++ && end == wanted) << line;
            if (testing::Test::HasFailure()) break;
        }
    }
    return lines;
}

TEST_F(LogForkTest, parentAndChildrenGoOnLogging) {
    if (testing_support::addressSanitizer)
        GTEST_SKIP() << "its heap is left locked in a child that is forked while others use it";
    const TempFolder folder;
    ChildProcess process("forksAndLogs", {folder.file("forks")});
    EXPECT_EQ(0, process.wait(100)) << process.output();

    std::map<std::string, int> totals;
    const std::map<std::string, int> lines = linesByWriter(folder.file("forks.log"), totals);
    EXPECT_EQ(writers + 1u, totals.size());
    for (const auto& [who, total] : totals) EXPECT_EQ(total, lines.count(who) ? lines.at(who) : 0) << who;
    for (int i = 0; i < forks; ++i) {
        const std::string who = "child" + std::to_string(i);
        ASSERT_TRUE(lines.count(who)) << who;
        EXPECT_EQ(linesOfAChild + (i % 3 == 2 ? 0 : 1), lines.at(who)) << who;
    }
}

/// A record belongs to the thread that began it, in both of the processes.
TEST_F(LogForkTest, anOpenRecordEndsInBoth) {
    const TempFolder folder;
    OrvoLogging logger(folder.file("open"), OrvoLogging::fileTarget, 9);
    logger.enableRecordData(false);
    logger << "begun, ";
    testing_support::letThreadsBegin();
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(limit);
        logger << "ended in the child" << endrecord << "another of the child" << endrecord;
        ::_exit(0);
    }
    EXPECT_EQ(0, exitCodeOf(child));
    logger << "ended in the parent" << endrecord;
    EXPECT_EQ("begun, ended in the child\nanother of the child\nbegun, ended in the parent\n",
              testing_support::readFile(folder.file("open.log")));
}

TEST_F(LogForkTest, aRecordOfAnotherThreadStaysInTheParent) {
    const TempFolder folder;
    OrvoLogging logger(folder.file("open"), OrvoLogging::fileTarget, 9);
    logger.enableRecordData(false);
    OrvoEvent begun, mayEnd;
    std::thread other([&] {
        logger << setloglevel(2) << "of the other thread";
        begun.set();
        mayEnd.wait(limit * 1000);
        logger << endrecord;
    });
    ASSERT_EQ(0, begun.wait(limit * 1000));
    testing_support::letThreadsBegin();
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(limit);
        logger << "of the child" << endrecord;
        ::_exit(0);
    }
    EXPECT_EQ(0, exitCodeOf(child));
    mayEnd.set();
    other.join();
    EXPECT_EQ("of the child\nof the other thread\n", testing_support::readFile(folder.file("open.log")));
}

}  // namespace
