#include "platform/posix/Interruption.h"

#include <errno.h>
#include <linux/futex.h>
#include <signal.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

#include "platform/posix/Sanitizers.h"
#include "platform/posix/Uninterrupted.h"

namespace OrvoSupport::platform {
namespace {

constexpr std::int64_t microsecond = 1'000;
constexpr std::int64_t millisecond = 1'000'000;
constexpr std::int64_t forEver = -1;
// A thread that refuses has to get on before the next look, or that would find it in the same place.
constexpr std::int64_t shortestPause = 30 * microsecond;
constexpr std::int64_t longestPause = 1 * millisecond;

// After so long and so many refusals a thread is called insistently.
constexpr std::int64_t patience = 1000 * millisecond;
constexpr std::uint32_t mostRefusals = 1000;

// Signals of the C library that a sigset_t does not show: one cancels a thread, the other lets it take part
// when the process changes its user.
constexpr std::uint64_t allSignals = ~std::uint64_t{0};
constexpr std::uint64_t userChange = std::uint64_t{1} << (33 - 1);

__thread Interruption* interruptionOfThisThread __attribute__((tls_model("initial-exec"))) = nullptr;

InternalLock handlerLock;
void (*ownHandler)(int, siginfo_t*, void*) = nullptr;  // once it is there
struct sigaction handlerBefore;

int signalNumber() { return SIGRTMAX - 3; }

std::int64_t monotonicTime() {
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * (1000 * millisecond) + now.tv_nsec;
}

void sleepWhile(std::atomic<std::uint32_t>& word, std::uint32_t value, std::int64_t nanoseconds) {
    const timespec limit = {0, static_cast<long>(nanoseconds)};
    ::syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, value, nanoseconds == forEver ? nullptr : &limit);
}

// In memory that a signal handler uses.
template <class Value>
OSUPT_NOT_INSTRUMENTED inline Value get(const Value& place) {
    return __atomic_load_n(&place, __ATOMIC_SEQ_CST);
}
template <class Value>
OSUPT_NOT_INSTRUMENTED inline void set(Value& place, Value value) {
    __atomic_store_n(&place, value, __ATOMIC_SEQ_CST);
}

void wakeAll(std::atomic<std::uint32_t>& word) { ::syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, INT_MAX); }

/// A suspended thread answers to nobody; but it may not keep the process from changing its user.
std::uint64_t blockSignals() {
    const std::uint64_t blocked = allSignals & ~userChange;
    std::uint64_t before = 0;
    ::syscall(SYS_rt_sigprocmask, SIG_SETMASK, &blocked, &before, sizeof before);
    return before;
}

void restoreSignals(std::uint64_t before) {
    ::syscall(SYS_rt_sigprocmask, SIG_SETMASK, &before, nullptr, sizeof before);
}

void installHandler(void (*handler)(int, siginfo_t*, void*)) {
    const std::lock_guard<InternalLock> guard(handlerLock);
    if (ownHandler) return;
    findCriticalCode();
    struct sigaction action = {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    ::sigfillset(&action.sa_mask);
    if (::sigaction(signalNumber(), &action, &handlerBefore) != 0) return;
    deliverAtOnce(signalNumber(), handler);
    ownHandler = handler;
}

}  // namespace

void removeInterruptionHandler() noexcept {
    const std::lock_guard<InternalLock> guard(handlerLock);
    if (!ownHandler) return;
    struct sigaction now = {};
    ::sigaction(signalNumber(), nullptr, &now);
    if ((now.sa_flags & SA_SIGINFO) && now.sa_sigaction == ownHandler)
        ::sigaction(signalNumber(), &handlerBefore, nullptr);
    ownHandler = nullptr;
}

void Interruption::open() noexcept {
    m_threadId = ::gettid();
    interruptionOfThisThread = this;
    // Programs block all signals before they start threads, which inherit that.
    sigset_t calls;
    ::sigemptyset(&calls);
    ::sigaddset(&calls, signalNumber());
    ::pthread_sigmask(SIG_UNBLOCK, &calls, nullptr);
    if (m_word.fetch_or(opened) & watched) wakeAll(m_word);
}

void Interruption::close() noexcept {
    std::uint32_t before;
    {
        const std::lock_guard<InternalLock> guard(m_callLock);
        before = m_word.fetch_or(closed);
    }
    if (before & watched) wakeAll(m_word);
}

void Interruption::suspend() noexcept {
    std::uint32_t word = m_word;
    do {
        if ((word & closed) || stops(word) == mostStops) return;
    } while (!(word & ending) && !m_word.compare_exchange_weak(word, word + oneStop));
    if (interruptionOfThisThread == this)
        attendNow();
    else
        callUntil([](std::uint32_t now) {
            return (now & (standing | closed)) || (stops(now) == 0 && !(now & ending));
        });
}

void Interruption::resume() noexcept {
    std::uint32_t word = m_word;
    do {
        if (stops(word) == 0) return;
    } while (!m_word.compare_exchange_weak(word, word - oneStop));
    if (stops(word) != 1) return;
    tellOrder(this);
    wakeAll(m_word);
}

void Interruption::end() noexcept {
    const std::uint32_t before = m_word.fetch_or(ending);
    if (before & closed) return;
    if (interruptionOfThisThread == this) {
        blockSignals();
        endThisThreadOutright();
    }
    tellOrder(this);
    if (before & standing) wakeAll(m_word);
    callUntil([](std::uint32_t now) { return now & closed; });
}

/// Calls the thread again and again until the word is as it should be.
template <class Done>
void Interruption::callUntil(const Done& done) noexcept {
    installHandler(onSignal);
    const std::int64_t begin = monotonicTime();
    std::int64_t pause = shortestPause;
    for (std::uint32_t word = m_word; !done(word); word = m_word) {
        if (!(word & watched)) {
            m_word.fetch_or(watched);
            continue;
        }
        if (get(m_refusals) >= mostRefusals && monotonicTime() - begin >= patience) set(m_insisting, true);
        pause = get(m_called) ? std::min(2 * pause, longestPause) : shortestPause;
        if (word & opened) call();
        sleepWhile(m_word, word, pause);
    }
    tellOrder(this);
}

void Interruption::call() noexcept {
    const std::lock_guard<InternalLock> guard(m_callLock);
    if (isClosed() || get(m_called)) return;
    set(m_called, true);
    // Where too many signals are on their way already, another attempt follows.
    if (::tgkill(::getpid(), m_threadId, signalNumber()) != 0) set(m_called, false);
}

void Interruption::waitUntilOpen() noexcept {
    for (std::uint32_t word = m_word; !(word & (opened | closed)); word = m_word) {
        if (word & watched)
            sleepWhile(m_word, word, forEver);
        else
            m_word.fetch_or(watched);
    }
}

OSUPT_NOT_INSTRUMENTED void Interruption::onSignal(int, siginfo_t*, void* context) {
    Interruption* const self = interruptionOfThisThread;
    if (!self || !get(self->m_called)) return;  // not from here
    const int error = errno;
    if (interruptibility.stretches > 0) {
        interruptibility.pending = attendPending;
    } else if (standsAtSafePoint(context, self->m_last) || get(self->m_insisting)) {
        blockSignals();  // until the handler returns
        self->attend();
    } else {
        set(self->m_refusals, get(self->m_refusals) + 1);
        set(self->m_called, false);
    }
    errno = error;
}

void Interruption::attendPending() {
    interruptibility.pending = nullptr;
    interruptionOfThisThread->attendNow();
}

void Interruption::attendNow() noexcept {
    const int error = errno;
    const std::uint64_t before = blockSignals();
    attend();
    restoreSignals(before);
    errno = error;
}

/// On the thread itself, with all signals blocked: does what others want of it.
void Interruption::attend() noexcept {
    beginUnwatched(this);
    set(m_insisting, false);
    set(m_refusals, 0u);
    set(m_called, false);
    m_last = Standpoint();
    for (std::uint32_t word = m_word; !(word & closed); word = m_word) {
        if (word & ending) endThisThreadOutright();
        const bool stands = word & standing;
        if (stops(word) > 0 && stands) {
            sleepWhile(m_word, word, forEver);
        } else if (stops(word) == 0 && !stands) {
            break;
        } else if (m_word.compare_exchange_strong(word, word ^ standing)) {
            if (!stands) wakeAll(m_word);
        }
    }
    endUnwatched(this);
}

void Interruption::moveToChild() noexcept {
    m_threadId = ::gettid();
    m_word.fetch_and(opened | closed);
    m_called = false;
    m_insisting = false;
    m_refusals = 0;
    interruptibility.pending = nullptr;
}

void Interruption::closeInChild() noexcept { m_word.fetch_or(closed); }

}  // namespace OrvoSupport::platform
