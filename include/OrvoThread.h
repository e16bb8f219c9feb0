// Threads, the work they are given, and the bases of work queues and of those who serve them.
#ifndef ORVO_THREAD_H
#define ORVO_THREAD_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "OrvoCriticalSection.h"
#include "OrvoEvent.h"
#include "OrvoExport.h"
#include "OrvoObjectBase.h"
#include "OrvoString.h"

namespace OrvoSupport {

namespace platform {
struct Thread;  // inside the library
}

/// The base of the work items that a thread hands to its work. It is held by smart pointers only.
///
/// Thread safety: counting is safe; everything else is up to the subclass.
class OSUPT_API OrvoWorkInformation : public OrvoObjectBase {
public:
    OrvoWorkInformation();
    OrvoWorkInformation(const OrvoWorkInformation& other);
    ~OrvoWorkInformation() override;
};

/// A thread of the operating system and the work it does once: run() of a subclass, or a runnable. When the
/// work has ended, the thread tells its dependents with a ThreadDone.
///
/// An exception that escapes the work ends it with exit code 0 and goes no further, and neither does one out
/// of a dependent's handler, which keeps the dependents after it from being told; only cancellation by the
/// C library passes.
///
/// The thread holds a lock of the object from its first step until its work has ended and everybody has been
/// told: handlers must not wait for the thread, nor destroy it. The work itself may destroy it, if nobody
/// else will; then nobody is told.
///
/// On Linux stop() and kill() send their thread the signal SIGRTMAX-3. It is the library's, and unblocked on
/// its threads; work that blocks it is stopped or ended only once it lets it in again. Calls that no signal
/// handler leaves alone, such as poll(), fail with EINTR when their thread goes on. Priorities are nice
/// values there, and normal is what the thread had when it began.
///
/// Thread safety: start, stop, kill, wait, setPriority and the queries may be called from any thread; name,
/// work item and marks are set before start(). No call may overlap the destructor.
class OSUPT_API OrvoThread : public OrvoCollaborator, public OrvoObjectBase {
public:
    /// Work that lives outside a thread class. The thread object holds one reference as long as it lives.
    ///
    /// Thread safety: run() is called on the thread; counting is safe.
    class OSUPT_API OrvoRunnable : public OrvoObjectBase {
    public:
        OrvoRunnable();
        ~OrvoRunnable() override;

        /// Called with the work item if the thread has one. Returns the exit code; does nothing here.
        virtual int run(OrvoWorkInformation& workInfo);
        /// Called if the thread has no work item.
        virtual int run();
    };

    /// What dependents are told when the work has ended. It carries no id.
    ///
    /// Thread safety: none; a value.
    class OSUPT_API ThreadDone : public OrvoNotification {
    public:
        ThreadDone(int exitCode);
        /// Copies the exit code only.
        ThreadDone(const ThreadDone& other);
        ThreadDone& operator=(const ThreadDone& other);
        ~ThreadDone() override;

        std::int32_t exitCode;
    };

    enum t_Priority {
        PriorityAboveNormal,
        PriorityBelowNormal,
        PriorityHighest,
        PriorityIdle,
        PriorityLowest,
        PriorityNormal,
        PriorityTimeCritical
    };

    /// Named "class OrvoSupport::OrvoThread", whatever the subclass.
    OrvoThread();
    explicit OrvoThread(const string& name);
    explicit OrvoThread(OrvoSmartPointer<OrvoRunnable> runnable);
    OrvoThread(OrvoSmartPointer<OrvoRunnable> runnable, const string& name);
    OrvoThread(const OrvoThread&) = delete;
    OrvoThread& operator=(const OrvoThread&) = delete;
    /// Waits until the work has ended, for a thread that is stopped until somebody starts it; with the mark
    /// for kill ends it instead; with the mark for death, which is for threads that delete themselves, does
    /// neither. On the thread itself it does neither in any case. A subclass whose run() uses its own members
    /// waits for the thread in its own destructor or before.
    ~OrvoThread() override;

    /// Creates the thread, or resumes it if it was stopped; one that has done its work does not run again. If
    /// the system has no thread left, the object stays as it was and nothing is reported. Of several that
    /// start it at once, one creates the thread.
    virtual void start();
    /// Suspends the thread where it stands; does nothing without one. Stops are counted: two need two starts.
    /// A thread that stops itself goes on here when somebody starts it.
    virtual void stop();
    /// What run() is given from now on; null for nothing.
    virtual void setWorkInfo(OrvoSmartPointer<OrvoWorkInformation> workInfo);
    /// Waits until the thread has ended and answers 0, or 258 when the time (milliseconds, -1 for ever) ran
    /// out, or -1 when waiting failed. A thread never started, or whose work has ended, answers 128 at once.
    virtual int wait(int timeoutMs);
    /// False if there is no thread or the system refuses. Values outside the enumeration count as normal.
    virtual bool setPriority(t_Priority priority);

    /// Ends the thread at once, whatever it does, with exit code 0. Nothing is unwound, nobody is told, and
    /// its locks count as abandoned. The object can be started again; does nothing without a thread. A thread
    /// that kills itself is gone all the same, but its handle stays until the next kill() or the destructor.
    /// What the thread held of the process's resources stays with the process.
    void kill();
    /// Waits until the work has ended. Returns at once if the new thread has not come to it yet; wait() is
    /// stricter.
    void waitForThreadExit();
    /// True from start() until kill() or the destructor, also when the work has ended.
    bool isAlive();
    /// What the last work that ended by itself returned; -1 before that, and while there is no thread.
    int getExitCode() const;
    /// Where the handle of the system stands: a HANDLE on Windows, opaque elsewhere. Null when there is none.
    void* getHandle();

    const string& getName() const;
    void setName(const string& name);
    /// The thread deletes its object when the work has ended.
    void setMarkForDeath();
    /// The destructor ends the thread instead of waiting for it.
    void setMarkForKill();

    /// The system's number of the calling thread.
    static int getCurrentThreadId();

    /// Waits for all threads and answers 0, or for any and answers the index of the first that has ended. -1
    /// for an empty list, more than 64, one that has no thread, or one twice where all are wanted; -2 when
    /// the time ran out; -4 when there is no memory.
    static int wait(std::vector<OrvoThread*>& threads, bool waitAll, int timeoutMs);
    /// The same for an array of `count` threads (of this very class, not of a subclass).
    static int wait(int count, OrvoThread* threads, bool waitAll, int timeoutMs);

protected:
    /// The work, if there is no runnable: with the work item if there is one. Returns the exit code; does
    /// nothing here.
    virtual int run(OrvoWorkInformation& workInfo);
    virtual int run();

private:
    friend class OrvoLoggingEventTimerThread;
    class Use;
    class Round;
    bool create();
    static int threadMain(void* thread);
    static int waitForSome(std::size_t count, OrvoThread* const* threads, bool waitAll, int timeoutMs);
    int _run();
    void join();
    void cleanup();

    std::atomic<platform::Thread*> m_thread;
    platform::Thread* m_retired = nullptr;  // no longer this object's, but in use by other threads
    OrvoSmartPointer<OrvoWorkInformation> m_workInfo;
    string m_name;
    std::atomic<std::int32_t> m_exitCode;
    std::atomic<bool> m_markForDeath;
    std::atomic<bool> m_markForKill;
    std::atomic<bool> m_running;
    std::atomic<bool> m_beginning = false;  // from start() until the new thread has its lock
    std::atomic<int> m_worker = 0;          // the thread that is at work
    bool* m_destroyed = nullptr;            // tells that thread that the object is gone
    OrvoSmartPointer<OrvoRunnable> m_runnable;
    OrvoCriticalSectionObject m_lock;  // held while the thread works
};

/// The base of a queue that threads share. The subclass owns the storage and guards it with the queue's one
/// recursive lock.
///
/// Thread safety: up to the subclass, by getLock().
class OSUPT_API OrvoBaseSynchronizedQueue {
public:
    OrvoBaseSynchronizedQueue();
    OrvoBaseSynchronizedQueue(const OrvoBaseSynchronizedQueue&) = delete;
    OrvoBaseSynchronizedQueue& operator=(const OrvoBaseSynchronizedQueue&) = delete;
    virtual ~OrvoBaseSynchronizedQueue();

    /// Empties the queue. Takes the lock itself if it needs it.
    virtual void clear() = 0;
    OrvoCriticalSectionObject& getLock();

private:
    OrvoCriticalSectionObject m_lock;
};

/// The hand-shake between those who fill a queue and those who empty it: a mutex, an event that says that
/// something happened, and a mark that tells the consumers to stop. A subclass makes its two sides of it:
///
///     lockSyncMutex();                        lockSyncMutex();
///     (add to the queue)                      while (queue is empty && !m_sentinel) waitForSyncEvent();
///     setSyncEvent();                         (take from the queue, or stop)
///     unlockSyncMutex();                      unlockSyncMutex();
///
/// The mutex is recursive, and free again when the thread that held it has ended. Take it before the queue's
/// lock. An object for which the system had no room for the mutex or the event has neither: the four
/// operations do nothing, and nothing guards the mark.
///
/// Thread safety: any operation from any thread; no call may overlap the destructor.
class OSUPT_API OrvoBaseProducerConsumer {
public:
    /// The queue stays the caller's and must outlive this object.
    explicit OrvoBaseProducerConsumer(OrvoBaseSynchronizedQueue& queue);
    OrvoBaseProducerConsumer(const OrvoBaseProducerConsumer&) = delete;
    OrvoBaseProducerConsumer& operator=(const OrvoBaseProducerConsumer&) = delete;
    virtual ~OrvoBaseProducerConsumer();

    /// Tells the consumers to stop, for good: when they have emptied the queue, or with `clearQueue` at once,
    /// since the queue is cleared under the mutex. What clear() throws reaches the caller; the consumers are
    /// told all the same.
    void produceSentinel(bool clearQueue);

protected:
    void lockSyncMutex();
    /// Gives up one hold; a thread that has none changes nothing.
    void unlockSyncMutex();
    /// Releases all who wait for it at this moment, or else the next who comes.
    void setSyncEvent();
    /// For the holder of the mutex only: gives up one hold and waits for the event in one step, takes the
    /// mutex again and resets the event. Somebody else may have been faster, so look again and wait again.
    void waitForSyncEvent();

    bool m_sentinel;  // guarded by the mutex

private:
    struct SyncHandles;  // inside the library

    SyncHandles* m_handles;

protected:
    OrvoBaseSynchronizedQueue& m_queue;
};

}  // namespace OrvoSupport

#endif
