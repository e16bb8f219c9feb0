// Running programs: children, signals, descriptors, and the search for a program on Linux.
#include <errno.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <sstream>

#include "OrvoProcess.h"
#include "os/ProcessTestSupport.h"
#include "os/SystemProbe.h"

using namespace OrvoSupport;
using namespace process_test;
using testing::ElementsAre;
using testing_support::ChildProcess;
using testing_support::TempFolder;
using testing_support::writeFile;

namespace {

std::atomic<int> signalsSeen{0};

void countSignal(int) { ++signalsSeen; }

void reapEverything(int) {
    const int saved = errno;
    while (::waitpid(-1, nullptr, WNOHANG) > 0) ++signalsSeen;
    errno = saved;
}

// The action of a signal for the length of a test.
class ScopedAction {
public:
    ScopedAction(int signal, void (*handler)(int), int flags = 0) : m_signal(signal) {
        struct sigaction action = {};
        action.sa_handler = handler;
        action.sa_flags = flags;
        ::sigaction(signal, &action, &m_old);
        signalsSeen = 0;
    }
    ~ScopedAction() { ::sigaction(m_signal, &m_old, nullptr); }
    ScopedAction(const ScopedAction&) = delete;
    ScopedAction& operator=(const ScopedAction&) = delete;

private:
    int m_signal;
    struct sigaction m_old = {};
};

int exitCodeOf(const string& commandLine) {
    int exitCode = 1234;
    OrvoExecuteProgram(commandLine, true, nullptr, &exitCode);
    return exitCode;
}

std::vector<string> outputOf(const string& commandLine) {
    const TempFolder folder;
    void* const output = system_probe::openOutput(folder.file("output"));
    EXPECT_TRUE(OrvoExecuteProgramEx(commandLine, own(), output, true, nullptr, nullptr));
    system_probe::closeStream(output);
    return linesOf(folder.file("output"));
}

void writeScript(const string& path, const string& text, mode_t mode = 0755) {
    writeFile(path, text);
    ::chmod(path.c_str(), mode);
}

bool hasChildren() { return ::waitpid(-1, nullptr, WNOHANG | __WALL) != -1 || errno != ECHILD; }

long residentPages() {
    long size = 0;
    long resident = 0;
    std::istringstream(testing_support::readFile("/proc/self/statm")) >> size >> resident;
    return resident;
}

}  // namespace

// Standard output is descriptor 0 and standard input descriptor 1: each stands where the other goes.
OSUPT_CHILD(swappedStreams) {
    ::dup2(::open(arguments.at(0).c_str(), O_RDONLY), 1);
    ::dup2(::open(arguments.at(1).c_str(), O_WRONLY | O_CREAT, 0600), 0);
    int exitCode = 1;
    OrvoExecuteProgramEx("/bin/cat", reinterpret_cast<void*>(1), nullptr, true, nullptr, &exitCode);
    return exitCode;
}

// A host without standard streams, as services are; a handle of 0 would read as none.
OSUPT_CHILD(noStreams) {
    ::close(0);
    ::close(1);
    ::close(2);
    const int before = system_probe::openHandles();
    int exitCode = 1;
    void* handle = nullptr;
    if (!OrvoExecuteProgram("/bin/true", true, &handle, &exitCode) || exitCode != 0) return 1;
    if (reinterpret_cast<std::intptr_t>(handle) < 3 || !system_probe::endsWithin(handle, 5000)) return 2;
    OrvoCloseProcessHandle(handle);
    return system_probe::openHandles() == before ? 0 : 3;
}

OSUPT_CHILD(noFreeDescriptor) {
    void* const output = system_probe::openOutput(arguments.at(0));
    rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit before = limit;
    limit.rlim_cur = 64;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    while (::open("/dev/null", O_RDONLY) >= 0) {
    }
    int exitCode = 1;
    OrvoExecuteProgramEx("/bin/echo text", own(), output, true, nullptr, &exitCode);
    ::setrlimit(RLIMIT_NOFILE, &before);  // sanitizers need some when the process ends
    return exitCode;
}

// A host that may not have one process more; root is not limited.
OSUPT_CHILD(noFreeProcess) {
    if (::getuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) return 2;
    rlimit before = {};
    ::getrlimit(RLIMIT_NPROC, &before);
    const rlimit none = {0, before.rlim_max};
    if (::setrlimit(RLIMIT_NPROC, &none) != 0) return 3;
    const int handles = system_probe::openHandles();
    int exitCode = 0;
    void* handle = &exitCode;
    const bool started = OrvoExecuteProgram("/bin/true", true, &handle, &exitCode);
    ::setrlimit(RLIMIT_NPROC, &before);  // sanitizers need one when the process ends
    if (started) return 4;
    if (exitCode != -1 || handle != nullptr || hasChildren()) return 5;
    return system_probe::openHandles() == handles ? 0 : 6;
}

TEST(OrvoExecuteProgramOnLinux, failsWhenTheSystemHasNoProcessToSpare) {
    ChildProcess host("noFreeProcess");
    EXPECT_EQ(0, host.wait());
}

TEST(OrvoExecuteProgramOnLinux, adds128ToTheSignalThatEndedAProgram) {
    EXPECT_EQ(128 + SIGKILL, exitCodeOf("/bin/sh -c \"kill -9 $$\""));
    EXPECT_EQ(128 + SIGTERM, exitCodeOf("/bin/sh -c \"kill -15 $$\""));
}

TEST(OrvoExecuteProgramOnLinux, knowsTheExitCodeWhateverTheHostDoesAboutSigchld) {
    {
        const ScopedAction ignored(SIGCHLD, SIG_IGN);
        EXPECT_EQ(77, exitCodeOf("/bin/sh -c \"exit 77\""));
    }
    {
        const ScopedAction unwaited(SIGCHLD, SIG_DFL, SA_NOCLDWAIT);
        EXPECT_EQ(78, exitCodeOf("/bin/sh -c \"exit 78\""));
    }
    const ScopedAction handled(SIGCHLD, reapEverything);
    EXPECT_EQ(79, exitCodeOf("/bin/sh -c \"exit 79\""));
    EXPECT_EQ(0, signalsSeen);
}

TEST(OrvoExecuteProgramOnLinux, leavesTheHostNoChildAndNoSignal) {
    const ScopedAction counting(SIGCHLD, countSignal);
    void* handle = nullptr;
    for (const bool wait : {true, false}) {
        EXPECT_TRUE(OrvoExecuteProgram("/bin/true", wait, nullptr, nullptr));
        EXPECT_FALSE(hasChildren());
        EXPECT_TRUE(OrvoExecuteProgram("/bin/true", wait, &handle, nullptr));
        EXPECT_FALSE(hasChildren());
        EXPECT_TRUE(system_probe::endsWithin(handle, 30000));
        OrvoCloseProcessHandle(handle);
        EXPECT_FALSE(OrvoExecuteProgram("/no/such/program", wait, nullptr, nullptr));
        EXPECT_FALSE(hasChildren());
    }
    EXPECT_EQ(0, signalsSeen);
}

TEST(OrvoExecuteProgramOnLinux, leavesNoZombieWhenNobodyWaits) {
    const TempFolder folder;
    const string line = "/bin/sh -c \"echo $$ > " + folder.file("pid") + "; mv " + folder.file("pid") + " " +
                        folder.file("written") + "\"";
    ASSERT_TRUE(OrvoExecuteProgram(line, false, nullptr, nullptr));
    ASSERT_TRUE(appears(folder.file("written")));
    const string process = "/proc/" + linesOf(folder.file("written")).at(0);

    for (int i = 0; i < 5000 && std::filesystem::exists(process); ++i) ::usleep(2000);

    EXPECT_FALSE(std::filesystem::exists(process));
}

TEST(OrvoExecuteProgramOnLinux, letsSignalsArriveWhileItWaits) {
    const ScopedAction counting(SIGALRM, countSignal);
    itimerval every = {{0, 5000}, {0, 5000}};
    ::setitimer(ITIMER_REAL, &every, nullptr);
    const int exitCode = exitCodeOf("/bin/sh -c \"sleep 0.2; exit 3\"");
    every = {};
    ::setitimer(ITIMER_REAL, &every, nullptr);
    EXPECT_EQ(3, exitCode);
    EXPECT_GT(signalsSeen, 0);
}

TEST(OrvoExecuteProgramOnLinux, startsProgramsWithNoSignalBlockedOrIgnored) {
    const ScopedAction ignored(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigset_t old;
    ::sigfillset(&blocked);
    ::pthread_sigmask(SIG_SETMASK, &blocked, &old);
    const std::vector<string> signals = outputOf("/bin/grep -E \"SigBlk|SigIgn\" /proc/self/status");
    sigset_t after;
    ::pthread_sigmask(SIG_SETMASK, &old, &after);
    EXPECT_THAT(signals, ElementsAre("SigBlk:\t0000000000000000", "SigIgn:\t0000000000000000"));
    EXPECT_EQ(1, ::sigismember(&after, SIGUSR1));
}

TEST(OrvoExecuteProgramOnLinux, passesOnlyTheStandardDescriptors) {
    const int inheritable = ::open("/dev/null", O_RDONLY);
    const int high = ::fcntl(inheritable, F_DUPFD, 200);
    EXPECT_THAT(outputOf("/bin/ls /proc/self/fd"), ElementsAre("0", "1", "2", "3"));  // 3 is its own
    ::close(high);
    ::close(inheritable);
}

TEST(OrvoExecuteProgramOnLinux, exchangesStandardStreams) {
    const TempFolder folder;
    writeFile(folder.file("input"), "from one to the other");
    ChildProcess host("swappedStreams", {folder.file("input"), folder.file("output")});
    EXPECT_EQ(0, host.wait());
    EXPECT_EQ("from one to the other", testing_support::readFile(folder.file("output")));
}

TEST(OrvoExecuteProgramOnLinux, worksWithoutStandardStreams) {
    ChildProcess host("noStreams");
    EXPECT_EQ(0, host.wait());
}

TEST(OrvoExecuteProgramOnLinux, needsNoFreeDescriptor) {
    const TempFolder folder;
    ChildProcess host("noFreeDescriptor", {folder.file("output")});
    EXPECT_EQ(0, host.wait());
    EXPECT_EQ("text\n", testing_support::readFile(folder.file("output")));
}

TEST(OrvoExecuteProgramOnLinux, failsWithADescriptorThatIsNotOpen) {
    const Recorder log(1);
    int exitCode = 0;
    void* const closed = reinterpret_cast<void*>(static_cast<std::intptr_t>(987654));
    EXPECT_FALSE(OrvoExecuteProgramEx("/bin/true", closed, own(), true, nullptr, &exitCode));
    EXPECT_EQ(-1, exitCode);
    EXPECT_THAT(log.records(), ElementsAre("1 OrvoExecuteProgram: Failed to start process. Error code :" +
                                           std::to_string(EBADF)));
}

TEST(OrvoExecuteProgramOnLinux, looksForANameWithoutSlashInThePath) {
    const TempFolder first;
    const TempFolder second;
    const TempFolder third;
    ::mkdir(first.file("osupt-tool").c_str(), 0755);
    writeScript(second.file("osupt-tool"), "#!/bin/sh\nexit 21\n", 0644);
    writeScript(third.file("osupt-tool"), "#!/bin/sh\nexit 22\n");
    const ScopedVariable path("PATH",
                              "/no/such/folder:" + first.path() + ":" + second.path() + ":" + third.path());
    EXPECT_EQ(22, exitCodeOf("osupt-tool"));
    EXPECT_EQ(22, exitCodeOf("\"osupt-tool\" a"));
    EXPECT_EQ(-1, exitCodeOf("osupt-other-tool"));
    const ScopedVariable none("PATH", "");  // an empty folder is the current one
    EXPECT_EQ(-1, exitCodeOf("osupt-tool"));
}

TEST(OrvoExecuteProgramOnLinux, runsAProgramWhosePathHasBlanks) {
    const TempFolder folder;
    writeScript(folder.file("a tool"), "#!/bin/sh\nexit $1\n");
    EXPECT_EQ(23, exitCodeOf("\"" + folder.file("a tool") + "\" 23"));
}

TEST(OrvoExecuteProgramOnLinux, failsWhenTheInterpreterOfAScriptIsMissing) {
    const TempFolder folder;
    writeScript(folder.file("tool"), "#!/no/such/interpreter\n");
    EXPECT_EQ(-1, exitCodeOf(folder.file("tool")));
}

TEST(OrvoExecuteProgramOnLinux, opensDocumentsWithTheWholeLineAsOneArgument) {
    const TempFolder folder;
    const TempFolder tools;
    const ScopedVariable path("PATH", tools.path() + ":/usr/bin:/bin");
    writeScript(tools.file("xdg-open"), "#!/bin/sh\nprintf '%s|' \"$#\" \"$@\" > " + folder.file("told") +
                                            ".new\nmv " + folder.file("told") + ".new " +
                                            folder.file("told") + "\n");
    writeScript(folder.file("a note.txt"), "text", 0644);
    writeScript(folder.file("executable.txt"), "text", 0755);  // no program format
    const string lines[] = {folder.file("a note.txt"), "\"" + folder.file("a note.txt") + "\" and more",
                            folder.file("executable.txt")};
    for (const string& line : lines) {
        int exitCode = 1234;
        EXPECT_TRUE(OrvoExecuteProgram(line, true, nullptr, &exitCode));
        EXPECT_EQ(0, exitCode);
        ASSERT_TRUE(appears(folder.file("told")));
        EXPECT_EQ("1|" + line + "|", testing_support::readFile(folder.file("told")));
        std::filesystem::remove(folder.file("told"));
    }
}

TEST(OrvoExecuteProgramOnLinux, recordsWhatOpeningADocumentCameTo) {
    const TempFolder folder;
    writeFile(folder.file("note.txt"), "text");
    const ScopedVariable path("PATH", folder.path());
    const Recorder log(1);
    EXPECT_TRUE(OrvoExecuteProgram(folder.file("note.txt"), false, nullptr, nullptr));
    EXPECT_THAT(log.records(),
                ElementsAre("1 OrvoExecuteProgram: Failed to start process. Error code :13",
                            "1 OrvoExecuteProgram: Process started using ShellExecute. 2 (Error code: 2)"));
}

TEST(OrvoExecuteProgramOnLinux, leavesNothingBehindInAThousandRuns) {
    const int warmUp = 100;
    const int runs = 1000;
    int descriptors = 0;
    long pages = 0;
    for (int i = 0; i < warmUp + runs; ++i) {
        if (i == warmUp) {
            descriptors = system_probe::openHandles();
            pages = residentPages();
        }
        void* handle = nullptr;
        const char* const line = i % 5 == 0 ? "/no/such/program" : "/bin/true";
        ASSERT_EQ(i % 5 != 0, OrvoExecuteProgram(line, i % 2 == 0, i % 3 == 0 ? &handle : nullptr, nullptr));
        OrvoCloseProcessHandle(handle);
    }
    EXPECT_EQ(descriptors, system_probe::openHandles());
    EXPECT_FALSE(hasChildren());
    EXPECT_LT(residentPages() - pages, 256);
}

TEST(OrvoExecuteProgramOnLinux, runsProgramsFromManyThreads) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&wrong, t] {
            for (int i = 0; i < 25; ++i) {
                const int expected = t * 50 + i;
                if (exitCodeOf("/bin/sh -c \"exit " + std::to_string(expected) + "\"") != expected) ++wrong;
                if (exitCodeOf("/no/such/program") != -1) ++wrong;
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, wrong);
    EXPECT_FALSE(hasChildren());
}
