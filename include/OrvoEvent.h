// Observers and what they are told, and the auto-reset event that tells its observers before it signals.
#ifndef ORVO_EVENT_H
#define ORVO_EVENT_H

#include <vector>

#include "OrvoCriticalSection.h"
#include "OrvoExport.h"

namespace OrvoSupport {

class OrvoCollaborator;

/// What dependents are told: a number that says what happened. Subclasses add what else there is to know.
///
/// Thread safety: none.
class OSUPT_API OrvoNotification {
public:
    /// Leaves the id as the storage held it: give it one before anybody reads it.
    OrvoNotification();
    OrvoNotification(int id);
    OrvoNotification(const OrvoNotification& other);
    OrvoNotification& operator=(const OrvoNotification& other);
    OrvoNotification& operator=(int id);
    virtual ~OrvoNotification();

    int getId() const;
    void setId(int id);

private:
    int m_id;
};

/// What an event tells its dependents when it is set or pulsed. The id of a new one is 1.
class OSUPT_API OrvoEventNotification : public OrvoNotification {
public:
    OrvoEventNotification();
    OrvoEventNotification(const OrvoEventNotification& other);
    OrvoEventNotification& operator=(const OrvoEventNotification& other);
    ~OrvoEventNotification() override;
};

/// Somebody who wants to be told.
class OSUPT_API OrvoDependent {
public:
    OrvoDependent();
    OrvoDependent(const OrvoDependent& other);
    OrvoDependent& operator=(const OrvoDependent& other);
    virtual ~OrvoDependent();

    /// Called on the thread that notifies, with no lock of `source` held: it may add and remove dependents
    /// and notify again. `note` lives until the call returns. An exception ends the round of notifications
    /// and reaches whoever notified. The body here does nothing.
    virtual void handleNotification(OrvoCollaborator& source, const OrvoNotification& note);
};

/// Somebody who tells: a list of dependents, in the order in which they were added. Dependents are not owned
/// and must be removed before they go.
///
/// Thread safety: any method may be called from any thread, also from within a handler; no call may overlap
/// the destructor. A dependent may still be told once by a round that began before it was removed.
class OSUPT_API OrvoCollaborator {
public:
    OrvoCollaborator();
    OrvoCollaborator(const OrvoCollaborator&) = delete;
    OrvoCollaborator& operator=(const OrvoCollaborator&) = delete;
    virtual ~OrvoCollaborator();

    /// Appends it, also when it is there already: it is told once for every time it was added.
    void addDependent(OrvoDependent& dependent);
    /// Removes it as often as it was added; one that is not there is ignored.
    void removeDependent(OrvoDependent& dependent);

    /// Tells every dependent in turn, on the calling thread and without holding the lock meanwhile. One that
    /// is added during the round is told in the same round; a removal moves the later ones up by one, so that
    /// the round may miss the one behind it. What a handler throws reaches the caller, and the round ends.
    virtual void notify(const OrvoNotification& note);

private:
    OrvoCriticalSectionObject m_lock;
    std::vector<OrvoDependent*> m_dependents;
};

}  // namespace OrvoSupport

#endif
