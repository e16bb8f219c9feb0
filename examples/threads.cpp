// A thread that says when it is done, one that is held and let go, and one that is ended in the middle of its
// work.
#include <OrvoThread.h>

#include <atomic>
#include <cstdio>

using namespace OrvoSupport;

class Sum : public OrvoThread::OrvoRunnable {
public:
    using OrvoRunnable::run;
    int run() override {
        int sum = 0;
        for (int i = 1; i <= 10; ++i) sum += i;
        return sum;
    }
};

class Listener : public OrvoDependent {
public:
    void handleNotification(OrvoCollaborator&, const OrvoNotification& note) override {
        if (const auto* done = dynamic_cast<const OrvoThread::ThreadDone*>(&note))
            std::printf("the work gave %d\n", done->exitCode);
    }
};

class Counter : public OrvoThread {
public:
    ~Counter() override { kill(); }
    using OrvoThread::run;
    int run() override {
        for (;;) ++m_count;  // never asks whether it should stop
    }
    unsigned long count() const { return m_count; }
    void waitUntilItGoesOn() const {
        for (const unsigned long before = m_count; before == m_count;) continue;
    }

private:
    std::atomic<unsigned long> m_count{0};
};

int main() {
    Listener listener;
    OrvoThread worker(OrvoSmartPointer<OrvoThread::OrvoRunnable>(new Sum), "sum");
    worker.addDependent(listener);
    worker.start();
    worker.wait(-1);

    Counter counter;
    counter.start();
    counter.waitUntilItGoesOn();
    counter.stop();
    const unsigned long held = counter.count();
    const bool stood = counter.count() == held;
    counter.start();
    counter.waitUntilItGoesOn();
    counter.kill();
    std::printf("the counter %s while it was stopped, and is gone\n", stood ? "stood" : "went on");
    return worker.getExitCode() == 55 && stood && !counter.isAlive() ? 0 : 1;
}
