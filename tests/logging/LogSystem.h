// What the tests of the logger need to know of the system.
#ifndef TESTS_LOGGING_LOG_SYSTEM_H
#define TESTS_LOGGING_LOG_SYSTEM_H

#include <string>

namespace log_system {

/// What ends a line of the log file.
extern const char* const lineEnd;

/// The number in the brackets of a record written by the calling thread.
int threadId();

/// A pointer as the C library prints it.
std::string pointerText(const void* pointer);

/// Whether any process has the file open.
bool isOpenAnywhere(const std::string& path);

/// Takes the descriptor of standard output away, as a daemon does.
void closeStandardOutput();

}  // namespace log_system

#endif
