// Win32 half of PropertyFile; contract in platform/PropertyFile.h.
#include "platform/PropertyFile.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdint>

namespace OrvoSupport::platform {
namespace {

// CreateFile refuses directories by itself.
bool isFileOrDevice(HANDLE handle) {
    const DWORD type = ::GetFileType(handle);
    return type == FILE_TYPE_DISK || type == FILE_TYPE_CHAR;
}

// Owns the handle in any case.
std::FILE* toStream(HANDLE handle, int flags, const char* mode) {
    const int descriptor = ::_open_osfhandle(reinterpret_cast<std::intptr_t>(handle), flags | _O_NOINHERIT);
    if (descriptor < 0) {
        ::CloseHandle(handle);
        return nullptr;
    }
    std::FILE* file = ::_fdopen(descriptor, mode);
    if (!file) ::_close(descriptor);
    return file;
}

HANDLE open(const char* fileName, DWORD access, DWORD disposition) {
    // No security attributes: the handle is not inherited.
    const HANDLE handle = ::CreateFileA(fileName, access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                        disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE || isFileOrDevice(handle)) return handle;
    ::CloseHandle(handle);
    return INVALID_HANDLE_VALUE;
}

}  // namespace

std::FILE* openForReading(const char* fileName) {
    const HANDLE handle = open(fileName, GENERIC_READ, OPEN_EXISTING);
    return handle == INVALID_HANDLE_VALUE ? nullptr : toStream(handle, _O_RDONLY | _O_BINARY, "rb");
}

std::FILE* createForWriting(const char* fileName) {
    const HANDLE handle = open(fileName, GENERIC_WRITE, CREATE_ALWAYS);
    return handle == INVALID_HANDLE_VALUE ? nullptr : toStream(handle, _O_TEXT, "wt");
}

}  // namespace OrvoSupport::platform
