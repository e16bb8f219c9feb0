// Suspending, resuming and ending a thread from outside. Linux only.
#ifndef OSUPT_PLATFORM_POSIX_INTERRUPTION_H
#define OSUPT_PLATFORM_POSIX_INTERRUPTION_H

#include <signal.h>
#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <mutex>

#include "platform/InternalLock.h"
#include "platform/posix/SafePoint.h"

namespace OrvoSupport::platform {

/// What others want of a thread, and how far it has got with it. A signal calls the thread; in its handler
/// the thread reads what is wanted, and there it stands still or ends. One word holds all of it, on which
/// both sides sleep.
///
/// The thread comes to it at once where it can: not in an uninterrupted stretch, nor (unless it stays there
/// for more than a second) where it holds a lock of the C library, nor while it blocks the signal.
///
/// Thread safety: any operation from any thread, unless it says otherwise.
class Interruption {
public:
    Interruption() = default;
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// On the thread itself: from here until close() it can be interrupted.
    void open() noexcept;
    void close() noexcept;

    /// Returns when the thread stands still, or has ended, or has been resumed meanwhile. A thread that was
    /// to end by the will of one that has ended itself meanwhile does so now.
    void suspend() noexcept;
    void resume() noexcept;
    /// Returns when the thread has called close(); the thread itself does not return.
    void end() noexcept;

    /// Calls action(thread id) unless the thread has ended; its id belongs to it as long as that takes.
    template <class Action>
    void withThreadId(const Action& action) {
        waitUntilOpen();
        const std::lock_guard<InternalLock> guard(m_callLock);
        if (!isClosed()) action(m_threadId);
    }

    pid_t threadId() const { return m_threadId; }
    bool isClosed() const { return m_word.load(std::memory_order_acquire) & closed; }

    /// In a child that has just been forked: by the one thread there is, or about one that is not there. What
    /// others wanted of the thread they wanted of the one in the parent.
    void moveToChild() noexcept;
    void closeInChild() noexcept;

private:
    // The bits of the word; above them, the number of stops.
    static constexpr std::uint32_t opened = 1;
    static constexpr std::uint32_t closed = 2;
    static constexpr std::uint32_t ending = 4;    // somebody wants it to end
    static constexpr std::uint32_t standing = 8;  // it stands still
    static constexpr std::uint32_t watched = 16;  // somebody sleeps until the thread changes the word
    static constexpr std::uint32_t oneStop = 256;
    static constexpr std::uint32_t mostStops = 0xFFFF;
    static std::uint32_t stops(std::uint32_t word) { return word / oneStop; }

    static void onSignal(int, siginfo_t*, void* context);
    static void attendPending();
    void attendNow() noexcept;
    void attend() noexcept;
    void waitUntilOpen() noexcept;
    template <class Done>
    void callUntil(const Done& done) noexcept;
    void call() noexcept;

    std::atomic<std::uint32_t> m_word{0};
    // The signal handler is not to be watched by a sanitizer, and the functions of std::atomic would be:
    // these three are used with the compiler's own atomic operations.
    bool m_called = false;         // a signal is on its way
    bool m_insisting = false;      // it is to attend wherever it stands
    std::uint32_t m_refusals = 0;  // calls that met it where it could not attend
    InternalLock m_callLock;       // the thread does not close while somebody calls it
    pid_t m_threadId = 0;
    Standpoint m_last;
};

/// Ends the calling thread, which has an Interruption, without unwinding anything. All signals are blocked.
/// It has to call close(). Defined where threads are made.
[[noreturn]] void endThisThreadOutright() noexcept;

/// Takes the signal handler away, if it is there and is still the library's own. No thread may have an open
/// Interruption any more.
void removeInterruptionHandler() noexcept;

}  // namespace OrvoSupport::platform

#endif
