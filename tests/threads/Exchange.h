// A queue of numbers, and the two sides of it as a host writes them.
#ifndef TESTS_THREADS_EXCHANGE_H
#define TESTS_THREADS_EXCHANGE_H

#include <OrvoThread.h>

#include <deque>
#include <functional>
#include <thread>

class NumberQueue : public OrvoSupport::OrvoBaseSynchronizedQueue {
public:
    void add(int number) {
        OrvoSupport::OrvoCriticalSection guard(getLock());
        m_numbers.push_back(number);
    }
    bool take(int& number) {
        OrvoSupport::OrvoCriticalSection guard(getLock());
        if (m_numbers.empty()) return false;
        number = m_numbers.front();
        m_numbers.pop_front();
        return true;
    }
    std::size_t size() {
        OrvoSupport::OrvoCriticalSection guard(getLock());
        return m_numbers.size();
    }
    void clear() override {
        ++clears;
        if (onClear) onClear();
        OrvoSupport::OrvoCriticalSection guard(getLock());
        m_numbers.clear();
    }

    int clears = 0;
    std::function<void()> onClear;

private:
    std::deque<int> m_numbers;
};

/// The protected part made callable, and a count of those who wait.
class Exchange : public OrvoSupport::OrvoBaseProducerConsumer {
public:
    using OrvoBaseProducerConsumer::lockSyncMutex;
    using OrvoBaseProducerConsumer::m_queue;
    using OrvoBaseProducerConsumer::m_sentinel;
    using OrvoBaseProducerConsumer::OrvoBaseProducerConsumer;
    using OrvoBaseProducerConsumer::setSyncEvent;
    using OrvoBaseProducerConsumer::unlockSyncMutex;
    using OrvoBaseProducerConsumer::waitForSyncEvent;

    void produce(int number) {
        lockSyncMutex();
        numbers().add(number);
        setSyncEvent();
        unlockSyncMutex();
    }

    /// False when there is nothing more to come.
    bool consume(int& number) {
        lockSyncMutex();
        bool found = false;
        while (!(found = numbers().take(number)) && !m_sentinel) waitAndCount();
        unlockSyncMutex();
        return found;
    }

    /// waitForSyncEvent() for the holder of the mutex.
    void waitAndCount() {
        ++m_waiting;
        waitForSyncEvent();
        --m_waiting;
        ++m_wakes;
    }

    /// Returns when so many threads wait. They are counted under the mutex, which they give up by waiting.
    void awaitWaiters(int count) {
        while (guarded(m_waiting) != count) std::this_thread::yield();
    }
    int wakes() { return guarded(m_wakes); }

private:
    NumberQueue& numbers() { return static_cast<NumberQueue&>(m_queue); }
    int guarded(const int& value) {
        lockSyncMutex();
        const int copy = value;
        unlockSyncMutex();
        return copy;
    }

    int m_waiting = 0;
    int m_wakes = 0;
};

#endif
