// A timer that repeats until its handler has had enough, and a thread that works whenever another timer
// fires.
#include <OrvoTimer.h>

#include <atomic>
#include <cstdio>

using namespace OrvoSupport;

class Countdown : public OrvoDependent {
public:
    explicit Countdown(OrvoTimer& timer) : m_timer(timer) { timer.addDependent(*this); }
    ~Countdown() override { m_timer.removeDependent(*this); }

    void handleNotification(OrvoCollaborator&, const OrvoNotification&) override {
        std::printf("%d\n", m_left);
        if (--m_left == 0) m_timer.stop();
    }

private:
    OrvoTimer& m_timer;
    int m_left = 3;
};

class Worker : public OrvoEventTimerThread {
public:
    Worker(OrvoTimer& timer, OrvoEvent& done) : OrvoEventTimerThread("worker", timer), m_done(done) {}

protected:
    void handleTimerEvent() override {
        std::printf("the worker has worked\n");
        m_done.set();
    }

private:
    OrvoEvent& m_done;
};

int main() {
    OrvoTimer tick(100, false);
    const Countdown countdown(tick);
    tick.reset();  // starts it with the period it was made with
    for (int i = 0; i < 3; ++i) tick.wait(10000);

    OrvoEvent done;
    OrvoTimer alarm;
    Worker worker(alarm, done);
    worker.start();
    alarm.start(200, true);
    return done.wait(10000);
}
