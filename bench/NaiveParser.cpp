#include "NaiveParser.h"

#include <expat.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>

#include "KURA_SolutionMap.h"

namespace bench {

namespace {

using KURA::KURA_Solution;
using KURA::KURA_SolutionMap;
using Attributes = std::map<std::string, std::string>;
using Handler = std::function<void(KURA_SolutionMap&, const Attributes&)>;

struct Context {
    std::map<std::string, Handler> handlers;
    KURA_SolutionMap* map;
};

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string ValueOf(const Attributes& attributes, const std::string& name) {
    const auto found = attributes.find(name);
    return found == attributes.end() ? "" : found->second;
}

void ReadSolution(KURA_SolutionMap& map, const Attributes& attributes) {
    const std::string issueCode = ValueOf(attributes, "issue_code");
    const std::string solCode = ValueOf(attributes, "sol_code");
    const std::string solType = ValueOf(attributes, "sol_type");
    const std::string solName = ValueOf(attributes, "sol_name");
    const std::string sidIssue = ValueOf(attributes, "sid_issue");
    const std::string sidSol = ValueOf(attributes, "sid_sol");
    const std::string sidButton1 = ValueOf(attributes, "sid_button1");
    const std::string sidButton2 = ValueOf(attributes, "sid_button2");
    const std::string reboot = ValueOf(attributes, "reboot");
    const std::string isFgBg = ValueOf(attributes, "is_fg_bg");
    const std::string action = ValueOf(attributes, "action");
    const std::string toast1 = ValueOf(attributes, "toast1");
    const std::string toast2 = ValueOf(attributes, "toast2");
    const std::string source = ValueOf(attributes, "source");
    const std::string viewAuthority = ValueOf(attributes, "view_authority");
    const KURA_Solution solution(issueCode, solCode, solType, solName, sidIssue, sidSol, sidButton1,
                                 sidButton2, reboot, isFgBg, action, toast1, toast2, source, viewAuthority);
    map.solutions.push_back(solution);
}

void ReadValue(KURA_SolutionMap& map, const Attributes& attributes) {
    map.solutions.back().sol_val.push_back(
        {ValueOf(attributes, "param_value"), ValueOf(attributes, "param_type")});
}

void ReadVersion(KURA_SolutionMap& map, const Attributes& attributes) {
    map.version = std::atoi(ValueOf(attributes, "version").c_str());
}

void ReadCount(KURA_SolutionMap& map, const Attributes& attributes) {
    map.count = static_cast<unsigned int>(std::strtoul(ValueOf(attributes, "cnt").c_str(), nullptr, 10));
}

void XMLCALL OnStart(void* userData, const char* name, const char** attributes) {
    auto& context = *static_cast<Context*>(userData);
    Attributes texts;
    for (; attributes[0] != nullptr; attributes += 2) {
        texts[Lower(attributes[0])] = attributes[1];
    }
    const auto handler = context.handlers.find(Lower(name));
    if (handler != context.handlers.end()) {
        handler->second(*context.map, texts);
    }
}

}  // namespace

bool ParseNaively(const std::string& text, KURA_SolutionMap& map) {
    map.solutions.clear();
    Context context{
        {{"sminfo", ReadVersion}, {"sm", ReadCount}, {"solution", ReadSolution}, {"sol_val", ReadValue}},
        &map};
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &context);
    XML_SetElementHandler(parser, OnStart, nullptr);
    const XML_Status status = XML_Parse(parser, text.data(), static_cast<int>(text.size()), 0);
    XML_ParserFree(parser);
    return status == XML_STATUS_OK;
}

}  // namespace bench
