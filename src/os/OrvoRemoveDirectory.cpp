#include <cerrno>
#include <vector>

#include "OrvoException.h"
#include "OrvoFindFile.h"
#include "logging/Trace.h"
#include "platform/TreeWalk.h"

namespace OrvoSupport {
namespace {

/// One removal. It reads like a recursion to the outside, in its log and in what it throws, but keeps the way
/// down in a list, so that no tree is too deep for the stack.
class Removal {
public:
    Removal(const string& path, bool recursive, string& message, int& error)
        : m_path(path), m_recursive(recursive), m_message(message), m_error(error), m_walk(path) {}

    bool run() {
        if (!beginDirectory()) return false;
        while (m_depth > 0) {
            const bool done = m_walk.next() ? removeEntry() : leaveDirectory();
            if (!done) return false;
        }
        return true;
    }

private:
    /// First attempt at the directory that the walk stands at. If there is something in it, the walk goes in.
    bool beginDirectory() {
        trace(9, "OrvoRemoveDirectory: Remove directoryImpl ", m_path);
        const int error = m_walk.tryRemoveDirectory();
        if (error == 0) return endDirectory();
        if (error != ENOTEMPTY || !m_recursive) return failAtDirectory(error);
        if (!m_walk.enter()) return finishDirectory();
        ++m_depth;
        return true;
    }

    bool removeEntry() {
        if (!m_walk.isDirectory()) return removeFile();
        // Sub-directories such as .git hold what a program keeps for itself; they are left to it.
        if (m_walk.name()[0] == '.') return true;
        m_parentLengths.push_back(m_path.size());
        m_path += '\\';
        m_path += m_walk.name();
        return beginDirectory();
    }

    bool removeFile() {
        trace(9, "OrvoRemoveDirectory: Delete file ", m_path, "\\", m_walk.name());
        const int error = m_walk.removeFile();
        if (error == 0) return true;
        return fail("OrvoRemoveDirectory: Could not remove the file " + m_path + '\\' + m_walk.name(), error);
    }

    bool leaveDirectory() {
        --m_depth;
        const int error = m_walk.leave();
        return error == 0 ? finishDirectory() : failAtDirectory(error);
    }

    bool finishDirectory() {
        const int error = m_walk.removeDirectory();
        return error == 0 ? endDirectory() : failAtDirectory(error);
    }

    /// The directory is gone; its parent is the current one again.
    bool endDirectory() {
        if (!m_parentLengths.empty()) {
            m_path.resize(m_parentLengths.back());
            m_parentLengths.pop_back();
        }
        return true;
    }

    bool failAtDirectory(int error) {
        return fail("OrvoRemoveDirectory: Could not remove the directory " + m_path, error);
    }

    /// A failure of the outermost directory is a result, one of a directory inside it an exception.
    bool fail(const string& message, int error) {
        if (!m_parentLengths.empty()) throw OrvoException(message, error);
        m_message = message;
        m_error = error;
        return false;
    }

    string m_path;  // of the directory at hand, as it reads in texts
    const bool m_recursive;
    string& m_message;
    int& m_error;
    platform::TreeWalk m_walk;
    std::size_t m_depth = 0;                   // directories that were entered
    std::vector<std::size_t> m_parentLengths;  // of m_path, one for each directory below the outermost
};

}  // namespace

bool OrvoRemoveDirectoryImpl(const string& path, bool recursive, string& message, int& error) {
    return Removal(path, recursive, message, error).run();
}

void OrvoRemoveDirectory(const string& path, bool recursive) {
    string message;
    int error = 0;
    if (!OrvoRemoveDirectoryImpl(path, recursive, message, error)) throw OrvoException(message, error);
}

}  // namespace OrvoSupport
