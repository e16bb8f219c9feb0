// Windows half of Plugin: LoadLibrary, and the process's counters for what is in use.
#include "support/Plugin.h"

#include <windows.h>
// after windows.h
#include <psapi.h>
#include <tlhelp32.h>

#include <vector>

namespace testing_support {
namespace {

// What the heaps of the process have handed out; the C library's is one of them.
long heapBytesInUse() {
    std::vector<HANDLE> heaps(::GetProcessHeaps(0, nullptr));
    heaps.resize(::GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()));
    long bytes = 0;
    for (const HANDLE heap : heaps) {
        PROCESS_HEAP_ENTRY entry = {};
        while (::HeapWalk(heap, &entry))
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += static_cast<long>(entry.cbData);
    }
    return bytes;
}

}  // namespace

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

    // Wine counts no handles; but the lowest free number, which a new one gets, grows with those that are
    // open.
    DWORD handles = 0;
    ::GetProcessHandleCount(::GetCurrentProcess(), &handles);
    const HANDLE probe = ::CreateEventA(nullptr, FALSE, FALSE, nullptr);
    now.handles =
        handles ? static_cast<long>(handles) : static_cast<long>(reinterpret_cast<INT_PTR>(probe) / 4);
    ::CloseHandle(probe);
    PROCESS_MEMORY_COUNTERS memory = {};
    memory.cb = sizeof memory;
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &memory, sizeof memory);
    now.kilobytes = static_cast<long>(memory.PagefileUsage / 1024);
    now.heapBytes = heapBytesInUse();
    return now;
}

}  // namespace testing_support
