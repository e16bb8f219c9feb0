// Running other programs.
#ifndef ORVO_PROCESS_H
#define ORVO_PROCESS_H

#include "OrvoExport.h"
#include "OrvoString.h"

namespace OrvoSupport {

/// OrvoExecuteProgramEx with the process's own standard input and output.
OSUPT_API bool OrvoExecuteProgram(const string& commandLine, bool wait, void** processHandle, int* exitCode);

/// Runs a program and, if asked, waits for its end. False only when it could not be started.
///
/// The first word of the command line is the program; a path with blanks stands in double quotes. On Windows
/// the line goes to CreateProcess. Elsewhere it is split into the arguments that the Microsoft C run-time
/// library would make of it, no shell is involved, and a program name without a slash is looked for in PATH
/// only (a document also in the current folder).
/// A line that names a file which is not a program is opened with the system's program for such files
/// (ShellExecute with "open"; xdg-open): the result is true and the exit code 0 whatever comes of that.
///
/// stdInput, stdOutput: what the program reads and writes, or (void*)-1 for the process's own; OS handles
/// (inheritable ones) on Windows, file descriptors cast through intptr_t elsewhere. They stay the caller's.
/// Standard error is always the process's own. On Linux nothing else is inherited: no other descriptor, no
/// blocked or ignored signal.
///
/// exitCode may be null. It becomes the program's exit code when waited for (128 plus the signal when a
/// signal ended it), -1 when the program cannot be started, otherwise 0.
///
/// processHandle may be null. It receives the handle of the process, to be given back with
/// OrvoCloseProcessHandle, or null when no program was started. On Windows it is the process handle,
/// elsewhere a process descriptor (pidfd) cast through intptr_t: poll() finds it readable once the program
/// has ended, and pidfd_send_signal() takes it (null on kernels without such descriptors, before Linux 5.3).
/// The program runs on when the handle is closed, and nothing of it stays behind when it ends.
///
/// The program has no console window of its own (Windows) while the level of the process-wide logger is
/// below 6 or there is no logger. On Linux the program is not a child of this process: no SIGCHLD
/// arrives, and the host's own wait() calls and handling of SIGCHLD neither see nor disturb it.
///
/// Thread safety: may be called from any thread at any time.
OSUPT_API bool OrvoExecuteProgramEx(const string& commandLine, void* stdInput, void* stdOutput, bool wait,
                                    void** processHandle, int* exitCode);

/// Gives back a handle received from one of the functions above; null is ignored. Each handle once.
OSUPT_API void OrvoCloseProcessHandle(void* processHandle);

}  // namespace OrvoSupport

#endif
