#include "logging/LogSystem.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>

namespace log_system {

namespace fs = std::filesystem;

const char* const lineEnd = "\n";

int threadId() { return ::gettid(); }

std::string pointerText(const void* pointer) {
    char text[64];
    std::snprintf(text, sizeof text, "%p", pointer);
    return text;
}

bool isOpenAnywhere(const std::string& path) {
    std::error_code ignored;  // processes come and go while they are looked at
    for (const fs::directory_entry& process : fs::directory_iterator("/proc", ignored)) {
        for (fs::directory_iterator file(process.path() / "fd", ignored), end; file != end;
             file.increment(ignored)) {
            if (fs::read_symlink(file->path(), ignored) == path) return true;
        }
    }
    return false;
}

void closeStandardOutput() { ::close(STDOUT_FILENO); }

}  // namespace log_system
