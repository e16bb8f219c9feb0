// Ctrl+C and its like.
#ifndef DROPFOLDER_STOP_SIGNAL_H
#define DROPFOLDER_STOP_SIGNAL_H

#include <OrvoEvent.h>

#include <memory>

namespace dropfolder {

/// While it lives, what would otherwise end the process sets an event, so that the process can finish what it
/// is doing: Ctrl+C, Ctrl+Break, closing the console and shutting down on Windows; SIGINT, SIGTERM and SIGHUP
/// elsewhere. There may be one at a time, made before any other thread starts.
///
/// Thread safety: the event is set on a thread of its own.
class StopSignal {
public:
    explicit StopSignal(OrvoSupport::OrvoEvent& stop);
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

private:
    struct Listener;
    std::unique_ptr<Listener> m_listener;
};

}  // namespace dropfolder

#endif
