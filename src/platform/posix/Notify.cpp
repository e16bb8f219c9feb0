#include "platform/posix/Notify.h"

#include <stddef.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/posix/Descriptor.h"

namespace OrvoSupport::platform {
namespace {

// The address is a path, or an abstract name written with a leading "@".
bool notificationAddress(sockaddr_un& address, socklen_t& length) {
    const char* const name = ::getenv("NOTIFY_SOCKET");
    if (!name || (name[0] != '/' && name[0] != '@')) return false;
    const std::size_t size = ::strlen(name);
    if (size < 2 || size >= sizeof address.sun_path) return false;
    address = {};
    address.sun_family = AF_UNIX;
    ::memcpy(address.sun_path, name, size);
    if (name[0] == '@') address.sun_path[0] = '\0';
    length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + size);
    return true;
}

}  // namespace

bool canNotify() {
    sockaddr_un address;
    socklen_t length;
    return notificationAddress(address, length);
}

bool notify(const std::string& lines) {
    sockaddr_un address;
    socklen_t length;
    if (!notificationAddress(address, length)) return false;
    const Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!socket) return false;
    return ::sendto(socket.get(), lines.data(), lines.size(), MSG_NOSIGNAL,
                    reinterpret_cast<const sockaddr*>(&address),
                    length) == static_cast<ssize_t>(lines.size());
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
