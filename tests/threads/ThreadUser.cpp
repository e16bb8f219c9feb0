// A host in a shared library of its own, with threads that it leaves to themselves.
#include <atomic>
#include <thread>

#include "OrvoThread.h"

namespace {

std::atomic<int> threadsThere{0};

/// Counts itself out as late as a class of the host can.
class Throwaway : public OrvoSupport::OrvoThread {
public:
    Throwaway() {
        ++threadsThere;
        setMarkForDeath();
    }
    ~Throwaway() override { --threadsThere; }

protected:
    int run() override { return 1; }
    int run(OrvoSupport::OrvoWorkInformation& workInfo) override { return OrvoThread::run(workInfo); }
};

void waitUntilTheyAreGone() {
    while (threadsThere > 0) std::this_thread::yield();
}

}  // namespace

/// Returns when `count` threads have deleted themselves, which is before they have ended.
extern "C" void useThrowaways(int count) {
    for (int i = 0; i < count; ++i) (new Throwaway)->start();
    waitUntilTheyAreGone();
}

/// Threads that are joined, stopped and killed.
extern "C" int useThreads() {
    using OrvoSupport::OrvoThread;
    OrvoThread joined;
    joined.start();
    OrvoThread stopped;
    stopped.start();
    stopped.stop();
    OrvoThread killed;
    killed.start();
    killed.kill();
    stopped.start();
    return killed.isAlive() ? 1 : 0;
}
