// Recognises four elements at any depth and ignores other elements, end tags and text. Each start tag is
// copied straight from Expat's memory into its record.
#include "KURA_XMLParser.h"

#include <expat.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "KURA_SolutionMap.h"
#include "KURA_XMLParser/LowerCase.h"
#include "base/CancellationHeld.h"
#include "base/Log.h"

namespace KURA {

namespace {

/// In the order of the parameters of KURA_Solution's constructor.
constexpr std::array<const char*, 15> kSolutionAttributes = {
    "issue_code", "sol_code", "sol_type", "sol_name", "sid_issue", "sid_sol", "sid_button1",   "sid_button2",
    "reboot",     "is_fg_bg", "action",   "toast1",   "toast2",    "source",  "view_authority"};

constexpr std::array<const char*, 2> kValueAttributes = {"param_value", "param_type"};

/// A parse reserves one record per this many bytes of text, so that it reserves no more memory than the text
/// takes itself. The count that the document declares may be anything and is not used.
constexpr std::size_t kTextPerRecord = sizeof(KURA_Solution);
constexpr std::size_t kMaxRecordsAhead = 65536;

/// Converts to std::string inside emplace_back: one copy per attribute.
struct Text {
    std::string_view text;
    operator std::string() const { return std::string(text); }
};

using Parser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, base::Release<XML_ParserFree>>;

/// The user data of one XML_Parse: the callbacks' context, and the exception that one of them threw.
struct ParseRun : TCXMLParser::TSParsingContext {
    XML_Parser expat = nullptr;
    std::exception_ptr failure;
};

/// Stores an exception, which Parse throws again: none may pass Expat's frames, which are C.
void XMLCALL OnStartElement(void* userData, const XML_Char* name, const XML_Char** attributes) {
    auto* run = static_cast<ParseRun*>(userData);
    try {
        TCXMLParser::m_StartXmlElement(static_cast<TCXMLParser::TSParsingContext*>(run), name, attributes);
    } catch (...) {
        run->failure = std::current_exception();
        XML_StopParser(run->expat, XML_FALSE);
    }
}

/// Expat takes the length as int. A text longer than INT_MAX gets the length -1, which Expat refuses with an
/// error.
int LengthForExpat(const std::string& text) {
    return text.size() <= static_cast<std::size_t>(INT_MAX) ? static_cast<int>(text.size()) : -1;
}

/// Never tells Expat that the text is final, so that a document which is cut off is read for what it holds.
/// Holds cancellation back, because unwinding would leave Expat's frames without cleaning up.
XML_Status ParseText(XML_Parser expat, const std::string& text) {
    const base::CancellationHeld held;
    return XML_Parse(expat, text.data(), LengthForExpat(text), 0);
}

}  // namespace

void TCXMLParser::TCElements::InsertElementData(const std::string& name, const std::string& data) {
    m_elements[name] = data;
    KURA_INFO("tag [%s] value [%s]", name.c_str(), data.c_str());
}

bool TCXMLParser::TCElements::GetElementData(const std::string& name, std::string& data) const {
    const auto element = m_elements.find(name);
    if (element == m_elements.end()) {
        return false;
    }
    data = element->second;
    return true;
}

void TCXMLParser::TCElements::SetCurrentElement(const std::string& name) {
    KURA_INFO("tag [%s] m_current_element [%s]", name.c_str(), m_current_element.c_str());
    m_current_element = name;
}

void TCXMLParser::TCElements::GetCurrentElement(std::string& name) const {
    KURA_INFO("        [%s]", m_current_element.c_str());
    name = m_current_element;
    KURA_INFO("tag [%s]", m_current_element.c_str());
}

TCXMLParser::TCXMLParser() {
    m_startTags.emplace("sminfo", m_HandleSMInfoTag);
    m_startTags.emplace("sm", m_HandleSolutionMapTag);
    m_startTags.emplace("solution", m_HandleSolutionTag);
    m_startTags.emplace("sol_val", m_HandleSolutionValTag);
}

bool TCXMLParser::Parse(const std::string& text, KURA_SolutionMap& map) const {
    map.solutions.clear();
    Parser parser(XML_ParserCreate(nullptr));
    if (parser == nullptr) {
        KURA_ERROR("Couldnt create parser");
        return false;
    }
    map.solutions.reserve(std::min(text.size() / kTextPerRecord, kMaxRecordsAhead));

    ParseRun run;
    run.parser = this;
    run.map = &map;
    run.expat = parser.get();
    XML_SetUserData(parser.get(), &run);
    // Every value stands in an attribute, so end tags and text need no handler.
    XML_SetElementHandler(parser.get(), OnStartElement, nullptr);
    KURA_INFO("%s", text.c_str());

    const XML_Status status = ParseText(parser.get(), text);
    if (map.solutions.size() < map.solutions.capacity() / 2) {
        // The text was long for another reason than solutions, comments for example: give the room back.
        map.solutions.shrink_to_fit();
    }
    if (run.failure != nullptr) {
        parser.reset();
        std::rethrow_exception(run.failure);
    }
    if (status == XML_STATUS_ERROR) {
        KURA_ERROR("Error while parsing xml: %s, line: %lu, col: %lu",
                   XML_ErrorString(XML_GetErrorCode(parser.get())),
                   static_cast<unsigned long>(XML_GetCurrentLineNumber(parser.get())),
                   static_cast<unsigned long>(XML_GetCurrentColumnNumber(parser.get())));
        parser.reset();
        KURA_ERROR("Parsing failed.");
        return false;
    }
    return true;
}

void TCXMLParser::m_StartXmlElement(void* context, const char* name, const char** attributes) {
    if (context == nullptr || name == nullptr || attributes == nullptr) {
        return;
    }
    auto* parsing = static_cast<TSParsingContext*>(context);
    if (parsing->parser == nullptr || parsing->map == nullptr) {
        return;
    }
    std::string element(name);
    for (char& c : element) {
        c = Lower(c);
    }
    const auto handler = parsing->parser->m_startTags.find(element);
    if (handler != parsing->parser->m_startTags.end()) {
        handler->second(*parsing->map, TCAttributes(attributes));
    }
    parsing->currentElement = std::move(element);
    KURA_INFO("current_element [%s]", parsing->currentElement.c_str());
}

void TCXMLParser::m_EndXmlElement(void* context, const char* name) {
    if (context == nullptr || name == nullptr) {
        return;
    }
    KURA_INFO("clear current element (%s)", name);
    static_cast<TSParsingContext*>(context)->currentElement.clear();
}

void TCXMLParser::m_SetCharacterData(void* context, const char* text, int length) {
    if (context == nullptr || text == nullptr || length < 1) {
        KURA_ERROR("invalid parameters");
        return;
    }
    const auto* parsing = static_cast<const TSParsingContext*>(context);
    if (parsing->parser == nullptr || parsing->map == nullptr) {
        return;
    }
    TCParserDataBuffer buffer;
    buffer.InsertData(text, length);
    buffer.InsertData("", 1);
    const std::string& element = parsing->currentElement;
    if (element.empty()) {
        KURA_ERROR("current element is space");
        return;
    }
    TCElements elements;
    elements.InsertElementData(element, buffer.GetData());
    KURA_INFO("current_element [%s] data [%s] len [%d]", element.c_str(), buffer.GetData(), length);
    const auto handler = parsing->parser->m_elementData.find(element);
    if (handler != parsing->parser->m_elementData.end()) {
        handler->second(*parsing->map, elements);
    }
}

void TCXMLParser::m_HandleSMInfoTag(KURA_SolutionMap& map, const TCAttributes& attributes) {
    int version = 0;
    attributes.GetValue("version", version);
    map.version = version;
    KURA_INFO("SM_VERSION [%d]", map.version);
}

void TCXMLParser::m_HandleSolutionMapTag(KURA_SolutionMap& map, const TCAttributes& attributes) {
    unsigned int count = 0;
    attributes.GetValue("cnt", count);
    map.count = count;
    // Kept: the log shows a count above INT_MAX as a negative number.
    KURA_INFO("SM_COUNT [%d]", static_cast<int>(map.count));
}

void TCXMLParser::m_HandleSolutionTag(KURA_SolutionMap& map, const TCAttributes& attributes) {
    std::array<std::string_view, kSolutionAttributes.size()> texts;
    attributes.m_FindAll(kSolutionAttributes.data(), texts.size(), texts.data());
    const auto text = [&texts](std::size_t index) { return Text{texts[index]}; };
    map.solutions.emplace_back(text(0), text(1), text(2), text(3), text(4), text(5), text(6), text(7),
                               text(8), text(9), text(10), text(11), text(12), text(13), text(14));
}

void TCXMLParser::m_HandleSolutionValTag(KURA_SolutionMap& map, const TCAttributes& attributes) {
    std::array<std::string_view, kValueAttributes.size()> texts;
    attributes.m_FindAll(kValueAttributes.data(), texts.size(), texts.data());
    if (map.solutions.empty()) {
        // The message names the index size() - 1 of an empty list as a 32-bit machine prints it.
        throw std::out_of_range(
            "vector::_M_range_check: __n (which is 4294967295) >= this->size() (which is 0)");
    }
    map.solutions.back().sol_val.push_back({std::string(texts[0]), std::string(texts[1])});
}

}  // namespace KURA
