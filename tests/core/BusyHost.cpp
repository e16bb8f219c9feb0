// A host in a shared library of its own that is unloaded, or whose process ends, while it still has timers,
// threads and a logger. Static objects hold all of it.
#include "core/BusyHost.h"

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "OrvoLogging.h"
#include "OrvoObjectFactory.h"
#include "OrvoThread.h"
#include "OrvoTimer.h"

namespace {

using namespace OrvoSupport;

BusyHostReport* report = nullptr;

void waitUntil(const std::atomic<int>& count, int value) {
    while (count < value) std::this_thread::sleep_for(std::chrono::microseconds(50));
}

class Counted : public OrvoObjectBase {
public:
    ~Counted() override { ++report->objectsReleased; }
};

OrvoObjectBase* makeCounted() { return new Counted; }

/// Its time-out can be brought about without waiting for a minute.
class Logger : public OrvoLogging {
public:
    explicit Logger(const char* file) : OrvoLogging(file, fileTarget, 9) {}
    void timeOut() { OrvoLogging::handleNotification(m_source, OrvoNotification()); }

private:
    OrvoCollaborator m_source;
};

// Timers that are never destroyed may fire while the logger goes.
std::atomic<int> handlersLogging{0};
std::atomic<bool> loggerGoes{false};

class Handler : public OrvoDependent {
public:
    explicit Handler(int milliseconds = 0) : m_milliseconds(milliseconds) {}
    void handleNotification(OrvoCollaborator&, const OrvoNotification&) override {
        ++report->handlersEntered;
        const OrvoSmartPointer<OrvoObjectBase> object(new OrvoObjectBase);
        if (m_milliseconds > 0) std::this_thread::sleep_for(std::chrono::milliseconds(m_milliseconds));
        ++handlersLogging;
        if (!loggerGoes && OrvoLogging::isAccessAllowed())
            OrvoLogging::getInstance() << setloglevel(1) << "handler" << endrecord;
        --handlersLogging;
        ++report->handlersLeft;
    }

private:
    const int m_milliseconds;
};

class Throwaway : public OrvoThread {
public:
    explicit Throwaway(std::atomic<int>& there) : m_there(there) {
        ++m_there;
        setMarkForDeath();
    }
    ~Throwaway() override { --m_there; }

protected:
    using OrvoThread::run;
    int run() override { return 1; }

private:
    std::atomic<int>& m_there;
};

class Runnable : public OrvoThread::OrvoRunnable {
public:
    using OrvoRunnable::run;
    int run() override {
        ++report->threadsEntered;
        while (!stop) counter = counter + 1;
        ++report->threadsLeft;
        return 0;
    }
    std::atomic<bool> stop{false};
    volatile unsigned counter = 0;
};

/// A thread that has to be stopped before it can be joined.
class Computing {
public:
    explicit Computing(bool wait) {
        m_thread.start();
        if (wait) waitUntil(report->threadsEntered, 1);
    }
    ~Computing() { m_work->stop = true; }
    OrvoThread& thread() { return m_thread; }

private:
    const OrvoSmartPointer<Runnable> m_work{new Runnable};
    OrvoThread m_thread{OrvoSmartPointer<OrvoThread::OrvoRunnable>(m_work.operator->())};
};

struct Host {
    explicit Host(const char* file) : logger(file) {}

    ~Host() {
        loggerGoes = true;
        // Not for ever: at the end of a process the thread of a handler may be gone.
        for (int i = 0; i < 5000 && handlersLogging > 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        logger << setloglevel(1) << "end of the host" << endrecord;
        object = nullptr;
        // The factory of the process is still there.
        if (!OrvoObjectFactory::getGlobalInstance().construct("counted")) ++report->failures;
    }

    int begin(unsigned tasks);
    void addTimer(long seconds, long milliseconds);
    void leaveRecordOpen();

    std::atomic<int> throwaways{0};
    Logger logger;
    OrvoSmartPointer<OrvoObjectBase> object{new Counted};
    Handler handler, slow{200};
    std::vector<std::unique_ptr<OrvoTimer>> timers;
    std::unique_ptr<Computing> computing, fresh;
};

/// Constructed before the host, and so destroyed after it, when its logger is gone.
struct Late {
    ~Late() {
        object = nullptr;
        timer.start(1, 0, false);
        const OrvoCriticalSection guard(lock);
        if (lock.lockCount() != 1) ++report->failures;
        if (OrvoLogging::isAccessAllowed()) ++report->failures;
    }
    OrvoSmartPointer<OrvoObjectBase> object;
    OrvoTimer timer;
    OrvoCriticalSectionObject lock;
} late;

std::unique_ptr<Host> host;

/// For what is never destroyed.
template <class Object>
Object& kept(Object* object) {
    (*report->keep)(object);
    return *object;
}

void Host::addTimer(long seconds, long milliseconds) {
    timers.push_back(std::make_unique<OrvoTimer>(seconds, milliseconds, false));
    timers.back()->addDependent(handler);
    timers.back()->reset();
}

void Host::leaveRecordOpen() {
    std::thread([this] { logger << setloglevel(1) << "left open"; }).join();
}

int Host::begin(unsigned tasks) {
    OrvoLogging::setInstance(logger);
    OrvoObjectFactory::getGlobalInstance().add("counted", makeCounted);
    logger << setloglevel(1) << "begin of the host" << endrecord;
    if (tasks & (openRecord | recordTimeout)) leaveRecordOpen();
    if (tasks & recordTimeout) logger.timeOut();
    if (tasks & sleepingTimer) addTimer(60, 0);
    if (tasks & firingTimers) {
        for (int i = 0; i < 3; ++i) addTimer(0, 1 + i);
        waitUntil(report->handlersLeft, 1);
    }
    if (tasks & leakedTimers) {
        Handler& leakedHandler = kept(new Handler);
        for (const long seconds : {0L, 60L}) {
            OrvoTimer& timer = kept(new OrvoTimer(seconds, 1, false));
            timer.addDependent(leakedHandler);
            timer.reset();
        }
    }
    if (tasks & computingThread) computing = std::make_unique<Computing>(true);
    if (tasks & suspendedThread) kept(new Computing(true)).thread().stop();
    if (tasks & killedThread) kept(new Computing(true)).thread().kill();
    if (tasks & throwawayThreads)
        for (int i = 0; i < 2; ++i) (new Throwaway(throwaways))->start();
    while (throwaways > 0) std::this_thread::yield();
    if (tasks & slowHandler) {
        const int before = report->handlersEntered;
        timers.push_back(std::make_unique<OrvoTimer>(0, 1, true));
        timers.back()->addDependent(slow);
        timers.back()->reset();
        waitUntil(report->handlersEntered, before + 1);
    }
    if (tasks & freshThread) fresh = std::make_unique<Computing>(false);
    return 0;
}

}  // namespace

extern "C" int beginBusyHost(const char* logFile, unsigned tasks, BusyHostReport* theReport) {
    report = theReport;
    late.object = OrvoSmartPointer<OrvoObjectBase>(new Counted);
    late.timer.start(60, 0, false);
    host = std::make_unique<Host>(logFile);
    return host->begin(tasks);
}
