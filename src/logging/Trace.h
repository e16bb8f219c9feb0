// Records of the library itself: a refused one costs two loads and two compares.
#ifndef OSUPT_LOGGING_TRACE_H
#define OSUPT_LOGGING_TRACE_H

#include "OrvoLogging.h"

namespace OrvoSupport {

struct TraceGate {
    /// The process-wide logger if there is one and a record of `level` passes it, otherwise null.
    static OrvoLogging* open(int level) {
        OrvoLogging* logger = OrvoLogging::m_pInstance.load(std::memory_order_acquire);
        if (!logger) return nullptr;
        const int limit = logger->m_logLevel.load(std::memory_order_relaxed);
        return limit > -1 && limit >= level ? logger : nullptr;
    }
};

/// Writes one record of `level`. Pieces are what the logger takes with operator<<. When one cannot be
/// appended, the record ends before it and the exception passes on.
///
/// Thread safety: any thread, but not while it has a record of its own open: this one would end it.
template <class... Pieces>
inline void traceTo(OrvoLogging& logger, int level, const Pieces&... pieces) {
    logger << setloglevel(level);
    try {
        (logger << ... << pieces);
    } catch (...) {
        logger << endrecord;  // an open record would keep all other threads out
        throw;
    }
    logger << endrecord;
}

/// The same to the process-wide logger if the record passes it. Keep what is costly to compute out of the
/// arguments.
template <class... Pieces>
inline void trace(int level, const Pieces&... pieces) {
    if (OrvoLogging* logger = TraceGate::open(level)) traceTo(*logger, level, pieces...);
}

}  // namespace OrvoSupport

#endif
