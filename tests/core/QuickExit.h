#ifndef TESTS_CORE_QUICK_EXIT_H
#define TESTS_CORE_QUICK_EXIT_H

/// Ends the process in the system's own short way, past the static destructors of the program.
[[noreturn]] void exitQuickly(int exitCode);

#endif
