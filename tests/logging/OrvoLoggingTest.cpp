#include "OrvoLogging.h"

#include <gmock/gmock.h>

#include "logging/Trace.h"
#include "support/TempFolder.h"

using namespace OrvoSupport;
using testing_support::readFile;
using testing_support::TempFolder;

TEST(TraceTest, writesOneRecordOfItsPieces) {
    TempFolder folder;
    OrvoLogging logger(folder.file("trace"), OrvoLogging::fileTarget, 9);
    logger.enableRecordData(false);
    OrvoLogging::setInstance(logger);

    trace(9, "OrvoReader::open: ", 12, ' ', true, string(" files"));

    EXPECT_EQ("OrvoReader::open: 12 true files", readFile(folder.file("trace.log")).substr(0, 31));
}

TEST(TraceTest, isRefusedAboveTheLevelOfTheInstance) {
    TempFolder folder;
    OrvoLogging logger(folder.file("trace"), OrvoLogging::fileTarget, 5);
    OrvoLogging::setInstance(logger);

    trace(6, "not this");

    EXPECT_EQ("", readFile(folder.file("trace.log")));
}
