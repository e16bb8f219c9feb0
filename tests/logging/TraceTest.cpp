#include "logging/Trace.h"

#include <thread>

#include "logging/LogFixture.h"

using namespace OrvoSupport;

namespace {

struct Unwritable {};

OrvoLogging& operator<<(OrvoLogging&, const Unwritable&) { throw 17; }

}  // namespace

class TraceTest : public PlainLogFixture {};

TEST_F(TraceTest, writesOneRecordOfItsPiecesAtItsLevel) {
    OrvoLogging::setInstance(logger);
    logger.enableRecordData(true);
    trace(4, "OrvoReader::open: ", 12, ' ', true, string(" files"));
    const string thread = std::to_string(log_system::threadId());
    EXPECT_EQ("4 Global     [" + thread + "] OrvoReader::open: 12 true files", lines().at(0).substr(18));
}

TEST_F(TraceTest, isRefusedAboveTheLevelOfTheInstance) {
    OrvoLogging::setInstance(logger);
    logger.setLogLevel(5);
    trace(5, "kept");
    trace(6, "dropped");
    EXPECT_EQ("kept\n", text());
}

TEST_F(TraceTest, isRefusedWithoutAnInstance) {
    trace(0, "dropped");
    EXPECT_EQ("", text());
}

TEST_F(TraceTest, endsItsRecordBeforeAPieceThatCannotBeAppended) {
    OrvoLogging::setInstance(logger);
    EXPECT_THROW(trace(4, "begun ", 1, Unwritable(), "never"), int);
    std::thread([this] { logger << "other thread" << endrecord; }).join();
    EXPECT_EQ("begun 1\nother thread\n", text());
}

TEST(TraceLevelTest, isRefusedByAnInstanceThatLetsNothingThrough) {
    OrvoLogging logger;
    OrvoLogging::setInstance(logger);
    EXPECT_EQ(nullptr, TraceGate::open(-1));
    EXPECT_EQ(nullptr, TraceGate::open(0));
    logger.setLogLevel(0);
    EXPECT_EQ(&logger, TraceGate::open(0));
}
