// Makes random situations of a set: a map, the engine's records, what the set shows, its faults and its store
// of unfixed problems.
#pragma once

#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

namespace explain {

class Dice {
public:
    explicit Dice(unsigned seed) : m_engine(seed) {}

    /// 0 to sides - 1.
    std::size_t Roll(std::size_t sides) { return m_engine() % sides; }
    bool Chance(std::size_t percent) { return Roll(100) < percent; }
    template <typename T>
    const T& Any(const std::vector<T>& from) {
        return from[Roll(from.size())];
    }

private:
    std::mt19937 m_engine;
};

/// An issue code as the map writes it, and the number that the engine knows it by.
struct IssueCode {
    std::string text;
    int number;
};

struct Entry {
    IssueCode code;
    std::string solution;
    std::string type;
    std::string name;
    std::string value;
    std::string ground;
    std::string source;
    std::string viewer;
};

struct Inference {
    int code;
    bool present;
    std::string time;
};

struct Repaired {
    int code;
    bool applied;
    std::string time;
};

struct Situation {
    std::vector<Entry> entries;
    std::size_t declared = 0;
    std::string map;  ///< the document
    bool isMapSound = true;
    std::vector<Inference> inferences;
    std::vector<Repaired> repaired;
    int source = 0;
    int channel = 0;
    nlohmann::json faults = nlohmann::json::object();
};

Situation RandomSituation(Dice& dice);

/// A row of the store: an issue and its index, which a damaged row has wrong.
struct KeptRow {
    std::string code;
    std::string index;
    std::string time;
    std::string source;
};

std::vector<KeptRow> RandomStore(Dice& dice);

}  // namespace explain
