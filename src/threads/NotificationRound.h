// Rounds of notifications whose source may be destroyed by one of those who are told.
#ifndef OSUPT_THREADS_NOTIFICATION_ROUND_H
#define OSUPT_THREADS_NOTIFICATION_ROUND_H

#include "platform/ThreadSlot.h"

namespace OrvoSupport {

class OrvoCollaborator;

/// A thread's rounds under way form a list, the innermost first. A source that goes looks through the list of
/// the thread on which it goes; there is no other on which it may.
///
/// Thread safety: none; a round belongs to the thread that made it.
class NotificationRound {
public:
    explicit NotificationRound(const OrvoCollaborator& source) noexcept
        : m_source(&source), m_outer(innermost()) {
        platform::setThreadSlot(this);
    }
    ~NotificationRound() { platform::setThreadSlot(m_outer); }
    NotificationRound(const NotificationRound&) = delete;
    NotificationRound& operator=(const NotificationRound&) = delete;

    bool sourceIsGone() const { return !m_source; }

    /// Called by the destructor of the source.
    static void sourceGoes(const OrvoCollaborator& source) noexcept {
        for (NotificationRound* round = innermost(); round; round = round->m_outer)
            if (round->m_source == &source) round->m_source = nullptr;
    }

private:
    static NotificationRound* innermost() { return static_cast<NotificationRound*>(platform::threadSlot()); }

    const OrvoCollaborator* m_source;
    NotificationRound* const m_outer;
};

}  // namespace OrvoSupport

#endif
