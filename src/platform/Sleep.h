// Doing nothing for a while.
#ifndef OSUPT_PLATFORM_SLEEP_H
#define OSUPT_PLATFORM_SLEEP_H

namespace OrvoSupport::platform {

/// At least as long as asked for.
void sleepFor(int milliseconds);

}  // namespace OrvoSupport::platform

#endif
