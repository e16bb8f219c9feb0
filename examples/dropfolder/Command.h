// The command that dropfolder runs for a file.
#ifndef DROPFOLDER_COMMAND_H
#define DROPFOLDER_COMMAND_H

#include <string>

namespace dropfolder {

/// The word as a command line holds it, whatever is in it.
std::string quoted(const std::string& word);

/// The command line for one file: the path, quoted, in place of each <FILE>, or at the end if there is none.
std::string commandLine(const std::string& command, const std::string& path);

/// Runs a command line and says in the log that it does and what went wrong. True if the exit code is 0.
bool runCommand(const std::string& line, int limitSeconds);

}  // namespace dropfolder

#endif
