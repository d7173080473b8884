// The reader stops Expat where the text ends. Expat by itself is the judge: of every beginning of every
// document both must say the same.
#include <expat.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "Fakes.h"
#include "KURA_SolutionMap.h"
#include "KURA_XMLParser.h"
#include "dlog.h"

namespace {

using Texts = std::vector<std::string>;

/// What a reading comes to: the elements met, in order, and the error, if any.
struct Reading {
    Texts elements;
    std::string error;
};

void XMLCALL OnElement(void* reading, const XML_Char* name, const XML_Char**) {
    static_cast<Reading*>(reading)->elements.push_back(std::string("current_element [") + name + "]");
}

Reading ByExpat(const std::string& text) {
    Reading reading;
    const std::unique_ptr<std::remove_pointer_t<XML_Parser>, void (*)(XML_Parser)> parser(
        XML_ParserCreate(nullptr), XML_ParserFree);
    XML_SetUserData(parser.get(), &reading);
    XML_SetElementHandler(parser.get(), OnElement, nullptr);
    if (XML_Parse(parser.get(), text.data(), static_cast<int>(text.size()), 0) == XML_STATUS_ERROR) {
        char line[256];
        std::snprintf(line, sizeof(line), "Error while parsing xml: %s, line: %lu, col: %lu",
                      XML_ErrorString(XML_GetErrorCode(parser.get())),
                      static_cast<unsigned long>(XML_GetCurrentLineNumber(parser.get())),
                      static_cast<unsigned long>(XML_GetCurrentColumnNumber(parser.get())));
        reading.error = line;
    }
    return reading;
}

Reading ByLibrary(const std::string& text) {
    Reading reading;
    fakes::Set().log.clear();
    KURA::KURA_SolutionMap map;
    const bool isRead = KURA::TCXMLParser().Parse(text, map);
    reading.elements = fakes::Set().Messages("m_StartXmlElement");
    const Texts messages = fakes::Set().Messages("Parse");
    EXPECT_EQ(messages.size(), isRead ? 1U : 3U);
    reading.error = isRead ? "" : messages.at(1);
    return reading;
}

/// Each second byte is zero, the first or the second of a pair.
std::string InUtf16(const std::string& text, bool isBigEndian) {
    std::string wide = isBigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char c : text) {
        wide += isBigEndian ? std::string{'\0', c} : std::string{c, '\0'};
    }
    return wide;
}

const std::string kMap =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<map>\n  <sm cnt=\"1\"/>\n"
    "  <solution sol_name=\"a&amp;b\">\n    <sol_val/>\n  </solution>\n</map>\n";

class ParseEnd : public testing::TestWithParam<std::string> {};

}  // namespace

TEST_P(ParseEnd, IsWhereExpatHasItForEveryBeginningOfADocument) {
    for (std::size_t size = 0; size <= GetParam().size(); ++size) {
        const std::string text = GetParam().substr(0, size);
        const Reading expected = ByExpat(text);
        const Reading reading = ByLibrary(text);
        ASSERT_EQ(reading.error, expected.error) << text;
        ASSERT_EQ(reading.elements, expected.elements) << text;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Documents, ParseEnd,
    testing::Values(
        kMap, kMap + " \t\r\n", kMap + "<!-- the end -->\n<?the end?>", kMap + "more", kMap + "<map/>\n",
        "\xEF\xBB\xBF" + kMap, "<m>\r\n<a/>\r\r\n</m>\r",
        "<m>text &#228; &#x41; ]]] <![CDATA[<a/>]]> text</m>\n", "<m>no end of data ]]></m>\n",
        "<m><a>\n</b></m>\n", "<m>\n<a x='1' x='2'/>\n</m>\n",
        "<m>\xC3\xA4\xE2\x82\xAC\xF0\x9F\x93\xBA\n\xC3</m>\n",
        "<!DOCTYPE m [\n<!ENTITY two '<a/>\n<b/>\n'>\n<!ENTITY open '<c>'>\n<!ATTLIST a x CDATA '1'>\n]>\n"
        "<m>&two;\n&two;</m>\n",
        "<!DOCTYPE m [<!ENTITY open '<c>'>]>\n<m>\n&open;\n</m>\n",
        "<!DOCTYPE m SYSTEM 'm.dtd' [<!ENTITY % more SYSTEM 'm.mod'>\n%more;\n<!ENTITY far SYSTEM "
        "'far.xml'>]>\n"
        "<m>&far;\n&unknown;\n<a/></m>\n",
        "<!DOCTYPE m>\n<m>&unknown;\n</m>\n", "<?xml version='1.0' encoding='UTF-16'?>\n<m/>\n",
        "<?xml version='1.0' encoding='none'?>\n<m/>\n",
        "<?xml version='1.0' encoding='ISO-8859-1'?>\n<m>\n<a x='\xE4'/>\xE4\n</m>\n",
        InUtf16("<m>\n<a/>\n</m>\n", true), InUtf16("<m>\n<a/>\n</m>\n<", false)),
    [](const auto& test) { return "Number" + std::to_string(test.index + 1); });

TEST(MisplacedValue, IsNotHiddenByTheEndOfTheText) {
    for (const char* text : {"<sol_val/>", "<m><sol_val/>\n", "<m>\n<sol_val/>\n</m>\n"}) {
        KURA::KURA_SolutionMap map;
        EXPECT_THROW(KURA::TCXMLParser().Parse(text, map), std::out_of_range) << text;
    }
}
