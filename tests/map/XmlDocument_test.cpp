#include "map/XmlDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "map/SolutionMap.h"

namespace {

using kuramap::Element;
using kuramap::LineColumn;
using kuramap::XmlDocument;
using Place = std::pair<std::size_t, std::size_t>;

XmlDocument Parse(const std::string& text) {
    return XmlDocument::Parse(text, "map.xml");
}

Place PlaceOf(const XmlDocument& document, std::size_t offset) {
    const LineColumn position = document.LineColumnsOf({offset}).front();
    return {position.line, position.column};
}

/// Where the attributes of the document's last element stand.
std::vector<Place> AttributePlaces(const XmlDocument& document) {
    const Element& element = document.Elements().back();
    std::vector<Place> places;
    for (std::uint32_t i = 0; i < element.attributeCount; ++i) {
        places.push_back(PlaceOf(document, document.AttributeOffset(element, element.firstAttribute + i)));
    }
    return places;
}

std::string RefusalOf(const std::string& text) {
    try {
        Parse(text);
    } catch (const kuramap::Unreadable& error) {
        return error.what();
    }
    return "";
}

/// ASCII text in UTF-16, either byte first.
std::string Utf16(const std::string& ascii, bool isBigEndian) {
    std::string text = isBigEndian ? "\xfe\xff" : "\xff\xfe";
    for (const char c : ascii) {
        text += isBigEndian ? std::string({'\0', c}) : std::string({c, '\0'});
    }
    return text;
}

TEST(XmlDocument, KeepsNamesAsWrittenAndValuesAsTheLibraryGetsThem) {
    const XmlDocument document = Parse("<R><A One='1 &amp; 2' two=\"x\ny\"/></R>");
    const Element& element = document.Elements().back();
    ASSERT_EQ(element.attributeCount, 2u);
    EXPECT_EQ(element.name->text, "A");
    EXPECT_EQ(element.name->lower, "a");
    EXPECT_EQ(document.Attributes()[0].name->text, "One");
    EXPECT_EQ(document.Attributes()[0].value, "1 & 2");
    EXPECT_EQ(document.Attributes()[1].value, "x y");
}

TEST(XmlDocument, FindsAttributesByLineAndColumn) {
    const XmlDocument document = Parse("<r>\n  <a one='1>2'\n     two = \"it's\"   three=''/></r>");
    EXPECT_EQ(PlaceOf(document, document.Elements().back().offset), Place(2, 3));
    EXPECT_THAT(AttributePlaces(document), testing::ElementsAre(Place(2, 6), Place(3, 6), Place(3, 21)));
}

TEST(XmlDocument, CountsColumnsInCharactersOfEachEncoding) {
    EXPECT_THAT(AttributePlaces(Parse("\xef\xbb\xbf<a \xc3\xa9='\xe2\x82\xac' b='1'/>")),
                testing::ElementsAre(Place(1, 4), Place(1, 10)));
    EXPECT_THAT(
        AttributePlaces(Parse("<?xml version='1.0' encoding='ISO-8859-1'?>\n<a c='\xe9\xe9' b='1'/>")),
        testing::ElementsAre(Place(2, 4), Place(2, 11)));
    for (const bool isBigEndian : {false, true}) {
        EXPECT_THAT(AttributePlaces(Parse(Utf16("<r>\n <a c='x' b='1'/></r>", isBigEndian))),
                    testing::ElementsAre(Place(2, 5), Place(2, 11)));
    }
}

TEST(XmlDocument, GivesPlacesOfElementsInLongAndManyLines) {
    std::string text = "<r>";
    for (int i = 0; i < 40000; ++i) {
        text += i % 100 == 0 ? "\r\n<a/>" : " <a/>";
    }
    const XmlDocument document = Parse(text + "</r>");
    ASSERT_EQ(document.Elements().size(), 40001u);
    EXPECT_EQ(PlaceOf(document, document.Elements()[40000].offset), Place(401, 1 + 4 + 98 * 5 + 1));
}

TEST(XmlDocument, TellsWhereTheReadingEnded) {
    const XmlDocument broken = Parse("<r>\n<a/>\n<b></c></r>");
    ASSERT_TRUE(broken.Error());
    EXPECT_EQ(broken.Error()->reason, "mismatched tag");
    EXPECT_EQ(PlaceOf(broken, broken.Error()->offset), Place(3, 6));
    EXPECT_EQ(broken.Elements().size(), 3u);

    const XmlDocument cut = Parse("<r><a/>");
    EXPECT_FALSE(cut.Error());
    EXPECT_TRUE(cut.Unfinished());
}

TEST(XmlDocument, RefusesWhatIsNoXmlInOneLine) {
    EXPECT_EQ(RefusalOf(""), "map.xml: is empty");
    EXPECT_EQ(RefusalOf("hello"), "map.xml: is not an XML document: syntax error at line 1, column 1");
    EXPECT_EQ(RefusalOf(std::string("\x7f"
                                    "ELF\0\1\2",
                                    7))
                  .find("map.xml: is not an XML document: "),
              0u);
    EXPECT_EQ(RefusalOf("<?xml version='1.0' encoding='windows-1252'?><r/>"),
              "map.xml: has an encoding that a set does not read; write UTF-8");
    EXPECT_EQ(RefusalOf("<!-- only a remark -->"),
              "map.xml: is not an XML document: no element found at line 1, column 23");
}

TEST(XmlDocument, RefusesWhatExhaustsItsReader) {
    std::string bomb = "<!DOCTYPE r [<!ENTITY a0 \"" + std::string(1000, 'x') + "\">";
    for (int i = 1; i < 12; ++i) {
        const std::string inner = "&a" + std::to_string(i - 1) + ";";
        bomb += "<!ENTITY a" + std::to_string(i) + " \"";
        for (int k = 0; k < 10; ++k) {
            bomb += inner;
        }
        bomb += "\">";
    }
    EXPECT_EQ(RefusalOf(bomb + "]><r>&a11;</r>"),
              "map.xml: expands entities without bounds; a set refuses it too");

    std::string wide = "<r";
    for (int i = 0; i < 1000000; ++i) {
        wide += " a" + std::to_string(i) + "=''";
    }
    EXPECT_EQ(RefusalOf(wide + "/>"), "map.xml: has an element with 1000000 attributes; no solution map has");
}

TEST(XmlDocument, ReadsAnyDepth) {
    std::string deep;
    for (int i = 0; i < 300000; ++i) {
        deep += "<a>";
    }
    const XmlDocument document = Parse(deep);
    EXPECT_EQ(document.Elements().size(), 300000u);
    EXPECT_TRUE(document.Unfinished());
}

TEST(SolutionMap, MapsAsTheLibraryDoes) {
    const XmlDocument document = Parse(
        "<r><SMINFO VERSION=' 7x'/><sm cnt='-1'/><Solution ISSUE_CODE='1' issue_code='2' sol_type='INFO'>"
        "<sol_val param_value='a'/></Solution><sol_val param_value='b'/></r>");
    const kuramap::SolutionMap map(document);
    ASSERT_EQ(map.Solutions().size(), 1u);
    EXPECT_EQ(map.Text(map.Solutions()[0], kuramap::Field::kIssueCode), "2");
    EXPECT_EQ(map.Text(map.Solutions()[0], kuramap::Field::kToast1), "");
    ASSERT_EQ(map.Solutions()[0].valueCount, 2u);
    EXPECT_TRUE(map.Values()[0].isInside);
    EXPECT_FALSE(map.Values()[1].isInside);
    EXPECT_EQ(map.Version(), 7);
    EXPECT_EQ(map.DeclaredCount(), 4294967295u);
    EXPECT_FALSE(map.EarlyValue());
}

TEST(SolutionMap, KnowsAValueBeforeAnySolution) {
    const XmlDocument document = Parse("<r><sol_val/><solution/></r>");
    const kuramap::SolutionMap map(document);
    EXPECT_EQ(map.EarlyValue(), 1u);
    EXPECT_EQ(map.Version(), -1);
    EXPECT_EQ(map.DeclaredCount(), 0u);
}

}  // namespace
