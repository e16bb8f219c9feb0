// What the systems do differently with files.
#ifndef TESTS_OS_FILE_SYSTEM_FACTS_H
#define TESTS_OS_FILE_SYSTEM_FACTS_H

#include <string>

namespace testing_support {

extern const bool namesAreCaseSensitive;
/// Whether a file that is write-protected cannot be deleted.
extern const bool writeProtectionPreventsDeletion;
/// Whether a link to a directory is removed like an empty directory.
extern const bool linkIsRemovedAsDirectory;
/// Levels of a deep tree: far more than one path of the system holds, but quick enough for a test.
extern const int deepTree;

/// False if the system cannot make links to directories.
bool makeDirectoryLink(const std::string& link, const std::string& target);
/// Takes the write permission from a file, or gives it back.
void writeProtect(const std::string& path, bool protect);

}  // namespace testing_support

#endif
