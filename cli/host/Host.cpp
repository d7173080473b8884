#include "Host.h"

#include <utility>

#include "host/CHomeScreen.h"
#include "host/CManageStorage.h"
#include "host/CStartKH.h"
#include "host/CStartKHIssues.h"
#include "host/CUtils.h"

namespace cli {

void Host::SetUp(HostFacts facts, ScreenObserver observer) {
    m_facts = std::move(facts);
    m_observer = std::move(observer);
}

void Host::ShowStartList(std::vector<KURA::MapToDBTable> rows) {
    const std::size_t count = rows.size();
    {
        const std::lock_guard lock(m_mutex);
        m_startList = std::move(rows);
    }
    Notice("start", "list", count);
}

void Host::ShowHomeList(std::vector<KURA::MapToDBTable> rows) {
    const std::size_t count = rows.size();
    {
        const std::lock_guard lock(m_mutex);
        m_homeList = std::move(rows);
    }
    Notice("home", "list", count);
}

void Host::Notice(const std::string& screen, const std::string& event, std::size_t rows) {
    if (m_observer) {
        m_observer(screen, event, rows);
    }
}

std::optional<std::vector<KURA::MapToDBTable>> Host::StartList() const {
    const std::lock_guard lock(m_mutex);
    return m_startList;
}

std::optional<std::vector<KURA::MapToDBTable>> Host::HomeList() const {
    const std::lock_guard lock(m_mutex);
    return m_homeList;
}

Host& TheHost() {
    static Host host;
    return host;
}

}  // namespace cli

namespace KURA {

CStartKH* CStartKH::Instance() {
    static CStartKH screen;
    return &screen;
}

void CStartKH::m_DiagResCallback(std::vector<MapToDBTable> rows) {
    cli::TheHost().ShowStartList(std::move(rows));
}

CHomeScreen* CHomeScreen::Instance() {
    static CHomeScreen screen;
    return &screen;
}

void CHomeScreen::m_DiagResCallback(std::vector<MapToDBTable> rows) {
    cli::TheHost().ShowHomeList(std::move(rows));
}

CStartKHIssues* CStartKHIssues::Instance() {
    static CStartKHIssues screen;
    return &screen;
}

void CStartKHIssues::m_HideStartKHIssue() {
    cli::TheHost().Notice("issues", "hidden");
}

CManageStorage* CManageStorage::Instance() {
    static CManageStorage screen;
    return &screen;
}

void CManageStorage::m_CreateManageStorageScreen() {
    cli::TheHost().Notice("storage", "opened");
}

CUtils* CUtils::Instance() {
    static CUtils utils;
    return &utils;
}

int CUtils::GetChannelType() {
    return cli::TheHost().Facts().channelType;
}

int CUtils::GetCurrentSourceInfo() {
    return cli::TheHost().Facts().currentSource;
}

const char* CUtils::m_pGetLaunchFrom() {
    const auto& launchFrom = cli::TheHost().Facts().launchFrom;
    return launchFrom ? launchFrom->c_str() : nullptr;
}

std::string CUtils::m_GetSwModel() {
    return cli::TheHost().Facts().swModel;
}

void CUtils::m_SetMultitaskingStatus(int status) {
    cli::TheHost().Notice("multitasking", status != 0 ? "on" : "off");
}

}  // namespace KURA
