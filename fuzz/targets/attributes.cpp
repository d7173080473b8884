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
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Fuzzing.h"
#include "KURA_SolutionMap.h"
#include "KURA_XMLParser.h"

namespace {

using Attributes = KURA::TCXMLParser::TCAttributes;
using Pairs = std::vector<std::pair<std::string, std::string>>;

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
    std::string value = "untouched";
    if (expected.count("absent") == 0) {
        fuzz::Expect(!attributes.GetValue("absent", value) && value == "untouched",
                     "an absent name touches nothing");
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

/// A start tag of each element by way of the reader's callback, then by the handlers with attributes of their
/// own.
void CheckStartTags(const Pairs& pairs, const Attributes& owned, const std::string& text) {
    std::vector<const char*> borrowed;
    for (const auto& [name, value] : pairs) {
        borrowed.push_back(name.c_str());
        borrowed.push_back(value.c_str());
    }
    borrowed.push_back(nullptr);
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
    const Attributes copy(owned);
    CheckGetters(owned, expected);
    CheckGetters(copy, expected);
    CheckStartTags(pairs, owned, end == std::string::npos ? "" : text.substr(end));
    return 0;
}
