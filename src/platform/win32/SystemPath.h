// Paths as callers write them, made ready for system calls.
#ifndef OSUPT_PLATFORM_WIN32_SYSTEM_PATH_H
#define OSUPT_PLATFORM_WIN32_SYSTEM_PATH_H

#include <string>

namespace OrvoSupport::platform {

/// Narrow text is in the code page that the "A" calls use.
std::wstring wideFileName(const std::string& text);
/// Characters that the code page lacks become what the "A" calls make of them.
std::string narrowFileName(const wchar_t* text);

/// The absolute form of a path that every call takes at any length, names that end in a dot or a blank
/// included:
/// "\\?\C:\folder\file". A path that has no such form is returned as it is.
std::wstring extendedPath(const std::wstring& path);

/// The path as it is if a call takes it so, otherwise in its extended form.
std::wstring systemPath(const std::string& path);

}  // namespace OrvoSupport::platform

#endif
