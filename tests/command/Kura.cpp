#include "Kura.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "support/ChildProcess.h"
#include "support/Descriptor.h"
#include "support/Files.h"

namespace command {

namespace fs = std::filesystem;

namespace {

support::Descriptor Fresh(const fs::path& path) {
    return support::Descriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
}

}  // namespace

nlohmann::json Answer::Document() const {
    const auto document = nlohmann::json::parse(out, nullptr, false);
    if (document.is_discarded()) {
        ADD_FAILURE() << "not exactly one JSON document: " << out << "\nstandard error: " << err;
        return nullptr;
    }
    return document;
}

Kura::Kura() {
    std::string name = (fs::temp_directory_path() / "kura-command-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("cannot make a folder for the test");
    }
    m_folder = name;
    m_set = m_folder / "set";
    const Answer made = Run({"set", "new"});
    if (made.status != 0) {
        throw std::runtime_error("kura set new: " + made.err);
    }
}

Kura::~Kura() {
    std::error_code error;
    fs::remove_all(m_folder, error);
}

Answer Kura::Run(const std::vector<std::string>& arguments) const {
    const support::Descriptor out = Fresh(m_folder / "out");
    const support::Descriptor err = Fresh(m_folder / "err");
    support::ChildStart start;
    start.command = {KURA_COMMAND, "--set", m_set.string()};
    start.command.insert(start.command.end(), arguments.begin(), arguments.end());
    start.input = support::ChildStart::kNowhere;
    start.output = out.Number();
    start.errors = err.Number();
    Answer answer;
    answer.status = support::ChildProcess(start).Wait().ShellStatus();
    answer.out = ReadFile(m_folder / "out");
    answer.err = ReadFile(m_folder / "err");
    return answer;
}

nlohmann::json Kura::Json(std::vector<std::string> arguments) const {
    arguments.emplace_back("--json");
    const Answer answer = Run(arguments);
    EXPECT_EQ(answer.status, 0) << answer.out << answer.err;
    return answer.Document();
}

void Kura::WriteMap(const std::string& text) const {
    WriteFile(Map(), text);
}

nlohmann::json Kura::Description() const {
    return nlohmann::json::parse(ReadFile(m_set / "set.json"));
}

void Kura::Describe(const nlohmann::json& description) const {
    WriteFile(m_set / "set.json", description.dump(2));
}

std::vector<std::string> Codes(const nlohmann::json& rows) {
    std::vector<std::string> codes;
    for (const auto& row : rows) {
        codes.push_back(row.at("issue_code").get<std::string>());
    }
    return codes;
}

std::string ReadFile(const fs::path& path) {
    return support::ReadFile(path).value_or("");
}

void WriteFile(const fs::path& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

}  // namespace command
