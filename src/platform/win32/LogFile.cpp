// Win32 half of LogFile; contract in platform/LogFile.h.
#include "platform/LogFile.h"

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace OrvoSupport::platform {
namespace {

// Opened through the C library, so that names, sharing and error numbers are those of fopen(); written
// directly, so that a record is one call.
class Descriptor : public LogFile {
public:
    explicit Descriptor(int descriptor)
        : m_descriptor(descriptor), m_file(reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor))) {}
    ~Descriptor() override { ::_close(m_descriptor); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    std::size_t write(const char* data, std::size_t size) override {
        constexpr std::size_t longestWrite = 0x40000000;
        std::size_t written = 0;
        while (written < size) {
            DWORD count = 0;
            const DWORD wanted = static_cast<DWORD>(std::min(size - written, longestWrite));
            if (!::WriteFile(m_file, data + written, wanted, &count, nullptr) || count == 0) break;
            written += count;
        }
        return written;
    }

    bool takeBack(std::size_t size) override {
        LARGE_INTEGER end;
        LARGE_INTEGER length;
        if (::GetFileType(m_file) != FILE_TYPE_DISK) return false;
        if (!::SetFilePointerEx(m_file, LARGE_INTEGER{}, &end, FILE_CURRENT)) return false;
        if (!::GetFileSizeEx(m_file, &length) || length.QuadPart != end.QuadPart) return false;
        LARGE_INTEGER start;
        start.QuadPart = end.QuadPart - static_cast<LONGLONG>(size);
        return start.QuadPart >= 0 && ::SetFilePointerEx(m_file, start, nullptr, FILE_BEGIN) &&
               ::SetEndOfFile(m_file);
    }

    const char* lineEnd() const override { return "\r\n"; }

private:
    int m_descriptor;
    HANDLE m_file;
};

// In a process without standard streams their numbers are free, and printed text would land in the log; they
// are kept busy while the next number is tried.
int openAboveStandardStreams(const char* name) {
    int descriptor = -1;
    const int flags = _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY | _O_NOINHERIT;
    const int error = ::_sopen_s(&descriptor, name, flags, _SH_DENYNO, _S_IREAD | _S_IWRITE);
    if (error != 0) {
        errno = error;
        return -1;
    }
    if (descriptor > 2) return descriptor;
    const int higher = openAboveStandardStreams(name);
    ::_close(descriptor);
    return higher;
}

}  // namespace

std::unique_ptr<LogFile> openLogFile(const std::string& name) {
    const int descriptor = openAboveStandardStreams(name.c_str());
    return descriptor < 0 ? nullptr : std::make_unique<Descriptor>(descriptor);
}

// The system's own library prints all digits, in upper case and without a mark.
void formatPointer(char* buffer, std::size_t size, const void* pointer) {
    ::_snprintf(buffer, size, "%p", pointer);
}

}  // namespace OrvoSupport::platform
