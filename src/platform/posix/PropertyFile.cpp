// Linux half of PropertyFile; contract in platform/PropertyFile.h.
#include "platform/PropertyFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace OrvoSupport::platform {
namespace {

// Without O_NONBLOCK the open itself would wait at a pipe without a partner.
constexpr int commonFlags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;

int openDescriptor(const char* fileName, int flags) {
    int descriptor;
    do {
        descriptor = ::open(fileName, flags | commonFlags, 0666);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

bool isFileOrDevice(int descriptor) {
    struct stat status;
    if (::fstat(descriptor, &status) != 0) return false;
    return S_ISREG(status.st_mode) || S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode);
}

// From here on a device may take its time, as any file does.
bool waitFromNowOn(int descriptor) {
    const int flags = ::fcntl(descriptor, F_GETFL);
    return flags >= 0 && ::fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK) == 0;
}

std::FILE* openFile(const char* fileName, int flags, const char* mode) {
    const int descriptor = openDescriptor(fileName, flags);
    if (descriptor < 0) return nullptr;
    std::FILE* file =
        isFileOrDevice(descriptor) && waitFromNowOn(descriptor) ? ::fdopen(descriptor, mode) : nullptr;
    if (!file) ::close(descriptor);
    return file;
}

}  // namespace

std::FILE* openForReading(const char* fileName) { return openFile(fileName, O_RDONLY, "r"); }

std::FILE* createForWriting(const char* fileName) {
    return openFile(fileName, O_WRONLY | O_CREAT | O_TRUNC, "w");
}

}  // namespace OrvoSupport::platform
