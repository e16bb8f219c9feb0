// Variables of the process environment.
#ifndef OSUPT_PLATFORM_ENVIRONMENT_H
#define OSUPT_PLATFORM_ENVIRONMENT_H

namespace OrvoSupport::platform {

/// The value of a variable as the C run-time library knows it, or null. It is good until the environment
/// changes. Any name may be asked for; the system decides whether its case matters.
const char* environmentVariable(const char* name);

}  // namespace OrvoSupport::platform

#endif
