// Windows half of OtherProcess.
#include "../OtherProcess.h"

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

namespace dropfolder_test {
namespace {

long threadsOf(DWORD process) {
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 thread = {};
    thread.dwSize = sizeof thread;
    long count = 0;
    for (BOOL more = ::Thread32First(snapshot, &thread); more; more = ::Thread32Next(snapshot, &thread))
        count += thread.th32OwnerProcessID == process;
    ::CloseHandle(snapshot);
    return count;
}

BOOL WINAPI ignoreControl(DWORD) { return TRUE; }

}  // namespace

void prepareToStop() {
    static bool prepared = false;
    if (prepared) return;
    prepared = true;
    const DWORD streams[] = {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
    HANDLE handles[3];
    for (int i = 0; i < 3; ++i) handles[i] = ::GetStdHandle(streams[i]);
    ::FreeConsole();
    ::AllocConsole();
    for (int i = 0; i < 3; ++i) ::SetStdHandle(streams[i], handles[i]);
    ::SetConsoleCtrlHandler(ignoreControl, TRUE);
}

bool stop(const testing_support::ChildProcess&, Stop how) {
    const BOOL sent = ::GenerateConsoleCtrlEvent(how == Stop::interrupt ? CTRL_C_EVENT : CTRL_BREAK_EVENT, 0);
    // Wine breaks into whatever a program is at to tell it, and loses the thread if it does so again and
    // again.
    ::Sleep(50);
    return sent;
}

Usage usageOf(const testing_support::ChildProcess& process) {
    const DWORD id = static_cast<DWORD>(process.id());
    const HANDLE handle = ::OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, id);
    Usage usage;
    DWORD handles = 0;
    ::GetProcessHandleCount(handle, &handles);
    usage.descriptors = static_cast<long>(handles);
    PROCESS_MEMORY_COUNTERS memory = {};
    ::GetProcessMemoryInfo(handle, &memory, sizeof memory);
    usage.kilobytes = static_cast<long>(memory.PagefileUsage / 1024);
    ::CloseHandle(handle);
    usage.threads = threadsOf(id);
    return usage;
}

}  // namespace dropfolder_test
