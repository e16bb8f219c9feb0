// Linux half of StopSignal.
#include "../StopSignal.h"

#include <OrvoThread.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>

#include "../Log.h"

namespace dropfolder {
namespace {

// A host started with nohup is to survive the end of its terminal. The other two are always obeyed: shells
// let what they start in the background ignore SIGINT, which is about their Ctrl+C and not about kill.
sigset_t stopSignals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGINT);
    ::sigaddset(&signals, SIGTERM);
    struct sigaction hangup;
    if (::sigaction(SIGHUP, nullptr, &hangup) == 0 && hangup.sa_handler != SIG_IGN)
        ::sigaddset(&signals, SIGHUP);
    return signals;
}

}  // namespace

/// Waits for the signals, which are blocked on this thread and on all that are started from now on. They stay
/// blocked: a second one that comes late must not cut short what the first has begun to end.
struct StopSignal::Listener : OrvoSupport::OrvoThread {
    explicit Listener(OrvoSupport::OrvoEvent& stop_)
        : OrvoThread("stop signal"), stop(stop_), signals(stopSignals()) {
        ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    }
    ~Listener() override {
        ending = true;
        if (isAlive()) ::kill(::getpid(), SIGTERM);
        wait(-1);
    }

    using OrvoThread::run;
    int run() override {
        for (int signal; ::sigwait(&signals, &signal) == 0 && !ending;) {
            log(1) << "stops: signal " << signal << endrecord;
            stop.set();
        }
        return 0;
    }

    OrvoSupport::OrvoEvent& stop;
    const sigset_t signals;
    std::atomic<bool> ending{false};
};

StopSignal::StopSignal(OrvoSupport::OrvoEvent& stop) : m_listener(std::make_unique<Listener>(stop)) {
    ::signal(SIGPIPE, SIG_IGN);  // who reads what it prints may go; the work and the log go on
    m_listener->start();
}

StopSignal::~StopSignal() = default;

}  // namespace dropfolder
