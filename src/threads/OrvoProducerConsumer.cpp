#include <new>

#include "OrvoThread.h"
#include "logging/Trace.h"
#include "platform/Event.h"
#include "platform/SyncMutex.h"

namespace OrvoSupport {

OrvoBaseSynchronizedQueue::OrvoBaseSynchronizedQueue() = default;
OrvoBaseSynchronizedQueue::~OrvoBaseSynchronizedQueue() = default;

OrvoCriticalSectionObject& OrvoBaseSynchronizedQueue::getLock() { return m_lock; }

struct OrvoBaseProducerConsumer::SyncHandles {
    platform::WaitHandle event;
    platform::MutexHandle mutex;
};

OrvoBaseProducerConsumer::OrvoBaseProducerConsumer(OrvoBaseSynchronizedQueue& queue)
    : m_sentinel(false), m_handles(nullptr), m_queue(queue) {
    const platform::MutexHandle mutex = platform::createMutex();
    if (!mutex) return;
    const platform::WaitHandle event = platform::createManualResetEvent();
    if (event) m_handles = new (std::nothrow) SyncHandles{event, mutex};
    if (m_handles) return;
    platform::closeEvent(event);
    platform::closeMutex(mutex);
}

OrvoBaseProducerConsumer::~OrvoBaseProducerConsumer() {
    if (!m_handles) return;
    platform::closeEvent(m_handles->event);
    platform::closeMutex(m_handles->mutex);
    delete m_handles;
}

void OrvoBaseProducerConsumer::produceSentinel(bool clearQueue) {
    trace(9, "OrvoBaseProducerConsumer::produceSentinel: waiting for lock");
    lockSyncMutex();
    // Whatever comes out of the log or of clear(), nobody is left waiting for the mutex or the event.
    struct End {
        OrvoBaseProducerConsumer& object;
        ~End() {
            object.setSyncEvent();
            object.unlockSyncMutex();
        }
    } end{*this};

    trace(9, "OrvoBaseProducerConsumer::produceSentinel: adding sentinel");
    m_sentinel = true;
    if (!clearQueue) return;
    trace(9, "OrvoBaseProducerConsumer::produceSentinel: clearing queue");
    m_queue.clear();
}

void OrvoBaseProducerConsumer::lockSyncMutex() {
    if (m_handles) platform::lockMutex(m_handles->mutex);
}

void OrvoBaseProducerConsumer::unlockSyncMutex() {
    if (m_handles) platform::unlockMutex(m_handles->mutex);
}

void OrvoBaseProducerConsumer::setSyncEvent() {
    if (m_handles) platform::setEvent(m_handles->event);
}

void OrvoBaseProducerConsumer::waitForSyncEvent() {
    if (!m_handles) return;
    platform::unlockMutexAndWait(m_handles->mutex, m_handles->event);
    platform::lockMutex(m_handles->mutex);
    platform::resetEvent(m_handles->event);
}

}  // namespace OrvoSupport
