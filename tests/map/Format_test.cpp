#include "map/Format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "map/XmlDocument.h"

namespace {

std::string Formatted(const std::string& text) {
    return kuramap::Format(kuramap::XmlDocument::Parse(text, "map.xml"));
}

TEST(Format, GivesTextBetweenElementsALineAndNoBlankLineAfterIt) {
    const std::string once =
        Formatted("<r>\n<sminfo version=\"1\"/>\n text  <sm cnt=\"1\"/><sm cnt=\"0\"/></r>");
    EXPECT_THAT(once, testing::HasSubstr("/>\n    text\n    <sm cnt=\"1\"/>\n    <sm cnt=\"0\"/>\n"));
    EXPECT_EQ(Formatted(once), once);
}

TEST(Format, KeepsABlankLineBehindTextBelowTheRoot) {
    const std::string once = Formatted("<r><sm cnt=\"0\"/>text\n\n\n<sminfo version=\"1\"/></r>");
    EXPECT_THAT(once, testing::HasSubstr("    text\n\n    <sminfo version=\"1\"/>\n"));
    EXPECT_EQ(Formatted(once), once);
}

TEST(Format, KeepsACarriageReturnThatWasWrittenAsAReference) {
    const std::string once = Formatted("<r>a&#13;b</r>");
    EXPECT_THAT(once, testing::HasSubstr("a&#13;b"));
    EXPECT_EQ(Formatted(once), once);
}

}  // namespace
