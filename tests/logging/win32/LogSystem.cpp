#include "logging/LogSystem.h"

#include <io.h>
#include <windows.h>

#include <cstdio>

namespace log_system {

const char* const lineEnd = "\r\n";

int threadId() { return static_cast<int>(::GetCurrentThreadId()); }

std::string pointerText(const void* pointer) {
    char text[64];
    ::_snprintf(text, sizeof text, "%p", pointer);
    return text;
}

bool isOpenAnywhere(const std::string& path) {
    const HANDLE alone = ::CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (alone == INVALID_HANDLE_VALUE) return true;
    ::CloseHandle(alone);
    return false;
}

void closeStandardOutput() { ::_close(1); }

}  // namespace log_system
