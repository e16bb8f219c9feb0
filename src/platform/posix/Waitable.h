// The common base of everything that can be waited for here: a signalled state and a queue of waiters.
#ifndef OSUPT_PLATFORM_POSIX_WAITABLE_H
#define OSUPT_PLATFORM_POSIX_WAITABLE_H

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace OrvoSupport::platform {

class Mutex;
class Waitable;
struct Waiter;

/// A waiter's place in the queue of one waitable. Nothing is set in a new one: a wait makes room for the most
/// places there can be and mostly uses one or two.
struct WaitPlace {
    Waitable* waitable;  // null when it was destroyed meanwhile
    Waiter* waiter;
    WaitPlace* previous;  // the neighbours are set when it joins the queue
    WaitPlace* next;
};

/// A thread that waits, on that thread's stack. Everything but `state` is guarded by the one wait lock; once
/// `state` says released, the waiter may be gone at any moment.
struct Waiter {
    WaitPlace* places;
    std::size_t count;
    bool all;
    int result = -1;              // what the wait answers, once a signal was taken for it
    Waiter* nextTaken = nullptr;  // the next of those that one signal releases
    std::atomic<std::uint32_t> state{0};

    /// Gives up one hold of `held`, if there is one, once it waits.
    int wait(int timeoutMs, Mutex* held = nullptr);
    int waitInQueues(int timeoutMs);
    /// Takes what it waits for if it can have it now.
    bool tryTake();
    /// Leaves all queues. `keep` stays watched, since its owner is not done with it.
    void leave(const Waitable* keep = nullptr);

    /// Takes it or (if it may wait) joins all queues, in one step.
    bool tryTakeOrEnqueue(bool mayWait);
};

/// As long as nobody waits, the state is one word that changes without any lock. The first waiter marks the
/// word as watched; from then on it changes under the wait lock only, so that a wait for all can look at
/// several waitables and take their signals in one step.
///
/// A signal is handed to its waiter by the thread that signals: it cannot be lost, nor taken by somebody who
/// came later, and a waiter wakes only when its wait is over.
class Waitable {
public:
    enum class Release { one, all };

    /// With Release::one a signal is forgotten when it has released a waiter; with Release::all it stays.
    explicit Waitable(Release release) : m_release(release) {}
    Waitable(const Waitable&) = delete;
    Waitable& operator=(const Waitable&) = delete;
    /// Who still waits is left waiting, without this waitable.
    ~Waitable();

    void signal();
    void clear();
    /// Releases those waiting now that a signal would release, and leaves it not signalled.
    void pulse();
    /// Takes the signal if that needs no lock; false says nothing more than that it did not.
    bool tryTake();
    /// The same as signal() in a child that has one thread and whose locks may not be in order yet.
    void signalAfterFork();

private:
    friend struct Waiter;

    static constexpr std::uint32_t signalled = 1;
    static constexpr std::uint32_t watched = 2;

    bool isSignalled() const { return m_state.load(std::memory_order_relaxed) & signalled; }
    void watch();
    void unwatch();
    void enqueue(WaitPlace& place);
    void dequeue(WaitPlace& place);
    void take();
    Waiter* releaseWaiters();

    std::atomic<std::uint32_t> m_state{0};
    const Release m_release;
    std::uint32_t m_process = 0;  // which process of a chain of forks the queue belongs to
    WaitPlace* m_first = nullptr;
    WaitPlace* m_last = nullptr;
};

/// Takes the calling thread, which ends without going on with its wait, out of all queues.
void leaveWaitQueues() noexcept;

}  // namespace OrvoSupport::platform

#endif
