// Linux half of LogFile; contract in platform/LogFile.h.
#include "platform/LogFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace OrvoSupport::platform {
namespace {

class Descriptor : public LogFile {
public:
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    ~Descriptor() override { ::close(m_descriptor); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    std::size_t write(const char* data, std::size_t size) override {
        std::size_t written = 0;
        while (written < size) {
            const ::ssize_t count = ::write(m_descriptor, data + written, size - written);
            if (count > 0) {
                written += static_cast<std::size_t>(count);
            } else if (count == 0 || errno != EINTR) {
                break;
            }
        }
        return written;
    }

    bool takeBack(std::size_t size) override {
        struct ::stat state;
        const ::off_t end = ::lseek(m_descriptor, 0, SEEK_CUR);
        const ::off_t start = end - static_cast<::off_t>(size);
        return end >= 0 && start >= 0 && ::fstat(m_descriptor, &state) == 0 && S_ISREG(state.st_mode) &&
               state.st_size == end && ::ftruncate(m_descriptor, start) == 0 &&
               ::lseek(m_descriptor, start, SEEK_SET) == start;
    }

    const char* lineEnd() const override { return "\n"; }

private:
    int m_descriptor;
};

int openFile(const char* name) {
    int descriptor;
    do {
        descriptor = ::open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

// In a process without standard streams their numbers are free, and printed text would land in the log.
int moveAboveStandardStreams(int descriptor) {
    if (descriptor < 0 || descriptor > STDERR_FILENO) return descriptor;
    const int moved = ::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno;
    ::close(descriptor);
    errno = error;
    return moved;
}

}  // namespace

std::unique_ptr<LogFile> openLogFile(const std::string& name) {
    const int descriptor = moveAboveStandardStreams(openFile(name.c_str()));
    return descriptor < 0 ? nullptr : std::make_unique<Descriptor>(descriptor);
}

void formatPointer(char* buffer, std::size_t size, const void* pointer) {
    std::snprintf(buffer, size, "%p", pointer);
}

}  // namespace OrvoSupport::platform
