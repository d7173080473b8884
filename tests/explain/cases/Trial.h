// The set on which the cases are tried. It is brought into a situation and put back. Children of this process
// ask the library, because a process can run only one diagnosis.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "RandomSet.h"
#include "set/KuraSet.h"

namespace explain {

class Trial {
public:
    explicit Trial(kuraset::SetDirectory set);

    const kuraset::SetDirectory& Set() const { return m_set; }

    void Prepare(const Situation& situation) const;
    /// What the set shows, without a change to what it keeps.
    void Show(int source, int channel) const;
    void WriteStore(const std::vector<KeptRow>& rows) const;
    bool Keeps(const std::string& code) const;

    /// All files that a diagnosis or a repair changes, and back to them.
    using State = std::map<std::filesystem::path, std::optional<std::string>>;
    State Save() const;
    void Restore(const State& state) const;

    /// What ask returns in a child; throws when the child does not end well.
    static nlohmann::json InChild(const std::function<nlohmann::json()>& ask);

private:
    void Describe(const Situation& situation) const;

    kuraset::SetDirectory m_set;
    nlohmann::json m_description;
    std::string m_settings;
};

}  // namespace explain
