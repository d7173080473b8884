// Makes a set for one test, in a folder that is removed with the test. The environment names the set before
// the first platform call, because the simulated set reads the name once.
#pragma once

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>

#include "services/SetServices.h"
#include "set/KuraSet.h"

namespace simulator {

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "kura-set-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            std::abort();
        }
        m_path = name;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
    }

    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

class TemporarySet {
public:
    explicit TemporarySet(const kuraset::json& description = kuraset::json::object(),
                          const kuraset::json& settings = kuraset::json::object())
        : m_set(kuraset::SetDirectory::Create(m_folder.Path() / "set", description, settings)) {
        setenv(kuraset::kSetDirectoryVariable, m_set.Path().c_str(), 1);
    }

    kuraset::SetDirectory& operator*() { return m_set; }
    kuraset::SetDirectory* operator->() { return &m_set; }

    /// The services on this set's files, the programs from the build folder.
    kuraset::SetServices::Options ServiceOptions() const {
        kuraset::SetServices::Options options;
        options.opt = m_set.FilesOpt();
        options.tmp = m_set.FilesTmp();
        return options;
    }

private:
    TemporaryFolder m_folder;
    kuraset::SetDirectory m_set;
};

inline std::string ReadText(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

inline void WriteText(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

/// Waits for another process; false when it takes longer than a machine under load should need.
inline bool Eventually(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

}  // namespace simulator
