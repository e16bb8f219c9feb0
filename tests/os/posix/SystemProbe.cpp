#include "os/SystemProbe.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <iterator>

namespace system_probe {
namespace {

void* toStream(int descriptor) { return reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)); }

int toDescriptor(void* stream) { return static_cast<int>(reinterpret_cast<std::intptr_t>(stream)); }

}  // namespace

void* openInput(const std::string& path) { return toStream(::open(path.c_str(), O_RDONLY | O_CLOEXEC)); }

void* openOutput(const std::string& path) {
    return toStream(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
}

void closeStream(void* stream) { ::close(toDescriptor(stream)); }

bool endsWithin(void* processHandle, int limitMs) {
    pollfd wanted = {toDescriptor(processHandle), POLLIN, 0};
    return ::poll(&wanted, 1, limitMs) == 1 && (wanted.revents & POLLIN) != 0;
}

int openHandles() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

const unsigned int notAProgram = EACCES;

bool isLoaded(const std::string& module) {
    void* const handle = ::dlopen(module.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (handle) ::dlclose(handle);
    return handle != nullptr;
}

void* load(const std::string& module) { return ::dlopen(module.c_str(), RTLD_NOW); }

void unload(void* module) { ::dlclose(module); }

const char* const permanentModule = "libc.so.6";
const char* const permanentSymbol = "malloc";

std::string missingModuleText(const std::string& module) {
    return module + ": cannot open shared object file: No such file or directory";
}

}  // namespace system_probe
