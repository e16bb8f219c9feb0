// Win32 half of Thread; contract in platform/Thread.h.
#include "platform/Thread.h"

#include <malloc.h>
#include <windows.h>

#include <mutex>
#include <new>
#include <optional>

#include "platform/InternalLock.h"
#include "platform/win32/Suspension.h"
#include "platform/win32/ThreadRegistry.h"

namespace OrvoSupport::platform {
namespace {

// A thread that has stood in one place of the system's library for so long, and at so many looks, waits for a
// lock of the host's, not for one of the system's own nor for a processor.
constexpr ULONGLONG stuckMs = 500;
constexpr int stuckLooks = 20;

// How long a thread is given that is on the move in there, or has not come to its body yet, or has left it.
// The system has locks of its own for these steps, but whoever loads or unloads a module holds one of them.
constexpr ULONGLONG patienceMs = 5000;
constexpr int patienceLooks = 2000;

// As many times a thread that makes way is looked at in quick succession before it is given a whole
// millisecond.
constexpr int quickLooks = 1000;

/// Keeps all threads out of the heaps, so that none is stopped or killed in there.
class HeapsAtRest {
public:
    HeapsAtRest() {
        ::HeapLock(m_runtime);
        ::HeapLock(m_process);
    }
    ~HeapsAtRest() {
        ::HeapUnlock(m_process);
        ::HeapUnlock(m_runtime);
    }
    HeapsAtRest(const HeapsAtRest&) = delete;
    HeapsAtRest& operator=(const HeapsAtRest&) = delete;

private:
    const HANDLE m_runtime = reinterpret_cast<HANDLE>(::_get_heap_handle());
    const HANDLE m_process = ::GetProcessHeap();
};

Win32Thread& own(Thread& thread) { return static_cast<Win32Thread&>(thread); }

bool isThisThread(const Win32Thread& thread) { return thread.id == ::GetCurrentThreadId(); }

/// Looks at a thread until it stands where it may be stopped or killed.
class Approach {
public:
    explicit Approach(Win32Thread& thread) : m_thread(thread) {}

    /// Calls action() before anybody can resume the thread; does nothing when it has ended.
    template <class Action>
    void stopAndThen(const Action& action) {
        for (;;) {
            m_now = ::GetTickCount64();
            // Who is suspended all the time makes no way.
            if (mayBeTouched() && tryToStopAndThen(action)) return;
            ::SwitchToThread();
            if (::WaitForSingleObject(m_thread.handle, makesWay() ? 0 : 1) == WAIT_OBJECT_0) return;
        }
    }

private:
    bool isLate() const { return m_now - m_begin > patienceMs; }
    bool isOnTheMoveForEver() const { return m_looks >= patienceLooks && isLate(); }
    bool isStuck() const { return m_looksHere >= stuckLooks && m_now - m_stoodSince > stuckMs; }
    bool makesWay() const { return m_looksHere == 1 && m_looks < quickLooks; }

    bool mayBeTouched() const {
        if (m_thread.internalLocks > 0) return false;
        const Win32Thread::Phase phase = m_thread.phase;
        return phase == Win32Thread::Phase::inBody || phase == Win32Thread::Phase::goingHome || isLate();
    }

    /// False when the thread may not be touched now; true also when it has ended.
    template <class Action>
    bool tryToStopAndThen(const Action& action) {
        // Only in the end, since it makes threads queue for the heaps, and nobody should be killed in there.
        std::optional<HeapsAtRest> heaps;
        if (isStuck() || isOnTheMoveForEver()) heaps.emplace();
        const std::lock_guard<InternalLock> guard(suspendingLock);
        Standing standing;
        if (!suspendNow(m_thread.handle, standing)) return true;
        if (mayBeTouched() && (!standsInSystemWork(standing) || hasStood(standing) || isOnTheMoveForEver())) {
            action();
            return true;
        }
        ::ResumeThread(m_thread.handle);
        return false;
    }

    bool hasStood(const Standing& standing) {
        ++m_looks;
        if (standing.instruction == m_last.instruction && standing.stack == m_last.stack) {
            ++m_looksHere;
            return isStuck();
        }
        m_last = standing;
        m_looksHere = 1;
        m_stoodSince = m_now;
        return false;
    }

    Win32Thread& m_thread;
    const ULONGLONG m_begin = ::GetTickCount64();
    ULONGLONG m_now = m_begin;
    int m_looks = 0;      // that found it inside the system's library
    int m_looksHere = 0;  // of these the last ones, that found it in the place of m_last
    ULONGLONG m_stoodSince = m_begin;
    Standing m_last;
};

}  // namespace

bool startThread(ThreadBody body, void* argument, std::atomic<Thread*>& place) noexcept {
    Win32Thread* const thread = new (std::nothrow) Win32Thread;
    if (!thread) return false;
    thread->body = body;
    thread->argument = argument;
    if (!enterRegistry(*thread)) {
        delete thread;
        return false;
    }
    const HANDLE handle = thread->handle;
    place = thread;
    ::ResumeThread(handle);
    awaitBeginning(*thread);
    return true;
}

void suspendThread(Thread& thread) noexcept {
    if (isThisThread(own(thread)))
        ::SuspendThread(thread.handle);
    else
        Approach(own(thread)).stopAndThen([] {});
}

void resumeThread(Thread& thread) noexcept {
    const std::lock_guard<InternalLock> guard(suspendingLock);
    ::ResumeThread(thread.handle);
}

bool setThreadPriority(Thread& thread, int level) noexcept {
    return ::SetThreadPriority(thread.handle, level) != 0;
}

void killThread(Thread& thread) noexcept {
    if (isThisThread(own(thread))) ::TerminateThread(thread.handle, 0);
    Approach(own(thread)).stopAndThen([&] { ::TerminateThread(thread.handle, 0); });
    ::WaitForSingleObject(thread.handle, INFINITE);
}

bool exitCodeOf(Thread& thread, int& exitCode) noexcept {
    DWORD code = 0;
    if (!::GetExitCodeThread(thread.handle, &code)) return false;
    exitCode = static_cast<int>(code);
    return true;
}

void closeThread(Thread* thread) noexcept {
    if (thread) leaveRegistry(own(*thread));
}

}  // namespace OrvoSupport::platform
