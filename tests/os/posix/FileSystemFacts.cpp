// Linux half of FileSystemFacts.
#include "os/FileSystemFacts.h"

#include <sys/stat.h>
#include <unistd.h>

namespace testing_support {

const bool namesAreCaseSensitive = true;
const bool writeProtectionPreventsDeletion = false;
const bool linkIsRemovedAsDirectory = false;
const int deepTree = 2000;

bool makeDirectoryLink(const std::string& link, const std::string& target) {
    return ::symlink(target.c_str(), link.c_str()) == 0;
}

void writeProtect(const std::string& path, bool protect) { ::chmod(path.c_str(), protect ? 0444 : 0644); }

}  // namespace testing_support
