// What runs on the service's threads. All of it reaches the service through OrvoService::getService().
#ifndef OSUPT_SERVICE_SERVICE_ROUTINES_H
#define OSUPT_SERVICE_SERVICE_ROUTINES_H

#include <cstdint>
#include <memory>

#include "OrvoString.h"

namespace OrvoSupport {

class OrvoService;
namespace platform {
struct Thread;
}

struct ServiceRoutines {
    /// The service's main routine, on the control manager's thread.
    static void serviceMain(std::uint32_t argc, char** argv);
    /// On the thread that runs the dispatcher.
    static void handleControl(std::uint32_t control);
    static bool handleConsoleEvent(int event);
    /// Whether the service could still be stopped, and goes on while it starts or stops.
    static bool isAlive();
    /// Once the dispatcher has returned: waits for the thread that waits for the service's end, after which
    /// nothing of this touches the service any more.
    static void endRun();

private:
    static void bringUp(OrvoService& service, std::unique_ptr<string> arguments);
    static void giveUp(OrvoService& service);
    static void reportUntilEnded(OrvoService& service, unsigned long pending, platform::Thread& thread);
    template <class Work>
    static bool succeeds(const char* what, const Work& work);
    static int callStartIt(void* argument);
    static int callStopIt(void*);
    static int waitForService(void*);
};

}  // namespace OrvoSupport

#endif
