// Linux half of SyncMutex; contract in src/platform/SyncMutex.h.
#include "platform/SyncMutex.h"

#include <sched.h>

#include <new>

#include "platform/Mutex.h"
#include "platform/posix/Waitable.h"

namespace OrvoSupport::platform {
namespace {

constexpr int yields = 16;

Mutex& lockOf(MutexHandle mutex) { return *static_cast<Mutex*>(mutex); }

}  // namespace

MutexHandle createMutex() noexcept { return new (std::nothrow) Mutex(Mutex::Flavour::kernel); }

void closeMutex(MutexHandle mutex) noexcept {
    if (mutex) delete &lockOf(mutex);
}

void lockMutex(MutexHandle mutex) noexcept { lockOf(mutex).lock(); }

void unlockMutex(MutexHandle mutex) noexcept { lockOf(mutex).unlock(); }

void unlockMutexAndWait(MutexHandle mutex, WaitHandle event) noexcept {
    WaitPlace place;
    Waiter waiter{&place, 1, false};
    place.waitable = static_cast<Waitable*>(event);
    place.waiter = &waiter;
    waiter.wait(-1, &lockOf(mutex));
    // Who sets an event mostly holds the mutex a moment longer, and this thread is about to take it: to sleep
    // for it would cost more than to let the other go on.
    for (int i = 0; i < yields && lockOf(mutex).depth() != 0; ++i) ::sched_yield();
}

}  // namespace OrvoSupport::platform
