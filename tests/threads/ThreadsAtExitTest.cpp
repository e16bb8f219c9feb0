// A process ends while its threads run, stand still, or have been killed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/ChildProcess.h"
#include "threads/TestThreads.h"

namespace {

using namespace thread_tests;
using testing_support::ChildProcess;

/// A thread that computes for ever; nobody ever destroys it.
OrvoThread& leakedThread() {
    static Counter counters[8];
    static WorkThread* threads[8];
    static std::size_t used = 0;
    Counter& counter = counters[used];
    WorkThread*& thread = threads[used++];
    thread = new WorkThread([&counter] { return counter.count(); });
    thread->start();
    if (!counter.runs()) std::abort();
    return *thread;
}

OSUPT_CHILD(endsWithThreads) {
    const std::string& what = arguments.at(0);
    OrvoThread& thread = leakedThread();
    if (what == "stopped") thread.stop();
    if (what == "killed") thread.kill();
    if (what == "all") {
        leakedThread().stop();
        leakedThread().kill();
    }
    return 7;
}

OSUPT_CHILD(endsWithAStaticThread) {
    static Counter counter;
    static WorkThread thread([] { return counter.count(); });
    thread.setMarkForKill();
    thread.start();
    return counter.runs() ? 8 : 9;
}

TEST(ThreadsAtExitTest, runningStoppedAndKilledThreadsHoldNoProcessBack) {
    for (const char* what : {"running", "stopped", "killed", "all"}) {
        ChildProcess child("endsWithThreads", {what});
        EXPECT_EQ(7, child.wait()) << what << ": " << child.output();
    }
}

TEST(ThreadsAtExitTest, aStaticThreadMarkedForKillEndsWithTheProcess) {
    ChildProcess child("endsWithAStaticThread");
    EXPECT_EQ(8, child.wait()) << child.output();
}

}  // namespace
