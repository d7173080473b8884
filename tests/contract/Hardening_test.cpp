// Reads from the built file how the library was compiled and linked.
#include <algorithm>
#include <regex>
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tools.h"

namespace {

using contract::Shell;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

std::string ReadElf(const std::string& options) {
    const contract::Outcome outcome = Shell("readelf -W " + options + " '" KURA_LIBRARY "'");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    return outcome.output;
}

TEST(Hardening, CarriesItsOwnName) {
    EXPECT_THAT(ReadElf("-d"), HasSubstr("Library soname: [libkura_parser.so]"));
}

TEST(Hardening, BindsEverythingBeforeItRuns) {
    const std::string dynamic = ReadElf("-d");
    EXPECT_THAT(dynamic, HasSubstr("BIND_NOW"));
    EXPECT_THAT(dynamic, ContainsRegex("FLAGS_1.*NOW"));
    EXPECT_THAT(ReadElf("-l"), HasSubstr("GNU_RELRO"));
}

TEST(Hardening, LooksForLibrariesOnlyWhereTheSystemDoes) {
    const std::string dynamic = ReadElf("-d");
    EXPECT_THAT(dynamic, HasSubstr("(NEEDED)"));
    EXPECT_THAT(dynamic, Not(HasSubstr("RPATH")));
    EXPECT_THAT(dynamic, Not(HasSubstr("RUNPATH")));
}

TEST(Hardening, CanBeOpenedAtRunTime) {
    EXPECT_THAT(ReadElf("-d"), Not(HasSubstr("NOOPEN")));
}

TEST(Hardening, NeverPatchesItsCode) {
    EXPECT_THAT(ReadElf("-d"), Not(HasSubstr("TEXTREL")));
}

TEST(Hardening, KeepsItsStackFreeOfCode) {
    std::smatch match;
    const std::string segments = ReadElf("-l");
    ASSERT_TRUE(std::regex_search(segments, match, std::regex(R"(GNU_STACK.* (R\S*) +0x)"))) << segments;
    EXPECT_EQ(match[1], "RW");
}

TEST(Hardening, HasNoSegmentThatIsWritableAndCode) {
    const std::string segments = ReadElf("-l");
    EXPECT_THAT(segments, HasSubstr("LOAD"));
    EXPECT_FALSE(std::regex_search(segments, std::regex(R"(LOAD.* RWE +0x)")));
}

#ifdef KURA_FORTIFIED
TEST(Hardening, ChecksBuffersAndStack) {
    const std::set<std::string> names = contract::DynamicNames(KURA_LIBRARY, "--undefined-only");
    EXPECT_EQ(names.count("__stack_chk_fail"), 1u);
    EXPECT_TRUE(std::any_of(names.begin(), names.end(), [](const std::string& name) {
        return std::regex_match(name, std::regex("__.*printf_chk"));
    }));
}
#endif

}  // namespace
