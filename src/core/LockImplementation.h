// What lock objects share: the system's lock, counted.
#ifndef OSUPT_CORE_LOCK_IMPLEMENTATION_H
#define OSUPT_CORE_LOCK_IMPLEMENTATION_H

#include "OrvoCriticalSection.h"
#include "platform/Mutex.h"

class LockImplementation : public LockBase {
public:
    /// Check usable() before anything else is done with the mutex.
    explicit LockImplementation(bool useCriticalSection);
    ~LockImplementation() override;

    OrvoSupport::platform::Mutex& mutex() { return m_mutex; }

private:
    OrvoSupport::platform::Mutex m_mutex;
};

#endif
