#include "threads/TimerSchedule.h"

#include <algorithm>
#include <new>
#include <utility>

#include "OrvoTimer.h"

namespace OrvoSupport {
namespace {

constexpr std::size_t children = 4;
constexpr std::size_t firstCapacity = 16;

}  // namespace

inline TimerSchedule::Heap& TimerSchedule::heapOf(const OrvoTimer& timer) {
    return timer.m_setAside ? m_setAside : m_timers;
}

void TimerSchedule::markAsOut(OrvoTimer& timer) {
    timer.m_restarted.store(0, std::memory_order_relaxed);
    timer.m_scheduled.store(false, std::memory_order_release);
}

/// A timer that only moves counts as scheduled all the time: whoever wants to stop it asks without a lock.
void TimerSchedule::insert(OrvoTimer& timer, const TimePair& due) noexcept {
    if (timer.m_scheduled.load(std::memory_order_relaxed)) heapOf(timer).erase(timer.m_place);
    timer.m_setAside = timer.m_visitedIn == m_pass;
    Heap& heap = heapOf(timer);
    // What is set aside must find room among the others at the end of the pass.
    const bool fits = heap.reserve(heap.count + 1) && m_timers.reserve(m_timers.count + m_setAside.count + 1);
    if (fits) {
        const bool atFront = due.milliseconds <= due.seconds;
        heap.push({due, atFront ? --m_frontRank : ++m_endRank, &timer});
    }
    if (fits)
        timer.m_scheduled.store(true, std::memory_order_release);
    else
        markAsOut(timer);
}

void TimerSchedule::remove(OrvoTimer& timer) noexcept {
    if (!timer.m_scheduled.load(std::memory_order_relaxed)) return;
    heapOf(timer).erase(timer.m_place);
    markAsOut(timer);
}

void TimerSchedule::clear() noexcept {
    m_timers.clear();
    m_setAside.clear();
}

OrvoTimer* TimerSchedule::firstUnvisited(const TimePair& now) const {
    if (m_timers.count == 0 || !isNotAfter(firstDue(), now)) return nullptr;
    return m_timers.entries[0].timer;
}

void TimerSchedule::visit(OrvoTimer& timer) { timer.m_visitedIn = m_pass; }

void TimerSchedule::endPass() noexcept {
    ++m_pass;  // the marks of this one count no longer
    for (std::size_t i = 0; i < m_setAside.count; ++i) {
        m_setAside.entries[i].timer->m_setAside = false;
        m_timers.push(m_setAside.entries[i]);
    }
    m_setAside.count = 0;
}

bool TimerSchedule::Heap::reserve(std::size_t wanted) noexcept {
    if (wanted <= capacity) return true;
    const std::size_t larger = std::max({wanted, 2 * capacity, firstCapacity});
    std::unique_ptr<Entry[]> moved(new (std::nothrow) Entry[larger]);
    if (!moved) return false;
    std::copy_n(entries.get(), count, moved.get());
    entries = std::move(moved);
    capacity = larger;
    return true;
}

void TimerSchedule::Heap::push(const Entry& entry) { rise(entry, count++); }

void TimerSchedule::Heap::erase(std::size_t place) {
    const Entry last = entries[--count];
    if (place < count && !rise(last, place)) sink(last, place);
}

void TimerSchedule::Heap::clear() noexcept {
    for (std::size_t i = 0; i < count; ++i) markAsOut(*entries[i].timer);
    entries.reset();
    count = capacity = 0;
}

inline void TimerSchedule::Heap::put(const Entry& entry, std::size_t place) {
    entries[place] = entry;
    entry.timer->m_place = place;
}

/// Puts the entry at the place or above it. False when it stayed there.
bool TimerSchedule::Heap::rise(const Entry& entry, std::size_t place) {
    const std::size_t start = place;
    while (place > 0) {
        const std::size_t parent = (place - 1) / children;
        if (!before(entry, entries[parent])) break;
        put(entries[parent], place);
        place = parent;
    }
    put(entry, place);
    return place != start;
}

void TimerSchedule::Heap::sink(const Entry& entry, std::size_t place) {
    for (;;) {
        const std::size_t first = place * children + 1;
        if (first >= count) break;
        std::size_t least = first;
        for (std::size_t i = first + 1; i < std::min(first + children, count); ++i)
            if (before(entries[i], entries[least])) least = i;
        if (!before(entries[least], entry)) break;
        put(entries[least], place);
        place = least;
    }
    put(entry, place);
}

}  // namespace OrvoSupport
