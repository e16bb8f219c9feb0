// Long paths on Linux: no single call takes more than PATH_MAX bytes.
#include "platform/posix/SystemPath.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>

#include <algorithm>

namespace OrvoSupport::platform {

SystemPath::SystemPath(const std::string& path) : m_path(path) {
    std::replace(m_path.begin(), m_path.end(), '\\', '/');
    while (m_path.size() - m_restAt >= PATH_MAX) {
        const auto end = m_path.rfind('/', m_restAt + PATH_MAX - 1);
        if (end == std::string::npos || end <= m_restAt)
            return;  // the call will say that the name is too long
        m_path[end] = '\0';
        Descriptor piece(::openat(directory(), rest(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!piece) {
            m_error = errno;
            return;
        }
        m_directory = std::move(piece);
        m_restAt = std::min(m_path.find_first_not_of('/', end + 1), m_path.size());
        if (m_restAt == m_path.size()) m_path += '.';
    }
}

int SystemPath::directory() const { return m_directory ? m_directory.get() : AT_FDCWD; }

}  // namespace OrvoSupport::platform
