// The stretches of a thread in which it is neither suspended nor ended. Linux only.
#ifndef OSUPT_PLATFORM_POSIX_UNINTERRUPTED_H
#define OSUPT_PLATFORM_POSIX_UNINTERRUPTED_H

namespace OrvoSupport::platform {

/// What the signal by which threads are interrupted finds out about the thread that it interrupts.
struct Interruptibility {
    unsigned stretches;  // how many the thread is in
    void (*pending)();   // what came meanwhile and is to be done when it leaves the last of them
};

/// The calling thread's. Initial-exec and trivial, so that it is there without the help of the C library.
extern __thread Interruptibility interruptibility __attribute__((tls_model("initial-exec")));

inline void beginUninterrupted() noexcept {
    ++interruptibility.stretches;
    __atomic_signal_fence(__ATOMIC_SEQ_CST);
}

inline void endUninterrupted() noexcept {
    __atomic_signal_fence(__ATOMIC_SEQ_CST);
    --interruptibility.stretches;
    __atomic_signal_fence(__ATOMIC_SEQ_CST);
    if (__builtin_expect(interruptibility.pending != nullptr, 0) && interruptibility.stretches == 0)
        interruptibility.pending();
}

/// A stretch as long as a scope. It holds nobody up, so it may not wait for anything but what is as short.
class Uninterrupted {
public:
    Uninterrupted() noexcept { beginUninterrupted(); }
    ~Uninterrupted() { endUninterrupted(); }
    Uninterrupted(const Uninterrupted&) = delete;
    Uninterrupted& operator=(const Uninterrupted&) = delete;
};

}  // namespace OrvoSupport::platform

#endif
