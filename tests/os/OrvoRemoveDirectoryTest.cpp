#include <OrvoException.h>
#include <OrvoFindFile.h>
#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <thread>

#include "os/FileSystemFacts.h"
#include "os/LogCapture.h"
#include "support/TempFolder.h"

namespace OrvoSupport {
namespace {

using std::filesystem::exists;
using testing::ElementsAre;
using testing_support::LogCapture;
using testing_support::TempFolder;
using testing_support::writeFile;

const string removing = "OrvoRemoveDirectory: Remove directoryImpl ";
const string deleting = "OrvoRemoveDirectory: Delete file ";
const string cannotRemove = "OrvoRemoveDirectory: Could not remove the directory ";
const string cannotDelete = "OrvoRemoveDirectory: Could not remove the file ";

/// The exception of a removal that has to fail.
OrvoException failureOf(const string& path, bool recursive) {
    try {
        OrvoRemoveDirectory(path, recursive);
    } catch (const OrvoException& exception) {
        return exception;
    }
    ADD_FAILURE() << path << " was removed";
    return OrvoException();
}

class OrvoRemoveDirectoryTest : public testing::Test {
protected:
    /// tree: a file, a directory with a file and an empty directory.
    void makeTree() {
        std::filesystem::create_directories(folder.file("tree/sub/empty"));
        writeFile(folder.file("tree/file"), "1");
        writeFile(folder.file("tree/sub/inner"), "2");
    }

    TempFolder folder;
    const string tree = folder.file("tree");
};

TEST_F(OrvoRemoveDirectoryTest, removesAnEmptyDirectory) {
    std::filesystem::create_directory(tree);
    const LogCapture log;
    OrvoRemoveDirectory(tree, false);

    EXPECT_FALSE(exists(tree));
    EXPECT_THAT(log.records(""), ElementsAre(removing + tree));
}

TEST_F(OrvoRemoveDirectoryTest, refusesAFullDirectoryUnlessRecursive) {
    makeTree();
    const OrvoException failure = failureOf(tree, false);

    EXPECT_EQ(cannotRemove + tree, failure.getText());
    EXPECT_EQ(ENOTEMPTY, failure.getCode());
    EXPECT_TRUE(exists(folder.file("tree/sub/inner")));
}

TEST_F(OrvoRemoveDirectoryTest, removesEverythingInIt) {
    makeTree();
    OrvoRemoveDirectory(tree, true);

    EXPECT_FALSE(exists(tree));
}

TEST_F(OrvoRemoveDirectoryTest, logsEveryStepWithBackslashesInTheWay) {
    makeTree();
    const LogCapture log;
    OrvoRemoveDirectory(tree, true);

    EXPECT_THAT(log.records(""),
                ElementsAre(removing + tree, deleting + tree + "\\file", removing + tree + "\\sub",
                            removing + tree + "\\sub\\empty", deleting + tree + "\\sub\\inner"));
}

TEST_F(OrvoRemoveDirectoryTest, takesThePathAsItIsWritten) {
    for (const string& written : {tree + "/", tree + "\\", folder.path() + "\\tree",
                                  folder.path() + "//tree//", folder.path() + "/./tree"}) {
        SCOPED_TRACE(written);
        makeTree();
        const LogCapture log;
        OrvoRemoveDirectory(written, true);
        EXPECT_FALSE(exists(tree));
        EXPECT_EQ(deleting + written + "\\file", log.records("").at(1));
    }
}

TEST_F(OrvoRemoveDirectoryTest, removesARelativePath) {
    makeTree();
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    OrvoRemoveDirectory("tree", true);
    std::filesystem::current_path(before);

    EXPECT_FALSE(exists(tree));
}

TEST_F(OrvoRemoveDirectoryTest, failsForWhatIsNoDirectory) {
    writeFile(folder.file("file"), "");
    for (const string& path :
         {folder.file("file"), folder.file("missing"), folder.file("missing/sub"), string()}) {
        SCOPED_TRACE(path);
        const OrvoException failure = failureOf(path, true);
        EXPECT_EQ(cannotRemove + path, failure.getText());
        EXPECT_NE(0, failure.getCode());
    }
    EXPECT_EQ(ENOENT, failureOf(folder.file("missing"), true).getCode());
    EXPECT_TRUE(exists(folder.file("file")));
}

TEST_F(OrvoRemoveDirectoryTest, reportsAFailureAsResult) {
    makeTree();
    string message = "before";
    int error = 77;

    EXPECT_FALSE(OrvoRemoveDirectoryImpl(tree, false, message, error));
    EXPECT_EQ(cannotRemove + tree, message);
    EXPECT_EQ(ENOTEMPTY, error);
}

TEST_F(OrvoRemoveDirectoryTest, leavesMessageAndErrorAloneOnSuccess) {
    makeTree();
    string message = "before";
    int error = 77;

    EXPECT_TRUE(OrvoRemoveDirectoryImpl(tree, true, message, error));
    EXPECT_EQ("before", message);
    EXPECT_EQ(77, error);
}

TEST_F(OrvoRemoveDirectoryTest, leavesDirectoriesThatBeginWithADot) {
    std::filesystem::create_directories(folder.file("tree/.cache"));
    writeFile(folder.file("tree/file"), "");
    string message;
    int error = 0;

    EXPECT_FALSE(OrvoRemoveDirectoryImpl(tree, true, message, error));
    EXPECT_EQ(cannotRemove + tree, message);
    EXPECT_NE(0, error);
    EXPECT_TRUE(exists(folder.file("tree/.cache")));
    EXPECT_FALSE(exists(folder.file("tree/file")));
}

TEST_F(OrvoRemoveDirectoryTest, removesFilesThatBeginWithADot) {
    std::filesystem::create_directories(tree);
    writeFile(folder.file("tree/.hidden"), "");
    writeFile(folder.file("tree/..."), "");
    OrvoRemoveDirectory(tree, true);

    EXPECT_FALSE(exists(tree));
}

TEST_F(OrvoRemoveDirectoryTest, throwsWhatFailedInsideASubDirectory) {
    std::filesystem::create_directories(folder.file("tree/a/b/.cache"));
    std::filesystem::create_directories(folder.file("tree/z"));
    string message = "before";
    int error = 77;
    try {
        OrvoRemoveDirectoryImpl(tree, true, message, error);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const OrvoException& failure) {
        EXPECT_EQ(cannotRemove + tree + "\\a\\b", failure.getText());
        EXPECT_NE(0, failure.getCode());
    }
    EXPECT_EQ("before", message);
    EXPECT_EQ(77, error);
    EXPECT_TRUE(exists(folder.file("tree/z")));
}

TEST_F(OrvoRemoveDirectoryTest, changesNoAttributes) {
    std::filesystem::create_directories(folder.file("tree/sub"));
    const string file = folder.file("tree/sub/protected");
    writeFile(file, "");
    testing_support::writeProtect(file, true);
    if (testing_support::writeProtectionPreventsDeletion) {
        const OrvoException failure = failureOf(tree, true);
        EXPECT_EQ(cannotDelete + tree + "\\sub\\protected", failure.getText());
        EXPECT_NE(0, failure.getCode());
        EXPECT_TRUE(exists(file));
        testing_support::writeProtect(file, false);
    }
    OrvoRemoveDirectory(tree, true);

    EXPECT_FALSE(exists(tree));
}

TEST_F(OrvoRemoveDirectoryTest, removesLinksAndNotWhatTheyLeadTo) {
    std::filesystem::create_directories(folder.file("outside/sub"));
    writeFile(folder.file("outside/kept"), "kept");
    std::filesystem::create_directories(tree);
    if (!testing_support::makeDirectoryLink(folder.file("tree/link"), folder.file("outside")))
        GTEST_SKIP() << "this system makes no links to directories";
    OrvoRemoveDirectory(tree, true);

    EXPECT_FALSE(exists(tree));
    EXPECT_EQ("kept", testing_support::readFile(folder.file("outside/kept")));
    EXPECT_TRUE(exists(folder.file("outside/sub")));
}

TEST_F(OrvoRemoveDirectoryTest, neverEntersThroughALinkAtTheTop) {
    std::filesystem::create_directories(folder.file("outside"));
    writeFile(folder.file("outside/kept"), "kept");
    if (!testing_support::makeDirectoryLink(tree, folder.file("outside")))
        GTEST_SKIP() << "this system makes no links to directories";
    string message;
    int error = 0;

    EXPECT_EQ(testing_support::linkIsRemovedAsDirectory, OrvoRemoveDirectoryImpl(tree, true, message, error));
    EXPECT_EQ("kept", testing_support::readFile(folder.file("outside/kept")));
}

TEST_F(OrvoRemoveDirectoryTest, removesDeepTrees) {
    string path = tree;
    for (int i = 0; i < testing_support::deepTree; ++i) path += "/d";
    ASSERT_TRUE(OrvoCreateDirectory(path));
    ASSERT_TRUE(OrvoFindFile(path).hasMore());
    OrvoRemoveDirectory(tree, true);

    EXPECT_FALSE(exists(tree));
}

TEST_F(OrvoRemoveDirectoryTest, throwsFromDeepInside) {
    string path = tree;
    string text = cannotRemove + tree;
    for (int i = 0; i < testing_support::deepTree / 2; ++i) {
        path += "/d";
        text += "\\d";
    }
    ASSERT_TRUE(OrvoCreateDirectory(path + "/.cache"));

    EXPECT_EQ(text, failureOf(tree, true).getText());
    OrvoRemoveDirectory(path + "/.cache", false);
    OrvoRemoveDirectory(tree, true);
    EXPECT_FALSE(exists(tree));
}

TEST_F(OrvoRemoveDirectoryTest, endsWhileAnotherThreadFillsTheTree) {
    makeTree();
    std::atomic<bool> stop{false};
    std::thread other([&] {
        for (int i = 0; !stop; ++i) {
            writeFile(folder.file("tree/sub/new" + std::to_string(i % 500)), "");
            writeFile(folder.file("tree/new" + std::to_string(i % 500)), "");
        }
    });
    for (int round = 0; round < 20; ++round) {
        try {
            OrvoRemoveDirectory(tree, true);
            std::filesystem::create_directories(folder.file("tree/sub"));
        } catch (const OrvoException& failure) {
            EXPECT_EQ(0u, failure.getText().find("OrvoRemoveDirectory: Could not remove the "))
                << failure.getText();
        }
    }
    stop = true;
    other.join();
}

}  // namespace
}  // namespace OrvoSupport
