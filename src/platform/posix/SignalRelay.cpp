#include "platform/posix/SignalRelay.h"

#include <errno.h>
#include <poll.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>

#include "platform/posix/Sanitizers.h"

namespace OrvoSupport::platform {
namespace {

constexpr int signals = 32;  // the standard ones are below

// What the handler needs of the relay that is open.
std::atomic<pid_t> theProcess{0};  // 0 while none is open
std::atomic<int> theEvent{-1};
std::atomic<unsigned> arrived{0};  // a bit for each signal
std::atomic<int> handlersAtWork{0};
struct sigaction actionsBefore[signals];

void announce() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(theEvent, &one, sizeof one);
}

void relay(int signal, siginfo_t*, void*) {
    const int error = errno;
    if (::getpid() == theProcess) {
        ++handlersAtWork;
        arrived |= 1U << signal;
        announce();
        --handlersAtWork;
    } else {  // a copy of the process; the signal comes again as soon as this returns
        ::sigaction(signal, &actionsBefore[signal], nullptr);
        ::raise(signal);
    }
    errno = error;
}

int nextArrived() {
    for (int signal = 1; signal < signals; ++signal) {
        const unsigned bit = 1U << signal;
        if ((arrived & bit) && (arrived.fetch_and(~bit) & bit)) return signal;
    }
    return SignalRelay::none;
}

}  // namespace

bool SignalRelay::open(const std::vector<int>& wanted) {
    pid_t nobody = 0;
    if (!theProcess.compare_exchange_strong(nobody, ::getpid())) return false;
    const int event = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (event < 0) {
        theProcess = 0;
        return false;
    }
    theEvent = event;
    arrived = 0;
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
    const int event = theEvent.exchange(-1);
    while (handlersAtWork != 0) ::sched_yield();
    ::close(event);
    theProcess = 0;
}

int SignalRelay::take(int timeoutMs) {
    if (const int signal = nextArrived()) return signal;
    pollfd waited = {theEvent, POLLIN, 0};
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
