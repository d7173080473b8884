#include "base/LocalTime.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <limits>

using KURA::base::FormatLocalTime;

namespace {

void UseZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
}

}  // namespace

TEST(LocalTime, IsWrittenWithAllItsZeros) {
    UseZone("UTC0");
    EXPECT_EQ(FormatLocalTime(0), "1970-01-01T00:00:00");
    EXPECT_EQ(FormatLocalTime(1769903999), "2026-01-31T23:59:59");
    EXPECT_EQ(FormatLocalTime(-1), "1969-12-31T23:59:59");
}

TEST(LocalTime, FollowsTheZoneOfTheSet) {
    UseZone("KST-9");
    EXPECT_EQ(FormatLocalTime(1769903999), "2026-02-01T08:59:59");
    UseZone("NST3:30");
    EXPECT_EQ(FormatLocalTime(0), "1969-12-31T20:30:00");
}

TEST(LocalTime, GoesOnAfter2038) {
    UseZone("UTC0");
    static_assert(sizeof(std::time_t) == 8);
    EXPECT_EQ(FormatLocalTime(2147483647), "2038-01-19T03:14:07");
    EXPECT_EQ(FormatLocalTime(2147483648), "2038-01-19T03:14:08");
    EXPECT_EQ(FormatLocalTime(4294967296), "2106-02-07T06:28:16");
}

TEST(LocalTime, KeepsItsLengthBeyondTheYear9999) {
    UseZone("UTC0");
    constexpr std::time_t kLastOfYear9999 = 253402300799;
    EXPECT_EQ(FormatLocalTime(kLastOfYear9999), "9999-12-31T23:59:59");
    EXPECT_EQ(FormatLocalTime(kLastOfYear9999 + 1), "10000-01-01T00:00:0");
}

TEST(LocalTime, OfATimeThatHasNoDateIsAllZeros) {
    UseZone("UTC0");
    constexpr const char* kNoDate = "1900-01-00T00:00:00";
    EXPECT_EQ(FormatLocalTime(std::numeric_limits<std::time_t>::max()), kNoDate);
    EXPECT_EQ(FormatLocalTime(std::numeric_limits<std::time_t>::min()), kNoDate);
}
