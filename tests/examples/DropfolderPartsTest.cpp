// Parts of the sample host by themselves, where that shows more than the whole program does.
#include <gtest/gtest.h>

#include "Command.h"
#include "FileQueue.h"
#include "Files.h"
#include "Folders.h"
#include "Log.h"
#include "Scanner.h"
#include "support/TempFolder.h"

namespace dropfolder {
namespace {

using testing_support::readFile;
using testing_support::TempFolder;
using testing_support::writeFile;
using Names = std::vector<std::string>;

Names namesOf(const std::vector<FoundFile>& files) {
    Names names;
    for (const FoundFile& file : files) names.push_back(file.name);
    return names;
}

TEST(ScannerTest, takesAFileWhenItHasNotChangedSinceTheLastScan) {
    const TempFolder folder;
    Scanner scanner(folder.path(), "*");
    writeFile(folder.file("a"), "first");
    EXPECT_EQ(Names(), namesOf(scanner.unchanged()));
    writeFile(folder.file("a"), "first, second");
    writeFile(folder.file("b"), "");
    EXPECT_EQ(Names(), namesOf(scanner.unchanged()));
    EXPECT_EQ((Names{"a", "b"}), namesOf(scanner.unchanged()));
}

TEST(ScannerTest, takesEverythingWhenAskedForAll) {
    const TempFolder folder;
    writeFile(folder.file("a"), "");
    makeFolder(folder.file("b"));
    EXPECT_EQ(Names{"a"}, namesOf(Scanner(folder.path(), "*").all()));
}

TEST(FilesTest, doesNotOverwriteWhatHasTheNameAlready) {
    const TempFolder folder;
    writeFile(folder.file("a"), "new");
    writeFile(folder.file("b"), "old");
    EXPECT_EQ(Move::nameTaken, putFile(folder.file("a"), folder.file("b")).result);
    EXPECT_EQ("old", readFile(folder.file("b")));
    EXPECT_EQ("new", readFile(folder.file("a")));
}

TEST(FilesTest, saysThatAFileIsGone) {
    const TempFolder folder;
    EXPECT_EQ(Move::nothingThere, takeFile(folder.file("a"), folder.file("b")).result);
}

TEST(FilesTest, filesAwayUnderTheNextFreeName) {
    const TempFolder folder;
    makeFolder(folder.file("target"));
    for (const char* text : {"1", "2", "3"}) {
        writeFile(folder.file("a"), text);
        EXPECT_TRUE(fileAway(folder.path(), "a", folder.file("target")));
    }
    EXPECT_EQ("1", readFile(folder.file("target/a")));
    EXPECT_EQ("2", readFile(folder.file("target/a.2")));
    EXPECT_EQ("3", readFile(folder.file("target/a.3")));
}

TEST(FilesTest, filesAwayALongNameUnderOneThatIsNoLonger) {
    const TempFolder folder;
    const std::string name(255, 'a');
    makeFolder(folder.file("target"));
    for (const char* text : {"1", "2"}) {
        writeFile(folder.file(name), text);
        if (!exists(folder.file(name))) GTEST_SKIP() << "the system does not take such a path";
        EXPECT_TRUE(fileAway(folder.path(), name, folder.file("target")));
    }
    EXPECT_EQ("1", readFile(folder.file("target/" + name)));
    EXPECT_EQ("2", readFile(folder.file("target/" + name.substr(2) + ".2")));
}

TEST(LogTest, keepsANameOnOneLine) {
    EXPECT_EQ("two\\x0d\\x0alines\\x7f", oneLine("two\r\nlines\x7f"));
    EXPECT_EQ("plain \xc3\xa4\\", oneLine("plain \xc3\xa4\\"));
}

TEST(FileLockTest, isHeldByOneAtATime) {
    const TempFolder folder;
    {
        const FileLock first(folder.file("lock"));
        EXPECT_TRUE(first.held());
        EXPECT_FALSE(FileLock(folder.file("lock")).held());
    }
    EXPECT_TRUE(FileLock(folder.file("lock")).held());
    EXPECT_FALSE(FileLock(folder.file("no folder/lock")).held());
}

TEST(FileQueueTest, keepsANameOnceUntilItIsTaken) {
    FileQueue queue;
    queue.put({{"b", {}}, {"a", {}}, {"b", {}}});
    queue.put({{"a", {}}});
    FoundFile file;
    EXPECT_TRUE(queue.take(file));
    EXPECT_EQ("b", file.name);
    queue.put({{"b", {}}});
    EXPECT_TRUE(queue.take(file));
    EXPECT_EQ("a", file.name);
    EXPECT_TRUE(queue.take(file));
    EXPECT_EQ("b", file.name);
}

TEST(FileQueueTest, hasAFileAsItWasFoundLast) {
    FileQueue queue;
    queue.put({{"a", {1, 10}}, {"b", {}}});
    queue.put({{"a", {2, 20}}});
    FoundFile file;
    EXPECT_TRUE(queue.take(file));
    EXPECT_EQ("a", file.name);
    EXPECT_EQ((FileState{2, 20}), file.state);
}

TEST(FileQueueTest, endsWhenItIsEmptyAfterTheSentinel) {
    FileQueue queue;
    queue.put({{"a", {}}});
    queue.produceSentinel(false);
    FoundFile file;
    EXPECT_TRUE(queue.take(file));
    EXPECT_FALSE(queue.take(file));
    queue.put({{"b", {}}});
    queue.produceSentinel(true);
    EXPECT_FALSE(queue.take(file));
}

TEST(CommandLineTest, putsTheQuotedPathWhereItBelongs) {
    EXPECT_EQ("cmd \"/in/a b\"", commandLine("cmd", "/in/a b"));
    EXPECT_EQ("cmd \"x\" > \"x\".out", commandLine("cmd <FILE> > <FILE>.out", "x"));
    EXPECT_EQ("cmd \"a\\\"b\\\\\"", commandLine("cmd", "a\"b\\"));
    EXPECT_EQ("cmd \"<FILE>\"", commandLine("cmd <FILE>", "<FILE>"));
}

}  // namespace
}  // namespace dropfolder
