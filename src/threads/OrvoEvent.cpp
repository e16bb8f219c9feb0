#include "OrvoEvent.h"

#include <new>
#include <typeinfo>

#include "platform/Event.h"
#include "threads/NotificationRound.h"
#include "threads/WaitForSeveral.h"

namespace OrvoSupport {

OrvoEvent::OrvoEvent() : m_handle(nullptr) {
    platform::WaitHandle event = platform::createEvent();
    if (!event) return;
    m_handle = new (std::nothrow) void*(event);
    if (!m_handle) platform::closeEvent(event);
}

OrvoEvent::~OrvoEvent() {
    if (m_handle) platform::closeEvent(*m_handle);
    delete m_handle;
}

void OrvoEvent::addDependent(OrvoDependent& dependent) { m_collaborator.addDependent(dependent); }

void OrvoEvent::removeDependent(OrvoDependent& dependent) { m_collaborator.removeDependent(dependent); }

void OrvoEvent::set() {
    if (!m_handle) return;
    if (!tellDependents()) return;
    platform::setEvent(*m_handle);  // the last step: a waiter may destroy the event as soon as it is released
}

void OrvoEvent::reset() {
    if (m_handle) platform::resetEvent(*m_handle);
}

void OrvoEvent::pulse() {
    if (!m_handle) return;
    if (!tellDependents()) return;
    platform::pulseEvent(*m_handle);
}

int OrvoEvent::wait(int timeoutMs) {
    // Waiting for an event that does not exist succeeds, so that a host short of handles does not hang.
    if (!m_handle) return 0;
    switch (platform::waitForOne(*m_handle, timeoutMs)) {
        case platform::waitFailed: return -1;
        case platform::waitTimedOut: return -2;
        case platform::waitAbandoned: return -3;
        default: return 0;
    }
}

void* OrvoEvent::getHandle() { return m_handle; }

int OrvoEvent::wait(std::vector<OrvoEvent*>& events, bool waitAll, int timeoutMs) {
    const auto handleOf = [&](std::size_t i) { return events[i] ? events[i]->m_handle : nullptr; };
    return waitForSeveral(events.size(), handleOf, waitAll, timeoutMs);
}

int OrvoEvent::wait(int count, OrvoEvent* events, bool waitAll, int timeoutMs) {
    if (count < 0 || !events) return -1;
    const auto handleOf = [&](std::size_t i) { return events[i].m_handle; };
    return waitForSeveral(static_cast<std::size_t>(count), handleOf, waitAll, timeoutMs);
}

OrvoNotification* OrvoEvent::createNotification() { return new (std::nothrow) OrvoEventNotification; }

void OrvoEvent::destroyNotification(OrvoNotification* notification) { delete notification; }

/// False when one of those who were told has destroyed the event.
bool OrvoEvent::tellDependents() {
    // Most events have no dependents, and nothing is overridden in one of this very class: nobody would see
    // the notification. Addresses are compared since classes of hosts without type information have none.
    if (m_collaborator.m_count == 0 && &typeid(*this) == &typeid(OrvoEvent)) return true;

    const NotificationRound round(m_collaborator);
    OrvoNotification* const notification = createNotification();
    const auto destroy = [&] {
        if (round.sourceIsGone())
            delete notification;
        else
            destroyNotification(notification);
    };
    try {
        if (notification) m_collaborator.notify(*notification);
    } catch (...) {
        destroy();
        throw;
    }
    destroy();
    return !round.sourceIsGone();
}

}  // namespace OrvoSupport
