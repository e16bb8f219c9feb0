#include "OrvoThread.h"

#include <utility>

#include "platform/Containment.h"
#include "platform/CurrentThreadId.h"
#include "platform/Thread.h"
#include "threads/WaitForSeveral.h"

namespace OrvoSupport {
namespace {

constexpr int nothingToWaitFor = 128;

int systemLevel(OrvoThread::t_Priority priority) {
    switch (priority) {
        case OrvoThread::PriorityAboveNormal: return 1;
        case OrvoThread::PriorityBelowNormal: return -1;
        case OrvoThread::PriorityHighest: return 2;
        case OrvoThread::PriorityIdle: return -15;
        case OrvoThread::PriorityLowest: return -2;
        case OrvoThread::PriorityTimeCritical: return 15;
        default: return 0;
    }
}

}  // namespace

OrvoWorkInformation::OrvoWorkInformation() = default;
OrvoWorkInformation::OrvoWorkInformation(const OrvoWorkInformation& other) = default;
OrvoWorkInformation::~OrvoWorkInformation() = default;

OrvoThread::OrvoRunnable::OrvoRunnable() = default;
OrvoThread::OrvoRunnable::~OrvoRunnable() = default;
int OrvoThread::OrvoRunnable::run(OrvoWorkInformation&) { return 0; }
int OrvoThread::OrvoRunnable::run() { return 0; }

OrvoThread::ThreadDone::ThreadDone(int exitCode_) : exitCode(exitCode_) {}
OrvoThread::ThreadDone::ThreadDone(const ThreadDone& other) : OrvoNotification(), exitCode(other.exitCode) {}
OrvoThread::ThreadDone& OrvoThread::ThreadDone::operator=(const ThreadDone& other) {
    exitCode = other.exitCode;
    return *this;
}
OrvoThread::ThreadDone::~ThreadDone() = default;

OrvoThread::OrvoThread() : OrvoThread(OrvoSmartPointer<OrvoRunnable>()) {}

OrvoThread::OrvoThread(const string& name) : OrvoThread(OrvoSmartPointer<OrvoRunnable>(), name) {}

// The name says "class" in front of the class name; programs know their threads by it in logs.
OrvoThread::OrvoThread(OrvoSmartPointer<OrvoRunnable> runnable) : OrvoThread(std::move(runnable), string()) {
    m_name = "class " + OrvoThread::getClassName();
}

OrvoThread::OrvoThread(OrvoSmartPointer<OrvoRunnable> runnable, const string& name)
    : m_thread(nullptr),
      m_name(name),
      m_exitCode(-1),
      m_markForDeath(false),
      m_markForKill(false),
      m_running(false),
      m_runnable(std::move(runnable)),
      m_lock(false) {}

OrvoThread::~OrvoThread() {
    if (!m_thread) return;
    if (m_markForKill) {
        kill();
        return;
    }
    if (!m_markForDeath) waitForThreadExit();
    cleanup();
}

void OrvoThread::start() {
    if (platform::Thread* thread = m_thread) {
        platform::resumeThread(*thread);
        return;
    }
    create();
}

// When it succeeds, the thread may have deleted this object by then.
bool OrvoThread::create() {
    m_running = true;
    if (platform::startThread(threadMain, this, m_thread)) return true;
    m_running = false;
    return false;
}

void OrvoThread::stop() {
    if (platform::Thread* thread = m_thread) platform::suspendThread(*thread);
}

void OrvoThread::setWorkInfo(OrvoSmartPointer<OrvoWorkInformation> workInfo) {
    m_workInfo = std::move(workInfo);
}

int OrvoThread::wait(int timeoutMs) {
    platform::Thread* const thread = m_thread;
    if (!thread || !m_running) return nothingToWaitFor;
    return platform::waitForOne(thread->handle, timeoutMs);
}

bool OrvoThread::setPriority(t_Priority priority) {
    platform::Thread* const thread = m_thread;
    return thread && platform::setThreadPriority(*thread, systemLevel(priority));
}

void OrvoThread::kill() {
    platform::Thread* const thread = m_thread;
    if (!thread) return;
    platform::killThread(*thread);
    cleanup();
}

void OrvoThread::waitForThreadExit() { OrvoCriticalSection guard(m_lock); }

bool OrvoThread::isAlive() { return m_thread != nullptr; }

int OrvoThread::getExitCode() const { return m_thread ? m_exitCode.load() : -1; }

void* OrvoThread::getHandle() {
    platform::Thread* const thread = m_thread;
    return thread ? &thread->handle : nullptr;
}

const string& OrvoThread::getName() const { return m_name; }

void OrvoThread::setName(const string& name) { m_name = name; }

void OrvoThread::setMarkForDeath() { m_markForDeath = true; }

void OrvoThread::setMarkForKill() { m_markForKill = true; }

int OrvoThread::getCurrentThreadId() { return platform::currentThreadId(); }

int OrvoThread::wait(std::vector<OrvoThread*>& threads, bool waitAll, int timeoutMs) {
    const auto handleOf = [&](std::size_t i) -> platform::WaitHandle* {
        platform::Thread* const thread = threads[i] ? threads[i]->m_thread.load() : nullptr;
        return thread ? &thread->handle : nullptr;
    };
    return waitForSeveral(threads.size(), handleOf, waitAll, timeoutMs);
}

int OrvoThread::wait(int count, OrvoThread* threads, bool waitAll, int timeoutMs) {
    if (count < 0 || !threads) return -1;
    std::vector<OrvoThread*> list;
    for (int i = 0; i < count; ++i) list.push_back(&threads[i]);
    return wait(list, waitAll, timeoutMs);
}

int OrvoThread::run(OrvoWorkInformation&) { return 0; }

int OrvoThread::run() { return 0; }

int OrvoThread::threadMain(void* argument) {
    OrvoThread& thread = *static_cast<OrvoThread*>(argument);
    OrvoCriticalSection guard(thread.m_lock);
    const int result = thread._run();
    if (thread.m_markForDeath) {
        guard.unlock();
        delete &thread;
        return result;
    }
    thread.m_exitCode = result;
    thread.m_running = false;
    return result;
}

int OrvoThread::_run() {
    int exitCode = 0;
    platform::contain([&] {
        int result;
        if (m_runnable)
            result = m_workInfo ? m_runnable->run(*m_workInfo) : m_runnable->run();
        else
            result = m_workInfo ? run(*m_workInfo) : run();
        exitCode = result;
    });
    notify(ThreadDone(exitCode));
    return exitCode;
}

void OrvoThread::cleanup() {
    platform::Thread* const thread = m_thread.exchange(nullptr);
    m_running = false;
    platform::closeThread(thread);
}

}  // namespace OrvoSupport
