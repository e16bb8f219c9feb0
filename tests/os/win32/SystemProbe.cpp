#include "os/SystemProbe.h"

#include <windows.h>

namespace system_probe {
namespace {

HANDLE openInheritable(const std::string& path, DWORD access, DWORD creation) {
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    return ::CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable, creation, 0,
                         nullptr);
}

}  // namespace

void* openInput(const std::string& path) { return openInheritable(path, GENERIC_READ, OPEN_EXISTING); }

void* openOutput(const std::string& path) { return openInheritable(path, GENERIC_WRITE, CREATE_ALWAYS); }

void closeStream(void* stream) { ::CloseHandle(stream); }

bool endsWithin(void* processHandle, int limitMs) {
    return ::WaitForSingleObject(processHandle, static_cast<DWORD>(limitMs)) == WAIT_OBJECT_0;
}

int openHandles() {
    DWORD count = 0;
    ::GetProcessHandleCount(::GetCurrentProcess(), &count);
    return static_cast<int>(count);
}

const unsigned int notAProgram = ERROR_BAD_EXE_FORMAT;

bool isLoaded(const std::string& module) { return ::GetModuleHandleA(module.c_str()) != nullptr; }

void* load(const std::string& module) { return ::LoadLibraryA(module.c_str()); }

void unload(void* module) { ::FreeLibrary(static_cast<HMODULE>(module)); }

const char* const permanentModule = "kernel32.dll";
const char* const permanentSymbol = "GetTickCount";

std::string missingModuleText(const std::string&) {
    char buffer[512] = "";
    ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, ERROR_MOD_NOT_FOUND,
                     1024, buffer, sizeof buffer, nullptr);
    return buffer;
}

}  // namespace system_probe
