#include "Kura.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace command {

namespace fs = std::filesystem;

namespace {

int Spawn(const std::vector<std::string>& arguments, const fs::path& out, const fs::path& err) {
    std::vector<char*> pointers;
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0600);
    pid_t process = 0;
    const int error = posix_spawn(&process, pointers[0], &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("cannot start " + arguments.front());
    }
    int status = 0;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
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
    std::vector<std::string> line = {KURA_COMMAND, "--set", m_set.string()};
    line.insert(line.end(), arguments.begin(), arguments.end());
    Answer answer;
    answer.status = Spawn(line, m_folder / "out", m_folder / "err");
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
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteFile(const fs::path& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

}  // namespace command
