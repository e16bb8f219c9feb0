// Running programs: what Windows alone has.
#include <gmock/gmock.h>
#include <windows.h>

#include "OrvoProcess.h"
#include "os/ProcessTestSupport.h"
#include "os/SystemProbe.h"

using namespace OrvoSupport;
using namespace process_test;

OSUPT_CHILD(exitWith) { return std::stoi(arguments.at(0)); }

OSUPT_CHILD(terminate) {
    ::TerminateProcess(::GetCurrentProcess(), 0xC0000005);
    return 0;
}

TEST(OrvoExecuteProgramOnWindows, givesLargeExitCodesAsTheyAre) {
    int exitCode = 0;
    EXPECT_TRUE(OrvoExecuteProgram(child("terminate"), true, nullptr, &exitCode));
    EXPECT_EQ(static_cast<int>(0xC0000005), exitCode);
}

TEST(OrvoExecuteProgramOnWindows, handsOutAProcessHandle) {
    void* handle = nullptr;
    ASSERT_TRUE(OrvoExecuteProgram(child("exitWith", "9"), true, &handle, nullptr));
    DWORD exitCode = 0;
    EXPECT_TRUE(::GetExitCodeProcess(handle, &exitCode));
    EXPECT_EQ(9u, exitCode);
    OrvoCloseProcessHandle(handle);
    EXPECT_FALSE(::GetExitCodeProcess(handle, &exitCode));
}

TEST(OrvoExecuteProgramOnWindows, leavesNoHandleBehind) {
    const int warmUp = 3;
    const int runs = 50;
    int before = 0;
    for (int i = 0; i < warmUp + runs; ++i) {
        if (i == warmUp) before = system_probe::openHandles();
        int exitCode = 0;
        void* handle = nullptr;
        ASSERT_TRUE(OrvoExecuteProgram(child("exitWith", "9"), i % 2 == 0, i % 3 == 0 ? &handle : nullptr,
                                       &exitCode));
        ASSERT_EQ(i % 2 == 0 ? 9 : 0, exitCode);
        ASSERT_FALSE(OrvoExecuteProgram("osupt-there-is-no-such-program", true, nullptr, nullptr));
        OrvoCloseProcessHandle(handle);
    }
    EXPECT_EQ(before, system_probe::openHandles());
}
