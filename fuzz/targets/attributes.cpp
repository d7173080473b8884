// The attributes of a start tag in both their modes, borrowed from the reader and owned, and each getter
// against the C library. An input is lines of "name=value", and behind the first empty line the text of an
// element.
#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Fuzzing.h"
#include "KURA_SolutionMap.h"
#include "KURA_XMLParser.h"

namespace {

using Attributes = KURA::TCXMLParser::TCAttributes;
using Pairs = std::vector<std::pair<std::string, std::string>>;

using StartTags = std::map<std::string, std::function<void(KURA::KURA_SolutionMap&, const Attributes&)>>;
using ElementData =
    std::map<std::string, std::function<void(KURA::KURA_SolutionMap&, const KURA::TCXMLParser::TCElements&)>>;

// Borrowed attributes reach nobody but a handler, and handlers are the parser's own; an explicit
// instantiation may name the members.
StartTags& StartTagsOf(KURA::TCXMLParser& parser);
ElementData& ElementDataOf(KURA::TCXMLParser& parser);

template <StartTags KURA::TCXMLParser::*kStartTags, ElementData KURA::TCXMLParser::*kElementData>
struct HandlerAccess {
    friend StartTags& StartTagsOf(KURA::TCXMLParser& parser) { return parser.*kStartTags; }
    friend ElementData& ElementDataOf(KURA::TCXMLParser& parser) { return parser.*kElementData; }
};

template struct HandlerAccess<&KURA::TCXMLParser::m_startTags, &KURA::TCXMLParser::m_elementData>;

constexpr std::size_t kMostLines = 64;
constexpr int kUntouched = -77;

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

/// Texts as the reader has them: up to the first zero byte.
Pairs ReadPairs(const std::string& text) {
    Pairs pairs;
    for (const std::string& line : fuzz::Split(text, '\n', kMostLines)) {
        std::vector<std::string> sides = fuzz::Split(line, '=', 2);
        pairs.emplace_back(sides[0].c_str(), sides.size() == 2 ? sides[1].c_str() : "");
    }
    return pairs;
}

/// As the reader hands them over; they live as long as the pairs.
std::vector<const char*> Borrowed(const Pairs& pairs) {
    std::vector<const char*> borrowed;
    for (const auto& [name, value] : pairs) {
        borrowed.push_back(name.c_str());
        borrowed.push_back(value.c_str());
    }
    borrowed.push_back(nullptr);
    return borrowed;
}

bool HasDigits(const char* text) {
    char* end = nullptr;
    std::strtoll(text, &end, 10);
    return end != text;
}

void CheckNumbers(const Attributes& attributes, const std::string& name, const char* text) {
    unsigned long long wide = 0;
    fuzz::Expect(attributes.GetValue(name, wide) && wide == fuzz::Unsigned32(std::strtoll(text, nullptr, 10)),
                 "an unsigned long long is that of the set");
    int number = kUntouched;
    const int expected = HasDigits(text) ? fuzz::Signed32(text) : kUntouched;
    fuzz::Expect(attributes.GetValue(name, number) && number == expected, "an int is that of the set");
    unsigned int natural = 77;
    const unsigned int expectedNatural =
        HasDigits(text) ? fuzz::Unsigned32(std::strtoll(text, nullptr, 10)) : 77;
    fuzz::Expect(attributes.GetValue(name, natural) && natural == expectedNatural,
                 "an unsigned int is that of the set");

    double real = kUntouched;
    char* end = nullptr;
    const double expectedReal = std::strtod(text, &end);
    const bool isReal = *end == '\0';
    fuzz::Expect(attributes.GetValue(name, real) == isReal, "a double is a whole text");
    fuzz::Expect(isReal ? std::memcmp(&real, &expectedReal, sizeof real) == 0 : real == kUntouched,
                 "a double is that of the C library, or untouched");
}

template <class T>
bool IsUntouched(const Attributes& attributes, T value) {
    const T before = value;
    return !attributes.GetValue("absent", value) && value == before;
}

void CheckAbsence(const Attributes& attributes) {
    fuzz::Expect(IsUntouched(attributes, std::string("untouched")) && IsUntouched(attributes, kUntouched) &&
                     IsUntouched(attributes, 77U) && IsUntouched(attributes, 77ULL) &&
                     IsUntouched(attributes, 7.5) && IsUntouched(attributes, true) &&
                     !attributes.HasAttrOfValue("absent", ""),
                 "an absent name touches nothing");
}

void CheckGetters(const Attributes& attributes, const std::map<std::string, std::string>& expected) {
    for (const auto& [name, text] : expected) {
        std::string value;
        fuzz::Expect(attributes.GetValue(name, value) && value == text, "the last value of a name wins");
        bool flag = false;
        fuzz::Expect(attributes.GetValue(name, flag) && flag == (Lower(text) != "false" && text != "0"),
                     "only false and 0 are false");
        fuzz::Expect(attributes.HasAttrOfValue(name, Lower(text)), "values compare in any letter case");
        CheckNumbers(attributes, name, text.c_str());
    }
    if (expected.count("absent") == 0) {
        CheckAbsence(attributes);
    }
}

bool IsSame(const KURA::KURA_SolutionMap& left, const KURA::KURA_SolutionMap& right) {
    if (left.version != right.version || left.count != right.count ||
        left.solutions.size() != right.solutions.size()) {
        return false;
    }
    return std::equal(
        left.solutions.begin(), left.solutions.end(), right.solutions.begin(),
        [](const KURA::KURA_Solution& a, const KURA::KURA_Solution& b) {
            return a.issue_code == b.issue_code && a.sol_name == b.sol_name && a.toast1 == b.toast1 &&
                   a.view_authority == b.view_authority && a.sol_val.size() == b.sol_val.size() &&
                   (a.sol_val.empty() || a.sol_val.back().param_value == b.sol_val.back().param_value);
        });
}

/// A handler that keeps what it borrows: a copy, and a copy that is added to.
void CheckHandlers(std::vector<const char*> borrowed, const std::map<std::string, std::string>& expected) {
    KURA::TCXMLParser parser;
    KURA::KURA_SolutionMap map;
    KURA::TCXMLParser::TSParsingContext context{&parser, &map, ""};
    Attributes kept;
    std::string text;
    StartTagsOf(parser)["kept"] = [&](KURA::KURA_SolutionMap&, const Attributes& attributes) {
        CheckGetters(attributes, expected);
        kept = attributes;
    };
    ElementDataOf(parser)["kept"] = [&](KURA::KURA_SolutionMap&,
                                        const KURA::TCXMLParser::TCElements& elements) {
        elements.GetElementData("kept", text);
    };
    KURA::TCXMLParser::m_StartXmlElement(&context, "[Kept}", borrowed.data());
    KURA::TCXMLParser::m_StartXmlElement(&context, "Kept", borrowed.data());
    KURA::TCXMLParser::m_SetCharacterData(&context, "text", 4);
    std::fill(borrowed.begin(), borrowed.end(), nullptr);
    CheckGetters(kept, expected);
    kept.Insert("More", "1");
    fuzz::Expect(kept.HasAttrOfValue("more", "1"), "a copy can be added to");
    fuzz::Expect(text == "text", "an element's text reaches its handler");
}

/// A name at the end of the list that has no value is not there.
void CheckNameWithoutValue() {
    KURA::TCXMLParser parser;
    KURA::KURA_SolutionMap map;
    KURA::TCXMLParser::TSParsingContext context{&parser, &map, ""};
    const char* cut[] = {"issue_code", nullptr, nullptr};
    StartTagsOf(parser)["kept"] = [](KURA::KURA_SolutionMap&, const Attributes& attributes) {
        const Attributes copy(attributes);
        fuzz::Expect(!attributes.HasAttrOfValue("issue_code", "") && !copy.HasAttrOfValue("issue_code", ""),
                     "a name without a value is not there");
    };
    KURA::TCXMLParser::m_StartXmlElement(&context, "kept", cut);
    KURA::TCXMLParser::m_StartXmlElement(&context, "solution", cut);
    fuzz::Expect(map.solutions.size() == 1 && map.solutions.front().issue_code.empty(),
                 "a name without a value fills nothing");
}

/// A start tag of each element by way of the reader's callback, then by the handlers with attributes of their
/// own.
void CheckStartTags(std::vector<const char*> borrowed, const Attributes& owned, const std::string& text) {
    const KURA::TCXMLParser parser;
    KURA::KURA_SolutionMap byCallback;
    KURA::TCXMLParser::TSParsingContext context{&parser, &byCallback, ""};
    for (const char* element : {"SMInfo", "SM", "Solution", "sol_val", "other"}) {
        KURA::TCXMLParser::m_StartXmlElement(&context, element, borrowed.data());
        KURA::TCXMLParser::m_SetCharacterData(&context, text.data(), static_cast<int>(text.size()));
        KURA::TCXMLParser::m_EndXmlElement(&context, element);
    }
    KURA::KURA_SolutionMap byHandlers;
    KURA::TCXMLParser::m_HandleSMInfoTag(byHandlers, owned);
    KURA::TCXMLParser::m_HandleSolutionMapTag(byHandlers, owned);
    KURA::TCXMLParser::m_HandleSolutionTag(byHandlers, owned);
    KURA::TCXMLParser::m_HandleSolutionValTag(byHandlers, owned);
    fuzz::Expect(IsSame(byCallback, byHandlers), "borrowed and owned attributes say the same");
}

/// Element texts as the attributes' lines name them, and the bytes of all of them in one buffer.
void CheckElements(const Pairs& pairs) {
    KURA::TCXMLParser::TCElements elements;
    KURA::TCParserDataBuffer buffer;
    std::map<std::string, std::string> texts;
    std::string bytes;
    for (const auto& [name, text] : pairs) {
        elements.InsertElementData(name, text);
        elements.SetCurrentElement(name);
        texts[name] = text;
        buffer.InsertData(text.data(), static_cast<int>(text.size()));
        bytes += text;
    }
    std::string current;
    elements.GetCurrentElement(current);
    fuzz::Expect(current == pairs.back().first, "the element set last is current");
    for (const auto& [name, text] : texts) {
        std::string kept;
        fuzz::Expect(elements.GetElementData(name, kept) && kept == text, "the last text of an element wins");
    }
    std::string kept = "untouched";
    fuzz::Expect(
        texts.count("absent") != 0 || (!elements.GetElementData("absent", kept) && kept == "untouched"),
        "an unknown element touches nothing");
    buffer.InsertData(nullptr, 1);
    fuzz::Expect(std::string_view(buffer.GetData(), static_cast<std::size_t>(buffer.GetDataSize())) == bytes,
                 "a buffer holds what was inserted");
    buffer.Clear();
    fuzz::Expect(buffer.GetDataSize() == 0, "a buffer forgets");
}

/// Callbacks that lack something do nothing.
void CheckIncompleteCalls() {
    using Parser = KURA::TCXMLParser;
    const Parser parser;
    KURA::KURA_SolutionMap map;
    const char* none[] = {nullptr};
    for (const auto& [reader, records] :
         std::initializer_list<std::pair<const Parser*, KURA::KURA_SolutionMap*>>{{&parser, nullptr},
                                                                                  {nullptr, &map}}) {
        Parser::TSParsingContext context{reader, records, "solution"};
        Parser::m_StartXmlElement(&context, "solution", none);
        Parser::m_SetCharacterData(&context, "text", 4);
    }
    Parser::TSParsingContext context{&parser, &map, ""};
    Parser::m_StartXmlElement(nullptr, "solution", none);
    Parser::m_StartXmlElement(&context, nullptr, none);
    Parser::m_StartXmlElement(&context, "solution", nullptr);
    Parser::m_EndXmlElement(nullptr, "solution");
    Parser::m_EndXmlElement(&context, nullptr);
    Parser::m_SetCharacterData(nullptr, "text", 4);
    Parser::m_SetCharacterData(&context, nullptr, 4);
    Parser::m_SetCharacterData(&context, "text", 0);
    Parser::m_SetCharacterData(&context, "text", 4);
    fuzz::Expect(map.solutions.empty(), "an incomplete call adds nothing");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = fuzz::Begin(data, size);
    const std::size_t end = text.find("\n\n");
    const Pairs pairs = ReadPairs(text.substr(0, end));
    Attributes owned;
    std::map<std::string, std::string> expected;
    for (const auto& [name, value] : pairs) {
        owned.Insert(name, value);
        expected[Lower(name)] = value;
    }
    Attributes copy;
    copy = Attributes(owned);
    CheckGetters(owned, expected);
    CheckGetters(copy, expected);
    CheckElements(pairs);
    CheckIncompleteCalls();
    CheckNameWithoutValue();
    CheckHandlers(Borrowed(pairs), expected);
    CheckStartTags(Borrowed(pairs), owned, end == std::string::npos ? "" : text.substr(end));
    return 0;
}
