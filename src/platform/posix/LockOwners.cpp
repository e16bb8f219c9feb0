// The threads that have used locks, each with its system's thread id. A thread that ends tells nobody (it may
// have been killed outright), so whoever has waited long enough for it asks the kernel. That leaves nothing
// behind in any thread when the library is unloaded.
#include "platform/posix/LockOwners.h"

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <new>

#include "platform/posix/ForkOrder.h"

namespace OrvoSupport::platform {

__thread OwnerId ownerIdOfThisThread = unregistered;

namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

struct Record {
    OwnerId id;
    pid_t tid;
    std::int64_t registered;  // nanoseconds since the boot
    Record* next;
};

// All of it is constant-initialised, since static objects of a host may lock before this library's own are
// constructed.
struct Registry {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    Record* newest = nullptr;
    unsigned count = 0;
    unsigned sweepAt = 64;
    OwnerId lastId = 0;
    bool complete = true;  // false: a thread without a record may well be there
    bool closed = false;
} registry;

// No thread may be killed by a signal or cancelled while it holds the registry: nobody would get in again.
class Access {
public:
    Access() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &m_signals);
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_cancellation);
        ::pthread_mutex_lock(&registry.mutex);
    }
    ~Access() {
        ::pthread_mutex_unlock(&registry.mutex);
        ::pthread_setcancelstate(m_cancellation, nullptr);
        ::pthread_sigmask(SIG_SETMASK, &m_signals, nullptr);
    }
    Access(const Access&) = delete;
    Access& operator=(const Access&) = delete;

private:
    sigset_t m_signals;
    int m_cancellation = 0;
};

std::int64_t nanosecondsSinceBoot() {
    timespec now = {};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    return now.tv_sec * nanosecondsPerSecond + now.tv_nsec;
}

bool exists(pid_t tid) { return ::tgkill(::getpid(), tid, 0) == 0 || errno != ESRCH; }

// What /proc knows of a thread: its state letter, and when it started, in whole clock ticks.
bool readStatus(pid_t tid, char& state, std::int64_t& started) {
    char text[1024];
    ::snprintf(text, sizeof text, "/proc/self/task/%d/stat", static_cast<int>(tid));
    const int file = ::open(text, O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    const ssize_t length = ::read(file, text, sizeof text - 1);
    ::close(file);
    if (length <= 0) return false;
    text[length] = '\0';
    // The name before the state may hold anything, closing parentheses too.
    const char* rest = ::strrchr(text, ')');
    unsigned long long ticks = 0;
    if (!rest ||
        ::sscanf(rest, ") %c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %*u %*u %*d %*d %*d %*d %*d %*d %llu",
                 &state, &ticks) != 2)
        return false;
    started = static_cast<std::int64_t>(ticks) * (nanosecondsPerSecond / ::sysconf(_SC_CLK_TCK));
    return true;
}

bool isGone(const Record& record) {
    if (!exists(record.tid)) return true;
    // The id may have been handed out again: then a newer record has it, or its thread is younger than this.
    for (const Record* newer = registry.newest; newer && newer != &record; newer = newer->next)
        if (newer->tid == record.tid) return true;
    char state = 0;
    std::int64_t started = 0;
    if (!readStatus(record.tid, state, started)) return false;
    // The first thread of a process stays visible, as a zombie, until the last one ends.
    return state == 'Z' || state == 'X' || started > record.registered;
}

// Threads come and go, so the records of the gone ones are dropped whenever the number has doubled.
void sweep() {
    for (Record** link = &registry.newest; *link;) {
        Record* record = *link;
        if (exists(record->tid)) {
            link = &record->next;
        } else {
            *link = record->next;
            delete record;
            --registry.count;
        }
    }
    registry.sweepAt = 2 * registry.count + 64;
}

Access* forking = nullptr;
alignas(Access) char forkingStorage[sizeof(Access)];

void beforeFork() { forking = new (forkingStorage) Access; }

void afterForkInParent() { forking->~Access(); }

// Only the forking thread lives on in the child, under a new thread id; its locks remain its own.
void afterForkInChild() {
    for (Record** link = &registry.newest; *link;) {
        Record* record = *link;
        if (record->id == ownerIdOfThisThread) {
            record->tid = ::gettid();
            record->registered = nanosecondsSinceBoot();
            link = &record->next;
        } else {
            *link = record->next;
            delete record;
            --registry.count;
        }
    }
    forking->~Access();
}

__attribute__((constructor(innermostLocks))) void handleForks() {
    ::pthread_atfork(beforeFork, afterForkInParent, afterForkInChild);
}

// Runs when the library is unloaded or the process ends. Static objects of a host may still lock afterwards;
// from then on every owner counts as alive.
__attribute__((destructor)) void closeRegistry() {
    const Access access;
    registry.closed = true;
    registry.complete = false;
    while (Record* record = registry.newest) {
        registry.newest = record->next;
        delete record;
    }
    registry.count = 0;
}

}  // namespace

OwnerId registerThisThread() {
    const Access access;
    if (++registry.lastId == unregistered) registry.lastId = 1;
    ownerIdOfThisThread = registry.lastId;
    if (registry.closed) return ownerIdOfThisThread;
    if (registry.count >= registry.sweepAt) sweep();
    Record* record =
        new (std::nothrow) Record{ownerIdOfThisThread, ::gettid(), nanosecondsSinceBoot(), registry.newest};
    if (record) {
        registry.newest = record;
        ++registry.count;
    } else {
        registry.complete = false;
    }
    return ownerIdOfThisThread;
}

bool hasEnded(OwnerId id) {
    const Access access;
    for (Record** link = &registry.newest; *link; link = &(*link)->next) {
        Record* record = *link;
        if (record->id != id) continue;
        if (!isGone(*record)) return false;
        *link = record->next;
        delete record;
        --registry.count;
        return true;
    }
    return registry.complete;
}

}  // namespace OrvoSupport::platform
