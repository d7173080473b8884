// Reading the solution map, and the store of what was read.
#include <expat.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <stdexcept>

#include "Model.h"
#include "Numbers.h"

namespace model {

namespace {

using Attributes = std::map<std::string, std::string>;

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

/// What the start tags of one document do.
struct Reading {
    Record* record = nullptr;
    KURA::KURA_SolutionMap* map = nullptr;
    XML_Parser parser = nullptr;
    bool isMisplaced = false;  ///< a value before any solution
};

KURA::KURA_Solution SolutionOf(Attributes& a) {
    return {a["issue_code"], a["sol_code"],    a["sol_type"],    a["sol_name"], a["sid_issue"],
            a["sid_sol"],    a["sid_button1"], a["sid_button2"], a["reboot"],   a["is_fg_bg"],
            a["action"],     a["toast1"],      a["toast2"],      a["source"],   a["view_authority"]};
}

void HandleTag(Reading& reading, const std::string& name, Attributes& a) {
    KURA::KURA_SolutionMap& map = *reading.map;
    if (name == "sminfo") {
        int version = 0;
        ReadSigned(a["version"], version);
        map.version = version;
        reading.record->Log(kInfo, "m_HandleSMInfoTag", "SM_VERSION [%d]", version);
    } else if (name == "sm") {
        unsigned int count = 0;
        ReadUnsigned(a["cnt"], count);
        map.count = count;
        reading.record->Log(kInfo, "m_HandleSolutionMapTag", "SM_COUNT [%d]", static_cast<int>(count));
    } else if (name == "solution") {
        map.solutions.push_back(SolutionOf(a));
    } else if (name == "sol_val" && map.solutions.empty()) {
        reading.isMisplaced = true;
    } else if (name == "sol_val") {
        map.solutions.back().sol_val.push_back({a["param_value"], a["param_type"]});
    }
}

void StartTag(void* context, const char* name, const char** pairs) {
    auto& reading = *static_cast<Reading*>(context);
    if (reading.isMisplaced) {
        return;
    }
    Attributes attributes;
    for (; *pairs != nullptr; pairs += 2) {
        attributes[Lower(pairs[0])] = pairs[1];
    }
    HandleTag(reading, Lower(name), attributes);
    if (reading.isMisplaced) {
        XML_StopParser(reading.parser, XML_FALSE);
        return;
    }
    reading.record->Log(kInfo, "m_StartXmlElement", "current_element [%s]", Lower(name).c_str());
}

}  // namespace

bool Model::Parse(const std::string& text, KURA::KURA_SolutionMap& map) {
    map.solutions.clear();
    Reading reading;
    reading.record = &record;
    reading.map = &map;
    reading.parser = XML_ParserCreate(nullptr);
    XML_SetUserData(reading.parser, &reading);
    XML_SetElementHandler(reading.parser, StartTag, nullptr);
    record.Log(kInfo, "Parse", "%s", text.c_str());
    const XML_Status outcome = XML_Parse(reading.parser, text.data(), static_cast<int>(text.size()), 0);
    if (outcome == XML_STATUS_ERROR && !reading.isMisplaced) {
        record.Log(kError, "Parse", "Error while parsing xml: %s, line: %lu, col: %lu",
                   XML_ErrorString(XML_GetErrorCode(reading.parser)),
                   XML_GetCurrentLineNumber(reading.parser), XML_GetCurrentColumnNumber(reading.parser));
        record.Log(kError, "Parse", "Parsing failed.");
    }
    XML_ParserFree(reading.parser);
    if (reading.isMisplaced) {
        throw std::out_of_range(
            "vector::_M_range_check: __n (which is 4294967295) >= this->size() (which is 0)");
    }
    return outcome != XML_STATUS_ERROR;
}

bool Model::XmlParse(const Document& from, const std::string& path, KURA::KURA_SolutionMap& map) {
    record.Log(kInfo, "XMLParse", "XMLParse FUNCTION --");
    if (from.state != Document::State::Text) {
        record.Log(kError, "XMLParse", "Unable to open XML file %s", path.c_str());
        return false;
    }
    return Parse(from.text, map);
}

void Model::ParseSolutionMap() {
    record.Log(kError, "ParseSolutionMap", "ParseSolutionMap in so_interface");
    KURA::KURA_SolutionMap map;
    map.version = -1;
    map.count = 0;
    if (!XmlParse(document, "/opt/usr/share/TVKuraHelp/SolutionMap.xml", map)) {
        record.Log(kError, "ParseSolutionMap", "Parse error!!!!");
    }
    version = static_cast<unsigned int>(map.version);
    count = map.count;
    solutions = map.solutions;
}

void Model::GetSolutionInformation(unsigned int& outCount, std::vector<KURA::KURA_Solution>& out) {
    record.Log(kInfo, "GetSolutionInformation", "GetSolutionInformation IN");
    outCount = count;
    out.insert(out.end(), solutions.begin(), solutions.end());
    record.Log(kInfo, "GetSolutionInformation", "GetSolutionInformation Out");
}

}  // namespace model
