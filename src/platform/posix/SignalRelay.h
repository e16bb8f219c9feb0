// Signals as messages (Linux only).
#ifndef OSUPT_PLATFORM_POSIX_SIGNAL_RELAY_H
#define OSUPT_PLATFORM_POSIX_SIGNAL_RELAY_H

#include <signal.h>

#include <vector>

namespace OrvoSupport::platform {

/// Catches signals of the process from open() until close() and hands them to a thread that waits for them,
/// so that nothing but one write() runs in signal context. What was done with the signals before is restored.
/// A copy that fork() makes of the process knows nothing of this: signals to it do there what they did before
/// open(). Of a signal that comes again before it is taken, one is handed over, as the system itself does.
///
/// Thread safety: wake() from any thread; open() and close() around all take() calls of one thread. One
/// object at a time is open in a process.
class SignalRelay {
public:
    static constexpr int none = 0;

    SignalRelay() = default;
    SignalRelay(const SignalRelay&) = delete;
    SignalRelay& operator=(const SignalRelay&) = delete;
    ~SignalRelay() { close(); }

    /// Takes numbers of standard signals. False when another relay is open or the system is out of
    /// descriptors.
    bool open(const std::vector<int>& signals);
    void close();

    /// Waits for the next signal, up to `timeoutMs` milliseconds (-1 for ever), and returns its number;
    /// `none` when the time ran out, when somebody called wake(), and now and then for no reason.
    int take(int timeoutMs);
    void wake();

    /// Lets the thread that makes it receive the signals of an open relay, even where the host has all of
    /// them blocked, until it is destroyed.
    class Reception {
    public:
        explicit Reception(const SignalRelay& relay);
        ~Reception();
        Reception(const Reception&) = delete;
        Reception& operator=(const Reception&) = delete;

    private:
        sigset_t m_before;
    };

private:
    bool m_open = false;
    std::vector<int> m_signals;
};

}  // namespace OrvoSupport::platform

#endif
