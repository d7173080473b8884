// What tells which television and whose it is: found in a set, and replaced in what leaves the machine.
#pragma once

#include <string>
#include <vector>

#include "frame/Outcome.h"
#include "set/KuraSet.h"

namespace cli {

/// The private values of one set, and of the user of this machine. Serial number, chip id, further system
/// information, texts and long numbers of settings whose key tells of an identity, paths and names of the
/// user. Case does not count. A short name is replaced only where it stands as a word.
class PrivateValues {
public:
    /// further: texts that are private, too.
    PrivateValues(const kuraset::SetDirectory& set, const std::vector<std::string>& further);

    /// The text with each private value replaced by its placeholder, such as "<chip-id>".
    std::string Clean(std::string text);
    /// The same for every text and member name of a document. A private number becomes 0.
    Json Clean(const Json& document);

    bool StandIn(const std::string& bytes) const;
    /// The length of the longest value.
    std::size_t Longest() const;
    /// [{"what": "<serial>", "places": 3}, ...]: what was replaced so far, and how often.
    Json TakenOut() const;

private:
    struct Value {
        std::string text;  ///< in lower case
        std::string placeholder;
    };

    void Add(const std::string& text, const std::string& placeholder);
    void AddDescription(const nlohmann::json& description);
    void AddChipId(const std::string& line);
    void AddSettings(const nlohmann::json& settings);
    void AddUser();

    std::vector<Value> m_values;  // the longest first
    Json m_places = Json::object();
};

}  // namespace cli
