#include "platform/Clock.h"

#include <gtest/gtest.h>

#include "types/SystemTime.h"

using namespace OrvoSupport::platform;

namespace {

constexpr std::int64_t lastSecond = 32535215999;  // 31 December 3000 23:59:59

std::tm timeOf(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
    std::tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    fields.tm_isdst = -1;
    return fields;
}

class ClockTest : public testing::Test {
protected:
    ClockTest() { testing_support::useZone("UTC0"); }
    ~ClockTest() override { testing_support::useZone("UTC0"); }
};

}  // namespace

TEST_F(ClockTest, calendarSecondsAreThoseOfTheCLibrary) {
    const std::int64_t before = std::time(nullptr);
    const std::int64_t seconds = calendarSeconds();
    EXPECT_LE(before, seconds);
    EXPECT_GE(before + 60, seconds);
}

TEST_F(ClockTest, theMonotonicClockNeverGoesBack) {
    std::int64_t last = monotonicNanoseconds();
    for (int n = 0; n < 1000; ++n) {
        const std::int64_t now = monotonicNanoseconds();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST_F(ClockTest, localAndUtcTimesCoverTheRangeAndNothingElse) {
    for (auto* convert : {toLocal, toUtc}) {
        std::tm fields{};
        ASSERT_TRUE(convert(lastSecond, fields));
        EXPECT_EQ(3000 - 1900, fields.tm_year);
        EXPECT_EQ(59, fields.tm_sec);
        ASSERT_TRUE(convert(0, fields));
        EXPECT_EQ(70, fields.tm_year);
        EXPECT_EQ(4, fields.tm_wday);
        EXPECT_FALSE(convert(-1, fields));
        EXPECT_FALSE(convert(lastSecond + 100 * 86400, fields));
    }
}

// Programs log many times in a second, so what is kept of one conversion serves the next; not so when
// somebody has set the zone meanwhile.
TEST_F(ClockTest, theLocalTimeOfThisMomentFollowsTheZoneAtOnce) {
    for (int i = 0; i < 100; ++i) {
        for (const char* zone : {"UTC0", "AAA-1", "AAA-2", "AAA-2BBB", "AAA-2CCC", "XXX8", "UTC0"}) {
            testing_support::useZone(zone);
            for (int again = 0; again < 3; ++again) {
                std::tm fields{};
                std::tm before{};
                std::tm after{};
                ASSERT_TRUE(toLocal(calendarSeconds(), before));
                ASSERT_TRUE(localNow(fields));
                ASSERT_TRUE(toLocal(calendarSeconds(), after));
                ASSERT_TRUE(fields.tm_hour == before.tm_hour || fields.tm_hour == after.tm_hour) << zone;
                ASSERT_TRUE(fields.tm_sec == before.tm_sec || fields.tm_sec == after.tm_sec);
                std::tm other{};
                if (again == 1) toLocal(86400 * 180, other);
            }
        }
    }
}

TEST_F(ClockTest, instantsPast2038ComeBackFromTheirLocalAndUtcTimes) {
    for (const std::int64_t instant : {std::int64_t{0}, std::int64_t{2147483648}, std::int64_t{4294967296},
                                       std::int64_t{20000000000}, lastSecond}) {
        std::tm fields{};
        ASSERT_TRUE(toLocal(instant, fields));
        EXPECT_EQ(instant, fromLocal(fields));
        EXPECT_EQ(instant, fromLocalNear(fields, instant));
        EXPECT_EQ(instant, fromLocalNear(fields, instant + 7200));
        ASSERT_TRUE(toUtc(instant, fields));
        EXPECT_EQ(instant, fromUtc(fields));
    }
}

TEST_F(ClockTest, localTimesOutOfTheRangeGiveNoInstant) {
    for (std::tm fields : {timeOf(1969, 12, 31, 23, 59, 59), timeOf(3001, 1, 1)}) {
        EXPECT_EQ(-1, fromLocal(fields));
        EXPECT_EQ(-1, fromLocalNear(fields, 0));
        EXPECT_EQ(-1, fromUtc(fields));
    }
}

TEST_F(ClockTest, aDateThatDoesNotExistIsBroughtIntoNormalForm) {
    std::tm fields = timeOf(2009, 4, 31, 10);
    const std::int64_t instant = fromLocal(fields);
    EXPECT_EQ(4, fields.tm_mon);
    EXPECT_EQ(1, fields.tm_mday);
    EXPECT_EQ(0, fields.tm_isdst);
    EXPECT_EQ(1241172000, instant);
}

TEST_F(ClockTest, theLastLocalYearIsWholeWestOfGreenwichAndTheFirstBeginsWithUtc) {
    testing_support::useZone("XXX8");
    std::tm fields = timeOf(3000, 12, 31, 23, 59, 59);
    const std::int64_t instant = fromLocal(fields);
    EXPECT_EQ(lastSecond + 8 * 3600, instant);
    ASSERT_TRUE(toLocal(instant, fields));
    EXPECT_EQ(31, fields.tm_mday);
    EXPECT_FALSE(toLocal(instant + 1, fields));
    ASSERT_TRUE(toUtc(instant, fields));
    EXPECT_EQ(3001 - 1900, fields.tm_year);
    testing_support::useZone("ZZZ-8");
    fields = timeOf(1970, 1, 1, 7, 59, 59);
    EXPECT_EQ(-1, fromLocal(fields));
    fields = timeOf(1970, 1, 1, 8);
    EXPECT_EQ(0, fromLocal(fields));
}
