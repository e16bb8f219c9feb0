// exit() on a thread that the library has started, while static objects of the host still use the library.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "OrvoLogging.h"
#include "OrvoThread.h"
#include "OrvoTimer.h"
#include "support/ChildProcess.h"
#include "support/TempFolder.h"

namespace {

using namespace OrvoSupport;
using testing_support::ChildProcess;
using testing_support::TempFolder;

constexpr int limit = 60'000;  // milliseconds

struct Exiting : OrvoDependent {
    void handleNotification(OrvoCollaborator&, const OrvoNotification&) override { std::exit(7); }
};

class ExitingThread : public OrvoThread {
protected:
    using OrvoThread::run;
    int run() override { std::exit(7); }
};

/// Static, so that it is destroyed by exit() on whatever thread that is called.
struct Host {
    explicit Host(const std::string& file) : logger(file, OrvoLogging::fileTarget, 9) {
        OrvoLogging::setInstance(logger);
        other.reset();
    }
    ~Host() { logger << setloglevel(1) << "end of the host" << endrecord; }
    OrvoLogging logger;
    OrvoTimer other{60, 0, false};
    Exiting exiting;
    OrvoTimer timer;
    ExitingThread thread;
};

OSUPT_CHILD(exitsOnAnotherThread) {
    static Host host(arguments.at(0));
    const std::string& where = arguments.at(1);
    host.timer.addDependent(host.exiting);
    if (where == "waiter") host.timer.start(1, true);
    if (where == "starter") host.timer.start(-1, 1, true);  // is overdue and fires at once
    if (where == "thread") host.thread.start();
    OrvoEvent().wait(limit);
    return 1;
}

TEST(ExitTest, isInOrderOnAnyThread) {
    for (const char* where : {"waiter", "starter", "thread"}) {
        const TempFolder folder;
        ChildProcess child("exitsOnAnotherThread", {folder.file("host"), where});
        EXPECT_EQ(7, child.wait()) << where << ": " << child.output();
        EXPECT_NE(std::string::npos,
                  testing_support::readFile(folder.file("host.log")).find("end of the host"))
            << where;
    }
}

}  // namespace
