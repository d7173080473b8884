#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "KURA_XMLParser.h"

using Attributes = KURA::TCXMLParser::TCAttributes;

namespace {

Attributes With(const std::string& value) {
    Attributes attributes;
    attributes.Insert("name", value);
    return attributes;
}

template <typename T>
struct Read {
    bool result;
    T value;
};

template <typename T>
Read<T> ReadFrom(const std::string& text, T before) {
    T value = before;
    const bool result = With(text).GetValue("name", value);
    return {result, value};
}

}  // namespace

TEST(Attributes, KeepNamesInLowerCaseAndValuesAsWritten) {
    Attributes attributes;
    attributes.Insert("ISSUE_Code", "LAUNCH me");
    std::string value;
    EXPECT_TRUE(attributes.GetValue("issue_code", value));
    EXPECT_EQ(value, "LAUNCH me");
    EXPECT_FALSE(attributes.GetValue("ISSUE_Code", value)) << "getters look a name up exactly";
}

TEST(Attributes, KeepTheLastValueOfAName) {
    Attributes attributes;
    attributes.Insert("a", "first");
    attributes.Insert("A", "second");
    std::string value;
    EXPECT_TRUE(attributes.GetValue("a", value));
    EXPECT_EQ(value, "second");
}

TEST(Attributes, KeepAZeroByteInsideAValue) {
    const std::string written("a\0b", 3);
    std::string value;
    EXPECT_TRUE(With(written).GetValue("name", value));
    EXPECT_EQ(value, written);
}

TEST(Attributes, LeaveEveryOutputUntouchedForAnAbsentName) {
    const Attributes attributes = With("1");
    std::string text = "before";
    unsigned long long wide = 11;
    double real = 1.5;
    bool flag = true;
    unsigned int natural = 12;
    int number = -13;
    EXPECT_FALSE(attributes.GetValue("other", text));
    EXPECT_FALSE(attributes.GetValue("other", wide));
    EXPECT_FALSE(attributes.GetValue("other", real));
    EXPECT_FALSE(attributes.GetValue("other", flag));
    EXPECT_FALSE(attributes.GetValue("other", natural));
    EXPECT_FALSE(attributes.GetValue("other", number));
    EXPECT_FALSE(attributes.HasAttrOfValue("other", "1"));
    EXPECT_EQ(text, "before");
    EXPECT_EQ(wide, 11U);
    EXPECT_EQ(real, 1.5);
    EXPECT_TRUE(flag);
    EXPECT_EQ(natural, 12U);
    EXPECT_EQ(number, -13);
}

TEST(Attributes, ReadAWideNumberWithTheResultsOfA32BitMachine) {
    const struct {
        const char* text;
        unsigned long long value;
    } rows[] = {
        {"0", 0},
        {"42", 42},
        {" \t42", 42},
        {"42abc", 42},
        {"abc", 0},
        {"", 0},
        {"4294967295", 4294967295ULL},
        {"4294967296", 4294967295ULL},
        {"99999999999999999999999", 4294967295ULL},
        {"-1", 4294967295ULL},
        {"-5", 4294967291ULL},
        {"0x10", 0},
        {"+7", 7},
    };
    for (const auto& row : rows) {
        const auto read = ReadFrom<unsigned long long>(row.text, 77);
        EXPECT_TRUE(read.result) << row.text;
        EXPECT_EQ(read.value, row.value) << row.text;
    }
}

TEST(Attributes, ReadARealNumberOnlyWhenTheWholeValueIsOne) {
    const struct {
        const char* text;
        bool result;
        double value;
    } rows[] = {
        {"1.5", true, 1.5},   {"-2e3", true, -2000.0}, {"", true, 0.0},
        {" 4", true, 4.0},    {"0x10", true, 16.0},    {"1.5 ", false, 9.0},
        {"1.5x", false, 9.0}, {"abc", false, 9.0},     {" ", false, 9.0},
    };
    for (const auto& row : rows) {
        const auto read = ReadFrom<double>(row.text, 9.0);
        EXPECT_EQ(read.result, row.result) << "'" << row.text << "'";
        EXPECT_EQ(read.value, row.value) << "'" << row.text << "'";
    }
}

TEST(Attributes, ReadEveryTextButFalseAndZeroAsTrue) {
    const struct {
        const char* text;
        bool value;
    } rows[] = {
        {"false", false}, {"FALSE", false}, {"False", false}, {"0", false}, {"no", true},
        {"off", true},    {"", true},       {"true", true},   {"1", true},  {"00", true},
        {" 0", true},     {"falsy", true},  {"halse", true},
    };
    for (const auto& row : rows) {
        for (const bool before : {false, true}) {
            const auto read = ReadFrom<bool>(row.text, before);
            EXPECT_TRUE(read.result) << row.text;
            EXPECT_EQ(read.value, row.value) << row.text;
        }
    }
}

TEST(Attributes, ReadAnUnsignedNumberAndKeepTheOutputWhenThereIsNone) {
    const struct {
        const char* text;
        unsigned int value;
    } rows[] = {
        {"5", 5}, {"7x", 7}, {"-1", UINT_MAX}, {"4294967296", UINT_MAX}, {"  3", 3}, {"abc", 77},
        {"", 77}, {"-", 77}, {"+", 77},
    };
    for (const auto& row : rows) {
        const auto read = ReadFrom<unsigned int>(row.text, 77);
        EXPECT_TRUE(read.result) << row.text;
        EXPECT_EQ(read.value, row.value) << row.text;
    }
}

TEST(Attributes, ReadASignedNumberAndKeepTheOutputWhenThereIsNone) {
    const struct {
        const char* text;
        int value;
    } rows[] = {
        {"5", 5},    {"7x", 7}, {"-1", -1},  {"2147483648", INT_MAX}, {"-2147483649", INT_MIN},
        {"abc", 77}, {"", 77},  {"--1", 77},
    };
    for (const auto& row : rows) {
        const auto read = ReadFrom<int>(row.text, 77);
        EXPECT_TRUE(read.result) << row.text;
        EXPECT_EQ(read.value, row.value) << row.text;
    }
}

TEST(Attributes, CompareAValueInAnyLetterCase) {
    const Attributes attributes = With("Launch");
    EXPECT_TRUE(attributes.HasAttrOfValue("name", "LAUNCH"));
    EXPECT_TRUE(attributes.HasAttrOfValue("name", "launch"));
    EXPECT_FALSE(attributes.HasAttrOfValue("name", "launch "));
    EXPECT_FALSE(attributes.HasAttrOfValue("name", "lounge"));
    EXPECT_FALSE(attributes.HasAttrOfValue("name", "haunch"));
    EXPECT_FALSE(attributes.HasAttrOfValue("name", "paunch"));
    EXPECT_FALSE(attributes.HasAttrOfValue("name", "launc"));
    EXPECT_FALSE(attributes.HasAttrOfValue("NAME", "launch"));
    EXPECT_TRUE(With("").HasAttrOfValue("name", ""));
}

TEST(Attributes, AreCopiedWithTheirTexts) {
    Attributes copy;
    copy.Insert("gone", "x");
    {
        const Attributes original = With("value");
        copy = original;
    }
    const Attributes second(copy);
    std::string value;
    EXPECT_TRUE(second.GetValue("name", value));
    EXPECT_EQ(value, "value");
    EXPECT_FALSE(second.GetValue("gone", value));
    copy.Insert("name", "changed");
    EXPECT_TRUE(second.HasAttrOfValue("name", "value")) << "a copy stands alone";
}

TEST(Attributes, SurviveTheirOwnAssignment) {
    Attributes attributes = With("value");
    const Attributes& same = attributes;
    attributes = same;
    EXPECT_TRUE(attributes.HasAttrOfValue("name", "value"));
}
