// The host's side of the library: the screens, utilities and thread pool that the care application would own.
// Each screen keeps what it was shown, so that a verb can print it.
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "KURA_MapToDBTable.h"

namespace cli {

/// What the set shows while the host runs; the host's utilities tell it to the library.
struct HostFacts {
    int channelType = 0;
    int currentSource = 0;
    std::optional<std::string> launchFrom;  ///< none when the host was started by hand
    std::string swModel;
};

/// Keeps what the screens have shown. The engine's thread writes and the verb's thread reads, so every access
/// takes the lock.
class Host {
public:
    using ScreenObserver =
        std::function<void(const std::string& screen, const std::string& event, std::size_t rows)>;

    void SetUp(HostFacts facts, ScreenObserver observer);

    const HostFacts& Facts() const { return m_facts; }

    void ShowStartList(std::vector<KURA::MapToDBTable> rows);
    void ShowHomeList(std::vector<KURA::MapToDBTable> rows);
    void Notice(const std::string& screen, const std::string& event, std::size_t rows = 0);

    /// The list that the screen received last; none when it was never called.
    std::optional<std::vector<KURA::MapToDBTable>> StartList() const;
    std::optional<std::vector<KURA::MapToDBTable>> HomeList() const;

private:
    mutable std::mutex m_mutex;  // guards the two lists
    std::optional<std::vector<KURA::MapToDBTable>> m_startList;
    std::optional<std::vector<KURA::MapToDBTable>> m_homeList;

    HostFacts m_facts;  // set before the library is called
    ScreenObserver m_observer;
};

Host& TheHost();

}  // namespace cli
