// The timers that are started, in the order in which they fire.
#ifndef OSUPT_THREADS_TIMER_SCHEDULE_H
#define OSUPT_THREADS_TIMER_SCHEDULE_H

#include <cstddef>
#include <cstdint>
#include <memory>

namespace OrvoSupport {

class OrvoTimer;

/// Seconds and milliseconds. The seconds of a due time are those of the calendar, its milliseconds those of
/// the period.
struct TimePair {
    std::int64_t seconds;
    std::int32_t milliseconds;
};

/// Compares the milliseconds of `a` with the seconds of `b`. Firing depends on it: whatever falls into the
/// current second is due, and of two timers of one second the later one goes first.
constexpr bool isNotAfter(const TimePair& a, const TimePair& b) {
    return a.seconds < b.seconds || (a.seconds == b.seconds && a.milliseconds <= b.seconds);
}

/// A new timer goes before the first one than which it is not later, and to the end when there is none. Seen
/// from one second, all of its timers compare alike with a new one of that second: it goes to the front of
/// them or to their end. So the order is that of the seconds, and within one second of a number that falls
/// for those at the front and rises for those at the end, and a heap keeps it.
///
/// A pass over the schedule visits each timer once, even one that is inserted again meanwhile; such timers
/// are set aside until the pass is over.
///
/// Thread safety: none. Constant-initialised.
class TimerSchedule {
public:
    constexpr TimerSchedule() = default;
    TimerSchedule(const TimerSchedule&) = delete;
    TimerSchedule& operator=(const TimerSchedule&) = delete;

    bool isEmpty() const { return m_timers.count == 0 && m_setAside.count == 0; }
    /// When the first timer is due. Not during a pass, nor when it is empty.
    const TimePair& firstDue() const { return m_timers.entries[0].due; }
    OrvoTimer& first() const { return *m_timers.entries[0].timer; }

    /// Puts the timer in, or to its new place. When there is no memory, it is not in afterwards.
    void insert(OrvoTimer& timer, const TimePair& due) noexcept;
    /// A timer that is not in it is ignored.
    void remove(OrvoTimer& timer) noexcept;
    /// Takes all timers out and gives up the memory.
    void clear() noexcept;

    void beginPass() { ++m_pass; }
    /// The first timer not visited yet, if it is not after `now`; otherwise null.
    OrvoTimer* firstUnvisited(const TimePair& now) const;
    void visit(OrvoTimer& timer);
    void endPass() noexcept;

private:
    struct Entry {
        TimePair due;
        std::int64_t rank;
        OrvoTimer* timer;
    };

    /// Each parent has four children: shallower than with two, and the four stand side by side.
    struct Heap {
        std::unique_ptr<Entry[]> entries;
        std::size_t count = 0;
        std::size_t capacity = 0;

        bool reserve(std::size_t wanted) noexcept;
        void push(const Entry& entry);
        void erase(std::size_t place);
        void clear() noexcept;

    private:
        void put(const Entry& entry, std::size_t place);
        bool rise(const Entry& entry, std::size_t place);
        void sink(const Entry& entry, std::size_t place);
    };

    static void markAsOut(OrvoTimer& timer);
    Heap& heapOf(const OrvoTimer& timer);
    static bool before(const Entry& a, const Entry& b) {
        return a.due.seconds != b.due.seconds ? a.due.seconds < b.due.seconds : a.rank < b.rank;
    }

    Heap m_timers;
    Heap m_setAside;
    std::int64_t m_frontRank = 0;
    std::int64_t m_endRank = 0;
    std::uint64_t m_pass = 1;  // 0 is in no timer's mark but a new one's
};

}  // namespace OrvoSupport

#endif
