// The sample host in a terminal, where Ctrl+C is meant for whoever is in the foreground, and at a pipe.
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../DropfolderFixture.h"
#include "support/Sanitizers.h"

namespace dropfolder_test {
namespace {

using DropfolderTerminalTest = DropfolderFixture;

TEST_F(DropfolderTerminalTest, finishesWhatRunsAtCtrlC) {
    if (testing_support::threadSanitizer)
        GTEST_SKIP() << "the thread sanitizer does not follow the forked child that does the work";
    configure(waitingCommand() + "workers=1\n");
    drop("a.txt");
    drop("b.txt");
    const std::string program = programBesideThis("dropfolder");
    const std::string settings = "--config=" + m_folder.file("settings");
    int terminal = -1;
    const pid_t pid = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (pid == 0) {
        ::execl(program.c_str(), program.c_str(), "run", settings.c_str(), nullptr);
        ::_exit(121);
    }
    EXPECT_TRUE(eventually([&] { return allRuns() == 1; }));
    EXPECT_EQ(1, ::write(terminal, "\003", 1));
    EXPECT_TRUE(eventually([&] { return logHas("takes no more files"); }));
    go();

    int status = -1;
    EXPECT_TRUE(eventually([&] { return ::waitpid(pid, &status, WNOHANG) == pid; }));
    EXPECT_EQ(0, status);
    EXPECT_FALSE(done("a.txt").empty());
    EXPECT_TRUE(waits("b.txt"));
    ::close(terminal);
}

TEST_F(DropfolderTerminalTest, worksOnWhenNobodyReadsWhatItPrints) {
    configure(noteCommand());
    drop("a.txt");
    const std::string program = programBesideThis("dropfolder");
    const std::string settings = "--config=" + m_folder.file("settings");
    int ends[2];
    ASSERT_EQ(0, ::pipe(ends));
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::signal(SIGPIPE, SIG_DFL);
        ::dup2(ends[1], STDOUT_FILENO);
        ::close(ends[0]);
        ::close(ends[1]);
        ::execl(program.c_str(), program.c_str(), "run", "--once", settings.c_str(), nullptr);
        ::_exit(121);
    }
    ::close(ends[0]);
    ::close(ends[1]);

    int status = -1;
    EXPECT_TRUE(eventually([&] { return ::waitpid(pid, &status, WNOHANG) == pid; }));
    EXPECT_EQ(0, status);
    EXPECT_FALSE(done("a.txt").empty());
    EXPECT_TRUE(logHas("1 done, 0 failed, 0 left"));
}

}  // namespace
}  // namespace dropfolder_test
