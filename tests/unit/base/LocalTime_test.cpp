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

TEST(LocalTime, SurvivesATimeThatHasNoDate) {
    UseZone("UTC0");
    EXPECT_FALSE(FormatLocalTime(std::numeric_limits<std::time_t>::max()).empty());
    EXPECT_FALSE(FormatLocalTime(std::numeric_limits<std::time_t>::min()).empty());
}
