// The host's screens and its pool of worker threads.
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "Fakes.h"
#include "Recorder.h"
#include "host/CHomeScreen.h"
#include "host/CManageStorage.h"
#include "host/CStartKH.h"
#include "host/CStartKHIssues.h"
#include "host/CUtils.h"
#include "host/TCThreadPool.h"

namespace KURA {

using fakes::AnswerLock;
using fakes::Enter;
using fakes::Set;

CHomeScreen* CHomeScreen::Instance() {
    static CHomeScreen screen;
    return &screen;
}

void CHomeScreen::m_DiagResCallback(std::vector<MapToDBTable> rows) {
    Enter("CHomeScreen::m_DiagResCallback", rows.size());
    const AnswerLock lock;
    if (Set().keepRecords) {
        Set().homeScreenLists.push_back(std::move(rows));
    }
}

CStartKH* CStartKH::Instance() {
    static CStartKH screen;
    return &screen;
}

void CStartKH::m_DiagResCallback(std::vector<MapToDBTable> rows) {
    Enter("CStartKH::m_DiagResCallback", rows.size());
    const AnswerLock lock;
    if (Set().keepRecords) {
        Set().startScreenLists.push_back(std::move(rows));
    }
}

CStartKHIssues* CStartKHIssues::Instance() {
    static CStartKHIssues issues;
    return &issues;
}

void CStartKHIssues::m_HideStartKHIssue() {
    Enter("CStartKHIssues::m_HideStartKHIssue");
}

CManageStorage* CManageStorage::Instance() {
    static CManageStorage storage;
    return &storage;
}

void CManageStorage::m_CreateManageStorageScreen() {
    Enter("CManageStorage::m_CreateManageStorageScreen");
}

CUtils* CUtils::Instance() {
    static CUtils utils;
    return &utils;
}

int CUtils::GetChannelType() {
    Enter("CUtils::GetChannelType");
    const AnswerLock lock;
    return Set().channelType;
}

int CUtils::GetCurrentSourceInfo() {
    Enter("CUtils::GetCurrentSourceInfo");
    const AnswerLock lock;
    return Set().hostSource;
}

const char* CUtils::m_pGetLaunchFrom() {
    Enter("CUtils::m_pGetLaunchFrom");
    const AnswerLock lock;
    return Set().launchFrom;
}

std::string CUtils::m_GetSwModel() {
    Enter("CUtils::m_GetSwModel");
    const AnswerLock lock;
    return Set().swModel;
}

void CUtils::m_SetMultitaskingStatus(int status) {
    Enter("CUtils::m_SetMultitaskingStatus", status);
}

struct Impl {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<int()>> tasks;
    bool ending = false;
    std::vector<std::thread> workers;

    /// The next task; an empty one when the pool ends and nothing is left.
    std::function<int()> TakeTask() {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return ending || !tasks.empty(); });
        if (tasks.empty()) {
            return nullptr;
        }
        std::function<int()> task = std::move(tasks.front());
        tasks.pop_front();
        return task;
    }

    void Work() {
        while (const std::function<int()> task = TakeTask()) {
            task();
        }
    }
};

TCThreadPool::TCThreadPool(unsigned int threads) : m_pImpl(nullptr) {
    Enter("TCThreadPool", threads);
    m_pImpl = new Impl;
    for (unsigned int i = 0; i < threads; ++i) {
        m_pImpl->workers.emplace_back([impl = m_pImpl] { impl->Work(); });
    }
}

TCThreadPool::~TCThreadPool() {
    Enter("~TCThreadPool");
    {
        const std::lock_guard<std::mutex> lock(m_pImpl->mutex);
        m_pImpl->ending = true;
    }
    m_pImpl->changed.notify_all();
    for (std::thread& worker : m_pImpl->workers) {
        worker.join();
    }
    delete m_pImpl;
}

void TCThreadPool::Post(std::function<int()> task) {
    {
        const std::lock_guard<std::mutex> lock(m_pImpl->mutex);
        m_pImpl->tasks.push_back(std::move(task));
    }
    m_pImpl->changed.notify_one();
}

}  // namespace KURA
