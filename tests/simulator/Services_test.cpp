// The processes beside the host, as real processes on the files of a set.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>
#include <string>
#include <utility>

#include <gio/gio.h>
#include <gtest/gtest.h>

#include "TemporarySet.h"
#include "pkgmgr_client.h"
#include "services/SetServices.h"
#include "set/KuraSet.h"

namespace {

namespace fs = std::filesystem;

using kuraset::json;
using kuraset::SetServices;
using simulator::Eventually;
using simulator::ReadText;
using simulator::TemporarySet;
using simulator::WriteText;

json OneApp() {
    return json::parse(R"({"apps": [{"title": "Chess", "app_id": "a.chess", "package_id": "a",
        "sizes": {"app": 5000, "data": 300, "cache": 20, "web_cache": 7}}]})");
}

json With(json description, const char* more) {
    description.merge_patch(json::parse(more));
    return description;
}

/// The only entry of the agent's about a request, once it is there.
json AgentEntry(const kuraset::SetDirectory& set, const std::string& request) {
    json found;
    Eventually([&] {
        for (const json& entry : set.ReadJournal("agent")) {
            if (entry.at("op") == request) {
                found = entry;
            }
        }
        return !found.is_null();
    });
    return found;
}

/// The agent on a set's own files.
struct AgentOn {
    explicit AgentOn(const json& description)
        : set(description), services(Start(set)), vardo(set->FilesTmp() / "vardo") {}

    static SetServices Start(TemporarySet& set) {
        SetServices::Options options = set.ServiceOptions();
        options.packageManager = false;
        return SetServices::Start(*set, options);
    }

    /// As the library does it: the data file, then the trigger.
    void Request(const std::string& name, const std::string& data, const std::string& trigger = "") {
        if (!data.empty()) {
            WriteText(vardo / name, data);
        }
        WriteText(vardo / "req" / name, trigger);
    }

    TemporarySet set;
    SetServices services;
    fs::path vardo;
};

TEST(Agent, CreatesItsFolders) {
    AgentOn agent(json::object());
    EXPECT_TRUE(fs::is_directory(agent.vardo / "req"));
    EXPECT_TRUE(fs::is_directory(agent.vardo / "ack"));
    EXPECT_GT(agent.services.AgentProcess(), 0);
    EXPECT_EQ(agent.services.BusProcess(), 0);
}

TEST(Agent, DeletesTheTriggerOnceTheCachesAreEmpty) {
    AgentOn agent(OneApp());
    const fs::path owner = agent.set->FilesOpt() / "usr/home/owner";
    WriteText(agent.set->FilesTmp() / "cache/deep/er/file", "12345");
    agent.Request("CleanAll.txt", "", "CleanUp\n");
    ASSERT_TRUE(Eventually([&] { return !fs::exists(agent.vardo / "req/CleanAll.txt"); }));
    EXPECT_FALSE(fs::exists(owner / "apps_rw/a/cache/pages"));
    EXPECT_TRUE(fs::is_directory(owner / "apps_rw/a/cache"));
    EXPECT_TRUE(fs::exists(owner / "apps_rw/a/data/store"));
    EXPECT_TRUE(fs::is_empty(owner / ".cache/Apps/WebAppsCache"));
    EXPECT_TRUE(fs::is_empty(agent.set->FilesTmp() / "cache"));
    const json entry = AgentEntry(*agent.set, "CleanAll.txt");
    EXPECT_EQ(entry.at("outcome"), "done");
    EXPECT_EQ(entry.at("bytes"), 20 + 7 + 5);
    EXPECT_EQ(entry.at("failures"), 0);
}

TEST(Agent, EmptiesOnlyTheFoldersThatTheSetNames) {
    AgentOn agent(With(OneApp(), R"({"agent": {"clean": ["/opt/usr/home/owner/apps_rw/*/data"]}})"));
    agent.Request("CleanAll.txt", "", "CleanUp\n");
    ASSERT_TRUE(Eventually([&] { return !fs::exists(agent.vardo / "req/CleanAll.txt"); }));
    EXPECT_FALSE(fs::exists(agent.set->FilesOpt() / "usr/home/owner/apps_rw/a/data/store"));
    EXPECT_TRUE(fs::exists(agent.set->FilesOpt() / "usr/home/owner/apps_rw/a/cache/pages"));
}

TEST(Agent, FollowsNoLinkOutOfTheSet) {
    simulator::TemporaryFolder outside;
    WriteText(outside.Path() / "precious", "keep");
    AgentOn agent(OneApp());
    const fs::path cache = agent.set->FilesOpt() / "usr/home/owner/apps_rw/a/cache";
    fs::create_directory_symlink(outside.Path(), cache / "inside");
    fs::create_directory_symlink(outside.Path(), agent.set->FilesOpt() / "usr/home/owner/tmp");
    fs::create_directory_symlink(outside.Path(), agent.set->FilesOpt() / "usr/home/owner/apps_rw/linked");
    agent.Request("CleanAll.txt", "", "CleanUp\n");
    ASSERT_TRUE(Eventually([&] { return !fs::exists(agent.vardo / "req/CleanAll.txt"); }));
    EXPECT_FALSE(fs::is_symlink(cache / "inside"));
    agent.Request("clearAppCache", "linked|../../..\n");
    EXPECT_EQ(AgentEntry(*agent.set, "clearAppCache").at("outcome"), "refused");
    EXPECT_EQ(ReadText(outside.Path() / "precious"), "keep");
}

TEST(Agent, TakesNoLinkForATrigger) {
    AgentOn agent(json::object());
    WriteText(agent.set->FilesTmp() / "text", "CleanUp\n");
    fs::create_symlink(agent.set->FilesTmp() / "text", agent.vardo / "req/link");
    fs::rename(agent.vardo / "req/link", agent.vardo / "req/CleanAll.txt");
    EXPECT_EQ(AgentEntry(*agent.set, "CleanAll.txt").at("outcome"), "refused");
}

TEST(Agent, MeasuresAnAppAndAnswersResultBeforeAcknowledgement) {
    AgentOn agent(OneApp());
    agent.Request("calcAppDataCacheSize_a.chess", "a|a.chess\n", "a|a.chess\n");
    ASSERT_TRUE(Eventually([&] { return fs::exists(agent.vardo / "ack/appDataCacheSize_a.chess"); }));
    EXPECT_EQ(ReadText(agent.vardo / "appDataCacheSize_a.chess"), "300|20");
    EXPECT_FALSE(fs::exists(agent.vardo / "calcAppDataCacheSize_a.chess"));
    EXPECT_FALSE(fs::exists(agent.vardo / "req/calcAppDataCacheSize_a.chess"));
}

TEST(Agent, RefusesASizeRequestForAnotherNameThanItsOwn) {
    AgentOn agent(OneApp());
    agent.Request("calcAppDataCacheSize_x", "", "a|y\n");
    EXPECT_EQ(AgentEntry(*agent.set, "calcAppDataCacheSize_x").at("outcome"), "refused");
    agent.Request("calcAppDataCacheSize_q", "", "a|q|r\n");
    EXPECT_EQ(AgentEntry(*agent.set, "calcAppDataCacheSize_q").at("outcome"), "refused");
    EXPECT_TRUE(fs::is_empty(agent.vardo / "ack"));
}

TEST(Agent, ClearsTheCachesOfOneApp) {
    AgentOn agent(OneApp());
    const fs::path owner = agent.set->FilesOpt() / "usr/home/owner";
    agent.Request("clearAppCache", "a|a.chess\n");
    EXPECT_EQ(AgentEntry(*agent.set, "clearAppCache").at("bytes"), 27);
    EXPECT_TRUE(fs::is_empty(owner / "apps_rw/a/cache"));
    EXPECT_TRUE(fs::is_empty(owner / ".cache/Apps/WebAppsCache/a.chess"));
    EXPECT_TRUE(fs::exists(owner / "apps_rw/a/data/store"));
    EXPECT_FALSE(fs::exists(agent.vardo / "req/clearAppCache"));
}

TEST(Agent, KillsOnlyTheProcessesOfTheApp) {
    const pid_t victim = fork();
    if (victim == 0) {
        pause();
        _exit(0);
    }
    AgentOn agent(
        json{{"agent", {{"processes", {{"a", json::array({victim})}, {"b", json::array({getpid()})}}}}}});
    agent.Request("killApp", "other\n");
    EXPECT_EQ(AgentEntry(*agent.set, "killApp").at("killed"), json::array());
    agent.set->ClearJournal();
    agent.Request("killApp", "a\n");
    EXPECT_EQ(AgentEntry(*agent.set, "killApp").at("killed"), json::array({victim}));
    int status = 0;
    ASSERT_EQ(waitpid(victim, &status, 0), victim);
    EXPECT_TRUE(WIFSIGNALED(status));
    agent.set->ClearJournal();
    agent.Request("killApp", "b\n");
    EXPECT_EQ(AgentEntry(*agent.set, "killApp").at("killed"), json::array()) << "its own parent";
}

TEST(Agent, RunsOnlyAllowedCommands) {
    AgentOn agent(json::parse(R"({"agent": {"commands": ["exit 3"]}})"));
    agent.Request("runCmdNativeApps", "exit 3\n");
    EXPECT_EQ(AgentEntry(*agent.set, "runCmdNativeApps").at("status"), 3);
    agent.set->ClearJournal();
    const fs::path mark = agent.set->FilesTmp() / "mark";
    agent.Request("runCmdNativeApps", "touch " + mark.string() + "\n");
    const json entry = AgentEntry(*agent.set, "runCmdNativeApps");
    EXPECT_EQ(entry.at("outcome"), "refused");
    EXPECT_EQ(entry.at("command"), "touch " + mark.string());
    EXPECT_FALSE(fs::exists(mark));
}

TEST(Agent, BoostsMemoryByTakingTheTriggerAway) {
    AgentOn agent(json::object());
    agent.Request("memBoost", "");
    EXPECT_EQ(AgentEntry(*agent.set, "memBoost").at("outcome"), "done");
    EXPECT_FALSE(fs::exists(agent.vardo / "req/memBoost"));
}

TEST(Agent, KeepsTheCobaltSize) {
    AgentOn agent(json::parse(R"({"agent": {"cobalt_size": 123456789012}})"));
    EXPECT_EQ(ReadText(agent.vardo / "cobalt_size"), "123456789012");
    fs::remove(agent.vardo / "cobalt_size");
    EXPECT_TRUE(Eventually([&] { return ReadText(agent.vardo / "cobalt_size") == "123456789012"; }));
    agent.set->Describe(json::parse(R"({"agent": {"cobalt_size": 5}})"));
    EXPECT_TRUE(Eventually([&] { return ReadText(agent.vardo / "cobalt_size") == "5"; }));
}

TEST(Agent, SurvivesTheLossOfItsFolders) {
    AgentOn agent(OneApp());
    fs::remove_all(agent.vardo);
    ASSERT_TRUE(Eventually([&] { return fs::exists(agent.vardo / "ack"); }));
    WriteText(agent.vardo / "req/memBoost", "");
    EXPECT_EQ(AgentEntry(*agent.set, "memBoost").at("outcome"), "done");
}

TEST(Agent, AnswersBadlyWhenTheFaultsSaySo) {
    const std::pair<const char*, std::function<bool(const std::string&)>> table[] = {
        {R"({"faults": {"agent": "partial"}})", [](const std::string& text) { return text == "300|"; }},
        {R"({"faults": {"agent": "binary"}})", [](const std::string& text) { return text.size() == 256; }},
        {R"({"faults": {"agent": "flood"}})",
         [](const std::string& text) { return text.size() > (1 << 20); }},
    };
    AgentOn agent(OneApp());
    for (const auto& [fault, fits] : table) {
        agent.set->Describe(With(OneApp(), fault));
        fs::remove(agent.vardo / "ack/appDataCacheSize_a.chess");
        agent.Request("calcAppDataCacheSize_a.chess", "", "a|a.chess\n");
        ASSERT_TRUE(Eventually([&] { return fs::exists(agent.vardo / "ack/appDataCacheSize_a.chess"); }));
        EXPECT_TRUE(fits(ReadText(agent.vardo / "appDataCacheSize_a.chess"))) << fault;
    }
}

TEST(Agent, TakesItsTimeWhenTheFaultsSaySo) {
    AgentOn agent(With(OneApp(), R"({"faults": {"agent": {"mode": "slow", "seconds": 1}}})"));
    const auto start = std::chrono::steady_clock::now();
    agent.Request("memBoost", "");
    EXPECT_EQ(AgentEntry(*agent.set, "memBoost").at("outcome"), "done");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST(Agent, DoesWhatItWasAskedForBeforeItEnds) {
    AgentOn agent(OneApp());
    agent.Request("clearAppCache", "a|a.chess\n");
    agent.services.Stop();
    EXPECT_EQ(AgentEntry(*agent.set, "clearAppCache").at("outcome"), "done");
}

TEST(Agent, IsNotStartedWhenTheFaultsSaySo) {
    AgentOn agent(json::parse(R"({"faults": {"agent": "absent"}})"));
    EXPECT_EQ(agent.services.AgentProcess(), 0);
    EXPECT_FALSE(fs::exists(agent.vardo));
}

TEST(Services, EndWithTheirObject) {
    TemporarySet set;
    pid_t processes[3];
    {
        const SetServices services = SetServices::Start(*set, set.ServiceOptions());
        processes[0] = services.BusProcess();
        processes[1] = services.PackageManagerProcess();
        processes[2] = services.AgentProcess();
        EXPECT_NE(getenv(kuraset::kPackageBusVariable), nullptr);
    }
    for (const pid_t process : processes) {
        EXPECT_GT(process, 0);
        EXPECT_EQ(kill(process, 0), -1);
        EXPECT_EQ(errno, ESRCH);
    }
    EXPECT_EQ(getenv(kuraset::kPackageBusVariable), nullptr);
}

TEST(Services, EndWithTheProcessThatStartedThem) {
    TemporarySet set;
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t host = fork();
    if (host == 0) {
        const SetServices services = SetServices::Start(*set, set.ServiceOptions());
        const pid_t process = services.AgentProcess();
        if (write(ends[1], &process, sizeof process) != sizeof process) {
            _exit(1);
        }
        kill(getpid(), SIGKILL);
    }
    close(ends[1]);
    pid_t agent = 0;
    ASSERT_EQ(read(ends[0], &agent, sizeof agent), static_cast<ssize_t>(sizeof agent));
    waitpid(host, nullptr, 0);
    EXPECT_TRUE(Eventually([&] {
        const std::string state = ReadText("/proc/" + std::to_string(agent) + "/stat");
        return state.empty() || state.find(") Z ") != std::string::npos;
    }));
}

TEST(Services, SayWhatDoesNotStart) {
    TemporarySet set;
    SetServices::Options options = set.ServiceOptions();
    options.programs = set->Path();
    try {
        SetServices::Start(*set, options);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const kuraset::SetError& error) {
        EXPECT_EQ(error.kind(), kuraset::SetError::Kind::Io);
        EXPECT_STREQ(error.what(), "kura-pkgmgrd: ended before it was ready");
    }
}

/// What getsize_sync answers: result and size, or the error.
struct SizeReply {
    int result = 0;
    long long size = 0;
    std::string type;
    std::optional<int> error;
};

SizeReply AskSize(const pkgmgr_client* client, const char* package, int kind, int timeoutMs = 5000) {
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(client->connection, "org.vesta.pkgmgr", "/org/vesta/pkgmgr",
                                                  "org.vesta.pkgmgr", "getsize_sync",
                                                  g_variant_new("(usi)", getuid(), package, kind), nullptr,
                                                  G_DBUS_CALL_FLAGS_NONE, timeoutMs, nullptr, &error);
    SizeReply answer;
    if (reply == nullptr) {
        answer.error = error->code;
        g_error_free(error);
        return answer;
    }
    answer.type = g_variant_get_type_string(reply);
    if (answer.type == "(ix)") {
        gint32 result = 0;
        gint64 size = 0;
        g_variant_get(reply, "(ix)", &result, &size);
        answer.result = result;
        answer.size = size;
    }
    g_variant_unref(reply);
    return answer;
}

struct PackagesOn {
    explicit PackagesOn(const json& description)
        : set(description), services(Start(set)), client(pkgmgr_client_new(PC_REQUEST)) {}
    ~PackagesOn() { pkgmgr_client_free(client); }

    static SetServices Start(TemporarySet& set) {
        SetServices::Options options = set.ServiceOptions();
        options.agent = false;
        return SetServices::Start(*set, options);
    }

    TemporarySet set;
    SetServices services;
    pkgmgr_client* client;
};

TEST(PackageManager, MeasuresRealFolders) {
    PackagesOn packages(OneApp());
    ASSERT_NE(packages.client, nullptr);
    EXPECT_EQ(packages.client->pc_type, PC_REQUEST);
    const SizeReply total = AskSize(packages.client, "a", PKGMGR_SIZE_TOTAL);
    EXPECT_EQ(total.result, 0);
    EXPECT_EQ(total.size, 5000 + 300 + 20);
    EXPECT_EQ(AskSize(packages.client, "a", PKGMGR_SIZE_DATA).size, 320);
    fs::resize_file(packages.set->FilesOpt() / "usr/apps/a/bin/a", 5000000000);
    EXPECT_EQ(AskSize(packages.client, "a", PKGMGR_SIZE_TOTAL).size, 5000000320);
    EXPECT_EQ(AskSize(packages.client, "stranger", PKGMGR_SIZE_TOTAL).result, -1);
    EXPECT_EQ(AskSize(packages.client, "a", 2).result, -1);
}

TEST(PackageManager, FailsAsTheFaultsSay) {
    PackagesOn packages(OneApp());
    ASSERT_NE(packages.client, nullptr);
    const auto describe = [&](const char* fault) { packages.set->Describe(With(OneApp(), fault)); };
    describe(R"({"faults": {"pkgmgr": "denied"}})");
    EXPECT_EQ(AskSize(packages.client, "a", 0).error, static_cast<int>(G_DBUS_ERROR_ACCESS_DENIED));
    describe(R"({"faults": {"pkgmgr": "wrong_type"}})");
    EXPECT_EQ(AskSize(packages.client, "a", 0).type, "(s)");
    describe(R"({"faults": {"pkgmgr": "silent"}})");
    EXPECT_EQ(AskSize(packages.client, "a", 0, 100).error, static_cast<int>(G_IO_ERROR_TIMED_OUT));
    describe(R"({"faults": {"pkgmgr": {"mode": "slow", "seconds": 1}}})");
    EXPECT_EQ(AskSize(packages.client, "a", 0, 100).error, static_cast<int>(G_IO_ERROR_TIMED_OUT));
    EXPECT_EQ(AskSize(packages.client, "a", 0, 10000).size, 5320);
    describe(R"({"faults": {"pkgmgr": {"result": -7, "size": -2}}})");
    EXPECT_EQ(AskSize(packages.client, "a", 0).result, -7);
    EXPECT_EQ(AskSize(packages.client, "a", 0).size, -2);
}

TEST(PackageManager, ClearsTheDataOfAnInstalledApp) {
    PackagesOn packages(OneApp());
    ASSERT_NE(packages.client, nullptr);
    const fs::path data = packages.set->FilesOpt() / "usr/home/owner/apps_rw/a/data";
    EXPECT_NE(pkgmgr_client_clear_user_data(packages.client, nullptr, "stranger", 1), 0);
    EXPECT_NE(pkgmgr_client_clear_user_data(nullptr, nullptr, "a", 1), 0);
    EXPECT_TRUE(fs::exists(data / "store"));
    EXPECT_EQ(pkgmgr_client_clear_user_data(packages.client, nullptr, "a", 1), 0);
    EXPECT_FALSE(fs::exists(data / "store"));
    EXPECT_TRUE(fs::is_directory(data));
    packages.set->Describe(With(OneApp(), R"({"faults": {"pkgmgr": {"clear_user_data": -9}}})"));
    EXPECT_EQ(pkgmgr_client_clear_user_data(packages.client, nullptr, "a", 1), -9);
}

TEST(PackageManager, HasNoClientWhenTheFaultsSaySo) {
    PackagesOn packages(json::parse(R"({"faults": {"pkgmgr": "absent"}})"));
    EXPECT_EQ(packages.client, nullptr);
    EXPECT_EQ(packages.services.BusProcess(), 0);
}

TEST(PackageManager, MayBeMissingOnItsBus) {
    PackagesOn packages(json::parse(R"({"faults": {"pkgmgr": "no_service"}})"));
    ASSERT_NE(packages.client, nullptr);
    EXPECT_EQ(AskSize(packages.client, "a", 0).error, static_cast<int>(G_DBUS_ERROR_SERVICE_UNKNOWN));
}

}  // namespace
