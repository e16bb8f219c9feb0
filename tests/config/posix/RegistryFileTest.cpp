// The file that stands in for the registry: which one it is, and how its changes are noticed.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "OrvoExpandString.h"
#include "os/LogCapture.h"
#include "support/ChildProcess.h"
#include "support/Sanitizers.h"
#include "support/TempFolder.h"

namespace OrvoSupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing_support::ChildProcess;
using testing_support::LogCapture;
using testing_support::setEnvironment;
using testing_support::TempFolder;
using testing_support::writeFile;

std::string fileWith(const std::string& value) {
    return "[HKEY_LOCAL_MACHINE\\Software\\X]\n\"v\"=\"" + value + "\"\n";
}

// So old that it counts as settled.
void makeOld(const std::string& name) {
    const timespec old = {::time(nullptr) - 1000, 0};
    const timespec times[2] = {old, old};
    ASSERT_EQ(0, ::utimensat(AT_FDCWD, name.c_str(), times, 0));
}

class RegistryFileTest : public testing::Test {
protected:
    RegistryFileTest() { setEnvironment("OSUPT_REGISTRY", name.c_str()); }
    ~RegistryFileTest() override { setEnvironment("OSUPT_REGISTRY", nullptr); }

    static std::string value() { return OrvoGetEnvironmentVariable("Software\\X\\v"); }

    TempFolder folder;
    const std::string name = folder.file("a.reg");
};

TEST_F(RegistryFileTest, isTheOneThatTheEnvironmentNames) {
    const std::string other = folder.file("b.reg");
    writeFile(name, fileWith("a"));
    writeFile(other, fileWith("b"));
    EXPECT_EQ("a", value());
    setEnvironment("OSUPT_REGISTRY", other.c_str());
    EXPECT_EQ("b", value());
    setEnvironment("OSUPT_REGISTRY", name.c_str());
    EXPECT_EQ("a", value());
}

TEST_F(RegistryFileTest, isEmptyWhenItCannotBeRead) {
    EXPECT_EQ("", value());
    writeFile(name, fileWith("a"));
    EXPECT_EQ("a", value());
    std::remove(name.c_str());
    EXPECT_EQ("", value());
    const std::string pipe = folder.file("pipe");
    ASSERT_EQ(0, ::mkfifo(pipe.c_str(), 0600));
    for (const char* file : {folder.path().c_str(), pipe.c_str(), "/dev/zero", "/dev/null"}) {
        setEnvironment("OSUPT_REGISTRY", file);
        EXPECT_EQ("", value()) << file;
    }
}

TEST_F(RegistryFileTest, isTheSystemsWithoutAName) {
    for (const char* file : {"", static_cast<const char*>(nullptr)}) {
        setEnvironment("OSUPT_REGISTRY", file);
        EXPECT_EQ("", OrvoGetEnvironmentVariable("Software\\OsuptNoSuchKey\\v"));
    }
}

// Same size, same name, and as fast as the clock of the file system may miss it.
TEST_F(RegistryFileTest, isReadAgainWhenItHasChanged) {
    for (int i = 100; i < 300; ++i) {
        writeFile(name, fileWith(std::to_string(i)));
        ASSERT_EQ(std::to_string(i), value());
    }
}

// After some seconds its times tell of any change, and it is kept until then.
TEST_F(RegistryFileTest, isReadAgainWhenItHasChangedAfterAWhile) {
    writeFile(name, fileWith("a"));
    std::this_thread::sleep_for(std::chrono::milliseconds(3200));
    EXPECT_EQ("a", value());
    EXPECT_EQ("a", value());
    writeFile(name, fileWith("b"));
    EXPECT_EQ("b", value());
    writeFile(name, fileWith("c"));
    EXPECT_EQ("c", value());
}

TEST_F(RegistryFileTest, isReadAgainWhenItWasReplaced) {
    writeFile(name, fileWith("a"));
    EXPECT_EQ("a", value());
    const std::string other = folder.file("b.reg");
    writeFile(other, fileWith("b"));
    makeOld(other);
    ASSERT_EQ(0, std::rename(other.c_str(), name.c_str()));
    EXPECT_EQ("b", value());
}

TEST_F(RegistryFileTest, tellsDamagedLinesOncePerState) {
    writeFile(name, fileWith("a") + "nonsense\n\"w\"=dword:x\n");
    const LogCapture log;
    const std::string start = "OrvoGetEnvironmentVariable: skipped damaged line ";
    EXPECT_EQ("a", value());
    EXPECT_EQ("a", value());
    EXPECT_THAT(log.records(start), ElementsAre(start + "3 of file " + name, start + "4 of file " + name));
    writeFile(name, fileWith("b") + "nonsense\n");
    EXPECT_EQ("b", value());
    EXPECT_EQ(3u, log.records(start).size());
}

TEST_F(RegistryFileTest, tellsDamagedLinesAtLevelFive) {
    writeFile(name, fileWith("a") + "nonsense\n");
    const LogCapture log;
    OrvoLogging::getInstance().setLogLevel(4);
    EXPECT_EQ("a", value());
    EXPECT_THAT(log.records("OrvoGetEnvironmentVariable"), IsEmpty());
    writeFile(name, fileWith("a") + "more nonsense\n");
    OrvoLogging::getInstance().setLogLevel(5);
    EXPECT_EQ("a", value());
    EXPECT_EQ(1u, log.records("OrvoGetEnvironmentVariable").size());
}

OSUPT_CHILD(readRegistryAtExit) {
    std::atexit([] { ::_exit(OrvoGetEnvironmentVariable("Software\\X\\v") == "a" ? 7 : 8); });
    // Whatever the library makes at the first look-up is destroyed before that is called.
    return OrvoGetEnvironmentVariable("Software\\X\\v") == "a" ? 0 : 9;
}

TEST_F(RegistryFileTest, isReadUntilTheProcessEnds) {
    writeFile(name, fileWith("a"));
    ChildProcess child("readRegistryAtExit");
    EXPECT_EQ(7, child.wait()) << child.output();
}

// Whatever other threads were about when the process was forked.
TEST_F(RegistryFileTest, isReadByForkedProcesses) {
    if (testing_support::anySanitizer)
        GTEST_SKIP() << "the heap of sanitizers may stay locked in forked processes";
    writeFile(name, fileWith("a"));
    std::atomic<bool> done{false};
    std::thread reader([&] {
        while (!done) value();
    });
    int status = 7 << 8;
    for (int i = 0; i < 50 && status == 7 << 8; ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::alarm(60);
            ::_exit(value() == "a" ? 7 : 8);
        }
        EXPECT_EQ(child, ::waitpid(child, &status, 0));
    }
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
    done = true;
    reader.join();
}

TEST_F(RegistryFileTest, mayBeLarge) {
    std::string all = "[HKEY_LOCAL_MACHINE\\Software\\X]\n";
    for (int i = 0; i < 20000; ++i) all += "\"v" + std::to_string(i) + "\"=\"" + std::to_string(i) + "\"\n";
    writeFile(name, all);
    EXPECT_EQ("19999", OrvoGetEnvironmentVariable("Software\\X\\v19999"));
    writeFile(name, fileWith(std::string(3'000'000, 'x')));
    EXPECT_EQ(3'000'000u, value().size());
}

TEST_F(RegistryFileTest, isReadByManyThreads) {
    writeFile(name, fileWith("0000"));
    std::atomic<bool> done{false};
    std::vector<std::thread> readers;
    for (int i = 0; i < 4; ++i)
        readers.emplace_back([&] {
            while (!done) {
                const std::string seen = value();
                EXPECT_TRUE(seen == "0000" || seen == "1111") << seen;
            }
        });
    for (int i = 0; i < 100; ++i) {
        const std::string next = folder.file("next");
        writeFile(next, fileWith(i % 2 ? "0000" : "1111"));
        ASSERT_EQ(0, std::rename(next.c_str(), name.c_str()));
    }
    done = true;
    for (std::thread& reader : readers) reader.join();
}

}  // namespace
}  // namespace OrvoSupport
