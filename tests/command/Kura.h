// Runs the kura command as a user would, on a set that belongs to the test.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace command {

struct Answer {
    int status = -1;
    std::string out;
    std::string err;

    /// The one document on standard output; a test failure and null when there is not exactly one.
    nlohmann::json Document() const;
};

/// A set made from the examples, in a folder that is removed with the object.
class Kura {
public:
    Kura();
    Kura(const Kura&) = delete;
    Kura& operator=(const Kura&) = delete;
    ~Kura();

    /// kura --set SET ARGUMENTS...
    Answer Run(const std::vector<std::string>& arguments) const;
    /// The same with --json, expecting success: the document.
    nlohmann::json Json(std::vector<std::string> arguments) const;

    const std::filesystem::path& Set() const { return m_set; }
    std::filesystem::path Opt(const std::string& below) const { return m_set / "files" / "opt" / below; }
    std::filesystem::path Map() const { return Opt("usr/share/TVKuraHelp/SolutionMap.xml"); }

    void WriteMap(const std::string& text) const;
    nlohmann::json Description() const;
    void Describe(const nlohmann::json& description) const;

private:
    std::filesystem::path m_folder;
    std::filesystem::path m_set;
};

/// The issue codes of a list of rows, in order.
std::vector<std::string> Codes(const nlohmann::json& rows);

std::string ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, const std::string& text);

}  // namespace command
