// Win32 half of Thread; contract in platform/Thread.h.
#include "platform/Thread.h"

#include <windows.h>

#include <new>

namespace OrvoSupport::platform {
namespace {

struct Win32Thread : Thread {
    ThreadBody body;
    void* argument;
    std::atomic<int> holds{2};
};

void drop(Win32Thread* thread) {
    if (--thread->holds > 0) return;
    ::CloseHandle(thread->handle);
    delete thread;
}

DWORD WINAPI threadMain(void* argument) {
    Win32Thread* const thread = static_cast<Win32Thread*>(argument);
    const int result = thread->body(thread->argument);
    drop(thread);
    return static_cast<DWORD>(result);
}

}  // namespace

bool startThread(ThreadBody body, void* argument, std::atomic<Thread*>& place) noexcept {
    Win32Thread* const thread = new (std::nothrow) Win32Thread;
    if (!thread) return false;
    thread->body = body;
    thread->argument = argument;
    thread->handle = ::CreateThread(nullptr, 0, threadMain, thread, CREATE_SUSPENDED, nullptr);
    if (!thread->handle) {
        delete thread;
        return false;
    }
    place = thread;
    ::ResumeThread(thread->handle);
    return true;
}

void suspendThread(Thread& thread) noexcept { ::SuspendThread(thread.handle); }
void resumeThread(Thread& thread) noexcept { ::ResumeThread(thread.handle); }

bool setThreadPriority(Thread& thread, int level) noexcept {
    return ::SetThreadPriority(thread.handle, level) != 0;
}

void killThread(Thread& thread) noexcept { ::TerminateThread(thread.handle, 0); }

void closeThread(Thread* thread) noexcept {
    if (thread) drop(static_cast<Win32Thread*>(thread));
}

void announceReturn() noexcept {}
void waitForLeavingThreads() noexcept {}

bool otherThreadsAreGone() noexcept {
    using Query = BOOLEAN(WINAPI*)();
    const HMODULE ntdll = ::GetModuleHandleA("ntdll.dll");
    const auto query = reinterpret_cast<Query>(
        reinterpret_cast<void (*)()>(::GetProcAddress(ntdll, "RtlDllShutdownInProgress")));
    return query && query();
}

}  // namespace OrvoSupport::platform
