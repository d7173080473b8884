// The smallest host: compiled against the installed headers alone.
#include <cstdio>
#include <string>

#include "CGetData.h"
#include "KURA_DBManager.h"
#include "KURA_DiagManager.h"
#include "KURA_DiagResultManager.h"
#include "KURA_KPISender.h"
#include "KURA_SO_Interface.h"
#include "KURA_Storage.h"
#include "KURA_XMLParser.h"

int main() {
    const std::string document =
        "<solutionmap><sminfo version=\"7\"/><sm cnt=\"1\"><solution issue_code=\"42\"/></sm></solutionmap>";
    KURA::KURA_SolutionMap map;
    const bool parsed = parseInterface(document, map);
    KURA::TCInformationStorage::Instance()->SetSMVersion(static_cast<unsigned int>(map.version));
    unsigned int version = 0;
    KURA::TCInformationStorage::Instance()->GetSMVersion(version);
    std::printf("%d %u %zu\n", parsed ? 1 : 0, version, map.solutions.size());
    return KURA::CGetData::GetInstance()->CheckDeviceState() < 0 ? 1 : 0;
}
