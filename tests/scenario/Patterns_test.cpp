#include "Patterns.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using scenario::Json;
using scenario::Match;

TEST(Patterns, FitOrNameTheFirstDifferentPlace) {
    struct Case {
        const char* pattern;
        const char* value;
        const char* place;  ///< null: fits
    };
    const Case cases[] = {
        {"1", "1", nullptr},
        {"1", "2", ""},
        {"true", "1", ""},
        {R"("a")", R"("a")", nullptr},
        {"null", "null", nullptr},
        {R"({"a": 1})", R"({"b": 2, "a": 1})", nullptr},
        {R"({"a": {"b": 1}})", R"({"a": {"b": 2}})", "a.b"},
        {R"({"a": 1})", R"({})", "a"},
        {R"({"a": null})", R"({})", nullptr},
        {R"({"a": null})", R"({"a": 0})", "a"},
        {R"({})", R"([])", ""},
        {"[1, 2]", "[1, 2]", nullptr},
        {"[1, 2]", "[1, 3]", "[1]"},
        {"[1]", "[1, 2]", "[1]"},
        {"[1, 2]", "[1]", "[1]"},
        {"[]", "[]", nullptr},
        {R"([{"a": [5]}])", R"([{"a": [6]}])", "[0].a[0]"},
        {R"({"$contains": "ell"})", R"("hello")", nullptr},
        {R"({"$contains": "elk"})", R"("hello")", ""},
        {R"({"$contains": "1"})", "1", ""},
        {R"({"$contains": [1, 3]})", "[1, 2, 3]", nullptr},
        {R"({"$contains": [3, 1]})", "[1, 2, 3]", ""},
        {R"({"$contains": [{"a": 1}]})", R"([{"a": 2}, {"a": 1, "b": 0}])", nullptr},
        {R"({"$matches": "h.*o"})", R"("hello")", nullptr},
        {R"({"$matches": "h.*"})", R"("oh hello")", ""},
    };
    for (const Case& one : cases) {
        const auto mismatch = Match(Json::parse(one.pattern), Json::parse(one.value));
        ASSERT_EQ(mismatch.has_value(), one.place != nullptr) << one.pattern << " and " << one.value;
        if (mismatch) {
            EXPECT_EQ(mismatch->place, one.place) << one.pattern << " and " << one.value;
            EXPECT_NE(mismatch->expected, mismatch->happened);
        }
    }
}

TEST(Patterns, AreCheckedBeforeTheyAreUsed) {
    struct Case {
        const char* pattern;
        const char* pointer;
        const char* complaint;  ///< empty: nothing is wrong
    };
    const Case cases[] = {
        {R"({"$contains": "x"})", "", ""},
        {R"([{"a": {"$matches": "x+"}}])", "", ""},
        {R"({"a": {"$contain": "x"}})", "/e/a/$contain",
         "unknown way to compare; did you mean \"$contains\"?"},
        {R"({"$contains": "x", "b": 1})", "/e/$contains", "must stand alone in its object"},
        {R"([{"$contains": 5}])", "/e/0/$contains", "must be a text or a list"},
        {R"({"$matches": "("})", "/e/$matches", "must be a regular expression"},
        {R"({"$matches": 5})", "/e/$matches", "must be a regular expression"},
    };
    for (const Case& one : cases) {
        const auto fault = scenario::CheckPattern(Json::parse(one.pattern), scenario::JsonPlace("/e"));
        EXPECT_EQ(fault ? fault->text : "", one.complaint) << one.pattern;
        EXPECT_EQ(fault ? fault->place.to_string() : "", one.pointer) << one.pattern;
    }
}

TEST(Patterns, AreShownInOneShortLine) {
    EXPECT_EQ(scenario::InShort(Json::parse(R"({"a": [1, "x\ny"]})")), R"({"a":[1,"x\ny"]})");
    const std::string shown = scenario::InShort(std::string(5000, 'a'));
    EXPECT_LT(shown.size(), 450U);
    EXPECT_NE(shown.find("(5002 characters)"), std::string::npos);
}

}  // namespace
