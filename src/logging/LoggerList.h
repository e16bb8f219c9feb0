// All loggers of the process, for what concerns them all.
#ifndef OSUPT_LOGGING_LOGGER_LIST_H
#define OSUPT_LOGGING_LOGGER_LIST_H

#include <mutex>

#include "OrvoLogging.h"
#include "platform/InternalLock.h"

namespace OrvoSupport {

/// A child of a fork has no thread but the one that forked. A record that another thread had open, or was
/// just changing, stays in the parent: in the child each logger is idle unless the forking thread itself has
/// a record open. No time-out runs there until the next piece of a record.
///
/// Thread safety: any thread.
struct LoggerList {
    static void add(OrvoLogging& logger);
    static void remove(OrvoLogging& logger);

    /// Guards the list, and what loggers know of areas. A child finds both in order.
    static platform::InternalLock lock;
    using Guard = std::lock_guard<platform::InternalLock>;

private:
    static void unlockInChild();
    static void settleInChild(OrvoLogging& logger);
    static bool handleForks();
    static const bool forksHandled;
};

}  // namespace OrvoSupport

#endif
