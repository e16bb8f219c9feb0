// Running a program with a limit on its time.
#ifndef DROPFOLDER_PROGRAM_H
#define DROPFOLDER_PROGRAM_H

#include <string>

namespace dropfolder {

struct ProgramEnd {
    enum How { ended, outOfTime, notStarted, unknown };

    How how;
    int exitCode;  ///< if it has ended by itself
};

/// Starts a program, which has nothing to read on its standard input, and waits for its end. One that runs
/// longer than that many seconds (0: no limit) is ended; programs that it has started itself go on.
/// `unknown`: the system has started it, or something else in place of what is no program, but lets nobody
/// wait for it.
///
/// Thread safety: any thread.
ProgramEnd runProgram(const std::string& commandLine, int limitSeconds);

}  // namespace dropfolder

#endif
