// The system's messages for its error codes.
#ifndef OSUPT_PLATFORM_ERROR_TEXT_H
#define OSUPT_PLATFORM_ERROR_TEXT_H

#include <string>

namespace OrvoSupport::platform {

/// The message for an error code (GetLastError, errno) as the system has it, line break and all; empty when
/// it has none.
std::string errorText(int code);
std::wstring wideErrorText(int code);

}  // namespace OrvoSupport::platform

#endif
