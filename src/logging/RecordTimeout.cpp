// What becomes of a record that is left open: the timer, and the threads that try to end the record.
#include <memory>
#include <new>
#include <thread>

#include "OrvoLogging.h"
#include "logging/LoggerUse.h"
#include "logging/Trace.h"
#include "threads/OrvoTimerManager.h"

namespace OrvoSupport {

// Only the first piece of a record arms, so that the pieces after it do not put the expiry off. The logger's
// lock is held here, and no handler of a host may run meanwhile: it might log, or wait for somebody who does.
void OrvoLogging::resetTimer() {
    if (!m_timerStopped) return;
    OrvoTimerManager::restart(m_timer);
    m_timerStopped = false;
}

void OrvoLogging::cancelTimer() {
    OrvoTimerManager::rest(m_timer);
    m_timerStopped = true;
}

// The thread that fires timers must not wait for the lock of a record, so this starts one that may. If there
// is no room for it, the next expiry comes a minute later.
void OrvoLogging::handleNotification(OrvoCollaborator&, const OrvoNotification&) {
    try {
        OrvoLoggingEventTimerThread::startFor(*this);
    } catch (const std::bad_alloc&) {
    }
}

void OrvoLogging::timerElapsed() {
    endrecord();
    if (!TraceGate::open(9)) return;
    // As long as another thread's record is open this one waits, but not for a logger that goes.
    const LoggerUse use(m_pInstance);
    OrvoLogging* const instance = use.logger();
    if (!instance) return;
    while (!instance->m_lock.testAndSet()) {
        if (use.isEnding()) return;
        std::this_thread::yield();  // where there is no lock, there is no waiting in trying to get it
    }
    traceTo(
        *instance, 9,
        "OrvoLogging::timerElapsed: called (NOTE: This message only appears and repeats when LogLevel = 9)");
}

void OrvoLogging::stopTimeouts() {
    OrvoTimerManager::forget(m_timer);
    LoggerUse::awaitNone(*this);
}

OrvoLoggingEventTimerThread::OrvoLoggingEventTimerThread(OrvoLogging& logger)
    : OrvoThread("OrvoLoggingEventTimerThread"), m_logger(&logger), m_use(new LoggerUse(&logger)) {}

// The logger may go as soon as the use has ended, so the work comes first.
OrvoLoggingEventTimerThread::~OrvoLoggingEventTimerThread() { waitForThreadExit(); }

int OrvoLoggingEventTimerThread::run() {
    m_logger->timerElapsed();
    return 0;
}

void OrvoLoggingEventTimerThread::startFor(OrvoLogging& logger) {
    auto thread = std::make_unique<OrvoLoggingEventTimerThread>(logger);
    thread->setMarkForDeath();
    if (thread->create()) thread.release();
}

}  // namespace OrvoSupport
