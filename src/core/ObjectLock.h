// The process-wide lock that guards the creation of every other lock.
#ifndef OSUPT_CORE_OBJECT_LOCK_H
#define OSUPT_CORE_OBJECT_LOCK_H

namespace OrvoSupport {

class OrvoCriticalSectionObject;

/// The object lock; null before the library's static objects exist (a host that links the static library may
/// have static objects of its own that come first), after they are gone, and when there was no memory.
OrvoCriticalSectionObject* objectLock();

}  // namespace OrvoSupport

#endif
