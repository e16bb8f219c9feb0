// The processes behind one start of a program (Linux only).
#ifndef OSUPT_PLATFORM_POSIX_LAUNCH_H
#define OSUPT_PLATFORM_POSIX_LAUNCH_H

namespace OrvoSupport::platform {

/// What the caller, the helper process and the program-to-be share while a program is started.
///
/// The program is not a child of this process but of a helper that shares this process's memory, as
/// vfork's child does (nothing is copied, however big the process). The helper ends at once, and the program
/// is adopted by init, so no zombie can remain; or, when the exit code is wanted, it waits in our place.
/// Either way the host's SIGCHLD, ignored or handled, and its wait() calls have no part in it: the
/// helper itself ends without a signal and is seen by nobody who does not ask for such children.
///
/// The functions of the two processes run on the caller's thread-local storage, so they are made of system
/// calls only; `starting` keeps the caller away from errno until they are done with it.
struct Launch {
    // What to start, filled in by the caller.
    const char* const* candidates = nullptr;  // paths to try, ending in null
    char* const* arguments = nullptr;
    char* const* environment = nullptr;
    int input = -1;  // descriptors, or -1 for the process's own
    int output = -1;
    bool awaited = false;
    bool descriptorWanted = false;

    // What became of it.
    int starting = 1;     // 0 once the program runs or has failed to; also a futex
    int error = 0;        // errno of the failed start
    int descriptor = -1;  // pidfd
    int exitCode = -1;    // when awaited, once the helper has ended

    char* programStack = nullptr;
};

/// Starts the helper and with it the program, and returns once the start has succeeded or failed (`error`).
/// Returns the helper, which awaitHelper() must wait for, or -1. `stacks` is scratch memory for the two
/// processes, which must stay until the helper has ended.
int launch(Launch& launch, char* stacks);

/// Size of the scratch memory.
constexpr unsigned long launchStacks = 64 * 1024;

/// Waits until the helper has ended.
void awaitHelper(int helper);

}  // namespace OrvoSupport::platform

#endif
