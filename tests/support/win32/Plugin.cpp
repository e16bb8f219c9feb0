// Windows half of Plugin: LoadLibrary, and the process's counters for what is in use.
#include "support/Plugin.h"

#include <windows.h>
// after windows.h
#include <psapi.h>
#include <tlhelp32.h>

namespace testing_support {

Plugin::Plugin(const std::string& name) : m_module(::LoadLibraryA(("lib" + name + ".dll").c_str())) {}

Plugin::~Plugin() {
    if (m_module) ::FreeLibrary(static_cast<HMODULE>(m_module));
}

Plugin::Address Plugin::address(const char* name) const {
    return reinterpret_cast<Address>(m_module ? ::GetProcAddress(static_cast<HMODULE>(m_module), name)
                                              : nullptr);
}

bool isLoaded(const std::string& name) { return ::GetModuleHandleA((name + ".dll").c_str()) != nullptr; }

Resources resourcesInUse() {
    Resources now;
    const HANDLE threads = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL more = ::Thread32First(threads, &entry); more; more = ::Thread32Next(threads, &entry))
        if (entry.th32OwnerProcessID == ::GetCurrentProcessId()) ++now.threads;
    ::CloseHandle(threads);

    DWORD handles = 0;
    ::GetProcessHandleCount(::GetCurrentProcess(), &handles);
    now.handles = static_cast<long>(handles);
    PROCESS_MEMORY_COUNTERS memory = {};
    memory.cb = sizeof memory;
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &memory, sizeof memory);
    now.kilobytes = static_cast<long>(memory.PagefileUsage / 1024);
    return now;
}

}  // namespace testing_support
