// What else can stand under a file name on Windows, and how handles are shared there.
#include <io.h>
#include <stdio.h>
#include <windows.h>

#include "OrvoLogging.h"
#include "OrvoProperties.h"
#include "config/PropertyTexts.h"
#include "platform/PropertyFile.h"
#include "support/TempFolder.h"

namespace OrvoSupport {
namespace {

using testing::HasSubstr;
using testing_support::readFile;
using testing_support::TempFolder;
using testing_support::writeFile;

TEST(OrvoPropertiesDeviceTest, takesTheNullDeviceForAnEmptyFile) {
    OrvoProperties<string> store = someProperties();

    EXPECT_TRUE(store.loadProperties("NUL"));
    EXPECT_TRUE(store.saveProperties("NUL"));
    EXPECT_EQ("a=1;", contents(store));
}

TEST(OrvoPropertiesDeviceTest, neverWaitsAtAPipe) {
    const char name[] = "\\\\.\\pipe\\osupt-properties-test";
    const HANDLE pipe = ::CreateNamedPipeA(name, PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE, 1, 512, 512, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, pipe);
    OrvoProperties<string> store = someProperties();

    EXPECT_FALSE(store.loadProperties(name));
    EXPECT_FALSE(store.saveProperties(name));
    ::CloseHandle(pipe);
}

TEST(OrvoPropertiesDeviceTest, cannotOpenWhatOthersKeepToThemselves) {
    const TempFolder folder;
    writeFile(folder.file("a"), "b=2\r\n");
    const HANDLE other =
        ::CreateFileA(folder.file("a").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, other);
    OrvoProperties<string> store = someProperties();

    EXPECT_FALSE(store.loadProperties(folder.file("a")));
    EXPECT_FALSE(store.saveProperties(folder.file("a")));
    ::CloseHandle(other);
    EXPECT_TRUE(store.loadProperties(folder.file("a")));
    EXPECT_EQ("a=1;b=2;", contents(store));
}

// A device of the Linux machine that this Windows may run on.
TEST(OrvoPropertiesDeviceTest, tellsWhenTheDiskIsFull) {
    const char full[] = "\\\\?\\unix\\dev\\full";
    FILE* device = platform::createForWriting(full);
    if (!device) GTEST_SKIP() << "no disk here is always full";
    ::fclose(device);
    const TempFolder folder;
    for (const std::size_t size : {1u, 1000000u}) {
        OrvoProperties<wstring> store;
        store.addProperty(L"key", wstring(size, L'x'));
        OrvoLogging logger(folder.file("full.log"), OrvoLogging::fileTarget, 5);
        OrvoLogging::setInstance(logger);

        EXPECT_FALSE(store.saveProperties(full));
        EXPECT_THAT(readFile(folder.file("full.log")),
                    HasSubstr("OrvoProperties<StringType>::saveProperties: couldn't write file "));
    }
}

TEST(OrvoPropertiesDeviceTest, keepsItsFilesFromChildProcesses) {
    const TempFolder folder;
    for (auto* const open : {&platform::createForWriting, &platform::openForReading}) {
        FILE* file = open(folder.file("a").c_str());
        ASSERT_NE(nullptr, file);
        DWORD flags = HANDLE_FLAG_INHERIT;
        const auto handle = reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(file)));
        EXPECT_TRUE(::GetHandleInformation(handle, &flags));
        EXPECT_EQ(0u, flags & HANDLE_FLAG_INHERIT);
        ::fclose(file);
    }
}

TEST(OrvoPropertiesDeviceTest, leavesNoHandleBehind) {
    const TempFolder folder;
    OrvoProperties<string> store = someProperties();
    const auto work = [&] {
        store.saveProperties(folder.file("a"));
        store.loadProperties(folder.file("a"));
        store.loadProperties(folder.path());
        store.saveProperties(folder.path());
    };
    work();
    DWORD before = 0;
    DWORD after = 0;
    ::GetProcessHandleCount(::GetCurrentProcess(), &before);
    for (int i = 0; i < 50; ++i) work();
    ::GetProcessHandleCount(::GetCurrentProcess(), &after);

    EXPECT_EQ(before, after);
}

}  // namespace
}  // namespace OrvoSupport
