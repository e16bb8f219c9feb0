// Telling the process of a parent from that of its child. Linux only.
#ifndef OSUPT_PLATFORM_POSIX_PROCESS_NUMBER_H
#define OSUPT_PLATFORM_POSIX_PROCESS_NUMBER_H

#include <cstdint>

namespace OrvoSupport::platform {

/// Counts the forks between the first process and this one. It changes only while a child has one thread.
extern std::uint32_t processNumber;

}  // namespace OrvoSupport::platform

#endif
