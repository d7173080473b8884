#include "Tools.h"

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace contract {

Outcome Shell(const std::string& command) {
    std::FILE* pipe = popen((command + " 2>&1").c_str(), "re");
    if (pipe == nullptr) {
        throw std::runtime_error("cannot start: " + command);
    }
    Outcome outcome;
    std::array<char, 4096> part{};
    std::size_t length = 0;
    while ((length = std::fread(part.data(), 1, part.size(), pipe)) > 0) {
        outcome.output.append(part.data(), length);
    }
    const int status = pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> ListIn(const std::string& path) {
    std::ifstream stream(path);
    if (!stream) {
        throw std::runtime_error("cannot read " + path);
    }
    std::vector<std::string> list;
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line[0] != '#') {
            list.push_back(line);
        }
    }
    return list;
}

std::set<std::string> DynamicNames(const std::string& file, const std::string& option) {
    const Outcome outcome = Shell("nm -D --format=posix " + option + " '" + file + "'");
    if (outcome.status != 0) {
        throw std::runtime_error(outcome.output);
    }
    std::set<std::string> names;
    for (const std::string& line : Lines(outcome.output)) {
        names.insert(line.substr(0, line.find_first_of(" @")));
    }
    return names;
}

std::vector<std::string> NeededBy(const std::string& file) {
    static const std::regex kNeeded(R"(\(NEEDED\).*\[(.*)\])");
    std::vector<std::string> needed;
    for (const std::string& line : Lines(Shell("readelf -dW '" + file + "'").output)) {
        std::smatch match;
        if (std::regex_search(line, match, kNeeded)) {
            needed.push_back(match[1]);
        }
    }
    return needed;
}

}  // namespace contract
