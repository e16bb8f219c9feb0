// How the sample host runs programs on Linux, and what it does where it has no descriptor left.
#include <OrvoLogging.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "../DropfolderFixture.h"
#include "Folders.h"
#include "Program.h"
#include "support/Sanitizers.h"

namespace dropfolder {
namespace {

using testing_support::TempFolder;
using testing_support::writeFile;

/// How many children of this process have ended without having been asked for their exit code.
int zombies() {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream file(entry.path() / "stat");
        std::string text;
        std::getline(file, text, '\0');
        text.erase(0, text.rfind(')') + 1);
        count += text.rfind(" Z " + std::to_string(::getpid()) + " ", 0) == 0;
    }
    return count;
}

TEST(ProgramTest, buriesWhatProgramsLeaveBehindWhileOthersRun) {
    const TempFolder folder;
    std::thread other(
        [&] { runProgram("sh -c \"while [ ! -e '" + folder.file("go") + "' ]; do sleep 0.01; done\"", 0); });
    for (int i = 0; i < 20; ++i) EXPECT_EQ(0, runProgram("sh -c \"sleep 0.01 & \"", 0).exitCode);
    EXPECT_TRUE(
        dropfolder_test::eventually([] { return runProgram("true", 0).exitCode == 0 && zombies() <= 1; }));
    writeFile(folder.file("go"), "");
    other.join();
}

TEST(ProgramTest, knowsTheExitCodeOfEachOfSeveralAtATime) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([i] {
            for (int code = 10 * i; code < 10 * i + 10; ++code) {
                const ProgramEnd end = runProgram("sh -c \"true & exit " + std::to_string(code) + "\"", 60);
                EXPECT_EQ(ProgramEnd::ended, end.how);
                EXPECT_EQ(code, end.exitCode);
            }
        });
    for (std::thread& thread : threads) thread.join();
}

TEST(FoldersTest, doesNotTakeAFolderForEmptyThatItCannotRead) {
    if (testing_support::addressSanitizer)
        GTEST_SKIP() << "the undefined behaviour sanitizer takes it for an error when it has no descriptor";
    OrvoSupport::OrvoLogging logger;
    OrvoSupport::OrvoLogging::setInstance(logger);
    const TempFolder folder;
    makeFolder(folder.file("one"));
    makeFolder(folder.file("target"));
    writeFile(folder.file("one/a"), "");

    rlimit before;
    ASSERT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &before));
    const rlimit none = {3, before.rlim_max};
    ASSERT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &none));
    const bool empty = emptyFolder(folder.file("one"), folder.file("target"));
    ::setrlimit(RLIMIT_NOFILE, &before);

    EXPECT_FALSE(empty);
    EXPECT_TRUE(emptyFolder(folder.file("one"), folder.file("target")));
    EXPECT_TRUE(std::filesystem::exists(folder.file("target/a")));
}

}  // namespace
}  // namespace dropfolder
