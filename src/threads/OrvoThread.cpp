#include "OrvoThread.h"

#include <array>
#include <mutex>
#include <utility>

#include "platform/Containment.h"
#include "platform/CurrentThreadId.h"
#include "platform/InternalLock.h"
#include "platform/Thread.h"
#include "threads/WaitForSeveral.h"

namespace OrvoSupport {
namespace {

constexpr int nothingToWaitFor = 128;

// Guards the step from an object to its thread, and the counts of users.
platform::InternalLock usersLock;

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

/// The thread of an object, if there is one, which stays usable when another thread kills it meanwhile.
class OrvoThread::Use {
public:
    Use() = default;
    explicit Use(OrvoThread& object) {
        const std::lock_guard<platform::InternalLock> guard(usersLock);
        m_thread = object.m_thread;
        if (m_thread) ++m_thread->users;
    }
    Use(Use&& other) noexcept : m_thread(std::exchange(other.m_thread, nullptr)) {}
    Use& operator=(Use&& other) noexcept {
        std::swap(m_thread, other.m_thread);
        return *this;
    }
    ~Use() {
        if (!m_thread) return;
        const std::lock_guard<platform::InternalLock> guard(usersLock);
        --m_thread->users;
    }

    /// The object has this thread no more. It may have another one by now, or none, if it was killed several
    /// times at once.
    void retire(OrvoThread& object) const {
        const std::lock_guard<platform::InternalLock> guard(usersLock);
        if (!m_thread || object.m_thread != m_thread) return;
        object.m_running = false;
        object.m_beginning = false;
        object.m_worker = 0;
        m_thread->nextRetired = std::exchange(object.m_retired, m_thread);
        object.m_thread = nullptr;
    }

    /// Closes what the object has no more and nobody uses. A thread that is killed while it uses another one
    /// never says so; hence the destructor closes them all.
    static void closeRetired(OrvoThread& object) {
        platform::Thread* unused = nullptr;
        {
            const std::lock_guard<platform::InternalLock> guard(usersLock);
            for (platform::Thread** link = &object.m_retired; *link;) {
                platform::Thread* const thread = *link;
                if (thread->users > 0) {
                    link = &thread->nextRetired;
                } else {
                    *link = thread->nextRetired;
                    thread->nextRetired = std::exchange(unused, thread);
                }
            }
        }
        while (unused) platform::closeThread(std::exchange(unused, unused->nextRetired));
    }

    platform::Thread& operator*() const { return *m_thread; }
    platform::Thread* operator->() const { return m_thread; }
    explicit operator bool() const { return m_thread != nullptr; }

private:
    platform::Thread* m_thread = nullptr;
};

/// What surrounds the work, also work that ends its thread by way of the C library.
class OrvoThread::Round {
public:
    explicit Round(OrvoThread& thread) : m_thread(thread) {
        thread.m_lock.lock();
        thread.m_destroyed = &m_destroyed;
        thread.m_worker = getCurrentThreadId();
        thread.m_beginning = false;
    }
    Round(const Round&) = delete;
    Round& operator=(const Round&) = delete;
    ~Round() {
        if (m_destroyed) return;
        if (m_thread.m_markForDeath) {
            m_thread.m_lock.unlock();
            delete &m_thread;
            return;
        }
        m_thread.m_worker = 0;
        m_thread.m_running = false;
        m_thread.m_lock.unlock();
    }

    /// The work has destroyed the thread object.
    bool destroyed() const { return m_destroyed; }

private:
    OrvoThread& m_thread;
    bool m_destroyed = false;
};

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
    if (m_worker == getCurrentThreadId()) {
        *m_destroyed = true;
        cleanup();
    } else if (m_thread && m_markForKill) {
        kill();
    } else if (m_thread) {
        if (!m_markForDeath) join();
        cleanup();
    }
    while (m_retired) platform::closeThread(std::exchange(m_retired, m_retired->nextRetired));
}

void OrvoThread::start() {
    if (const Use thread(*this); thread)
        platform::resumeThread(*thread);
    else
        create();
}

// True if the object has a thread afterwards, which may have deleted it by then. Of several that come at
// once, one creates the thread.
bool OrvoThread::create() {
    if (m_beginning.exchange(true)) return true;
    if (m_thread) {
        m_beginning = false;
        return true;
    }
    m_running = true;
    m_lock.lockCount();  // makes the lock here, as the new thread might be killed while the system makes it
    if (platform::startThread(threadMain, this, m_thread)) return true;
    m_running = false;
    m_beginning = false;
    return false;
}

// What a thread does to itself needs no Use, which would be lost with the thread.
void OrvoThread::stop() {
    if (m_worker == getCurrentThreadId())
        platform::suspendThread(*m_thread);
    else if (const Use thread(*this); thread)
        platform::suspendThread(*thread);
}

void OrvoThread::setWorkInfo(OrvoSmartPointer<OrvoWorkInformation> workInfo) {
    m_workInfo = std::move(workInfo);
}

int OrvoThread::wait(int timeoutMs) {
    if (!m_running) return nothingToWaitFor;
    const Use thread(*this);
    return thread ? platform::waitForOne(thread->handle, timeoutMs) : nothingToWaitFor;
}

bool OrvoThread::setPriority(t_Priority priority) {
    const Use thread(*this);
    return thread && platform::setThreadPriority(*thread, systemLevel(priority));
}

void OrvoThread::kill() {
    if (m_worker == getCurrentThreadId()) {
        m_worker = 0;
        platform::killThread(*m_thread);
        return;
    }
    {
        const Use thread(*this);
        if (!thread) return;
        platform::killThread(*thread);
        thread.retire(*this);
    }
    Use::closeRetired(*this);
}

void OrvoThread::waitForThreadExit() { OrvoCriticalSection guard(m_lock); }

// Unlike waitForThreadExit() it does not overtake a thread that has yet to come to its lock, and which would
// find no object there.
void OrvoThread::join() {
    while (m_beginning && platform::waitForOne(m_thread.load()->handle, 1) == platform::waitTimedOut)
        continue;
    waitForThreadExit();
}

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
    return waitForSome(threads.size(), threads.data(), waitAll, timeoutMs);
}

int OrvoThread::wait(int count, OrvoThread* threads, bool waitAll, int timeoutMs) {
    std::array<OrvoThread*, platform::maxWaitHandles> list;
    const std::size_t size = count < 0 ? 0 : static_cast<std::size_t>(count);
    if (size > list.size() || !threads) return -1;
    for (std::size_t i = 0; i < size; ++i) list[i] = &threads[i];
    return waitForSome(size, list.data(), waitAll, timeoutMs);
}

int OrvoThread::waitForSome(std::size_t count, OrvoThread* const* threads, bool waitAll, int timeoutMs) {
    std::array<Use, platform::maxWaitHandles> uses;
    const auto handleOf = [&](std::size_t i) -> platform::WaitHandle* {
        if (!threads[i]) return nullptr;
        uses[i] = Use(*threads[i]);
        return uses[i] ? &uses[i]->handle : nullptr;
    };
    return waitForSeveral(count, handleOf, waitAll, timeoutMs);
}

int OrvoThread::run(OrvoWorkInformation&) { return 0; }

int OrvoThread::run() { return 0; }

int OrvoThread::threadMain(void* argument) {
    OrvoThread& thread = *static_cast<OrvoThread*>(argument);
    Round round(thread);
    const int result = thread._run();
    if (!round.destroyed() && !thread.m_markForDeath) thread.m_exitCode = result;
    return result;
}

int OrvoThread::_run() {
    const bool& destroyed = *m_destroyed;
    int exitCode = 0;
    platform::contain([&] {
        int result;
        if (m_runnable)
            result = m_workInfo ? m_runnable->run(*m_workInfo) : m_runnable->run();
        else
            result = m_workInfo ? run(*m_workInfo) : run();
        exitCode = result;
    });
    platform::announceReturn();
    if (!destroyed) platform::contain([&] { notify(ThreadDone(exitCode)); });
    return exitCode;
}

void OrvoThread::cleanup() {
    Use(*this).retire(*this);
    Use::closeRetired(*this);
}

}  // namespace OrvoSupport
