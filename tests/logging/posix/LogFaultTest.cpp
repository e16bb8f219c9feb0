// Full disks, file size limits, signals and forked processes, as Linux has them.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <thread>

#include "logging/LogFixture.h"
#include "support/ChildProcess.h"
#include "support/Sanitizers.h"

using namespace OrvoSupport;
using testing_support::ChildProcess;
using testing_support::readFile;
using testing_support::TempFolder;

// A forked child that writes records starts a thread for the time-out. The thread sanitizer asks for this.
extern "C" const char* __tsan_default_options() { return "die_after_fork=0"; }

class LogFaultTest : public PlainLogFixture {
protected:
    /// Runs `body` in a forked child; its exit code.
    template <class Body>
    int inFork(Body body) {
        testing_support::letThreadsBegin();
        std::fflush(nullptr);
        const ::pid_t child = ::fork();
        if (child == 0) {
            ::alarm(20);  // a hang is a failure
            body();
            ::_exit(testing::Test::HasFailure() ? 1 : 0);
        }
        int status = -1;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
};

TEST(LogDeviceTest, losesRecordsOnAFullDeviceButNotTheLogger) {
    TempFolder folder;
    std::filesystem::create_symlink("/dev/full", folder.file("x.log"));
    OrvoLogging logger(folder.file("x"), OrvoLogging::fileTarget | OrvoLogging::consoleTarget, 9);
    logger.enableRecordData(false);
    testing::internal::CaptureStdout();
    for (int i = 0; i < 3; ++i) logger << i << endrecord;
    EXPECT_EQ("0\n1\n2\n", testing::internal::GetCapturedStdout());
}

OSUPT_CHILD(logsBeyondAFileSizeLimit) {
    std::signal(SIGXFSZ, SIG_IGN);
    OrvoLogging logger(arguments[0], OrvoLogging::fileTarget, 9);
    logger.enableRecordData(false);
    ::rlimit before;
    ::getrlimit(RLIMIT_FSIZE, &before);
    ::rlimit limit = before;
    limit.rlim_cur = 10;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    logger << "fits" << endrecord << "does not" << endrecord << "fit." << endrecord << "full" << endrecord;
    ::setrlimit(RLIMIT_FSIZE, &before);
    logger << "room again" << endrecord;
    return 0;
}

TEST(LogDeviceTest, writesWholeRecordsAgainWhenThereIsRoom) {
    TempFolder folder;
    ChildProcess child("logsBeyondAFileSizeLimit", {folder.file("agent")});
    EXPECT_EQ(0, child.wait());
    EXPECT_EQ("fits\nfit.\nroom again\n", readFile(folder.file("agent.log")));
}

TEST_F(LogFaultTest, marksTheFileToBeClosedInPrograms) {
    bool found = false;
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
        std::error_code none;
        const auto link = "/proc/self/fd/" + std::to_string(descriptor);
        if (std::filesystem::read_symlink(link, none) != path) continue;
        found = true;
        EXPECT_NE(0, ::fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
    }
    EXPECT_TRUE(found);
}

OSUPT_CHILD(opensTheLogWithoutStandardStreams) {
    for (int descriptor = 0; descriptor <= 2; ++descriptor) ::close(descriptor);
    OrvoLogging logger(arguments[0], OrvoLogging::fileTarget | OrvoLogging::consoleTarget, 9);
    logger.enableRecordData(false);
    std::fprintf(stderr, "not for the log\n");
    std::printf("nor this\n");
    logger << "record" << endrecord;
    return 0;
}

TEST(LogDeviceTest, neverTakesThePlaceOfAStandardStream) {
    TempFolder folder;
    ChildProcess child("opensTheLogWithoutStandardStreams", {folder.file("agent")});
    EXPECT_EQ(0, child.wait());
    EXPECT_EQ("record\n", readFile(folder.file("agent.log")));
}

TEST_F(LogFaultTest, writesThroughInterruptions) {
    struct ::sigaction interrupt = {};
    interrupt.sa_handler = [](int) {};
    struct ::sigaction before;
    ::sigaction(SIGALRM, &interrupt, &before);
    const ::itimerval often = {{0, 200}, {0, 200}};
    ::setitimer(ITIMER_REAL, &often, nullptr);
    for (int i = 0; i < 2000; ++i) logger << "record" << endrecord;
    const ::itimerval never = {};
    ::setitimer(ITIMER_REAL, &never, nullptr);
    ::sigaction(SIGALRM, &before, nullptr);
    EXPECT_EQ(2000u, lines().size());
}

TEST_F(LogFaultTest, parentAndForkedChildBothGoOn) {
    logger.enableRecordData(true);
    logger << "before" << endrecord;
    EXPECT_EQ(0, inFork([this] { logger << "child" << endrecord; }));
    logger << "parent" << endrecord;

    ASSERT_EQ(3u, lines().size());
    EXPECT_THAT(lines()[1], testing::EndsWith("] child"));
    EXPECT_THAT(lines()[1], testing::Not(testing::HasSubstr("[" + std::to_string(::gettid()) + "]")));
    EXPECT_THAT(lines()[2], testing::EndsWith("[" + std::to_string(::gettid()) + "] parent"));
}

TEST_F(LogFaultTest, forkedChildWritesThoughAnotherThreadHadARecordOpen) {
    std::atomic<int> step{0};
    std::thread other([&] {
        logger << "open ";
        step = 1;
        while (step != 2) std::this_thread::yield();
        logger << "ended" << endrecord;
    });
    while (step != 1) std::this_thread::yield();
    EXPECT_EQ(0, inFork([this] { logger << "child" << endrecord; }));
    step = 2;
    other.join();
    EXPECT_EQ("child\nopen ended\n", text());
}

// Its parent has threads that know the logger, and that are not in the child.
TEST_F(LogFaultTest, aLoggerOfAForkedChildDoesNotWaitForTimeoutsOfTheParent) {
    struct Timed : OpenLogger {
        using OpenLogger::OpenLogger;
        void expire() {
            OrvoCollaborator timer;
            handleNotification(timer, OrvoEventNotification());
        }
    };
    auto timed = std::make_unique<Timed>(folder.file("timed"), 0, 9);
    OrvoLogging::setInstance(*timed);
    *timed << "open";
    timed->expire();  // tries to end the record, and then waits to tell of it
    EXPECT_EQ(0, inFork([&] { timed.reset(); }));
    *timed << endrecord;
}

TEST_F(LogFaultTest, forkedChildEndsTheRecordThatItsThreadHadOpen) {
    logger << "begun, ";
    EXPECT_EQ(0, inFork([this] { logger << "ended by the child" << endrecord; }));
    logger << "ended by the parent" << endrecord;
    EXPECT_EQ("begun, ended by the child\nbegun, ended by the parent\n", text());
}
