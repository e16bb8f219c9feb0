// Removal on Linux: other processes at the tree, names of any bytes, rights, descriptors.
#include <OrvoException.h>
#include <OrvoFindFile.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <thread>

#include "support/ChildProcess.h"
#include "support/TempFolder.h"

namespace OrvoSupport {
namespace {

using std::filesystem::exists;
using testing_support::TempFolder;
using testing_support::writeFile;

bool removes(const string& path) {
    string message;
    int error = 0;
    try {
        return OrvoRemoveDirectoryImpl(path, true, message, error);
    } catch (const OrvoException&) {
        return false;
    }
}

TEST(RemoveDirectoryRacesTest, aLinkSwappedInNeverLeadsOutside) {
    const TempFolder folder;
    const string victim = folder.file("tree/victim");
    const string aside = folder.file("tree/zaside");
    std::filesystem::create_directories(folder.file("outside/sub"));
    for (int i = 0; i < 20; ++i) writeFile(folder.file("outside/kept" + std::to_string(i)), "");

    std::atomic<bool> stop{false};
    std::atomic<int> swaps{0};
    std::thread attacker([&] {
        while (!stop) {
            if (::rename(victim.c_str(), aside.c_str()) == 0) {
                if (::symlink(folder.file("outside").c_str(), victim.c_str()) == 0) ++swaps;
                ::unlink(victim.c_str());
            }
            ::rename(aside.c_str(), victim.c_str());
        }
    });
    for (int round = 0; round < 400 || (swaps < 100 && round < 5000); ++round) {
        std::error_code ignored;
        std::filesystem::create_directories(victim, ignored);
        for (int i = 0; i < 5; ++i) writeFile(victim + "/" + std::to_string(i), "");
        removes(folder.file("tree"));
        removes(victim);
    }
    stop = true;
    attacker.join();

    EXPECT_GT(swaps, 0);
    for (int i = 0; i < 20; ++i) ASSERT_TRUE(exists(folder.file("outside/kept" + std::to_string(i))));
    EXPECT_TRUE(exists(folder.file("outside/sub")));
}

TEST(RemoveDirectoryRacesTest, namesMayHoldAnyByte) {
    const TempFolder folder;
    const string tree = folder.file("tree");
    for (const char* name : {"back\\slash", "\n", "\xFF\xFE", "\xC3\xA4", "*", " "}) {
        std::filesystem::create_directories(tree + "/d" + name);
        writeFile(tree + "/d" + name + "/" + name, "");
        writeFile(tree + "/" + name, "");
    }
    OrvoRemoveDirectory(tree, true);

    EXPECT_FALSE(exists(tree));
}

TEST(RemoveDirectoryRacesTest, removesOtherKindsOfFiles) {
    const TempFolder folder;
    const string tree = folder.file("tree");
    std::filesystem::create_directories(tree);
    ASSERT_EQ(0, ::mkfifo((tree + "/fifo").c_str(), 0600));
    ASSERT_EQ(0, ::symlink("nowhere", (tree + "/.link").c_str()));
    ASSERT_EQ(0, ::symlink("..", (tree + "/up").c_str()));
    OrvoRemoveDirectory(tree, true);

    EXPECT_FALSE(exists(tree));
    EXPECT_TRUE(exists(folder.path()));
}

TEST(RemoveDirectoryRacesTest, reportsTheLinkAtTheTopAsNoDirectory) {
    const TempFolder folder;
    std::filesystem::create_directories(folder.file("outside/sub"));
    ASSERT_EQ(0, ::symlink("outside", folder.file("link").c_str()));
    for (const char* end : {"", "/", "\\"}) {
        string message;
        int error = 0;
        EXPECT_FALSE(OrvoRemoveDirectoryImpl(folder.file("link") + end, true, message, error));
        EXPECT_EQ(ENOTDIR, error);
    }
    EXPECT_TRUE(exists(folder.file("outside/sub")));
}

OSUPT_CHILD(removeWithoutRights) {
    if (::getuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) return 3;
    string message;
    int error = 0;
    const bool removed = OrvoRemoveDirectoryImpl(arguments.at(0), true, message, error);
    if (removed) return 1;
    return message == arguments.at(1) && std::to_string(error) == arguments.at(2) ? 0 : 2;
}

TEST(RemoveDirectoryRacesTest, reportsWhatRightsForbid) {
    const TempFolder folder;
    ASSERT_EQ(0, ::chmod(folder.path().c_str(), 0777));
    const string locked = folder.file("locked");
    const string unreadable = folder.file("unreadable");
    std::filesystem::create_directories(locked);
    std::filesystem::create_directories(unreadable);
    writeFile(locked + "/file", "");
    writeFile(unreadable + "/file", "");
    ::chmod(locked.c_str(), 0555);
    ::chmod(unreadable.c_str(), 0333);

    testing_support::ChildProcess first(
        "removeWithoutRights", {locked, "OrvoRemoveDirectory: Could not remove the file " + locked + "\\file",
                                std::to_string(EACCES)});
    EXPECT_EQ(0, first.wait());
    testing_support::ChildProcess second(
        "removeWithoutRights",
        {unreadable, "OrvoRemoveDirectory: Could not remove the directory " + unreadable,
         std::to_string(ENOTEMPTY)});
    EXPECT_EQ(0, second.wait());
    EXPECT_TRUE(exists(locked + "/file"));
    ::chmod(locked.c_str(), 0755);
    ::chmod(unreadable.c_str(), 0755);
}

void* removeOnSmallStack(void* path) {
    OrvoRemoveDirectory(*static_cast<const string*>(path), true);
    return nullptr;
}

TEST(RemoveDirectoryRacesTest, deepTreesNeedNeitherStackNorDescriptors) {
    const TempFolder folder;
    const string tree = folder.file("tree");
    string path = tree;
    for (int i = 0; i < 2000; ++i) path += "/directory";
    ASSERT_TRUE(OrvoCreateDirectory(path));
    rlimit limit;
    ASSERT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &limit));
    const rlimit low = {30, limit.rlim_max};
    ASSERT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &low));

    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 * 1024);
    pthread_t thread;
    string argument = tree;
    ASSERT_EQ(0, ::pthread_create(&thread, &attributes, removeOnSmallStack, &argument));
    ::pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    ::setrlimit(RLIMIT_NOFILE, &limit);

    EXPECT_FALSE(exists(tree));
}

TEST(RemoveDirectoryRacesTest, aDirectoryMovedAwayMeanwhileIsAFailure) {
    const TempFolder folder;
    std::filesystem::create_directories(folder.file("tree/a/b/c"));
    std::filesystem::create_directories(folder.file("elsewhere"));
    std::atomic<bool> stop{false};
    std::thread mover([&] {
        while (!stop) {
            ::rename(folder.file("tree/a/b").c_str(), folder.file("elsewhere/b").c_str());
            ::rename(folder.file("elsewhere/b").c_str(), folder.file("tree/a/b").c_str());
        }
    });
    for (int round = 0; round < 300; ++round) {
        std::error_code ignored;
        std::filesystem::create_directories(folder.file("tree/a/b/c"), ignored);
        writeFile(folder.file("tree/a/b/c/file"), "");
        writeFile(folder.file("elsewhere/kept"), "");
        removes(folder.file("tree"));
    }
    stop = true;
    mover.join();

    EXPECT_TRUE(exists(folder.file("elsewhere/kept")));
}

}  // namespace
}  // namespace OrvoSupport
