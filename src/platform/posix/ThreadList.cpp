#include "platform/posix/ThreadList.h"

#include <errno.h>
#include <sched.h>
#include <signal.h>
#include <unistd.h>

#include <utility>

#include "platform/posix/ForkOrder.h"
#include "platform/posix/PosixThread.h"
#include "platform/posix/Sanitizers.h"
#include "platform/posix/Uninterrupted.h"

namespace OrvoSupport::platform {

__thread PosixThread* threadOfLibrary = nullptr;

namespace {

// All of it is constant-initialised: hosts start threads while static objects are constructed.
InternalLock listLock;
ThreadChain running;
ThreadChain leaving;

using ListGuard = std::lock_guard<InternalLock>;

void move(PosixThread& thread, ThreadChain* chain) {
    if (thread.chain) thread.chain->remove(thread);
    thread.chain = chain;
    if (chain) chain->add(thread);
}

// Only the forking thread lives on in the child. The others have ended there, for all who hold them.
void closeThreadsInChild(ThreadChain& chain) {
    for (PosixThread* thread = chain.first; thread;) {
        PosixThread* const next = thread->next;
        if (thread == threadOfLibrary) {
            thread->interruption.moveToChild();
        } else {
            move(*thread, nullptr);
            thread->interruption.closeInChild();
            thread->ended.signalAfterFork();
            dropThread(*thread);
        }
        thread = next;
    }
}

void unlockInChild() {
    closeThreadsInChild(running);
    closeThreadsInChild(leaving);
    listLock.unlock();
}

__attribute__((constructor(innermostLocks))) void handleForks() {
    ::pthread_atfork([] { listLock.lock(); }, [] { listLock.unlock(); }, unlockInChild);
}

/// False while it has not ended.
bool tryToJoin(const PosixThread& thread) {
    if (joinsThreadsEndedOutright || !thread.endedOutright)
        return ::pthread_tryjoin_np(thread.id, nullptr) != EBUSY;
    return ::tgkill(::getpid(), thread.interruption.threadId(), 0) != 0;
}

}  // namespace

void ThreadChain::add(PosixThread& thread) {
    thread.previous = last;
    thread.next = nullptr;
    (last ? last->next : first) = &thread;
    last = &thread;
}

void ThreadChain::remove(PosixThread& thread) {
    (thread.previous ? thread.previous->next : first) = thread.next;
    (thread.next ? thread.next->previous : last) = thread.previous;
}

void addThread(PosixThread& thread) noexcept {
    const ListGuard guard(listLock);
    move(thread, &running);
}

void removeThread(PosixThread& thread) noexcept {
    const ListGuard guard(listLock);
    move(thread, nullptr);
}

void setLeaving(PosixThread& thread) noexcept {
    const ListGuard guard(listLock);
    if (thread.chain == &running) move(thread, &leaving);
}

void joinEndedThreads(unsigned mostNotEnded) noexcept {
    const Uninterrupted untilAllAreDropped;
    PosixThread* joined = nullptr;
    {
        const ListGuard guard(listLock);
        for (PosixThread* thread = leaving.first; thread && mostNotEnded > 0;) {
            PosixThread* const next = thread->next;
            if (tryToJoin(*thread)) {
                move(*thread, nullptr);
                thread->next = joined;
                joined = thread;
            } else {
                --mostNotEnded;
            }
            thread = next;
        }
    }
    while (joined) dropThread(*std::exchange(joined, joined->next));
}

void joinThread(PosixThread& thread) noexcept {
    const Uninterrupted untilItIsJoined;
    {
        const ListGuard guard(listLock);
        if (thread.chain != &leaving || !thread.endedOutright) return;
        move(thread, nullptr);
    }
    if (joinsThreadsEndedOutright)
        ::pthread_join(thread.id, nullptr);
    else
        while (!tryToJoin(thread)) ::sched_yield();
    dropThread(thread);
}

bool someAreLeaving(bool closed) noexcept {
    const ListGuard guard(listLock);
    for (const PosixThread* thread = leaving.first; thread; thread = thread->next)
        if (thread != threadOfLibrary && (!closed || thread->interruption.isClosed())) return true;
    return false;
}

bool noneIsThere() noexcept {
    const ListGuard guard(listLock);
    return !running.first && !leaving.first;
}

void dropThread(PosixThread& thread) noexcept {
    if (--thread.holds == 0) delete &thread;
}

}  // namespace OrvoSupport::platform
