// Talking to systemd from a service (Linux only).
#ifndef OSUPT_PLATFORM_POSIX_NOTIFY_H
#define OSUPT_PLATFORM_POSIX_NOTIFY_H

#include <sys/socket.h>
#include <sys/un.h>

#include <cstdint>
#include <string>

#include "platform/posix/Descriptor.h"

namespace OrvoSupport::platform {

/// Where systemd listens to a service that tells how it is doing. The environment is read once, and the
/// descriptor kept, so that a report goes out even when the process has no descriptor left.
///
/// Thread safety: send() from any thread; open() and close() around that.
class NotifySocket {
public:
    /// False when systemd did not start this process as such a service.
    bool open();
    void close();
    /// Sends lines of NAME=value. False when they did not arrive.
    bool send(const std::string& lines) const;

private:
    Descriptor m_socket;
    sockaddr_un m_address{};
    socklen_t m_length = 0;
};

/// How long systemd waits for a sign of life of this very process, in nanoseconds; 0 when it does not.
std::int64_t watchdogInterval();

}  // namespace OrvoSupport::platform

#endif
