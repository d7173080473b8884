#include "Trial.h"

#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <utility>

#include "support/Descriptor.h"
#include "support/Files.h"

namespace explain {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

constexpr const char* kMap = "usr/share/TVKuraHelp/SolutionMap.xml";
constexpr const char* kStore = "usr/home/owner/share/remaining.db";
constexpr const char* kColumns =
    "idx TEXT, issue_code TEXT, is_fix TEXT, last_time TEXT, sol_type TEXT, sid_issue TEXT, sid_sol TEXT, "
    "sid_button1 TEXT, sid_button2 TEXT, action TEXT, toast1 TEST, toast2 TEXT, source TEXT, "
    "view_authority TEXT";

void WriteWhole(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

struct Closer {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

std::unique_ptr<sqlite3, Closer> OpenStore(const fs::path& path) {
    sqlite3* database = nullptr;
    if (sqlite3_open(path.c_str(), &database) != SQLITE_OK) {
        throw std::runtime_error("cannot open " + path.string());
    }
    return std::unique_ptr<sqlite3, Closer>(database);
}

void Run(sqlite3* database, const std::string& query) {
    if (sqlite3_exec(database, query.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw std::runtime_error(query + ": " + sqlite3_errmsg(database));
    }
}

[[noreturn]] void Answer(int descriptor, const std::function<json()>& ask) {
    std::string text;
    try {
        text = ask().dump(-1, ' ', false, json::error_handler_t::replace);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "child: %s\n", error.what());
        _exit(1);
    }
    _exit(support::WriteAll(descriptor, text) ? 0 : 1);
}

}  // namespace

Trial::Trial(kuraset::SetDirectory set)
    : m_set(std::move(set)),
      m_description(m_set.Description()),
      m_settings(support::ReadFile(m_set.SettingsPath()).value_or("{}")) {}

void Trial::Describe(const Situation& situation) const {
    json description = m_description;
    description["faults"] = situation.faults;
    description["source"] = situation.source;
    description["channel"] = situation.channel;
    description["engine"]["delay_ms"] = 0;
    m_set.Describe(description);
}

void Trial::Prepare(const Situation& situation) const {
    Describe(situation);
    WriteWhole(m_set.SettingsPath(), m_settings);
    WriteWhole(m_set.FilesOpt() / kMap, situation.map);
    m_set.ForgetRecords();
    for (const Inference& record : situation.inferences) {
        m_set.ReportInference(record.code, record.present, 0, record.time, record.time);
    }
    for (const Repaired& record : situation.repaired) {
        m_set.ReportSolution(record.code, 1, 1, record.applied, record.time);
    }
    fs::remove(m_set.FilesOpt() / kStore);
    m_set.ClearJournal();
}

void Trial::Show(int source, int channel) const {
    json description = m_set.Description();
    description["source"] = source;
    description["channel"] = channel;
    m_set.Describe(description);
}

void Trial::WriteStore(const std::vector<KeptRow>& rows) const {
    fs::remove(m_set.FilesOpt() / kStore);
    const auto database = OpenStore(m_set.FilesOpt() / kStore);
    Run(database.get(), std::string("CREATE TABLE remainingTBL(") + kColumns + ")");
    for (const KeptRow& row : rows) {
        Run(database.get(), "INSERT INTO remainingTBL VALUES ('" + row.index + "','" + row.code + "','0','" +
                                row.time + "','INFO','','','','','','','','" + row.source + "','USER')");
    }
}

bool Trial::Keeps(const std::string& code) const {
    const auto database = OpenStore(m_set.FilesOpt() / kStore);
    sqlite3_stmt* prepared = nullptr;
    if (sqlite3_prepare_v2(database.get(), "SELECT 1 FROM remainingTBL WHERE issue_code=?", -1, &prepared,
                           nullptr) != SQLITE_OK) {
        return false;
    }
    const std::unique_ptr<sqlite3_stmt, Closer> statement(prepared);
    sqlite3_bind_text(prepared, 1, code.c_str(), -1, SQLITE_STATIC);
    return sqlite3_step(prepared) == SQLITE_ROW;
}

Trial::State Trial::Save() const {
    const fs::path engine = m_set.FilesHome() / "owner/share/Watchman/DB";
    State state;
    for (const fs::path& path :
         {m_set.SettingsPath(), m_set.FilesOpt() / kStore, engine / "inference.db", engine / "solution.db"}) {
        state[path] = support::ReadFile(path);
    }
    return state;
}

void Trial::Restore(const State& state) const {
    for (const auto& [path, text] : state) {
        if (text) {
            WriteWhole(path, *text);
        } else {
            fs::remove(path);
        }
    }
    m_set.ClearJournal();
}

json Trial::InChild(const std::function<json()>& ask) {
    support::Pipe pipe;
    if (!pipe.readEnd) {
        throw std::runtime_error("no pipe");
    }
    const pid_t child = fork();
    if (child == 0) {
        Answer(pipe.writeEnd.Number(), ask);
    }
    pipe.writeEnd.Reset();
    const std::string text = support::ReadAll(pipe.readEnd.Number()).value_or("");
    int status = 0;
    waitpid(child, &status, 0);
    if (child < 0 || status != 0) {
        throw std::runtime_error("a child ended with status " + std::to_string(status));
    }
    return json::parse(text);
}

}  // namespace explain
