// What has to be done around a fork of the process, where there is such a thing.
#ifndef OSUPT_PLATFORM_FORK_H
#define OSUPT_PLATFORM_FORK_H

namespace OrvoSupport::platform {

/// From now until the library is unloaded, calls before() on a thread that is about to fork the process, and
/// afterwards inParent() and inChild() on that thread in the one and in the other. False when that cannot be
/// had.
bool callAroundFork(void (*before)(), void (*inParent)(), void (*inChild)()) noexcept;

}  // namespace OrvoSupport::platform

#endif
