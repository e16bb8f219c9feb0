#include <algorithm>

#include "OrvoEvent.h"

namespace OrvoSupport {

OrvoNotification::OrvoNotification() {
}  // leaves m_id alone; subclasses that carry no id rely on the cheap way
OrvoNotification::OrvoNotification(int id) : m_id(id) {}
OrvoNotification::OrvoNotification(const OrvoNotification& other) = default;
OrvoNotification& OrvoNotification::operator=(const OrvoNotification& other) = default;
OrvoNotification::~OrvoNotification() = default;

OrvoNotification& OrvoNotification::operator=(int id) {
    m_id = id;
    return *this;
}

int OrvoNotification::getId() const { return m_id; }

void OrvoNotification::setId(int id) { m_id = id; }

OrvoEventNotification::OrvoEventNotification() : OrvoNotification(1) {}
OrvoEventNotification::OrvoEventNotification(const OrvoEventNotification& other) = default;
OrvoEventNotification& OrvoEventNotification::operator=(const OrvoEventNotification& other) = default;
OrvoEventNotification::~OrvoEventNotification() = default;

OrvoDependent::OrvoDependent() = default;
OrvoDependent::OrvoDependent(const OrvoDependent& other) = default;
OrvoDependent& OrvoDependent::operator=(const OrvoDependent& other) = default;
OrvoDependent::~OrvoDependent() = default;

void OrvoDependent::handleNotification(OrvoCollaborator&, const OrvoNotification&) {}

OrvoCollaborator::OrvoCollaborator() = default;
OrvoCollaborator::~OrvoCollaborator() = default;

void OrvoCollaborator::addDependent(OrvoDependent& dependent) {
    OrvoCriticalSection guard(m_lock);
    m_dependents.push_back(&dependent);
}

void OrvoCollaborator::removeDependent(OrvoDependent& dependent) {
    OrvoCriticalSection guard(m_lock);
    m_dependents.erase(std::remove(m_dependents.begin(), m_dependents.end(), &dependent), m_dependents.end());
}

void OrvoCollaborator::notify(const OrvoNotification& note) {
    OrvoCriticalSection guard(m_lock);
    // By index and with a fresh count: handlers add and remove dependents while the round goes on.
    for (std::size_t i = 0; i < m_dependents.size(); ++i) {
        OrvoDependent& dependent = *m_dependents[i];
        guard.unlock();
        dependent.handleNotification(*this, note);
        guard.lock();
    }
}

}  // namespace OrvoSupport
