#include "platform/posix/Notify.h"

#include <errno.h>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

namespace OrvoSupport::platform {

// The address is a path, or an abstract name written with a leading "@". Neither needs a NUL at its end.
bool NotifySocket::open() {
    const char* const name = ::getenv("NOTIFY_SOCKET");
    if (!name || (name[0] != '/' && name[0] != '@')) return false;
    const std::size_t size = ::strlen(name);
    if (size < 2 || size > sizeof m_address.sun_path) return false;
    m_address = {};
    m_address.sun_family = AF_UNIX;
    ::memcpy(m_address.sun_path, name, size);
    if (name[0] == '@') m_address.sun_path[0] = '\0';
    m_length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + size);
    m_socket = Descriptor(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    return static_cast<bool>(m_socket);
}

void NotifySocket::close() { m_socket = Descriptor(); }

bool NotifySocket::send(const std::string& lines) const {
    ssize_t sent;
    do
        sent = ::sendto(m_socket.get(), lines.data(), lines.size(), MSG_NOSIGNAL,
                        reinterpret_cast<const sockaddr*>(&m_address), m_length);
    while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(lines.size());
}

std::int64_t watchdogInterval() {
    const char* const process = ::getenv("WATCHDOG_PID");
    if (process && ::strtoll(process, nullptr, 10) != ::getpid()) return 0;
    const char* const microseconds = ::getenv("WATCHDOG_USEC");
    const std::int64_t interval = microseconds ? ::strtoll(microseconds, nullptr, 10) : 0;
    constexpr std::int64_t longest = std::int64_t{1} << 50;  // 35 years
    return interval > 0 && interval < longest ? interval * 1000 : 0;
}

}  // namespace OrvoSupport::platform
