#include <cerrno>

#include "OrvoFindFile.h"
#include "logging/Trace.h"
#include "platform/Files.h"

namespace OrvoSupport {
namespace {

constexpr char separators[] = "\\/";

/// Creates one directory of the way; logs and returns false if it is not there afterwards.
bool createStep(const string& path) {
    const int error = platform::createDirectory(path);
    if (error == 0 || error == EEXIST || platform::pathExists(path)) return true;
    trace(9, "OrvoCreateDirectory: couldn't create ", path, " (", error, ")");
    return false;
}

/// Creates every prefix of the path that ends before a separator, then the path. The first character is never
/// taken for a separator to cut at: nothing stands before it. Separators that were passed read "/" in the
/// log.
bool createWithParents(string path) {
    if (path.size() > 1) {
        for (auto at = path.find_first_of(separators, 1); at != string::npos;
             at = path.find_first_of(separators, at + 1)) {
            if (!createStep(path.substr(0, at))) return false;
            path[at] = '/';
        }
    }
    return createStep(path);
}

}  // namespace

bool OrvoCreateDirectory(const string& path) {
    trace(9, "OrvoCreateDirectory: ", path);
    const int error = platform::createDirectory(path);
    if (error == 0 || error == EEXIST) return true;
    if (error != ENOENT) return platform::pathExists(path);
    return createWithParents(path);
}

}  // namespace OrvoSupport
