// The file behind the log, and how the system's C library writes what a log holds.
#ifndef OSUPT_PLATFORM_LOG_FILE_H
#define OSUPT_PLATFORM_LOG_FILE_H

#include <cstddef>
#include <memory>
#include <string>

namespace OrvoSupport::platform {

/// An open file that is written from its beginning to its end.
///
/// Thread safety: none.
class LogFile {
public:
    virtual ~LogFile() = default;

    /// Hands bytes to the system, which keeps them whatever becomes of this process. Returns how many it
    /// took; fewer than `size` means that it will not take the next one now.
    virtual std::size_t write(const char* data, std::size_t size) = 0;
    /// Removes the `size` bytes written last. Returns false if that cannot be done: not a file on a disk, or
    /// somebody has written behind them.
    virtual bool takeBack(std::size_t size) = 0;
    /// What ends a line in a text file of the system.
    virtual const char* lineEnd() const = 0;
};

/// Creates or empties the file, for others to read and write as well, and not inherited by child processes.
/// It never takes the place of a closed standard stream. Returns null and sets errno on failure.
std::unique_ptr<LogFile> openLogFile(const std::string& name);

/// Writes a pointer as the C library's "%p" into a buffer of at least 32 characters.
void formatPointer(char* buffer, std::size_t size, const void* pointer);

}  // namespace OrvoSupport::platform

#endif
