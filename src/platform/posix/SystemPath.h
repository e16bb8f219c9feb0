// Paths as callers write them, made ready for system calls.
#ifndef OSUPT_PLATFORM_POSIX_SYSTEM_PATH_H
#define OSUPT_PLATFORM_POSIX_SYSTEM_PATH_H

#include <string>

#include "platform/posix/Descriptor.h"

namespace OrvoSupport::platform {

/// A path for the "at" family of calls: "\" reads "/", and a path too long for one call is opened piece by
/// piece until the rest fits.
class SystemPath {
public:
    explicit SystemPath(const std::string& path);

    /// 0, or the errno value of the piece that could not be opened.
    int error() const { return m_error; }
    /// What the rest is relative to.
    int directory() const;
    const char* rest() const { return m_path.c_str() + m_restAt; }

private:
    std::string m_path;
    std::string::size_type m_restAt = 0;
    Descriptor m_directory;
    int m_error = 0;
};

}  // namespace OrvoSupport::platform

#endif
