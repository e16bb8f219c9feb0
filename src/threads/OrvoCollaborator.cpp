#include <algorithm>
#include <array>

#include "OrvoEvent.h"
#include "threads/NotificationRound.h"

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
OrvoCollaborator::~OrvoCollaborator() { NotificationRound::sourceGoes(*this); }

void OrvoCollaborator::addDependent(OrvoDependent& dependent) {
    OrvoCriticalSection guard(m_lock);
    m_dependents.push_back(&dependent);
    noteChange();
}

void OrvoCollaborator::removeDependent(OrvoDependent& dependent) {
    OrvoCriticalSection guard(m_lock);
    m_dependents.erase(std::remove(m_dependents.begin(), m_dependents.end(), &dependent), m_dependents.end());
    noteChange();
}

inline void OrvoCollaborator::noteChange() {
    m_count = m_dependents.size();
    ++m_changes;
}

void OrvoCollaborator::notify(const OrvoNotification& note) {
    if (m_count == 0) return;

    // Handlers add and remove dependents while the round goes on, so each step goes by index and by the list
    // of its own moment. As long as nothing changes, a copy of the list is as good and needs no lock.
    std::array<OrvoDependent*, 16> copy;
    std::size_t first = 0;  // where in the list the copy begins
    std::size_t count = 0;  // of the whole list
    std::size_t changes = 0;
    const auto copyFrom = [&](std::size_t index) {
        OrvoCriticalSection guard(m_lock);
        first = index;
        count = m_dependents.size();
        changes = m_changes;
        for (std::size_t i = index; i < count && i - first < copy.size(); ++i)
            copy[i - first] = m_dependents[i];
    };
    copyFrom(0);
    const NotificationRound round(*this);
    for (std::size_t i = 0; i < count;) {
        copy[i - first]->handleNotification(*this, note);
        if (round.sourceIsGone()) return;
        ++i;
        if (m_changes != changes || i - first == copy.size()) copyFrom(i);
    }
}

}  // namespace OrvoSupport
