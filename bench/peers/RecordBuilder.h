// Turns one start tag after the other into records. It serves readers of every kind: a stream of tags, or a
// tree that is walked in document order. As in the ideal mapping, names match in any letter case, the
// attribute that is expected next is tried first, and texts are copied only into the records.
#pragma once

#include <strings.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <string>
#include <string_view>

#include "KURA_SolutionMap.h"

namespace bench {

class RecordBuilder {
public:
    /// The list gets room by the length of the text, as the ideal mapping makes it. The map outlives this.
    RecordBuilder(KURA::KURA_SolutionMap& map, std::size_t textLength) : m_map(map) {
        m_map.solutions.clear();
        m_map.solutions.reserve(textLength / sizeof(KURA::KURA_Solution));
    }

    void Begin(std::string_view element) {
        m_element = IndexOf(element, kElements, kSolution);
        m_expected = 0;
        m_texts.fill({});
    }

    /// The value must stand until End.
    void Add(std::string_view name, std::string_view value) {
        if (m_element == kElements.size()) {
            return;
        }
        const auto& names = kAttributes[m_element];
        const std::size_t index = IndexOf(name, names, m_expected);
        if (index < names.size()) {
            m_texts[index] = value;
            m_expected = index + 1;
        }
    }

    void End() {
        const auto text = [this](std::size_t index) { return std::string(m_texts[index]); };
        switch (m_element) {
            case kSolution:
                m_map.solutions.emplace_back(text(0), text(1), text(2), text(3), text(4), text(5), text(6),
                                             text(7), text(8), text(9), text(10), text(11), text(12),
                                             text(13), text(14));
                break;
            case kValue:
                m_map.solutions.back().sol_val.push_back({text(0), text(1)});
                break;
            case kVersion:
                m_map.version = std::atoi(text(0).c_str());
                break;
            case kCount:
                m_map.count = static_cast<unsigned int>(std::strtoul(text(0).c_str(), nullptr, 10));
                break;
            default:
                break;
        }
    }

private:
    static constexpr std::size_t kMostAttributes = 15;
    using Names = std::array<std::string_view, kMostAttributes>;

    enum : std::size_t { kSolution, kValue, kVersion, kCount };
    static constexpr std::array<std::string_view, 4> kElements = {"solution", "sol_val", "sminfo", "sm"};
    static constexpr std::array<Names, 4> kAttributes = {
        {{"issue_code", "sol_code", "sol_type", "sol_name", "sid_issue", "sid_sol", "sid_button1",
          "sid_button2", "reboot", "is_fg_bg", "action", "toast1", "toast2", "source", "view_authority"},
         {"param_value", "param_type"},
         {"version"},
         {"cnt"}}};

    static bool IsNamed(std::string_view written, std::string_view name) {
        return written.size() == name.size() && strncasecmp(written.data(), name.data(), name.size()) == 0;
    }

    template <std::size_t kSize>
    static std::size_t IndexOf(std::string_view written, const std::array<std::string_view, kSize>& names,
                               std::size_t expected) {
        if (expected < kSize && (written == names[expected] || IsNamed(written, names[expected]))) {
            return expected;
        }
        std::size_t index = 0;
        while (index < kSize && (names[index].empty() || !IsNamed(written, names[index]))) {
            ++index;
        }
        return index;
    }

    KURA::KURA_SolutionMap& m_map;
    std::size_t m_element = kElements.size();
    std::size_t m_expected = 0;
    std::array<std::string_view, kMostAttributes> m_texts;
};

}  // namespace bench
