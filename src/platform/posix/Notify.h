// Talking to systemd from a service (Linux only).
#ifndef OSUPT_PLATFORM_POSIX_NOTIFY_H
#define OSUPT_PLATFORM_POSIX_NOTIFY_H

#include <cstdint>
#include <string>

namespace OrvoSupport::platform {

/// Whether systemd started this process as a service that tells how it is doing.
bool canNotify();

/// Sends lines of NAME=value. False when they did not arrive.
bool notify(const std::string& lines);

/// How long systemd waits for a sign of life of this very process, in nanoseconds; 0 when it does not.
std::int64_t watchdogInterval();

}  // namespace OrvoSupport::platform

#endif
