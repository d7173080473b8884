#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <new>
#include <stdexcept>
#include <string>

#include "AddressSpace.h"
#include "KURA_XMLParser.h"

using KURA::TCParserDataBuffer;

namespace {

std::string Held(const TCParserDataBuffer& buffer) {
    return buffer.GetDataSize() == 0
               ? std::string()
               : std::string(buffer.GetData(), static_cast<std::size_t>(buffer.GetDataSize()));
}

}  // namespace

TEST(ParserDataBuffer, StartsEmpty) {
    EXPECT_EQ(TCParserDataBuffer().GetDataSize(), 0);
}

TEST(ParserDataBuffer, AppendsBytesZeroBytesIncluded) {
    TCParserDataBuffer buffer;
    buffer.InsertData("abc", 3);
    buffer.InsertData("\0d", 2);
    EXPECT_EQ(Held(buffer), std::string("abc\0d", 5));
}

TEST(ParserDataBuffer, IgnoresALengthBelowOneAndMissingBytes) {
    TCParserDataBuffer buffer;
    buffer.InsertData("abc", 0);
    buffer.InsertData("abc", -1);
    buffer.InsertData("abc", INT_MIN);
    buffer.InsertData(nullptr, 3);
    EXPECT_EQ(buffer.GetDataSize(), 0);
}

TEST(ParserDataBuffer, KeepsItsMemoryWhenCleared) {
    TCParserDataBuffer buffer;
    buffer.InsertData("0123456789", 10);
    const char* before = buffer.GetData();
    buffer.Clear();
    EXPECT_EQ(buffer.GetDataSize(), 0);
    buffer.InsertData("abcdefghij", 10);
    EXPECT_EQ(buffer.GetData(), before);
    EXPECT_EQ(Held(buffer), "abcdefghij");
}

TEST(ParserDataBuffer, DoublesItsCapacityFromOneByte) {
    TCParserDataBuffer buffer;
    const char* last = nullptr;
    for (int i = 0; i < 1000; ++i) {
        buffer.InsertData("x", 1);
        const bool full = (i & (i - 1)) == 0;  // 0, 1, 2, 4, 8, ... bytes held before: the capacities
        ASSERT_EQ(buffer.GetData() != last, full) << "holding " << i << " bytes before";
        last = buffer.GetData();
    }
    EXPECT_EQ(Held(buffer), std::string(1000, 'x'));
}

TEST(ParserDataBuffer, RefusesMoreBytesThanASignedLengthCanTell) {
    TCParserDataBuffer buffer;
    buffer.InsertData("a", 1);
    try {
        buffer.InsertData("b", INT_MAX);
        FAIL() << "2147483648 bytes were accepted";
    } catch (const std::length_error& error) {
        EXPECT_STREQ(error.what(), "vector::_M_realloc_insert");
    }
    EXPECT_EQ(Held(buffer), "a");
}

TEST(ParserDataBuffer, AsksForTheMemoryOfAsManyBytesAsASignedLengthCanTell) {
    const fakes::AddressSpaceLimit limit(std::size_t{1} << 30);
    if (!limit.Holds()) {
        GTEST_SKIP() << "the address space has no limit here";
    }
    TCParserDataBuffer buffer;
    EXPECT_THROW(buffer.InsertData("b", INT_MAX), std::bad_alloc);
    buffer.InsertData("a", 1);
    EXPECT_THROW(buffer.InsertData("b", INT_MAX - 1), std::bad_alloc);
    EXPECT_EQ(Held(buffer), "a");
}

TEST(ParserDataBuffer, AppendsItsOwnBytes) {
    TCParserDataBuffer buffer;
    buffer.InsertData("abcd", 4);
    for (int i = 0; i < 6; ++i) {
        buffer.InsertData(buffer.GetData(), buffer.GetDataSize());
    }
    std::string expected = "abcd";
    for (int i = 0; i < 6; ++i) {
        expected += expected;
    }
    EXPECT_EQ(Held(buffer), expected);
}
