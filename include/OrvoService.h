// The service host: one program as a service of the system's control manager and as a console program.
#ifndef ORVO_SERVICE_H
#define ORVO_SERVICE_H

#include <atomic>
#include <cstdint>

#include "OrvoCriticalSection.h"
#include "OrvoEvent.h"
#include "OrvoExport.h"
#include "OrvoString.h"

// The control manager's handle as <windows.h> declares it, so that both orders of inclusion compile.
struct SERVICE_STATUS_HANDLE__;
typedef SERVICE_STATUS_HANDLE__* SERVICE_STATUS_HANDLE;

namespace OrvoSupport {

/// A program that runs as a service: under the service control manager on Windows, under systemd on Linux,
/// and in a console on both. Derive a class that brings the work up and takes it down, make one object of it,
/// and call start():
///
///     class Agent : public OrvoService { bool startIt(const string&) override; bool stopIt() override; };
///     Agent agent("agent", "agent", "Folder agent", "", false);
///     return agent.start("", runsAsService) ? 0 : 1;
///
/// While startIt() and stopIt() run, the control manager hears of progress at least once a second, so that
/// they may take their time. There is meant to be one object in a process: the newest one is it, and must
/// live as long as a service runs. start() may be called again once it has returned.
///
/// Thread safety: stop() and the queries may be called from any thread; the rest from one thread at a time.
class OSUPT_API OrvoService {
public:
    /// The control manager's numbers.
    enum tState { Stopped = 1, StartPending = 2, StopPending = 3, Running = 4 };

    /// `serviceName` is the control manager's key, `displayName` what it shows. `dependencies` lists the
    /// names of services that must run before, each ending in a NUL. `interactive` matters on Windows only:
    /// the service may use the desktop. `name` is kept and not used.
    OrvoService(const string& name, const string& serviceName, const string& displayName,
                const string& dependencies, bool interactive);
    /// All names empty. Whether it is interactive stays as the storage held it.
    OrvoService();
    OrvoService(bool interactive, const string& dependencies);
    OrvoService(const OrvoService&) = delete;
    OrvoService& operator=(const OrvoService&) = delete;
    virtual ~OrvoService();

    /// Brings the work up; runs on a thread of its own under a control manager, with the control manager's
    /// arguments (each followed by a blank), and on the thread that called start() in a console. False means
    /// that there is nothing to take down again, and so does an OrvoException that leaves it on a thread of
    /// its own; any other exception there ends the process.
    virtual bool startIt(const string& arguments) = 0;
    /// Takes the work down; runs where startIt() ran, under a control manager on another thread of its own.
    virtual bool stopIt() = 0;

    /// Enters this program into the control manager, started with the system, with m_arguments behind its
    /// path and m_description. The path is not quoted: see the README for paths with blanks. False when it
    /// could not be done, as on a Linux system that does not run systemd, or the name exists already.
    bool install();
    /// Stops the service if it runs, waits for that without limit, and takes it out of the control manager.
    bool remove();

    /// Runs the service and returns when it has stopped. With `asService` it reports to the control manager
    /// and the arguments come from there; without one the call returns at once. Otherwise it is a console
    /// program that runs until stop() or Ctrl+C; false when startIt() failed. A service that runs already
    /// gives true.
    bool start(const string& arguments, bool asService);
    /// Asks the service to stop and returns at once, always with true. A stop that comes before the service
    /// has started takes effect once it has; one that comes while it stops already is forgotten.
    bool stop();

    tState state();
    const string& serviceName();
    /// The object made last, null before the first.
    static OrvoService* getService();

protected:
    /// Tells the control manager; in a console does nothing and returns true. A state that is neither running
    /// nor stopped gets the next check point. The wait hint is in milliseconds.
    bool ReportStatusToSCMgr(unsigned long state, unsigned long win32ExitCode, unsigned long waitHintMs);
    /// Does nothing: what there is to tell goes to the logger.
    void AddToMessageLog(const string& text);
    /// What stop() sets.
    OrvoEvent& getEventObject();
    SERVICE_STATUS_HANDLE getStatusHandle();
    void setStatusHandle(SERVICE_STATUS_HANDLE handle);

private:
    friend struct ServiceRoutines;  // inside the library

    /// The control manager's record of a service.
    struct Status {
        std::uint32_t serviceType;
        std::atomic<std::uint32_t> currentState;
        std::uint32_t controlsAccepted;
        std::uint32_t win32ExitCode;
        std::uint32_t serviceSpecificExitCode;
        std::uint32_t checkPoint;
        std::uint32_t waitHint;
    };

    void runUnderManager();
    bool runInConsole(const string& arguments);
    void setStates(tState state);
    void setStatusState(tState state);
    bool send(unsigned long state, unsigned long win32ExitCode, unsigned long waitHintMs);
    void reportAgain();

    static std::atomic<OrvoService*> m_pThis;

    string m_name;
    string m_serviceName;
    string m_displayName;
    string m_dependencies;

protected:
    /// Follow the executable's path in the installed command line; set by the subclass before install().
    string m_arguments;
    /// Shown by the control manager; set by the subclass before install().
    std::wstring m_description;

private:
    OrvoEvent m_event;
    OrvoEvent m_startEnded;  // a stop takes effect no earlier
    std::atomic<bool> m_runsAsService;
    unsigned char m_interactive;  // not a bool, which may not hold whatever the storage held
    Status m_status;
    std::atomic<SERVICE_STATUS_HANDLE> m_statusHandle;
    std::atomic<tState> m_state;
    OrvoCriticalSectionObject m_statusLock;     // held while a report goes out, so that they go in order
    std::atomic<std::int64_t> m_lastReport{0};  // when, on the monotonic clock; 0 before a run's first
};

}  // namespace OrvoSupport

#endif
