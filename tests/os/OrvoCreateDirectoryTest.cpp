#include <OrvoFindFile.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <thread>

#include "os/LogCapture.h"
#include "support/TempFolder.h"

namespace OrvoSupport {
namespace {

using std::filesystem::is_directory;
using testing::ElementsAre;
using testing_support::LogCapture;
using testing_support::TempFolder;
using testing_support::writeFile;

/// As the log shows a path whose separators, but for the first character, have been passed.
string passed(string path) {
    std::replace(path.begin() + 1, path.end(), '\\', '/');
    return path;
}

string missing() { return " (" + std::to_string(ENOENT) + ")"; }

TEST(OrvoCreateDirectoryTest, createsTheParentsThatAreMissing) {
    const TempFolder folder;
    std::filesystem::create_directory(folder.file("a"));

    EXPECT_TRUE(OrvoCreateDirectory(folder.file("a/b/c")));
    EXPECT_TRUE(is_directory(folder.file("a/b/c")));
    EXPECT_TRUE(OrvoCreateDirectory(folder.file("x/y/z/w")));
    EXPECT_TRUE(is_directory(folder.file("x/y/z/w")));
}

TEST(OrvoCreateDirectoryTest, isContentWithWhatIsThere) {
    const TempFolder folder;
    writeFile(folder.file("file"), "x");

    EXPECT_TRUE(OrvoCreateDirectory(folder.path()));
    EXPECT_TRUE(OrvoCreateDirectory(folder.file("file")));
    EXPECT_FALSE(is_directory(folder.file("file")));
}

TEST(OrvoCreateDirectoryTest, takesSeparatorsOfBothKinds) {
    const TempFolder folder;
    struct Case {
        const char* path;
        const char* created;
    };
    const Case cases[] = {
        {"\\a", "/a"},     {"\\b\\c\\d", "/b/c/d"}, {"/e\\f/g", "/e/f/g"},    {"/h/", "/h"},
        {"/i/j/", "/i/j"}, {"//k//l", "/k/l"},      {"\\\\m\\\\n\\", "/m/n"}, {"/o///p//", "/o/p"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        EXPECT_TRUE(OrvoCreateDirectory(folder.path() + c.path));
        EXPECT_TRUE(is_directory(folder.path() + c.created));
    }
}

TEST(OrvoCreateDirectoryTest, worksRelativeToTheCurrentDirectory) {
    const TempFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    const bool one = OrvoCreateDirectory("x");
    const bool several = OrvoCreateDirectory("a\\b/c");
    std::filesystem::current_path(before);

    EXPECT_TRUE(one);
    EXPECT_TRUE(several);
    EXPECT_TRUE(is_directory(folder.file("x")));
    EXPECT_TRUE(is_directory(folder.file("a/b/c")));
}

TEST(OrvoCreateDirectoryTest, logsThePathOnly) {
    const TempFolder folder;
    const LogCapture log;
    OrvoCreateDirectory(folder.file("a/b"));
    OrvoCreateDirectory(folder.path() + "\\a\\b");

    EXPECT_THAT(log.records(""), ElementsAre("OrvoCreateDirectory: " + folder.file("a/b"),
                                             "OrvoCreateDirectory: " + folder.path() + "\\a\\b"));
}

TEST(OrvoCreateDirectoryTest, failsBelowAFileAndLogsTheStep) {
    const TempFolder folder;
    writeFile(folder.file("file"), "");
    const LogCapture log;

    EXPECT_FALSE(OrvoCreateDirectory(folder.file("file/sub")));
    EXPECT_THAT(log.records(""), ElementsAre("OrvoCreateDirectory: " + folder.file("file/sub"),
                                             "OrvoCreateDirectory: couldn't create " +
                                                 passed(folder.file("file/sub")) + missing()));
}

TEST(OrvoCreateDirectoryTest, logsTheFirstPrefixThatFailsWithPassedSeparatorsRewritten) {
    const TempFolder folder;
    writeFile(folder.file("file"), "");
    const string path = folder.path() + "\\file\\sub\\deep\\er";
    const LogCapture log;

    EXPECT_FALSE(OrvoCreateDirectory(path));
    EXPECT_THAT(
        log.records("OrvoCreateDirectory: c"),
        ElementsAre("OrvoCreateDirectory: couldn't create " + passed(folder.file("file/sub")) + missing()));
    EXPECT_EQ("OrvoCreateDirectory: " + path, log.records("").front());
}

TEST(OrvoCreateDirectoryTest, keepsWhatWasCreatedBeforeAStepFailed) {
    const TempFolder folder;
    writeFile(folder.file("file"), "");

    EXPECT_FALSE(OrvoCreateDirectory(folder.file("a/b/../../file/c/d")));
    EXPECT_TRUE(is_directory(folder.file("a/b")));
}

TEST(OrvoCreateDirectoryTest, failsForTheEmptyPath) {
    const LogCapture log;

    EXPECT_FALSE(OrvoCreateDirectory(""));
    EXPECT_THAT(log.records(""),
                ElementsAre("OrvoCreateDirectory: ", "OrvoCreateDirectory: couldn't create " + missing()));
}

TEST(OrvoCreateDirectoryTest, createsPathsLongerThanTheSystemsCallsTake) {
    const TempFolder folder;
    string path = folder.path();
    for (int i = 0; i < 30; ++i) path += "/0123456789";

    EXPECT_TRUE(OrvoCreateDirectory(path));
    EXPECT_TRUE(OrvoCreateDirectory(path));
    EXPECT_TRUE(OrvoFindFile(path).hasMore());
}

TEST(OrvoCreateDirectoryTest, letsThreadsCreateTheSamePath) {
    const TempFolder folder;
    for (int round = 0; round < 10; ++round) {
        const string path = folder.file(std::to_string(round) + "/a/b/c/d");
        bool first = false;
        bool second = false;
        std::thread other([&] { first = OrvoCreateDirectory(path); });
        second = OrvoCreateDirectory(path);
        other.join();
        EXPECT_TRUE(first && second);
    }
}

}  // namespace
}  // namespace OrvoSupport
