// The threads that the library has started and that are not joined yet. Linux only.
#ifndef OSUPT_PLATFORM_POSIX_THREAD_LIST_H
#define OSUPT_PLATFORM_POSIX_THREAD_LIST_H

namespace OrvoSupport::platform {

struct PosixThread;

/// Threads in the order in which they came.
struct ThreadChain {
    PosixThread* first = nullptr;
    PosixThread* last = nullptr;

    void add(PosixThread& thread);
    void remove(PosixThread& thread);
};

/// The calling thread, if the library has started it. Initial-exec, for those on their way out.
extern __thread PosixThread* threadOfLibrary __attribute__((tls_model("initial-exec")));

void addThread(PosixThread& thread) noexcept;
/// For one that could not be started.
void removeThread(PosixThread& thread) noexcept;

/// The thread is about to end and needs no more than to be joined. Saying so again changes nothing.
void setLeaving(PosixThread& thread) noexcept;

/// Joins leaving threads that have ended, those that came first before the others, until so many were met
/// that have not.
void joinEndedThreads(unsigned mostNotEnded) noexcept;

/// Joins a thread that ends outright, if nobody else does.
void joinThread(PosixThread& thread) noexcept;

/// Whether there are leaving threads but the calling one; with `closed`, only those that nobody can interrupt
/// any more count.
bool someAreLeaving(bool closed) noexcept;

/// Whether there is no thread at all but the calling one.
bool noneIsThere() noexcept;

/// Gives up a hold.
void dropThread(PosixThread& thread) noexcept;

}  // namespace OrvoSupport::platform

#endif
