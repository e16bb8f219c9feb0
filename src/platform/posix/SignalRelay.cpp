#include "platform/posix/SignalRelay.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>

namespace OrvoSupport::platform {
namespace {

// Where the handler writes. A handler that is just running when the relay closes may still write there once:
// into a pipe that nobody reads, or nowhere.
std::atomic<int> theWriteEnd{-1};

void relay(int signal) {
    const int error = errno;
    const char message = static_cast<char>(signal);
    // A full pipe holds more of the same already.
    [[maybe_unused]] const ssize_t written = ::write(theWriteEnd, &message, 1);
    errno = error;
}

}  // namespace

bool SignalRelay::open(const std::array<int, most>& signals) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return false;
    Descriptor readEnd(ends[0]);
    Descriptor writeEnd(ends[1]);
    int nobody = -1;
    if (!theWriteEnd.compare_exchange_strong(nobody, writeEnd.get())) return false;
    m_read = std::move(readEnd);
    m_write = std::move(writeEnd);
    m_signals = signals;

    struct sigaction action = {};
    action.sa_handler = relay;
    action.sa_flags = SA_RESTART;
    ::sigfillset(&action.sa_mask);
    for (std::size_t i = 0; i < most; ++i)
        if (m_signals[i] != none) ::sigaction(m_signals[i], &action, &m_before[i]);
    return true;
}

void SignalRelay::close() {
    if (!m_write) return;
    for (std::size_t i = 0; i < most; ++i)
        if (m_signals[i] != none) ::sigaction(m_signals[i], &m_before[i], nullptr);
    theWriteEnd = -1;
    m_read = Descriptor();
    m_write = Descriptor();
}

void SignalRelay::unblock() const {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int signal : m_signals)
        if (signal != none) ::sigaddset(&set, signal);
    ::pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

int SignalRelay::take(int timeoutMs) {
    pollfd waited = {m_read.get(), POLLIN, 0};
    if (::poll(&waited, 1, timeoutMs) <= 0) return none;  // also when a signal came; it is in the pipe then
    char message = none;
    return ::read(m_read.get(), &message, 1) == 1 ? message : none;
}

void SignalRelay::wake() {
    const char message = none;
    [[maybe_unused]] const ssize_t written = ::write(m_write.get(), &message, 1);
}

}  // namespace OrvoSupport::platform
