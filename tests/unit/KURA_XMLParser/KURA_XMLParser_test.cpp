#include "KURA_XMLParser.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Fakes.h"
#include "KURA_SolutionMap.h"
#include "dlog.h"

using KURA::KURA_Solution;
using KURA::KURA_SolutionMap;
using KURA::TCXMLParser;

namespace {

constexpr const char* kMisplacedValue =
    "vector::_M_range_check: __n (which is 4294967295) >= this->size() (which is 0)";

using Field = std::pair<const char*, std::string KURA_Solution::*>;

const std::vector<Field>& Fields() {
    static const std::vector<Field> fields = {
        {"issue_code", &KURA_Solution::issue_code},
        {"sol_code", &KURA_Solution::sol_code},
        {"sol_type", &KURA_Solution::sol_type},
        {"sol_name", &KURA_Solution::sol_name},
        {"sid_issue", &KURA_Solution::sid_issue},
        {"sid_sol", &KURA_Solution::sid_sol},
        {"sid_button1", &KURA_Solution::sid_button1},
        {"sid_button2", &KURA_Solution::sid_button2},
        {"reboot", &KURA_Solution::reboot},
        {"is_fg_bg", &KURA_Solution::is_fg_bg},
        {"action", &KURA_Solution::action},
        {"toast1", &KURA_Solution::toast1},
        {"toast2", &KURA_Solution::toast2},
        {"source", &KURA_Solution::source},
        {"view_authority", &KURA_Solution::view_authority},
    };
    return fields;
}

KURA_SolutionMap Read(const std::string& text) {
    KURA_SolutionMap map;
    EXPECT_TRUE(TCXMLParser().Parse(text, map)) << text;
    return map;
}

std::vector<std::string> IssueCodes(const KURA_SolutionMap& map) {
    std::vector<std::string> codes;
    for (const KURA_Solution& solution : map.solutions) {
        codes.push_back(solution.issue_code);
    }
    return codes;
}

/// A context with the three fields that callbacks may rely on, and nothing behind them.
struct Context {
    const TCXMLParser* parser;
    KURA_SolutionMap* map;
    std::string currentElement;
};

using Texts = std::vector<std::string>;

}  // namespace

TEST(SolutionMapRecord, IsBuiltFromFifteenTextsInOrderWithoutValues) {
    const KURA_Solution solution("1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12", "13", "14",
                                 "15");
    int expected = 1;
    for (const Field& field : Fields()) {
        EXPECT_EQ(solution.*field.second, std::to_string(expected)) << field.first;
        ++expected;
    }
    EXPECT_TRUE(solution.sol_val.empty());
}

TEST(SolutionMapRecord, IsCopiedDeeply) {
    KURA_Solution original("1", "", "", "", "", "", "", "", "", "", "", "", "", "", "");
    original.sol_val.push_back({"value", "type"});
    KURA_Solution copy(original);
    original.issue_code = "2";
    original.sol_val[0].param_value = "changed";
    EXPECT_EQ(copy.issue_code, "1");
    ASSERT_EQ(copy.sol_val.size(), 1U);
    EXPECT_EQ(copy.sol_val[0].param_value, "value");
    EXPECT_EQ(copy.sol_val[0].param_type, "type");
}

TEST(SolutionMapRecord, StartsAMapAtVersionMinusOneWithoutSolutions) {
    const KURA_SolutionMap map;
    EXPECT_EQ(map.version, -1);
    EXPECT_EQ(map.count, 0U);
    EXPECT_TRUE(map.solutions.empty());
}

TEST(Parse, ReadsEveryAttributeIntoItsField) {
    for (const Field& field : Fields()) {
        const KURA_SolutionMap map =
            Read("<m><solution " + std::string(field.first) + "=' As Written '/></m>");
        ASSERT_EQ(map.solutions.size(), 1U) << field.first;
        for (const Field& other : Fields()) {
            EXPECT_EQ(map.solutions[0].*other.second, other.first == field.first ? " As Written " : "")
                << field.first << " in " << other.first;
        }
    }
}

TEST(Parse, ReadsAWholeSolutionInAnyAttributeOrder) {
    std::string forward;
    std::string backward;
    for (const Field& field : Fields()) {
        const std::string attribute = std::string(field.first) + "='value of " + field.first + "' ";
        forward = forward + attribute;
        backward = attribute + backward;
    }
    for (const std::string& attributes : {forward, backward, "unknown='x' " + forward + "other='y'"}) {
        const KURA_SolutionMap map = Read("<m><solution " + attributes + "/></m>");
        ASSERT_EQ(map.solutions.size(), 1U);
        for (const Field& field : Fields()) {
            EXPECT_EQ(map.solutions[0].*field.second, std::string("value of ") + field.first);
        }
        EXPECT_TRUE(map.solutions[0].sol_val.empty());
    }
}

TEST(Parse, LeavesASolutionWithoutAttributesEmpty) {
    const KURA_SolutionMap map = Read("<m><solution/></m>");
    ASSERT_EQ(map.solutions.size(), 1U);
    for (const Field& field : Fields()) {
        EXPECT_EQ(map.solutions[0].*field.second, "") << field.first;
    }
}

TEST(Parse, MatchesElementAndAttributeNamesInAnyLetterCaseAndKeepsValuesAsWritten) {
    const KURA_SolutionMap map = Read(
        "<M><SMInfo VERSION='3'/><SM Cnt='2'/><SOLUTION ISSUE_CODE='10' SOL_TYPE='LAUNCH' "
        "View_Authority='User'>"
        "<Sol_Val PARAM_VALUE='On' param_TYPE='Int'/></SOLUTION></M>");
    EXPECT_EQ(map.version, 3);
    EXPECT_EQ(map.count, 2U);
    ASSERT_EQ(map.solutions.size(), 1U);
    EXPECT_EQ(map.solutions[0].issue_code, "10");
    EXPECT_EQ(map.solutions[0].sol_type, "LAUNCH");
    EXPECT_EQ(map.solutions[0].view_authority, "User");
    ASSERT_EQ(map.solutions[0].sol_val.size(), 1U);
    EXPECT_EQ(map.solutions[0].sol_val[0].param_value, "On");
    EXPECT_EQ(map.solutions[0].sol_val[0].param_type, "Int");
}

TEST(Parse, TakesTheLastOfTwoSpellingsOfOneAttribute) {
    const KURA_SolutionMap map = Read(
        "<m><sm CNT='1' cnt='2'/><sminfo version='4' Version='5'/>"
        "<solution issue_code='1' ISSUE_CODE='2' sol_code='3' Issue_Code=''>"
        "<sol_val param_type='a' PARAM_TYPE='b'/></solution></m>");
    EXPECT_EQ(map.count, 2U);
    EXPECT_EQ(map.version, 5);
    EXPECT_EQ(map.solutions.at(0).issue_code, "");
    EXPECT_EQ(map.solutions.at(0).sol_code, "3");
    EXPECT_EQ(map.solutions.at(0).sol_val.at(0).param_type, "b");
}

TEST(Parse, DoesNotTakeANameThatOnlyBeginsAlikeOrIsLonger) {
    const KURA_SolutionMap map = Read(
        "<m><solution issue_cod='1' issue_codes='2' sol='3'/><solutions/><sol_values/><smi cnt='9'/></m>");
    ASSERT_EQ(map.solutions.size(), 1U);
    EXPECT_EQ(map.solutions[0].issue_code, "");
    EXPECT_EQ(map.count, 0U);
}

TEST(Parse, KeepsTheOrderAndDuplicatesOfTheDocument) {
    const KURA_SolutionMap map =
        Read("<m><solution issue_code='7'/><solution issue_code='3'/><solution issue_code='7'/></m>");
    EXPECT_EQ(IssueCodes(map), (Texts{"7", "3", "7"}));
}

TEST(Parse, AppendsEveryValueToTheLastSolutionInOrder) {
    const KURA_SolutionMap map = Read(
        "<m><solution issue_code='1'><sol_val param_value='a' param_type='t'/><sol_val "
        "param_value='b'/></solution>"
        "<solution issue_code='2'/><sol_val param_value='c'/><other><sol_val/></other></m>");
    ASSERT_EQ(map.solutions.size(), 2U);
    ASSERT_EQ(map.solutions[0].sol_val.size(), 2U);
    EXPECT_EQ(map.solutions[0].sol_val[0].param_value, "a");
    EXPECT_EQ(map.solutions[0].sol_val[0].param_type, "t");
    EXPECT_EQ(map.solutions[0].sol_val[1].param_value, "b");
    EXPECT_EQ(map.solutions[0].sol_val[1].param_type, "");
    ASSERT_EQ(map.solutions[1].sol_val.size(), 2U) << "a value after its element belongs to it still";
    EXPECT_EQ(map.solutions[1].sol_val[0].param_value, "c");
    EXPECT_EQ(map.solutions[1].sol_val[1].param_value, "");
}

TEST(Parse, RecognisesElementsWhereverTheyStand) {
    const KURA_SolutionMap map = Read(
        "<solution issue_code='1'><a><solution issue_code='2'><sm cnt='4'/>"
        "<sminfo version='5'/></solution></a></solution>");
    EXPECT_EQ(IssueCodes(map), (Texts{"1", "2"}));
    EXPECT_EQ(map.count, 4U);
    EXPECT_EQ(map.version, 5);
}

TEST(Parse, ReadsTheVersionAsADecimalNumber) {
    const std::pair<const char*, int> rows[] = {
        {"version='7'", 7},
        {"version='7x'", 7},
        {"version='abc'", 0},
        {"version=''", 0},
        {"version='-3'", -3},
        {"", 0},
        {"version='2147483648'", 2147483647},
    };
    for (const auto& [attribute, version] : rows) {
        EXPECT_EQ(Read("<m><sminfo " + std::string(attribute) + "/></m>").version, version) << attribute;
    }
}

TEST(Parse, ReadsTheDeclaredCountAsAnUnsignedNumber) {
    const std::pair<const char*, unsigned int> rows[] = {
        {"cnt='5'", 5}, {"cnt='-1'", 4294967295U}, {"cnt='x'", 0}, {"", 0}, {"cnt='4294967296'", 4294967295U},
    };
    for (const auto& [attribute, count] : rows) {
        EXPECT_EQ(Read("<m><sm " + std::string(attribute) + "/></m>").count, count) << attribute;
    }
}

TEST(Parse, LogsVersionAndCount) {
    Read("<m><sminfo version='7'/><sm cnt='5'/><sm cnt='4294967295'/></m>");
    EXPECT_EQ(fakes::Set().Messages("m_HandleSMInfoTag"), Texts{"SM_VERSION [7]"});
    EXPECT_EQ(fakes::Set().Messages("m_HandleSolutionMapTag"), (Texts{"SM_COUNT [5]", "SM_COUNT [-1]"}));
    EXPECT_TRUE(fakes::Set().Logged(DLOG_INFO, "SM_VERSION [7]"));
    EXPECT_TRUE(fakes::Set().Logged(DLOG_INFO, "SM_COUNT [-1]"));
}

TEST(Parse, LetsTheLaterOfTwoVersionsWin) {
    EXPECT_EQ(Read("<m><sminfo version='1'/><sminfo version='2'/></m>").version, 2);
    EXPECT_EQ(Read("<m><sminfo version='1'/><sminfo/></m>").version, 0);
}

TEST(Parse, NeverComparesTheDeclaredCountWithTheSolutions) {
    const KURA_SolutionMap map = Read("<m><sm cnt='5'/><solution/><solution/><solution/></m>");
    EXPECT_EQ(map.count, 5U);
    EXPECT_EQ(map.solutions.size(), 3U);
    EXPECT_EQ(Read("<m><sm cnt='4294967295'/><solution/></m>").solutions.size(), 1U);
}

TEST(Parse, EmptiesTheSolutionsAndKeepsVersionAndCountThatTheDocumentDoesNotName) {
    KURA_SolutionMap map = Read("<m><sminfo version='3'/><sm cnt='4'/><solution/><solution/></m>");
    EXPECT_TRUE(TCXMLParser().Parse("<m><solution issue_code='9'/></m>", map));
    EXPECT_EQ(IssueCodes(map), Texts{"9"});
    EXPECT_EQ(map.version, 3);
    EXPECT_EQ(map.count, 4U);
}

TEST(Parse, LeavesAFreshMapAtVersionMinusOneWithoutAVersionElement) {
    const KURA_SolutionMap map = Read("<m/>");
    EXPECT_EQ(map.version, -1);
    EXPECT_EQ(map.count, 0U);
}

TEST(Parse, IgnoresTextBetweenTags) {
    const KURA_SolutionMap map = Read(
        "<m>text<solution issue_code='1'>more<![CDATA[<sm cnt='9'/>]]></solution>"
        "<!-- <solution/> --></m>");
    EXPECT_EQ(IssueCodes(map), Texts{"1"});
    EXPECT_EQ(map.count, 0U);
    EXPECT_TRUE(fakes::Set().Messages("m_SetCharacterData").empty());
    EXPECT_TRUE(fakes::Set().Messages("InsertElementData").empty());
}

TEST(Parse, NeverRunsTheEndOfAnElement) {
    Read("<m><a></a></m>");
    EXPECT_TRUE(fakes::Set().Messages("m_EndXmlElement").empty());
}

TEST(Parse, ReadsADocumentThatOnlyLacksItsEnd) {
    EXPECT_EQ(IssueCodes(Read("<m><solution issue_code='1'/>")), Texts{"1"});
    EXPECT_EQ(IssueCodes(Read("<m><solution issue_code='1'/><solution issue_co")), Texts{"1"});
    EXPECT_TRUE(Read("").solutions.empty());
    EXPECT_TRUE(Read("   \n").solutions.empty());
    EXPECT_TRUE(Read("<").solutions.empty());
}

TEST(Parse, DeliversValuesWithTheirEntitiesExpandedInUtf8) {
    const KURA_SolutionMap map = Read(
        "<!DOCTYPE m [<!ENTITY tv 'The TV'>]><m><solution "
        "sol_name='&lt;&tv;&gt; &#xE9;&#10;' source=' a\tb '/></m>");
    EXPECT_EQ(map.solutions.at(0).sol_name, "<The TV> \xC3\xA9\n");
    EXPECT_EQ(map.solutions.at(0).source, " a b ");
}

TEST(Parse, DecodesTheDeclaredEncoding) {
    const KURA_SolutionMap map =
        Read("<?xml version='1.0' encoding='ISO-8859-1'?><m><solution action='\xE9'/></m>");
    EXPECT_EQ(map.solutions.at(0).action, "\xC3\xA9");
}

TEST(Parse, LogsTheWholeTextAndEveryElement) {
    const std::string text = "<Root><SOLUTION/><Other/></Root>";
    Read(text);
    EXPECT_EQ(fakes::Set().Messages(), (Texts{text, "current_element [root]", "current_element [solution]",
                                              "current_element [other]"}));
    const fakes::LogLine& first = fakes::Set().log.at(0);
    EXPECT_EQ(first.function, "Parse");
    EXPECT_EQ(first.priority, DLOG_INFO);
    EXPECT_EQ(first.file, "KURA_XMLParser.cpp");
    const fakes::LogLine& second = fakes::Set().log.at(1);
    EXPECT_EQ(second.function, "m_StartXmlElement");
    EXPECT_EQ(second.priority, DLOG_INFO);
}

TEST(Parse, LogsLineAndColumnOfAnErrorAndKeepsWhatWasReadBefore) {
    KURA_SolutionMap map;
    EXPECT_FALSE(TCXMLParser().Parse(
        "<m>\n<solution issue_code='1'/><sm cnt='3'/>\n  <solution issue_code=2/></m>", map));
    EXPECT_EQ(IssueCodes(map), Texts{"1"});
    EXPECT_EQ(map.count, 3U);
    EXPECT_TRUE(fakes::Set().Logged(
        DLOG_ERROR, "Error while parsing xml: not well-formed (invalid token), line: 3, col: 23"));
    const Texts messages = fakes::Set().Messages("Parse");
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_EQ(messages.back(), "Parsing failed.");
    EXPECT_TRUE(fakes::Set().Logged(DLOG_ERROR, "Parsing failed."));
}

TEST(Parse, FailsOnMalformedTextWithTheReadersOwnError) {
    const struct {
        std::string text;
        const char* error;
    } rows[] = {
        {"<a></b>", "mismatched tag, line: 1, col: 5"},
        {"<a/><b/>", "junk after document element, line: 1, col: 4"},
        {"<a x='1' x='2'/>", "duplicate attribute, line: 1, col: 9"},
        {"<a x='&nothing;'/>", "undefined entity, line: 1, col: 0"},
        {"text <a/>", "syntax error, line: 1, col: 0"},
        {std::string("<a>\0</a>", 8), "not well-formed (invalid token), line: 1, col: 3"},
        {"<?xml version='1.0' encoding='no-such'?><a/>", "unknown encoding, line: 1, col: 30"},
        {"<a x='<'/>", "not well-formed (invalid token), line: 1, col: 6"},
    };
    for (const auto& row : rows) {
        KURA_SolutionMap map;
        fakes::Set().log.clear();
        EXPECT_FALSE(TCXMLParser().Parse(row.text, map)) << row.text;
        EXPECT_TRUE(fakes::Set().Logged(DLOG_ERROR, std::string("Error while parsing xml: ") + row.error))
            << row.text << ": " << ::testing::PrintToString(fakes::Set().Messages("Parse"));
    }
}

TEST(Parse, FailsForAValueElementBeforeAnySolution) {
    KURA_SolutionMap map;
    try {
        TCXMLParser().Parse("<m><sm cnt='2'/><sol_val param_value='1'/><solution/><sm cnt='3'/></m>", map);
        FAIL() << "nothing was thrown";
    } catch (const std::out_of_range& error) {
        EXPECT_STREQ(error.what(), kMisplacedValue);
    }
    EXPECT_TRUE(map.solutions.empty());
    EXPECT_EQ(map.count, 2U) << "nothing is read behind the error";
    EXPECT_EQ(fakes::Set().Messages("Parse").size(), 1U) << "it is no parse error";
    EXPECT_EQ(fakes::Set().Messages("m_StartXmlElement"),
              (Texts{"current_element [m]", "current_element [sm]"}));
}

TEST(Parse, ServesManyDocumentsOneAfterTheOther) {
    const TCXMLParser parser;
    KURA_SolutionMap map;
    EXPECT_FALSE(parser.Parse("<m><solution issue_code='1'/></b>", map));
    EXPECT_THROW(parser.Parse("<sol_val/>", map), std::out_of_range);
    EXPECT_TRUE(parser.Parse("<m><solution issue_code='2'/></m>", map));
    EXPECT_EQ(IssueCodes(map), Texts{"2"});
}

TEST(Parse, SurvivesDeepNestingAndManyAttributesAndEntityBombs) {
    fakes::Set().keepRecords = false;
    std::string deep;
    for (int i = 0; i < 100000; ++i) {
        deep += "<a>";
    }
    EXPECT_TRUE(Read(deep).solutions.empty());

    std::string wide = "<m><solution ";
    for (int i = 0; i < 20000; ++i) {
        wide += "a" + std::to_string(i) + "='x' ";
    }
    EXPECT_EQ(IssueCodes(Read(wide + "issue_code='4'/></m>")), Texts{"4"});

    std::string bomb = "<!DOCTYPE m [<!ENTITY e0 'xxxxxxxxxx'>";
    for (int i = 1; i < 12; ++i) {
        bomb += "<!ENTITY e" + std::to_string(i) + " '";
        for (int j = 0; j < 10; ++j) {
            bomb += "&e" + std::to_string(i - 1) + ";";
        }
        bomb += "'>";
    }
    KURA_SolutionMap map;
    EXPECT_FALSE(TCXMLParser().Parse(bomb + "]><m><solution issue_code='&e11;'/></m>", map));
    EXPECT_TRUE(map.solutions.empty());
}

TEST(StartElement, ReturnsAtOnceOnNullArguments) {
    const TCXMLParser parser;
    KURA_SolutionMap map;
    Context context{&parser, &map, "before"};
    const char* none[] = {nullptr};
    TCXMLParser::m_StartXmlElement(nullptr, "solution", none);
    TCXMLParser::m_StartXmlElement(&context, nullptr, none);
    TCXMLParser::m_StartXmlElement(&context, "solution", nullptr);
    EXPECT_TRUE(map.solutions.empty());
    EXPECT_EQ(context.currentElement, "before");
    EXPECT_TRUE(fakes::Set().log.empty());
}

TEST(StartElement, DoesNothingWithoutParserOrMap) {
    const TCXMLParser parser;
    KURA_SolutionMap map;
    const char* none[] = {nullptr};
    Context withoutParser{nullptr, &map, "before"};
    Context withoutMap{&parser, nullptr, "before"};
    TCXMLParser::m_StartXmlElement(&withoutParser, "solution", none);
    TCXMLParser::m_StartXmlElement(&withoutMap, "solution", none);
    EXPECT_TRUE(map.solutions.empty());
    EXPECT_EQ(withoutParser.currentElement, "before");
    EXPECT_EQ(withoutMap.currentElement, "before");
    EXPECT_TRUE(fakes::Set().log.empty());
}

TEST(StartElement, CallsTheHandlerAndKeepsTheLowerCaseName) {
    const TCXMLParser parser;
    KURA_SolutionMap map;
    Context context{&parser, &map, ""};
    const char* attributes[] = {"Issue_Code", "5", nullptr};
    TCXMLParser::m_StartXmlElement(&context, "SOLUTION", attributes);
    EXPECT_EQ(IssueCodes(map), Texts{"5"});
    EXPECT_EQ(context.currentElement, "solution");
    EXPECT_TRUE(fakes::Set().Logged(DLOG_INFO, "current_element [solution]"));

    TCXMLParser::m_StartXmlElement(&context, "An_Unknown_And_Rather_Long_Name", attributes);
    EXPECT_EQ(map.solutions.size(), 1U);
    EXPECT_EQ(context.currentElement, "an_unknown_and_rather_long_name");
    EXPECT_TRUE(fakes::Set().Logged(DLOG_INFO, "current_element [an_unknown_and_rather_long_name]"));
}

TEST(StartElement, ThrowsForAMisplacedValueAndKeepsTheElementBeforeIt) {
    const TCXMLParser parser;
    KURA_SolutionMap map;
    Context context{&parser, &map, "before"};
    const char* none[] = {nullptr};
    EXPECT_THROW(TCXMLParser::m_StartXmlElement(&context, "sol_val", none), std::out_of_range);
    EXPECT_EQ(context.currentElement, "before");
}

TEST(EndElement, LogsTheNameAndEmptiesTheCurrentElement) {
    Context context{nullptr, nullptr, "current"};
    TCXMLParser::m_EndXmlElement(&context, "Name");
    EXPECT_EQ(context.currentElement, "");
    EXPECT_EQ(fakes::Set().Messages("m_EndXmlElement"), Texts{"clear current element (Name)"});
    EXPECT_TRUE(fakes::Set().Logged(DLOG_INFO, "clear current element (Name)"));
}

TEST(EndElement, ReturnsAtOnceOnNullArguments) {
    Context context{nullptr, nullptr, "current"};
    TCXMLParser::m_EndXmlElement(nullptr, "name");
    TCXMLParser::m_EndXmlElement(&context, nullptr);
    EXPECT_EQ(context.currentElement, "current");
    EXPECT_TRUE(fakes::Set().log.empty());
}

TEST(CharacterData, IsRefusedWithoutContextTextOrLength) {
    const TCXMLParser parser;
    KURA_SolutionMap map;
    Context context{&parser, &map, "a"};
    TCXMLParser::m_SetCharacterData(nullptr, "text", 4);
    TCXMLParser::m_SetCharacterData(&context, nullptr, 4);
    TCXMLParser::m_SetCharacterData(&context, "text", 0);
    TCXMLParser::m_SetCharacterData(&context, "text", -1);
    EXPECT_EQ(fakes::Set().Messages(), Texts(4, "invalid parameters"));
    EXPECT_EQ(fakes::Set().log.at(0).priority, DLOG_ERROR);
    EXPECT_EQ(fakes::Set().log.at(0).function, "m_SetCharacterData");
}

TEST(CharacterData, IsSkippedWithoutParserOrMap) {
    const TCXMLParser parser;
    KURA_SolutionMap map;
    Context withoutParser{nullptr, &map, "a"};
    Context withoutMap{&parser, nullptr, "a"};
    TCXMLParser::m_SetCharacterData(&withoutParser, "text", 4);
    TCXMLParser::m_SetCharacterData(&withoutMap, "text", 4);
    EXPECT_TRUE(fakes::Set().log.empty());
}

TEST(CharacterData, StopsWithoutACurrentElement) {
    const TCXMLParser parser;
    KURA_SolutionMap map;
    Context context{&parser, &map, ""};
    TCXMLParser::m_SetCharacterData(&context, "text", 4);
    EXPECT_EQ(fakes::Set().Messages(), Texts{"current element is space"});
    EXPECT_TRUE(fakes::Set().Logged(DLOG_ERROR, "current element is space"));
}

TEST(CharacterData, LogsTheBytesOfItsLengthAndChangesNothing) {
    const TCXMLParser parser;
    KURA_SolutionMap map;
    Context context{&parser, &map, "solution"};
    TCXMLParser::m_SetCharacterData(&context, "text and more", 4);
    EXPECT_EQ(fakes::Set().Messages(),
              (Texts{"tag [solution] value [text]", "current_element [solution] data [text] len [4]"}));
    EXPECT_EQ(fakes::Set().log.at(1).function, "m_SetCharacterData");
    EXPECT_TRUE(fakes::Set().Logged(DLOG_INFO, "current_element [solution] data [text] len [4]"));
    EXPECT_TRUE(map.solutions.empty());
    EXPECT_EQ(context.currentElement, "solution");
}

TEST(TagHandlers, FillTheMapFromAttributesOfTheCallersOwn) {
    KURA_SolutionMap map;
    TCXMLParser::TCAttributes attributes;
    attributes.Insert("VERSION", "8");
    attributes.Insert("cnt", "6");
    attributes.Insert("param_value", "v");
    attributes.Insert("Param_Type", "t");
    for (const Field& field : Fields()) {
        attributes.Insert(field.first, std::string("value of ") + field.first);
    }
    TCXMLParser::m_HandleSMInfoTag(map, attributes);
    TCXMLParser::m_HandleSolutionMapTag(map, attributes);
    TCXMLParser::m_HandleSolutionTag(map, attributes);
    TCXMLParser::m_HandleSolutionValTag(map, attributes);
    EXPECT_EQ(map.version, 8);
    EXPECT_EQ(map.count, 6U);
    ASSERT_EQ(map.solutions.size(), 1U);
    for (const Field& field : Fields()) {
        EXPECT_EQ(map.solutions[0].*field.second, std::string("value of ") + field.first);
    }
    ASSERT_EQ(map.solutions[0].sol_val.size(), 1U);
    EXPECT_EQ(map.solutions[0].sol_val[0].param_value, "v");
    EXPECT_EQ(map.solutions[0].sol_val[0].param_type, "t");
}

TEST(TagHandlers, TakeAbsentAttributesAsEmptyOrZero) {
    KURA_SolutionMap map;
    map.version = 3;
    map.count = 4;
    const TCXMLParser::TCAttributes none;
    TCXMLParser::m_HandleSMInfoTag(map, none);
    TCXMLParser::m_HandleSolutionMapTag(map, none);
    TCXMLParser::m_HandleSolutionTag(map, none);
    TCXMLParser::m_HandleSolutionValTag(map, none);
    EXPECT_EQ(map.version, 0);
    EXPECT_EQ(map.count, 0U);
    ASSERT_EQ(map.solutions.size(), 1U);
    EXPECT_EQ(map.solutions[0].issue_code, "");
    ASSERT_EQ(map.solutions[0].sol_val.size(), 1U);
    EXPECT_EQ(map.solutions[0].sol_val[0].param_value, "");
}

TEST(TagHandlers, RefuseAValueWithoutASolution) {
    KURA_SolutionMap map;
    try {
        TCXMLParser::m_HandleSolutionValTag(map, TCXMLParser::TCAttributes());
        FAIL() << "nothing was thrown";
    } catch (const std::out_of_range& error) {
        EXPECT_STREQ(error.what(), kMisplacedValue);
    }
    EXPECT_TRUE(map.solutions.empty());
}
