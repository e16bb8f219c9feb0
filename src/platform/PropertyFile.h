// Opening the files that settings live in.
#ifndef OSUPT_PLATFORM_PROPERTY_FILE_H
#define OSUPT_PLATFORM_PROPERTY_FILE_H

#include <cstdio>

namespace OrvoSupport::platform {

/// Both functions open only what can be read or written as a file: a regular file or a device, never a
/// directory, a pipe or a socket, and they never wait for a partner. Others may read and write the file
/// meanwhile; child processes do not inherit it. The name is in the system's code page. Null on failure.

/// Opens a file that exists, for its bytes as they are.
std::FILE* openForReading(const char* fileName);
/// Creates or empties a file, for text: each line feed written becomes the system's end of line.
std::FILE* createForWriting(const char* fileName);

}  // namespace OrvoSupport::platform

#endif
