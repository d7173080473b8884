#include "base/Text32.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>

using namespace KURA::base;

namespace {

struct Signed {
    const char* text;
    std::int32_t value;
    std::size_t read;  ///< bytes up to the end; 0 when there are no digits
};

struct Unsigned {
    const char* text;
    std::uint32_t value;
    std::size_t read;
};

const Signed kSigned[] = {
    {"0", 0, 1},
    {"42", 42, 2},
    {"-42", -42, 3},
    {"+42", 42, 3},
    {" \t\n\v\f\r42", 42, 8},
    {"\b42", 0, 0},
    {"\x0e\x34", 0, 0},
    {"0042", 42, 4},
    {"42abc", 42, 2},
    {"4 2", 4, 1},
    {"0x10", 0, 1},
    {"2147483647", INT32_MAX, 10},
    {"2147483648", INT32_MAX, 10},
    {"-2147483648", INT32_MIN, 11},
    {"-2147483649", INT32_MIN, 11},
    {"4294967295", INT32_MAX, 10},
    {"9223372036854775808", INT32_MAX, 19},
    {"-18446744073709551616", INT32_MIN, 21},
    {"99999999999999999999999999x", INT32_MAX, 26},
    {"", 0, 0},
    {"   ", 0, 0},
    {"abc", 0, 0},
    {"-", 0, 0},
    {"+", 0, 0},
    {"--1", 0, 0},
    {"-+1", 0, 0},
    {"+-1", 0, 0},
    {"- 1", 0, 0},
    {"+ 1", 0, 0},
    {"-\t1", 0, 0},
    {"+\r1", 0, 0},
};

const Unsigned kUnsigned[] = {
    {"0", 0, 1},
    {"42", 42, 2},
    {"+42", 42, 3},
    {" \t\n\v\f\r42", 42, 8},
    {"7x", 7, 1},
    {"2147483648", 2147483648U, 10},
    {"4294967295", UINT32_MAX, 10},
    {"4294967296", UINT32_MAX, 10},
    {"99999999999999999999999999", UINT32_MAX, 26},
    {"-1", UINT32_MAX, 2},
    {"-5", 4294967291U, 2},
    {"-0", 0, 2},
    {"-4294967295", 1, 11},
    {"-4294967296", UINT32_MAX, 11},
    {"", 0, 0},
    {"abc", 0, 0},
    {"-", 0, 0},
    {"--5", 0, 0},
    {"- 5", 0, 0},
};

}  // namespace

TEST(Text32, ReadsSignedNumbersLikeA32BitMachine) {
    for (const Signed& row : kSigned) {
        const char* end = nullptr;
        EXPECT_EQ(ToInt32(row.text, &end), row.value) << "'" << row.text << "'";
        EXPECT_EQ(end, row.text + row.read) << "'" << row.text << "'";
        EXPECT_EQ(ToInt32(row.text), row.value) << "'" << row.text << "'";
    }
}

TEST(Text32, ReadsUnsignedNumbersLikeA32BitMachine) {
    for (const Unsigned& row : kUnsigned) {
        const char* end = nullptr;
        EXPECT_EQ(ToUInt32(row.text, &end), row.value) << "'" << row.text << "'";
        EXPECT_EQ(end, row.text + row.read) << "'" << row.text << "'";
        EXPECT_EQ(ToUInt32(row.text), row.value) << "'" << row.text << "'";
    }
}

TEST(Text32, ScansSignedNumbersAndLeavesTheOutputAloneWithoutDigits) {
    for (const Signed& row : kSigned) {
        std::int32_t value = 77;
        EXPECT_EQ(ScanInt32(row.text, value), row.read != 0) << "'" << row.text << "'";
        EXPECT_EQ(value, row.read != 0 ? row.value : 77) << "'" << row.text << "'";
    }
}

TEST(Text32, ScansUnsignedNumbersAndLeavesTheOutputAloneWithoutDigits) {
    for (const Unsigned& row : kUnsigned) {
        std::uint32_t value = 77;
        EXPECT_EQ(ScanUInt32(row.text, value), row.read != 0) << "'" << row.text << "'";
        EXPECT_EQ(value, row.read != 0 ? row.value : 77U) << "'" << row.text << "'";
    }
}
