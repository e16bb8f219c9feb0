// Win32 half of Mutex; contract in src/platform/Mutex.h.
#include "platform/Mutex.h"

#include <windows.h>

#include <atomic>
#include <new>

namespace OrvoSupport::platform {
namespace {

constexpr DWORD tryMilliseconds = 100;

}  // namespace

// The depth is kept beside the system's lock, because only its holder may read the system's own.
struct Mutex::State {
    explicit State(bool section);
    ~State();
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    bool heldByThisThread() const { return holder.load(std::memory_order_relaxed) == ::GetCurrentThreadId(); }
    void count(int depthNow);
    bool leave();
    void free();

    const bool useSection;
    HANDLE mutex = nullptr;
    CRITICAL_SECTION section = {};
    std::atomic<DWORD> holder{0};
    std::atomic<int> depth{0};
};

Mutex::State::State(bool section_) : useSection(section_) {
    if (useSection)
        ::InitializeCriticalSection(&section);
    else
        mutex = ::CreateMutexA(nullptr, FALSE, nullptr);
}

Mutex::State::~State() {
    if (useSection)
        ::DeleteCriticalSection(&section);
    else if (mutex)
        ::CloseHandle(mutex);
}

void Mutex::State::count(int depthNow) {
    depth.store(depthNow, std::memory_order_relaxed);
    holder.store(depthNow ? ::GetCurrentThreadId() : 0, std::memory_order_relaxed);
}

// One hold less. The count goes first, because the next holder counts as soon as the system lets it in; it is
// put back when the system knows better than the thread id, which may have been handed out again.
bool Mutex::State::leave() {
    const int before = depth.load(std::memory_order_relaxed);
    count(before - 1);
    if (useSection) {
        ::LeaveCriticalSection(&section);
    } else if (!::ReleaseMutex(mutex)) {
        count(before);
        return false;
    }
    return true;
}

// Gives back what was taken from a holder that had ended.
void Mutex::State::free() {
    count(0);
    ::ReleaseMutex(mutex);
}

Mutex::Mutex(Flavour flavour) noexcept {
    static_assert(sizeof(State) <= sizeof m_storage && alignof(State) <= alignof(void*));
    new (m_storage) State(flavour == Flavour::criticalSection);
}

Mutex::~Mutex() {
    if (!state().useSection) unwind();
    state().~State();
}

bool Mutex::usable() const { return state().useSection || state().mutex; }

void Mutex::lock() {
    State& state = this->state();
    bool abandoned = false;
    if (state.useSection)
        ::EnterCriticalSection(&state.section);
    else
        abandoned = ::WaitForSingleObject(state.mutex, INFINITE) == WAIT_ABANDONED;
    state.count(abandoned ? 1 : state.depth.load(std::memory_order_relaxed) + 1);
}

void Mutex::unlock() {
    if (state().heldByThisThread()) state().leave();
}

bool Mutex::tryLock() {
    State& state = this->state();
    if (state.useSection) {
        if (!::TryEnterCriticalSection(&state.section)) return false;
    } else {
        const DWORD result = ::WaitForSingleObject(state.mutex, tryMilliseconds);
        if (result == WAIT_ABANDONED) state.free();
        if (result != WAIT_OBJECT_0) return false;
    }
    state.count(state.depth.load(std::memory_order_relaxed) + 1);
    return true;
}

int Mutex::depth() const { return state().depth.load(std::memory_order_relaxed); }

void Mutex::unwind() {
    if (!tryLock()) return;
    // Counted beforehand: after the last hold is given up the depth is the next holder's.
    for (int holds = depth(); holds > 0 && state().leave();) --holds;
}

}  // namespace OrvoSupport::platform
