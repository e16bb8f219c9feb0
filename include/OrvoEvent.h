// Observers and what they are told, and the auto-reset event that tells its observers before it signals.
#ifndef ORVO_EVENT_H
#define ORVO_EVENT_H

#include <atomic>
#include <cstddef>
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
    /// the round may miss the one behind it. What a handler throws reaches the caller, and the round ends; so
    /// does one whose handler destroys the collaborator.
    virtual void notify(const OrvoNotification& note);

private:
    friend class OrvoEvent;

    void noteChange();

    OrvoCriticalSectionObject m_lock;
    std::vector<OrvoDependent*> m_dependents;
    // Written under the lock and read without it.
    std::atomic<std::size_t> m_count{0};
    std::atomic<std::size_t> m_changes{0};
};

/// An event of the operating system that releases one waiter each time it is set, and tells its dependents
/// before it does. An event that the system had no room for has no handle: setting, resetting and pulsing it
/// do nothing, no dependent is told, and waiting for it succeeds at once.
///
/// Waiting answers 0 when signalled, -1 when the wait failed, -2 when the time ran out and -3 when the owner
/// of what was waited for is gone. A time-out of -1 waits for ever and 0 only looks; any other is taken as
/// unsigned milliseconds of a clock that nobody sets.
///
/// Thread safety: any method may be called from any thread; no call may overlap the destructor.
class OSUPT_API OrvoEvent {
public:
    /// Not signalled.
    OrvoEvent();
    OrvoEvent(const OrvoEvent&) = delete;
    OrvoEvent& operator=(const OrvoEvent&) = delete;
    virtual ~OrvoEvent();

    /// See OrvoCollaborator. Handlers run on the thread that sets or pulses, and get the event's own
    /// collaborator as their source.
    void addDependent(OrvoDependent& dependent);
    void removeDependent(OrvoDependent& dependent);

    /// Tells the dependents, then signals: one waiter is released, now or when it comes. When there is no
    /// memory for the notification it only signals. When a handler throws, the notification is destroyed, the
    /// event is not signalled and the exception passes on. A handler may destroy the event: then it ends
    /// there, and deletes the notification without asking the event.
    virtual void set();
    /// Makes it not signalled; tells nobody.
    virtual void reset();
    /// As set(), but releases only a waiter that waits at this moment and leaves the event not signalled.
    virtual void pulse();
    /// Waits for this event and takes its signal.
    virtual int wait(int timeoutMs);
    /// Where the handle of the system stands: a HANDLE on Windows, opaque elsewhere. Null when there is none.
    virtual void* getHandle();

    /// Waits for all events at the same moment, taking nothing until it can take every signal, and answers 0;
    /// or for any, answers the index of the first signalled one and takes only that. Fails (-1) for an empty
    /// list, more than 64 events, one without handle, or one twice where all are wanted; -4 means out of
    /// memory.
    static int wait(std::vector<OrvoEvent*>& events, bool waitAll, int timeoutMs);
    /// The same for an array of `count` events (of this very class, not of a subclass).
    static int wait(int count, OrvoEvent* events, bool waitAll, int timeoutMs);

protected:
    /// A new notification for the dependents; null when there is no memory. Whoever overrides one of these
    /// two overrides both. An event of this very class makes none when it has no dependents.
    virtual OrvoNotification* createNotification();
    /// Deletes it; null is ignored.
    virtual void destroyNotification(OrvoNotification* notification);

private:
    bool tellDependents();

    OrvoCollaborator m_collaborator;
    void** m_handle;
};

}  // namespace OrvoSupport

#endif
