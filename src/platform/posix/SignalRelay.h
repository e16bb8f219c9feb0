// Signals as messages (Linux only).
#ifndef OSUPT_PLATFORM_POSIX_SIGNAL_RELAY_H
#define OSUPT_PLATFORM_POSIX_SIGNAL_RELAY_H

#include <signal.h>

#include <array>
#include <cstddef>

#include "platform/posix/Descriptor.h"

namespace OrvoSupport::platform {

/// Catches signals of the process from open() until close() and hands them to a thread that waits for them,
/// so that nothing but one write() runs in signal context. What was done with the signals before is restored.
///
/// Thread safety: wake() from any thread; open() and close() around all take() calls of one thread. One
/// object at a time is open in a process.
class SignalRelay {
public:
    static constexpr int none = 0;
    static constexpr std::size_t most = 4;

    SignalRelay() = default;
    SignalRelay(const SignalRelay&) = delete;
    SignalRelay& operator=(const SignalRelay&) = delete;
    ~SignalRelay() { close(); }

    /// Takes numbers of signals, filled up with `none`. False when another relay is open or the system is out
    /// of descriptors.
    bool open(const std::array<int, most>& signals);
    void close();

    /// Lets the calling thread receive the signals even where the host has all of them blocked.
    void unblock() const;
    /// Waits for the next signal, up to `timeoutMs` milliseconds (-1 for ever), and returns its number;
    /// `none` when the time ran out or somebody called wake().
    int take(int timeoutMs);
    void wake();

private:
    std::array<int, most> m_signals{};
    std::array<struct sigaction, most> m_before{};
    Descriptor m_read;
    Descriptor m_write;
};

}  // namespace OrvoSupport::platform

#endif
