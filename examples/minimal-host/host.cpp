// A host in forty lines: asks for the automatic diagnosis and prints the list that its start screen receives.
#include <chrono>
#include <future>
#include <iostream>

#include "KURA_DiagManager.h"
#include "host/CHomeScreen.h"
#include "host/CManageStorage.h"
#include "host/CStartKH.h"
#include "host/CStartKHIssues.h"
#include "host/CUtils.h"
#include "host/TCThreadPool.h"

using Rows = std::vector<KURA::MapToDBTable>;
std::promise<Rows> received;

namespace KURA {  // what the library finds in the program that loads it
CStartKH* CStartKH::Instance() {
    static CStartKH screen;
    return &screen;
}
void CStartKH::m_DiagResCallback(Rows rows) {
    received.set_value(std::move(rows));
}  // on the engine's thread
CHomeScreen* CHomeScreen::Instance() {
    static CHomeScreen screen;
    return &screen;
}
void CHomeScreen::m_DiagResCallback(Rows) {}
CStartKHIssues* CStartKHIssues::Instance() {
    static CStartKHIssues screen;
    return &screen;
}
void CStartKHIssues::m_HideStartKHIssue() {}
CManageStorage* CManageStorage::Instance() {
    static CManageStorage screen;
    return &screen;
}
void CManageStorage::m_CreateManageStorageScreen() {}
CUtils* CUtils::Instance() {
    static CUtils utils;
    return &utils;
}
int CUtils::GetChannelType() {
    return 0;
}
int CUtils::GetCurrentSourceInfo() {
    return 0;
}
const char* CUtils::m_pGetLaunchFrom() {
    return nullptr;
}
std::string CUtils::m_GetSwModel() {
    return "";
}
void CUtils::m_SetMultitaskingStatus(int) {}
TCThreadPool::TCThreadPool(unsigned int) : m_pImpl(nullptr) {}
TCThreadPool::~TCThreadPool() {}
void TCThreadPool::Post(std::function<int()> task) {
    task();
}
}  // namespace KURA

int main() {
    KURA::KURA_DiagManager::GetInstance()->StartAutoDiagnosis();
    auto list = received.get_future();
    if (list.wait_for(std::chrono::seconds(30)) != std::future_status::ready)
        return 4;
    for (const auto& row : list.get())
        std::cout << row.issue_code << ' ' << row.sid_issue << '\n';
}
