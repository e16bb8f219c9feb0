// What else can stand under a file name on Linux, and how writing fails there.
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <iostream>

#include "OrvoLogging.h"
#include "OrvoProperties.h"
#include "config/PropertyReader.h"
#include "config/PropertyTexts.h"
#include "platform/PropertyFile.h"
#include "support/ChildProcess.h"
#include "support/TempFolder.h"

namespace OrvoSupport {
namespace {

using testing::HasSubstr;
using testing_support::ChildProcess;
using testing_support::readFile;
using testing_support::TempFolder;
using testing_support::writeFile;

TEST(OrvoPropertiesDeviceTest, neverWaitsAtAPipe) {
    const TempFolder folder;
    const std::string name = folder.file("pipe");
    ASSERT_EQ(0, ::mkfifo(name.c_str(), 0600));
    OrvoProperties<string> store = someProperties();

    EXPECT_FALSE(store.loadProperties(name));
    EXPECT_FALSE(store.saveProperties(name));
    EXPECT_EQ("a=1;", contents(store));
}

TEST(OrvoPropertiesDeviceTest, refusesASocket) {
    const TempFolder folder;
    const std::string name = folder.file("s");
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    ASSERT_LT(name.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, name.c_str(), name.size() + 1);
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(0, ::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    OrvoProperties<string> store = someProperties();

    EXPECT_FALSE(store.loadProperties(name));
    EXPECT_FALSE(store.saveProperties(name));
    ::close(descriptor);
}

TEST(OrvoPropertiesDeviceTest, takesTheNullDeviceForAnEmptyFile) {
    OrvoProperties<string> store = someProperties();

    EXPECT_TRUE(store.loadProperties("/dev/null"));
    EXPECT_TRUE(store.saveProperties("/dev/null"));
    EXPECT_EQ("a=1;", contents(store));
}

TEST(OrvoPropertiesDeviceTest, followsALink) {
    const TempFolder folder;
    writeFile(folder.file("real"), "b=2\n");
    ASSERT_EQ(0, ::symlink(folder.file("real").c_str(), folder.file("link").c_str()));
    OrvoProperties<string> store = someProperties();

    EXPECT_TRUE(store.loadProperties(folder.file("link")));
    EXPECT_TRUE(store.saveProperties(folder.file("link")));
    EXPECT_EQ("a=1\nb=2\n", readFile(folder.file("real")));
}

// Nothing is mapped at the address 0, so that the first byte of this file cannot be read.
TEST(OrvoPropertiesDeviceTest, cannotOpenWhatCannotBeRead) {
    OrvoProperties<string> store = someProperties();

    EXPECT_FALSE(store.loadProperties("/proc/self/mem"));
    EXPECT_EQ("a=1;", contents(store));
}

// Gives its text and fails then.
ssize_t readThenFail(void* text, char* buffer, size_t size) {
    auto& left = *static_cast<std::string*>(text);
    if (left.empty()) {
        errno = EIO;
        return -1;
    }
    const std::size_t count = left.copy(buffer, size);
    left.erase(0, count);
    return static_cast<ssize_t>(count);
}

TEST(OrvoPropertiesDeviceTest, noticesAnErrorHalfWay) {
    std::string start = "a=1\nb=2\nc";
    cookie_io_functions_t functions = {};
    functions.read = readThenFail;
    FILE* file = ::fopencookie(&start, "r", functions);
    ASSERT_NE(nullptr, file);
    PropertyReader<string> reader(file, '=');
    string line;

    EXPECT_TRUE(reader.start());
    EXPECT_TRUE(reader.next(line));
    EXPECT_EQ("a=1", line);
    while (reader.next(line)) continue;
    EXPECT_TRUE(reader.failed());
    ::fclose(file);
}

TEST(OrvoPropertiesDeviceTest, keepsItsFilesFromChildProcesses) {
    const TempFolder folder;
    for (auto* const open : {&platform::createForWriting, &platform::openForReading}) {
        FILE* file = open(folder.file("a").c_str());
        ASSERT_NE(nullptr, file);
        EXPECT_NE(0, ::fcntl(::fileno(file), F_GETFD) & FD_CLOEXEC);
        ::fclose(file);
    }
}

TEST(OrvoPropertiesDeviceTest, tellsWhenTheDiskIsFull) {
    const TempFolder folder;
    for (const std::size_t size : {1u, 1000000u}) {
        OrvoProperties<wstring> store;
        store.addProperty(L"key", wstring(size, L'x'));
        OrvoLogging logger(folder.file("full.log"), OrvoLogging::fileTarget, 5);
        OrvoLogging::setInstance(logger);

        EXPECT_FALSE(store.saveProperties("/dev/full"));
        EXPECT_THAT(readFile(folder.file("full.log")),
                    HasSubstr("OrvoProperties<StringType>::saveProperties: couldn't write file /dev/full\n"));
    }
}

OSUPT_CHILD(savesBeyondTheLimit) {
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {100000, 100000};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 10;
    OrvoProperties<string> store;
    for (int i = 0; i < 2000; ++i) store.addProperty(std::to_string(i), string(100, 'x'));
    return store.saveProperties(arguments.at(0)) ? 1 : 0;
}

TEST(OrvoPropertiesDeviceTest, tellsWhenWritingFailsHalfWay) {
    const TempFolder folder;
    ChildProcess child("savesBeyondTheLimit", {folder.file("cut")});

    EXPECT_EQ(0, child.wait());
    EXPECT_EQ(100000u, readFile(folder.file("cut")).size());
}

// The memory this process has needed at most, in megabytes.
long peakMegabytes() {
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

OSUPT_CHILD(loadsAHugeFile) {
    OrvoProperties<wstring> store;
    const long before = peakMegabytes();
    if (!store.loadProperties(arguments.at(0))) return 1;
    if (contents(store) != "a=1;b=2;c=3;") return 2;
    std::cout << "grown by " << peakMegabytes() - before << " megabytes" << std::endl;
    return peakMegabytes() - before < 16 ? 0 : 3;
}

TEST(OrvoPropertiesDeviceTest, needsNoMemoryForWhatItDoesNotStore) {
    const TempFolder folder;
    const std::string filler(16'000'000, 'x');
    std::string shortLines;
    for (int i = 0; i < 1'000'000; ++i) shortLines += "# a comment\r\n";
    writeFile(folder.file("huge"),
              "#" + filler + "\na=1\r" + filler + "\n" + shortLines + "=" + filler + "\nb=2\nc=3\r" + filler);
    ChildProcess child("loadsAHugeFile", {folder.file("huge")});

    EXPECT_EQ(0, child.wait()) << child.output();
}

TEST(OrvoPropertiesDeviceTest, leavesNoDescriptorBehind) {
    const TempFolder folder;
    OrvoProperties<string> store = someProperties();
    const auto lowestFree = [] {
        const int descriptor = ::dup(0);
        ::close(descriptor);
        return descriptor;
    };
    const int before = lowestFree();
    for (int i = 0; i < 50; ++i) {
        store.saveProperties(folder.file("a"));
        store.loadProperties(folder.file("a"));
        store.loadProperties(folder.path());
        store.saveProperties(folder.path());
    }

    EXPECT_EQ(before, lowestFree());
}

}  // namespace
}  // namespace OrvoSupport
