#include "platform/Module.h"

#include <windows.h>

#include "platform/ErrorText.h"

namespace OrvoSupport::platform {
namespace {

constexpr int longestRelease = 65536;

}  // namespace

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
