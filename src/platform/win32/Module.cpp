#include "platform/Module.h"

#include <windows.h>

#include <atomic>

#include "platform/ErrorText.h"

namespace OrvoSupport::platform {
namespace {

constexpr int longestRelease = 65536;

// A critical section or a standard mutex would leave memory behind when the library is unloaded.
SRWLOCK modulesLock = SRWLOCK_INIT;
std::atomic<DWORD> modulesHolder{0};
int modulesDepth = 0;  // the holder's

}  // namespace

ModulesGuard::ModulesGuard() {
    const DWORD self = ::GetCurrentThreadId();
    if (modulesHolder.load(std::memory_order_relaxed) != self) {
        ::AcquireSRWLockExclusive(&modulesLock);
        modulesHolder.store(self, std::memory_order_relaxed);
    }
    ++modulesDepth;
}

ModulesGuard::~ModulesGuard() {
    if (--modulesDepth > 0) return;
    modulesHolder.store(0, std::memory_order_relaxed);
    ::ReleaseSRWLockExclusive(&modulesLock);
}

void* loadModule(const std::string& name, std::string& failure) {
    const HMODULE module = name.c_str()[0] == '\0' ? nullptr : ::LoadLibraryA(name.c_str());
    if (!module) {
        const DWORD error = name.c_str()[0] == '\0' ? ERROR_INVALID_PARAMETER : ::GetLastError();
        failure = errorText(static_cast<int>(error));
    }
    return module;
}

void* findSymbol(void* module, const std::string& symbol) {
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(module), symbol.c_str()));
}

void unloadModule(void* module) {
    for (int i = 0; i < longestRelease && ::FreeLibrary(static_cast<HMODULE>(module)); ++i) {
    }
}

}  // namespace OrvoSupport::platform
