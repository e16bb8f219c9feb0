// The version of the library and the mark on everything it exports.
#ifndef ORVO_EXPORT_H
#define ORVO_EXPORT_H

#define OSUPT_VERSION_MAJOR 1
#define OSUPT_VERSION_MINOR 0
#define OSUPT_VERSION_PATCH 0

/// OSUPT_API marks what the library exports. Programs that link the static library define OSUPT_STATIC
/// (the CMake target and the pkg-config module do so for them).
#if defined(OSUPT_STATIC)
#define OSUPT_API
#elif defined(_WIN32)
#if defined(OSUPT_BUILDING)
#define OSUPT_API __declspec(dllexport)
#else
#define OSUPT_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define OSUPT_API __attribute__((visibility("default")))
#else
#define OSUPT_API
#endif

#endif
