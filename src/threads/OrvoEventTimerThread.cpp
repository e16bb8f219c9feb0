#include <chrono>
#include <thread>

#include "OrvoTimer.h"
#include "logging/Trace.h"

namespace OrvoSupport {

OrvoEventTimerThread::OrvoEventTimerThread(const string& name, OrvoTimer& timer)
    : OrvoThread(name), m_timer(timer) {}

OrvoEventTimerThread::~OrvoEventTimerThread() {
    trace(9, "OrvoEventTimerThread::~OrvoEventTimerThread: entering");
    if (getHandle() && m_keepRunning) {
        trace(9, "OrvoEventTimerThread::~OrvoEventTimerThread: setting exit event");
        // A thread that was given a work item never comes to wait.
        while (!m_waiting && OrvoThread::wait(0) != 128)
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        m_keepRunning = false;
        m_timer.set();
        trace(9, "OrvoEventTimerThread::~OrvoEventTimerThread: waiting for thread to exit");
        waitForThreadExit();
    }
    trace(9, "OrvoEventTimerThread::~OrvoEventTimerThread: exiting");
}

// Raised first: a timer that fires at once must not find the flag down and end the thread.
void OrvoEventTimerThread::start() {
    m_keepRunning = true;
    OrvoThread::start();
}

int OrvoEventTimerThread::run() {
    for (;;) {
        m_waiting = true;
        m_timer.wait(-1);
        if (!m_keepRunning) return 0;
        handleTimerEvent();
    }
}

}  // namespace OrvoSupport
