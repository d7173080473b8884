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

/// A time of 32 bits ends in the year 2038, and every one of them has a date.
constexpr bool kIsTimeShort = sizeof(std::time_t) == 4;

TEST(LocalTime, KeepsItsLengthBeyondTheYear9999) {
    UseZone("UTC0");
    constexpr long long kLastOfYear9999 = 253402300799;
    const auto time = static_cast<std::time_t>(kLastOfYear9999);
    EXPECT_EQ(FormatLocalTime(time), kIsTimeShort ? "1969-12-23T02:12:15" : "9999-12-31T23:59:59");
    EXPECT_EQ(FormatLocalTime(time + 1), kIsTimeShort ? "1969-12-23T02:12:16" : "10000-01-01T00:00:0");
}

TEST(LocalTime, OfATimeThatHasNoDateIsAllZeros) {
    UseZone("UTC0");
    constexpr const char* kNoDate = "1900-01-00T00:00:00";
    EXPECT_EQ(FormatLocalTime(std::numeric_limits<std::time_t>::max()),
              kIsTimeShort ? "2038-01-19T03:14:07" : kNoDate);
    EXPECT_EQ(FormatLocalTime(std::numeric_limits<std::time_t>::min()),
              kIsTimeShort ? "1901-12-13T20:45:52" : kNoDate);
}
