// Parts of the sample host by themselves, where that shows more than the whole program does.
#include <gtest/gtest.h>

#include "Command.h"
#include "FileQueue.h"
#include "Files.h"
#include "Folders.h"
#include "Scanner.h"
#include "support/TempFolder.h"

namespace dropfolder {
namespace {

using testing_support::readFile;
using testing_support::TempFolder;
using testing_support::writeFile;
using Names = std::vector<std::string>;

TEST(ScannerTest, takesAFileWhenItHasNotChangedSinceTheLastScan) {
    const TempFolder folder;
    Scanner scanner(folder.path(), "*");
    writeFile(folder.file("a"), "first");
    EXPECT_EQ(Names(), scanner.unchanged());
    writeFile(folder.file("a"), "first, second");
    writeFile(folder.file("b"), "");
    EXPECT_EQ(Names(), scanner.unchanged());
    EXPECT_EQ((Names{"a", "b"}), scanner.unchanged());
}

TEST(ScannerTest, takesEverythingWhenAskedForAll) {
    const TempFolder folder;
    writeFile(folder.file("a"), "");
    makeFolder(folder.file("b"));
    EXPECT_EQ(Names{"a"}, Scanner(folder.path(), "*").all());
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
    queue.put({"b", "a", "b"});
    queue.put({"a"});
    std::string name;
    EXPECT_TRUE(queue.take(name));
    EXPECT_EQ("b", name);
    queue.put({"b"});
    EXPECT_TRUE(queue.take(name));
    EXPECT_EQ("a", name);
    EXPECT_TRUE(queue.take(name));
    EXPECT_EQ("b", name);
}

TEST(FileQueueTest, endsWhenItIsEmptyAfterTheSentinel) {
    FileQueue queue;
    queue.put({"a"});
    queue.produceSentinel(false);
    std::string name;
    EXPECT_TRUE(queue.take(name));
    EXPECT_FALSE(queue.take(name));
    queue.put({"b"});
    queue.produceSentinel(true);
    EXPECT_FALSE(queue.take(name));
}

TEST(CommandLineTest, putsTheQuotedPathWhereItBelongs) {
    EXPECT_EQ("cmd \"/in/a b\"", commandLine("cmd", "/in/a b"));
    EXPECT_EQ("cmd \"x\" > \"x\".out", commandLine("cmd <FILE> > <FILE>.out", "x"));
    EXPECT_EQ("cmd \"a\\\"b\\\\\"", commandLine("cmd", "a\"b\\"));
    EXPECT_EQ("cmd \"<FILE>\"", commandLine("cmd <FILE>", "<FILE>"));
}

}  // namespace
}  // namespace dropfolder
