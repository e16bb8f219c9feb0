// Which loggers are in use by time-out threads, so that none of them goes while one might touch it.
#ifndef OSUPT_LOGGING_LOGGER_USE_H
#define OSUPT_LOGGING_LOGGER_USE_H

#include <atomic>

namespace OrvoSupport {

class OrvoLogging;

/// The use of one logger by a time-out thread, from construction to destruction. A logger that is destroyed
/// waits for its last use to end.
///
/// Thread safety: any thread; one use belongs to one thread at a time.
class LoggerUse {
public:
    explicit LoggerUse(OrvoLogging* logger);
    /// Of the process-wide logger of this moment, if there is one.
    explicit LoggerUse(const std::atomic<OrvoLogging*>& instance);
    LoggerUse(const LoggerUse&) = delete;
    LoggerUse& operator=(const LoggerUse&) = delete;
    ~LoggerUse();

    /// Null if there was none.
    OrvoLogging* logger() const { return m_logger; }
    /// True once the logger is being destroyed: nothing of it may be waited for any more.
    bool isEnding() const { return m_isEnding; }

    /// For the destructor of a logger that nobody can begin to use any more.
    static void awaitNone(const OrvoLogging& logger);

private:
    static bool end(const OrvoLogging& logger);

    OrvoLogging* m_logger;
    std::atomic<bool> m_isEnding{false};
    LoggerUse* m_next;
};

}  // namespace OrvoSupport

#endif
