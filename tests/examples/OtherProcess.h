// What a test does to, and wants to know of, a program that it has started.
#ifndef TESTS_EXAMPLES_OTHER_PROCESS_H
#define TESTS_EXAMPLES_OTHER_PROCESS_H

#include "support/ChildProcess.h"

namespace dropfolder_test {

/// To be called before a program is started that stop() is to reach: what that sends goes to all processes of
/// a console on Windows, so this one gets a new console, which it shares with what it starts from then on.
void prepareToStop();

/// SIGINT or SIGTERM; Ctrl+C or Ctrl+Break on Windows.
enum class Stop { interrupt, terminate };

bool stop(const testing_support::ChildProcess& process, Stop how);

struct Usage {
    long threads = 0;
    long descriptors = 0;  ///< or handles
    long kilobytes = 0;    ///< of memory
};
Usage usageOf(const testing_support::ChildProcess& process);

}  // namespace dropfolder_test

#endif
