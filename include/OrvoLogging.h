// The process-wide logger and its manipulators.
#ifndef ORVO_LOGGING_H
#define ORVO_LOGGING_H

#include <atomic>
#include <cstdint>
#include <locale>
#include <map>
#include <memory>

#include "OrvoCriticalSection.h"
#include "OrvoEvent.h"
#include "OrvoExport.h"
#include "OrvoString.h"
#include "OrvoThread.h"
#include "OrvoTimer.h"

namespace OrvoSupport {

class LoggerUse;   // inside the library
class RecordFile;  // inside the library

/// A logger to which records are written piece by piece, as to a stream:
///
///     logger << setloglevel(3) << "Reader::open: " << count << " files" << endrecord;
///
/// A record passes when its level (0 to 9; 9 unless it says otherwise) is not above the logger's level. A
/// passing record becomes one line in the log file, on standard output, or both:
///
///     20240131_14:05:09 3 Global     [1234] Reader::open: 12 files
///
/// with local time, level, area and thread. A record of level 0 has no such prefix and no area silences it.
/// When endrecord returns, the line is in the hands of the system and survives the death of the process.
/// A target that cannot be written loses records, never the logger.
///
/// A record that stays open for 60 seconds after its first piece, and every 60 seconds from then on, makes a
/// thread of the library try to end it. That succeeds only when nobody holds the lock any more: a record
/// whose thread is still there stays open.
///
/// Thread safety: any thread may call anything but the destructor at any time. The first piece of a record
/// waits until no other thread has one open and every piece keeps the logger's lock until endrecord, so
/// records never mix. The thread that began a record must end it. Where processes fork, both go on logging;
/// a record that another thread has open at that moment stays in the parent.
class OSUPT_API OrvoLogging : private OrvoDependent {
public:
    /// Target bits; others are kept and mean nothing.
    enum : int { fileTarget = 1, consoleTarget = 2 };

    /// Opens the log file at once if the file target is on. Its name is fileName with the extension replaced
    /// by ".log"; a relative one is relative to the current directory. The level is taken unchecked: -1 lets
    /// nothing through.
    OrvoLogging(const string& fileName, int target, int level);
    /// File name "log", standard output only, level -1.
    OrvoLogging();
    /// Closes the file. If this is the process-wide logger, there is none afterwards. A record that is open
    /// is lost. Waits some tenths of a second for threads that try to end it.
    ~OrvoLogging() override;
    OrvoLogging(const OrvoLogging&) = delete;
    OrvoLogging& operator=(const OrvoLogging&) = delete;

    /// The process-wide logger. One must have been set.
    static OrvoLogging& getInstance();
    /// Makes `logger` the process-wide one. It stays the caller's, and must live as long as it is set.
    static void setInstance(OrvoLogging& logger);
    /// Whether there is a process-wide logger that lets anything through.
    static bool isAccessAllowed();

    /// Takes levels 0 to 9 and ignores any other: a logger is not switched off this way.
    void setLogLevel(int level);
    int getLogLevel() const;
    /// Gives an area a level of its own, -1 to 9; any other is ignored. It can make the area quieter than the
    /// logger, never louder. Names compare byte by byte.
    void setLogLevel(const string& area, int level);
    /// The logger's level if the area has none of its own.
    int getLogLevel(const string& area) const;

    int getTarget() const;
    /// Closes or opens the log file as the file target goes or comes. Opening empties the file.
    void setTarget(int target);
    /// Whether lines begin with the prefix; they do at first.
    void enableRecordData(bool enable);

    /// Area and level of the record being built. A level below -1 changes nothing. Waits while another thread
    /// has a record open, as every piece does.
    void setCurrentLevel(const string& area, int level);
    void setCurrentLevel(int level);

    /// Append a piece to the record, or nothing if the record's level does not pass.
    OrvoLogging& operator<<(const string& text);
    OrvoLogging& operator<<(const char* text);
    OrvoLogging& operator<<(const string_ci& text);
    /// Narrowed with the default locale, up to the first NUL.
    OrvoLogging& operator<<(const wstring& text);
    OrvoLogging& operator<<(const wstring_ci& text);
    /// A NUL character adds nothing.
    OrvoLogging& operator<<(char character);
    OrvoLogging& operator<<(short value);
    OrvoLogging& operator<<(unsigned short value);
    OrvoLogging& operator<<(int value);
    OrvoLogging& operator<<(unsigned int value);
    OrvoLogging& operator<<(long value);
    OrvoLogging& operator<<(unsigned long value);
    /// As the global locale at the logger's construction writes integers.
    OrvoLogging& operator<<(const long long& value);
    /// With six decimals.
    OrvoLogging& operator<<(float value);
    OrvoLogging& operator<<(double value);
    /// As the system's C library prints a pointer.
    OrvoLogging& operator<<(const void* value);
    /// "true" or "false".
    OrvoLogging& operator<<(bool value);
    /// Calls the function with this logger.
    OrvoLogging& operator<<(OrvoLogging& (*manipulator)(OrvoLogging&));

protected:
    /// A record has been open for too long: starts an OrvoLoggingEventTimerThread, if the system has one
    /// left. A logger of a subclass that overrides this has no record open any more when it is destroyed.
    void handleNotification(OrvoCollaborator& source, const OrvoNotification& note) override;
    /// Opens the log file if the file target is on.
    virtual void startLogging();
    /// Closes the log file if the file target is on and not among `target`.
    virtual void stopLogging(int target);

    /// Takes the lock; keeps it and returns true if a piece of the current record passes.
    bool getLogAccess();
    /// Writes or drops the record and gives back every hold of the lock. Does nothing if the lock cannot be
    /// had within 100 milliseconds or its holder died; the text then goes into the next record.
    void endrecord();
    /// Opens the log file unless it is open. Success and failure are told on standard error.
    void openLogFile();

    /// Starts the time-out unless it runs already. For the holder of the lock, as cancelTimer() is. No timer
    /// of the host fires meanwhile on this thread.
    void resetTimer();
    void cancelTimer();
    /// The work of the time-out: endrecord(); then, if the process-wide logger has level 9, a record there
    /// that tells of it, which waits while another thread has one open.
    void timerElapsed();

private:
    friend OSUPT_API OrvoLogging& endrecord(OrvoLogging&);
    friend class OrvoLoggingEventTimerThread;
    friend struct LoggerList;  // inside the library
    friend struct TraceGate;   // inside the library

    template <class Append>
    OrvoLogging& addPiece(Append append);
    template <class Number>
    OrvoLogging& addInteger(Number value);
    OrvoLogging& addFormatted(double value);
    bool passesNow() const;
    void writeRecord(const char* area);
    void makeIdle();
    void stopTimeouts();

    static std::atomic<OrvoLogging*> m_pInstance;

    std::atomic<std::int32_t> m_target;
    std::atomic<std::int32_t> m_logLevel;
    string m_currentArea;
    std::atomic<std::int32_t> m_currentLevel;  // written under the lock only
    string m_record;
    string m_line;               // the record with its prefix, kept for its memory
    const std::locale m_locale;  // writes 64-bit integers
    std::unique_ptr<RecordFile> m_logFile;
    OrvoCriticalSectionObject m_fileLock;  // setTarget() may not wait for an open record
    OrvoCriticalSectionObject m_lock;      // from the first accepted piece of a record to its end
    OrvoTimer m_timer{60000, false};       // runs while a record is open
    std::map<string, std::int32_t> m_areaLevels;
    string m_fileName;
    std::atomic<bool> m_recordDataEnabled;
    bool m_timerStopped = true;                  // guarded by the lock
    std::atomic<const void*> m_writer{nullptr};  // the thread that last changed what the lock guards
    OrvoLogging* m_next = nullptr;               // in the list of all loggers
};

/// The thread on which a logger tries to end a record that was left open. It is started by each expiry of the
/// logger's timer and deletes itself.
///
/// Thread safety: as OrvoThread. The logger's destructor waits for the destruction of this object.
class OSUPT_API OrvoLoggingEventTimerThread : public OrvoThread {
public:
    /// Named "OrvoLoggingEventTimerThread". Not started. The logger is not owned.
    explicit OrvoLoggingEventTimerThread(OrvoLogging& logger);
    ~OrvoLoggingEventTimerThread() override;

protected:
    using OrvoThread::run;
    /// Calls the logger's timerElapsed() and returns 0.
    int run() override;

private:
    friend class OrvoLogging;
    static void startFor(OrvoLogging& logger);

    OrvoLogging* m_logger;
    std::unique_ptr<LoggerUse> m_use;
};

/// Carries area and level of a record to the logger; made by setloglevel.
///
/// Thread safety: none; a value.
class OSUPT_API OrvoSetLogLevelManipulator {
public:
    using Function = OrvoLogging& (*)(OrvoLogging&, const string& area, int level);

    OrvoSetLogLevelManipulator(Function function, const string& area, int level);

    friend OSUPT_API OrvoLogging& operator<<(OrvoLogging& logger,
                                             const OrvoSetLogLevelManipulator& manipulator);

private:
    Function m_function;
    string m_area;
    std::int32_t m_level;
};

/// Ends the record, as `logger << endrecord`.
OSUPT_API OrvoLogging& endrecord(OrvoLogging& logger);
/// Gives the record being built a level, and an area or none. It may stand anywhere in the record.
OSUPT_API OrvoSetLogLevelManipulator setloglevel(int level);
OSUPT_API OrvoSetLogLevelManipulator setloglevel(const string& area, int level);
OSUPT_API OrvoLogging& operator<<(OrvoLogging& logger, const OrvoSetLogLevelManipulator& manipulator);

}  // namespace OrvoSupport

#endif
