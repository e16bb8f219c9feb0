// The time-out of an open record by the system's own clock.
#include <atomic>
#include <chrono>
#include <thread>

#include "logging/LogFixture.h"

using namespace OrvoSupport;
using namespace std::chrono_literals;

namespace {

class SignallingLogger : public OpenLogger {
public:
    using OpenLogger::OpenLogger;
    std::atomic<int> timeouts{0};
    OrvoEvent expired;

protected:
    void handleNotification(OrvoCollaborator& source, const OrvoNotification& note) override {
        ++timeouts;
        OpenLogger::handleNotification(source, note);
        expired.set();
    }
};

TEST_F(PlainLogFixture, aRecordLeftOpenTimesOutAfterAMinuteAndOneThatIsEndedNever) {
    SignallingLogger open(folder.file("open"), OrvoLogging::fileTarget, 9);
    SignallingLogger ended(folder.file("ended"), OrvoLogging::fileTarget, 9);
    for (SignallingLogger* each : {&open, &ended}) each->enableRecordData(false);
    OrvoLogging::setInstance(open);

    const auto start = std::chrono::steady_clock::now();
    open << "open";
    ended << "begun";
    for (int i = 0; i < 55; ++i) {
        std::this_thread::sleep_for(1s);
        open << '.';
    }
    ended << ", ended" << endrecord;
    ASSERT_EQ(0, open.expired.wait(60000));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 59900ms);
    EXPECT_EQ(1, open.timeouts);
    open << endrecord;
    while (linesOf(folder.file("open.log")).size() < 2) std::this_thread::yield();
    EXPECT_EQ("open" + string(55, '.') +
                  "\nOrvoLogging::timerElapsed: called (NOTE: This message only appears and "
                  "repeats when LogLevel = 9)\n",
              textOf(folder.file("open.log")));

    std::this_thread::sleep_for(10s);
    EXPECT_EQ(0, ended.timeouts);
    EXPECT_EQ("begun, ended\n", textOf(folder.file("ended.log")));
}

}  // namespace
