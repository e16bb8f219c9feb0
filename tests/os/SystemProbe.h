// What the tests of processes and modules ask of the system itself.
#ifndef TESTS_OS_SYSTEM_PROBE_H
#define TESTS_OS_SYSTEM_PROBE_H

#include <string>

namespace system_probe {

/// A file as a program's standard input or output, closed by closeStream().
void* openInput(const std::string& path);
void* openOutput(const std::string& path);
void closeStream(void* stream);

/// Whether the program behind a process handle ends within the limit.
bool endsWithin(void* processHandle, int limitMs);
/// How many descriptors or handles this process has open.
int openHandles();

/// The error code of starting a file that is no program.
extern const unsigned int notAProgram;

bool isLoaded(const std::string& module);
void* load(const std::string& module);
void unload(void* module);
/// A module that stays in every process, and something it exports.
extern const char* const permanentModule;
extern const char* const permanentSymbol;
/// The system's words for failing to load a module that does not exist.
std::string missingModuleText(const std::string& module);

}  // namespace system_probe

#endif
