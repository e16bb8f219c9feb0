// What systemd reads about a service (Linux only); text only, nothing is touched here.
#ifndef OSUPT_PLATFORM_POSIX_UNIT_FILE_H
#define OSUPT_PLATFORM_POSIX_UNIT_FILE_H

#include <string>

#include "platform/ServiceControl.h"

namespace OrvoSupport::platform {

/// Whether a unit can bear the name: not empty, no slash, no control character, and not too long for a file
/// once what a unit's name may not hold is escaped.
bool isServiceName(const std::string& serviceName);

/// "<name>.service", with everything escaped that a unit's name may not hold. Different names give different
/// units.
std::string unitName(const std::string& serviceName);

/// Text as a unit holds it, which is UTF-8. Narrow text that is not UTF-8 is in the ANSI code page.
std::string toUnitText(const std::string& text);
std::string toUnitText(const std::wstring& text);

/// The text of the unit. False when the entry holds what a unit cannot say: a control character (a tab
/// between arguments apart), a quote or a backslash in the program's path, or a dependency that is no service
/// name. `description` is from toUnitText().
bool unitText(const ServiceEntry& entry, const std::string& description, std::string& text);

}  // namespace OrvoSupport::platform

#endif
