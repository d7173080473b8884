#include "IdealParser.h"

#include <expat.h>

#include <strings.h>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>

#include "KURA_SolutionMap.h"

namespace bench {

namespace {

using KURA::KURA_Solution;
using KURA::KURA_SolutionMap;
using KURA::KURA_SolutionValue;

constexpr std::array<const char*, 15> kFields = {
    "issue_code", "sol_code", "sol_type", "sol_name", "sid_issue", "sid_sol", "sid_button1",   "sid_button2",
    "reboot",     "is_fg_bg", "action",   "toast1",   "toast2",    "source",  "view_authority"};

bool Is(const char* written, const char* name) {
    return std::strcmp(written, name) == 0 || strcasecmp(written, name) == 0;
}

std::size_t FieldOf(const char* name, std::size_t expected) {
    if (expected < kFields.size() && Is(name, kFields[expected])) {
        return expected;
    }
    std::size_t index = 0;
    while (index < kFields.size() && strcasecmp(name, kFields[index]) != 0) {
        ++index;
    }
    return index;
}

void ReadSolution(KURA_SolutionMap& map, const char** attributes) {
    std::array<const char*, kFields.size()> v;
    v.fill("");
    std::size_t expected = 0;
    for (; attributes[0] != nullptr; attributes += 2) {
        const std::size_t index = FieldOf(attributes[0], expected);
        if (index < kFields.size()) {
            v[index] = attributes[1];
            expected = index + 1;
        }
    }
    map.solutions.emplace_back(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8], v[9], v[10], v[11],
                               v[12], v[13], v[14]);
}

void ReadValue(KURA_SolutionMap& map, const char** attributes) {
    KURA_SolutionValue& value = map.solutions.back().sol_val.emplace_back();
    for (; attributes[0] != nullptr; attributes += 2) {
        if (Is(attributes[0], "param_value")) {
            value.param_value.assign(attributes[1]);
        } else if (Is(attributes[0], "param_type")) {
            value.param_type.assign(attributes[1]);
        }
    }
}

const char* ValueOf(const char** attributes, const char* name) {
    const char* value = "";
    for (; attributes[0] != nullptr; attributes += 2) {
        value = Is(attributes[0], name) ? attributes[1] : value;
    }
    return value;
}

void XMLCALL OnStart(void* userData, const char* name, const char** attributes) {
    auto& map = *static_cast<KURA_SolutionMap*>(userData);
    if (Is(name, "solution")) {
        ReadSolution(map, attributes);
    } else if (Is(name, "sol_val")) {
        ReadValue(map, attributes);
    } else if (Is(name, "sminfo")) {
        map.version = std::atoi(ValueOf(attributes, "version"));
    } else if (Is(name, "sm")) {
        map.count = static_cast<unsigned int>(std::strtoul(ValueOf(attributes, "cnt"), nullptr, 10));
    }
}

bool Run(XML_Parser parser, const std::string& text) {
    const XML_Status status = XML_Parse(parser, text.data(), static_cast<int>(text.size()), 0);
    XML_ParserFree(parser);
    return status == XML_STATUS_OK;
}

bool Map(const std::string& text, KURA_SolutionMap& map) {
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &map);
    XML_SetElementHandler(parser, OnStart, nullptr);
    return Run(parser, text);
}

}  // namespace

bool ParseIdeally(const std::string& text, KURA_SolutionMap& map) {
    map.solutions.clear();
    map.solutions.reserve(text.size() / sizeof(KURA_Solution));
    return Map(text, map);
}

bool ParseGrowing(const std::string& text, KURA_SolutionMap& map) {
    map.solutions.clear();
    return Map(text, map);
}

bool ParseWithoutHandler(const std::string& text) {
    return Run(XML_ParserCreate(nullptr), text);
}

}  // namespace bench
