#include "platform/win32/ThreadRegistry.h"

#include <cstdint>
#include <cstring>
#include <mutex>

#include "platform/InternalLock.h"
#include "platform/win32/Suspension.h"
#include "platform/win32/Uninterrupted.h"

extern "C" __declspec(dllimport) BOOLEAN NTAPI RtlDllShutdownInProgress();
extern "C" __declspec(dllimport) void* NTAPI RtlGetCurrentPeb();

namespace OrvoSupport::platform {

namespace {

using Phase = Win32Thread::Phase;

// How long the unloading waits for threads that have work of the host left to do, or are suspended.
constexpr ULONGLONG wayHomeMs = 5000;

// How long the start of a thread waits until it has begun. Another thread may be loading a module.
constexpr ULONGLONG beginningMs = 1000;

// Where the system keeps the address of the loader's lock.
constexpr std::size_t loaderLockInPeb = sizeof(void*) == 8 ? 0x110 : 0xA0;

InternalLock registryLock;
Win32Thread* heldThreads = nullptr;    // somebody has a hold on them
Win32Thread* closedThreads = nullptr;  // nobody has
std::atomic<DWORD> slot{TLS_OUT_OF_INDEXES};

void insert(Win32Thread*& list, Win32Thread& thread) {
    thread.next = list;
    thread.link = &list;
    if (list) list->link = &thread.next;
    list = &thread;
}

void remove(Win32Thread& thread) {
    *thread.link = thread.next;
    if (thread.next) thread.next->link = thread.link;
}

Win32Thread* entryOfThisThread() {
    const DWORD index = slot;
    if (index == TLS_OUT_OF_INDEXES) return nullptr;
    const DWORD error = ::GetLastError();  // which TlsGetValue() clears
    Win32Thread* const thread = static_cast<Win32Thread*>(::TlsGetValue(index));
    ::SetLastError(error);
    return thread;
}

int runBody(Win32Thread& thread) {
    ::TlsSetValue(slot, &thread);
    thread.phase = Phase::inBody;
    const int result = thread.body(thread.argument);
    ::TlsSetValue(slot, nullptr);
    return result;
}

// After the last phase is set, the library may be unloaded as soon as the thread has gone back to the system.
DWORD WINAPI threadMain(void* argument) {
    Win32Thread& thread = *static_cast<Win32Thread*>(argument);
    const int result = runBody(thread);
    thread.phase.store(Phase::left, std::memory_order_release);
    return static_cast<DWORD>(result);
}

/// A thread whose handle may be closed already, for as long as it takes to look at it.
class Look {
public:
    explicit Look(const Win32Thread& thread)
        : m_handle(::OpenThread(
              SYNCHRONIZE | THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT | THREAD_QUERY_LIMITED_INFORMATION,
              FALSE, thread.id)) {}
    ~Look() {
        if (m_handle) ::CloseHandle(m_handle);
    }
    Look(const Look&) = delete;
    Look& operator=(const Look&) = delete;

    /// The number of an ended thread may belong to another process by now. If another thread of this one has
    /// it, that one is waited for as well, which does no harm.
    bool hasEnded() const {
        return !m_handle || ::GetProcessIdOfThread(m_handle) != ::GetCurrentProcessId() ||
               ::WaitForSingleObject(m_handle, 0) == WAIT_OBJECT_0;
    }

    /// True while the thread, which has nothing left to do but to return, has not come out of the library.
    bool isInside(bool late) const {
        const std::lock_guard<InternalLock> guard(suspendingLock);
        Standing standing;
        if (!suspendNow(m_handle, standing)) return false;
        ::ResumeThread(m_handle);
        if (standing.wasSuspended && late) return false;
        return standsInModuleOf(standing, reinterpret_cast<const void*>(&threadMain));
    }

private:
    const HANDLE m_handle;
};

bool mustBeWaitedFor(const Win32Thread& thread, bool late) {
    const Phase phase = thread.phase.load(std::memory_order_acquire);
    if (phase != Phase::left && phase != Phase::goingHome && !thread.closed) return false;
    const Look look(thread);
    if (look.hasEnded()) return false;
    return phase == Phase::left ? look.isInside(late) : !late;
}

bool anyMustBeWaitedFor(bool late) {
    const std::lock_guard<InternalLock> guard(registryLock);
    for (const Win32Thread* list : {heldThreads, closedThreads})
        for (; list; list = list->next)
            if (mustBeWaitedFor(*list, late)) return true;
    return false;
}

/// Deletes the closed threads that isOver(thread) says are over.
template <class IsOver>
void forget(const IsOver& isOver) {
    const std::lock_guard<InternalLock> guard(registryLock);
    for (Win32Thread *thread = closedThreads, *next; thread; thread = next) {
        next = thread->next;
        if (thread->starting || !isOver(*thread)) continue;
        remove(*thread);
        delete thread;
    }
}

void forgetEnded() {
    forget([](const Win32Thread& thread) { return Look(thread).hasEnded(); });
}

bool hasLoaderLock() {
    const CRITICAL_SECTION* lock = nullptr;
    std::memcpy(&lock, static_cast<const char*>(::RtlGetCurrentPeb()) + loaderLockInPeb, sizeof lock);
    const auto self = reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>(::GetCurrentThreadId()));
    return lock && lock->OwningThread == self;
}

bool haveSlot() {
    if (slot == TLS_OUT_OF_INDEXES) slot = ::TlsAlloc();
    return slot != TLS_OUT_OF_INDEXES;
}

}  // namespace

bool enterRegistry(Win32Thread& thread) noexcept {
    forgetEnded();
    const std::lock_guard<InternalLock> guard(registryLock);
    if (!haveSlot()) return false;
    thread.handle = ::CreateThread(nullptr, 0, threadMain, &thread, CREATE_SUSPENDED, &thread.id);
    if (!thread.handle) return false;
    insert(heldThreads, thread);
    return true;
}

void awaitBeginning(Win32Thread& thread) noexcept {
    if (!hasLoaderLock()) {
        const ULONGLONG limit = ::GetTickCount64() + beginningMs;
        while (thread.phase == Phase::coming && ::GetTickCount64() < limit) ::Sleep(0);
    }
    thread.starting = false;
}

void leaveRegistry(Win32Thread& thread) noexcept {
    const HANDLE handle = thread.handle;
    {
        const std::lock_guard<InternalLock> guard(registryLock);
        remove(thread);
        thread.closed = true;
        insert(closedThreads, thread);
    }
    ::CloseHandle(handle);
    forgetEnded();
}

std::atomic<int>* internalLocksOfThisThread() noexcept {
    Win32Thread* const thread = entryOfThisThread();
    return thread ? &thread->internalLocks : nullptr;
}

void announceReturn() noexcept {
    if (Win32Thread* const thread = entryOfThisThread()) thread->phase = Phase::goingHome;
}

void waitForLeavingThreads() noexcept {
    if (otherThreadsAreGone()) return;
    const ULONGLONG limit = ::GetTickCount64() + wayHomeMs;
    while (anyMustBeWaitedFor(::GetTickCount64() > limit)) ::Sleep(0);
    // A thread that has left the library touches its entry no more, even if the system has yet to end it.
    forget([](const Win32Thread& thread) { return thread.phase == Phase::left || Look(thread).hasEnded(); });
    const std::lock_guard<InternalLock> guard(registryLock);
    if (heldThreads || closedThreads || slot == TLS_OUT_OF_INDEXES) return;
    ::TlsFree(slot);
    slot = TLS_OUT_OF_INDEXES;
}

bool otherThreadsAreGone() noexcept { return ::RtlDllShutdownInProgress() != FALSE; }

}  // namespace OrvoSupport::platform
