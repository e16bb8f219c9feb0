// Windows half of FileSystemFacts.
#include "os/FileSystemFacts.h"

#include <windows.h>

#include <algorithm>

namespace testing_support {

const bool namesAreCaseSensitive = false;
const bool writeProtectionPreventsDeletion = true;
const bool linkIsRemovedAsDirectory = true;
// The time Wine takes grows with the third power of the depth.
const int deepTree = 300;

bool makeDirectoryLink(const std::string& link, const std::string& target) {
    using Create = BOOLEAN(WINAPI*)(const char*, const char*, DWORD);
    const FARPROC found = ::GetProcAddress(::GetModuleHandleA("kernel32"), "CreateSymbolicLinkA");
    if (!found) return false;
    const auto create = reinterpret_cast<Create>(reinterpret_cast<void*>(found));
    constexpr DWORD directory = 1;
    constexpr DWORD allowUnprivileged = 2;
    std::string windowsTarget = target;
    std::replace(windowsTarget.begin(), windowsTarget.end(), '/', '\\');
    create(link.c_str(), windowsTarget.c_str(), directory | allowUnprivileged);
    return ::GetFileAttributesA(link.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void writeProtect(const std::string& path, bool protect) {
    ::SetFileAttributesA(path.c_str(), protect ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_NORMAL);
}

}  // namespace testing_support
