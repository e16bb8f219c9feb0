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

    bool usable() const { return useSection || mutex; }
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

Mutex::Mutex(Flavour flavour) noexcept
    : m_state(new (std::nothrow) State(flavour == Flavour::criticalSection)) {
    if (m_state && !m_state->usable()) {
        delete m_state;
        m_state = nullptr;
    }
}

Mutex::~Mutex() {
    if (m_state && !m_state->useSection) unwind();
    delete m_state;
}

void Mutex::lock() {
    bool abandoned = false;
    if (m_state->useSection)
        ::EnterCriticalSection(&m_state->section);
    else
        abandoned = ::WaitForSingleObject(m_state->mutex, INFINITE) == WAIT_ABANDONED;
    m_state->count(abandoned ? 1 : m_state->depth.load(std::memory_order_relaxed) + 1);
}

void Mutex::unlock() {
    if (m_state->heldByThisThread()) m_state->leave();
}

bool Mutex::tryLock() {
    if (m_state->useSection) {
        if (!::TryEnterCriticalSection(&m_state->section)) return false;
    } else {
        const DWORD result = ::WaitForSingleObject(m_state->mutex, tryMilliseconds);
        if (result == WAIT_ABANDONED) m_state->free();
        if (result != WAIT_OBJECT_0) return false;
    }
    m_state->count(m_state->depth.load(std::memory_order_relaxed) + 1);
    return true;
}

int Mutex::depth() const { return m_state->depth.load(std::memory_order_relaxed); }

void Mutex::unwind() {
    if (!tryLock()) return;
    // Counted beforehand: after the last hold is given up the depth is the next holder's.
    for (int holds = m_state->depth.load(std::memory_order_relaxed); holds > 0 && m_state->leave();) --holds;
}

}  // namespace OrvoSupport::platform
