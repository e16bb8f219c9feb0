#include "platform/posix/SignalRelay.h"

#include <errno.h>
#include <poll.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

#include "platform/posix/Sanitizers.h"

namespace OrvoSupport::platform {
namespace {

constexpr int signals = 32;  // the standard ones are below

// What the handler needs of the relay that is open.
pid_t theProcess = 0;  // 0 while none is open
int theEvent = -1;
unsigned arrived = 0;  // a bit for each signal
int handlersAtWork = 0;
struct sigaction actionsBefore[signals];

OSUPT_NOT_INSTRUMENTED void announce() {
    const std::uint64_t one = 1;
    ::syscall(SYS_write, __atomic_load_n(&theEvent, __ATOMIC_SEQ_CST), &one, sizeof one);
}

// In a copy of the process: the signal comes again as soon as the handler has returned.
void passOn(int signal) {
    ::sigaction(signal, &actionsBefore[signal], nullptr);
    ::raise(signal);
}

// It may come on a thread that has hardly begun or is almost gone.
OSUPT_NOT_INSTRUMENTED void relay(int signal, siginfo_t*, void*) {
    const int error = errno;
    if (::syscall(SYS_getpid) == __atomic_load_n(&theProcess, __ATOMIC_SEQ_CST)) {
        __atomic_add_fetch(&handlersAtWork, 1, __ATOMIC_SEQ_CST);
        __atomic_or_fetch(&arrived, 1U << signal, __ATOMIC_SEQ_CST);
        announce();
        __atomic_sub_fetch(&handlersAtWork, 1, __ATOMIC_SEQ_CST);
    } else {
        passOn(signal);
    }
    errno = error;
}

int nextArrived() {
    for (int signal = 1; signal < signals; ++signal) {
        const unsigned bit = 1U << signal;
        if (!(__atomic_load_n(&arrived, __ATOMIC_SEQ_CST) & bit)) continue;
        if (__atomic_fetch_and(&arrived, ~bit, __ATOMIC_SEQ_CST) & bit) return signal;
    }
    return SignalRelay::none;
}

}  // namespace

bool SignalRelay::open(const std::vector<int>& wanted) {
    pid_t nobody = 0;
    if (!__atomic_compare_exchange_n(&theProcess, &nobody, ::getpid(), false, __ATOMIC_SEQ_CST,
                                     __ATOMIC_SEQ_CST))
        return false;
    const int event = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (event < 0) {
        __atomic_store_n(&theProcess, 0, __ATOMIC_SEQ_CST);
        return false;
    }
    __atomic_store_n(&theEvent, event, __ATOMIC_SEQ_CST);
    __atomic_store_n(&arrived, 0, __ATOMIC_SEQ_CST);
    m_open = true;
    m_signals = wanted;

    struct sigaction action = {};
    action.sa_sigaction = relay;
    action.sa_flags = SA_RESTART | SA_SIGINFO;
    ::sigfillset(&action.sa_mask);
    for (const int signal : m_signals) {
        ::sigaction(signal, nullptr, &actionsBefore[signal]);
        ::sigaction(signal, &action, nullptr);
        deliverAtOnce(signal, relay);
    }
    return true;
}

void SignalRelay::close() {
    if (!m_open) return;
    m_open = false;
    for (const int signal : m_signals) ::sigaction(signal, &actionsBefore[signal], nullptr);
    // A handler may just run on another thread. One that comes later writes nowhere.
    const int event = __atomic_exchange_n(&theEvent, -1, __ATOMIC_SEQ_CST);
    while (__atomic_load_n(&handlersAtWork, __ATOMIC_SEQ_CST) != 0) ::sched_yield();
    ::close(event);
    __atomic_store_n(&theProcess, 0, __ATOMIC_SEQ_CST);
}

int SignalRelay::take(int timeoutMs) {
    if (const int signal = nextArrived()) return signal;
    pollfd waited = {__atomic_load_n(&theEvent, __ATOMIC_SEQ_CST), POLLIN, 0};
    if (::poll(&waited, 1, timeoutMs) <= 0)
        return none;  // also when a signal came; the next poll knows of it
    std::uint64_t count;
    [[maybe_unused]] const ssize_t got = ::read(waited.fd, &count, sizeof count);
    return nextArrived();
}

void SignalRelay::wake() { announce(); }

SignalRelay::Reception::Reception(const SignalRelay& relay) {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int signal : relay.m_signals) ::sigaddset(&set, signal);
    ::pthread_sigmask(SIG_UNBLOCK, &set, &m_before);
}

SignalRelay::Reception::~Reception() { ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

}  // namespace OrvoSupport::platform
