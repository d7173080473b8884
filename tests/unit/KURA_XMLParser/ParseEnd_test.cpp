// The reader stops Expat where the text ends. Expat by itself is the judge: of every beginning of every
// document both must say the same.
#include <dlfcn.h>
#include <expat.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "Fakes.h"
#include "KURA_SolutionMap.h"
#include "KURA_XMLParser.h"

namespace {

using Texts = std::vector<std::string>;

/// How often the library stopped Expat.
int g_stops = 0;

/// What a reading comes to: the elements met, in order, how many solutions of what name, and the error, if
/// any.
struct Reading {
    Texts elements;
    Texts names;
    std::string error;
};

void XMLCALL OnElement(void* context, const XML_Char* name, const XML_Char** attributes) {
    auto* reading = static_cast<Reading*>(context);
    reading->elements.push_back(std::string("current_element [") + name + "]");
    if (std::string(name) != "solution") {
        return;
    }
    reading->names.emplace_back();
    for (; *attributes != nullptr; attributes += 2) {
        if (std::string(attributes[0]) == "sol_name") {
            reading->names.back() = attributes[1];
        }
    }
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
    for (const KURA::KURA_Solution& solution : map.solutions) {
        reading.names.push_back(solution.sol_name);
    }
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

struct Document {
    const char* name;
    std::string text;
};

class ParseEnd : public testing::TestWithParam<Document> {};

const Document kDocuments[] = {
    {"Map", kMap},
    {"BlanksBehind", kMap + " \t\r\n"},
    {"CommentBehind", kMap + "<!-- the end -->\n<?the end?>"},
    {"TextBehind", kMap + "more"},
    {"SecondRoot", kMap + "<map/>\n"},
    {"OneTag", "<solution/>"},
    {"ByteOrderMark", "\xEF\xBB\xBF" + kMap},
    {"CarriageReturns", "<m>\r\n<solution/>\r\r\n</m>\r"},
    {"CharacterData", "<m>text &#228; &#x41; ]]] <![CDATA[<a/>]]> text</m>\n"},
    {"EndOfDataInText", "<m>]]></m>\n"},
    {"WrongEndTag", "<m><a>\n</b></m>\n"},
    {"AttributeTwice", "<m>\n<a x='1' x='2'/>\n</m>\n"},
    {"PartOfALetter", "<m>\xC3\xA4\xE2\x82\xAC\xF0\x9F\x93\xBA\n\xC3</m>\n"},
    {"Entities",
     "<!DOCTYPE m [\n<!ENTITY two '<solution/>\n<b/>\n'>\n<!ATTLIST solution sol_name CDATA 'd'>\n]>\n"
     "<m>&two;\n&two;</m>\n"},
    {"EntityLeftOpen", "<!DOCTYPE m [<!ENTITY open '<c>'>]>\n<m>\n&open;\n</m>\n"},
    {"ExternalEntities",
     "<!DOCTYPE m SYSTEM 'm.dtd' [<!ENTITY % more SYSTEM 'm.mod'>\n%more;\n<!ENTITY far SYSTEM 'far.xml'>]>\n"
     "<m>&far;\n&unknown;\n<a/></m>\n"},
    {"UnknownEntity", "<!DOCTYPE m>\n<m>&unknown;\n</m>\n"},
    {"WrongEncoding", "<?xml version='1.0' encoding='UTF-16'?>\n<m/>\n"},
    {"UnknownEncoding", "<?xml version='1.0' encoding='none'?>\n<m/>\n"},
    {"Latin1", "<?xml version='1.0' encoding='ISO-8859-1'?>\n<m>\n<a x='\xE4'/>\xE4\n</m>\n<!-- \xE4 -->"},
    {"Utf16BigEndian", InUtf16("<m>\n<a/>\n</m>\n<!-- end -->", true)},
    {"Utf16LittleEndian", InUtf16("<m>\n<a/>\n</m>\n<", false)},
};

/// Both say the same of a text.
void ExpectAgreement(const std::string& text) {
    const Reading expected = ByExpat(text);
    const Reading reading = ByLibrary(text);
    ASSERT_EQ(reading.error, expected.error) << testing::PrintToString(text);
    ASSERT_EQ(reading.elements, expected.elements) << testing::PrintToString(text);
    ASSERT_EQ(reading.names, expected.names) << testing::PrintToString(text);
}

}  // namespace

/// Stands in front of Expat's.
extern "C" __attribute__((visibility("default"))) XML_Status XML_StopParser(XML_Parser parser,
                                                                            XML_Bool resumable) {
    static auto* next =
        reinterpret_cast<XML_Status (*)(XML_Parser, XML_Bool)>(dlsym(RTLD_NEXT, "XML_StopParser"));
    ++g_stops;
    return next(parser, resumable);
}

TEST_P(ParseEnd, IsWhereExpatHasItForEveryBeginningOfADocument) {
    for (std::size_t size = 0; size <= GetParam().text.size(); ++size) {
        ExpectAgreement(GetParam().text.substr(0, size));
    }
}

INSTANTIATE_TEST_SUITE_P(Documents, ParseEnd, testing::ValuesIn(kDocuments),
                         [](const auto& test) { return test.param.name; });

TEST(EndOfText, IsFoundWhereExpatsOwnMemoryIsFull) {
    // Expat makes room in powers of two.
    for (const std::size_t size : {2047U, 2048U, 2049U, 4095U, 4096U, 4097U, 65536U}) {
        ExpectAgreement(kMap + std::string(size - kMap.size(), '\n'));
        ExpectAgreement("<m>" + std::string(size - 3, 'x'));
    }
}

TEST(EndOfText, StopsExpatOnce) {
    g_stops = 0;
    ByLibrary(kMap);
    EXPECT_EQ(g_stops, 1);
    ByLibrary("<m>no end");
    EXPECT_EQ(g_stops, 2);
    ByLibrary("<m>\n</wrong>\n");
    EXPECT_EQ(g_stops, 2);
}

TEST(EndOfText, DoesNotHideAMisplacedValue) {
    for (const char* text : {"<sol_val/>", "<m><sol_val/>\n", "<m>\n<sol_val/>\n</m>\n"}) {
        KURA::KURA_SolutionMap map;
        EXPECT_THROW(KURA::TCXMLParser().Parse(text, map), std::out_of_range) << text;
    }
}
