// The storage screens against a real agent process and a real package manager on a bus: figures equal to what
// the set's folders hold, worked out here from the folders.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "Kura.h"

namespace {

namespace fs = std::filesystem;
using command::Answer;
using command::Kura;
using nlohmann::json;

/// Apparent size of everything below folder, the way the package manager and the agent count: files' own
/// sizes.
std::int64_t FilesBelow(const fs::path& folder) {
    std::int64_t size = 0;
    std::error_code error;
    for (const auto& entry : fs::recursive_directory_iterator(folder, error)) {
        if (entry.is_regular_file()) {
            size += static_cast<std::int64_t>(entry.file_size());
        }
    }
    return size;
}

json AppOf(const json& apps, const std::string& id) {
    for (const json& app : apps) {
        if (app.at("app_id") == id) {
            return app;
        }
    }
    return nullptr;
}

TEST(Storage, FiguresAddUp) {
    const Kura kura;
    const json document = kura.Json({"storage"});
    EXPECT_EQ(document.at("opt").at("total"), document.at("opt").at("used").get<std::int64_t>() +
                                                  document.at("opt").at("remaining").get<std::int64_t>());
    EXPECT_EQ(document.at("flash").at("total"), 17179869184);
    EXPECT_EQ(document.at("flash").at("system_used"),
              17179869184 - document.at("opt").at("total").get<std::int64_t>());
}

TEST(Storage, ADeepCleanFreesWhatItDeletes) {
    const Kura kura;
    const json before = kura.Json({"storage"}).at("opt");
    EXPECT_EQ(before.at("total").get<std::int64_t>(), 8589934592);
    const std::int64_t files = FilesBelow(kura.Opt("usr/home/owner/.cache/Apps/WebAppsCache"));
    ASSERT_GT(files, 0);
    kura.Json({"clean"});
    const json after = kura.Json({"storage"}).at("opt");
    EXPECT_GE(before.at("used").get<std::int64_t>() - after.at("used").get<std::int64_t>(), files);
}

TEST(Storage, StateIsSentToTheStatistics) {
    const Kura kura;
    const json document = kura.Json({"state"});
    EXPECT_EQ(document.at("state"), 1);
    EXPECT_EQ(document.at("sid"), "TV_SID_VOICEASSISTANT_WEATHER_GOOD");
    EXPECT_NE(document.at("text"), document.at("sid"));
    const json events = kura.Json({"journal", "--kind", "event"}).at("entries");
    ASSERT_EQ(events.size(), 1U);
    EXPECT_THAT(events.at(0).at("description").get<std::string>(),
                testing::HasSubstr(";select_item=DeviceState;status=Good;"));
}

TEST(Storage, AppsAreListedWithTheirIconsBySize) {
    const Kura kura;
    const json document = kura.Json({"apps"});
    EXPECT_EQ(document.at("count"), 9);
    const json& apps = document.at("apps");
    ASSERT_EQ(apps.size(), 9U);
    for (std::size_t i = 1; i < apps.size(); ++i) {
        EXPECT_GE(apps.at(i - 1).at("total_size"), apps.at(i).at("total_size"));
    }
    for (const json& app : apps) {
        const std::string icon = app.at("icon_path");
        ASSERT_EQ(icon.rfind("/opt/", 0), 0U);
        EXPECT_TRUE(fs::exists(kura.Opt(icon.substr(5)))) << icon;
    }
    EXPECT_EQ(AppOf(apps, "org.vesta.weather-app").at("icon_path"),
              "/opt/usr/apps/org.vesta.weather/shared/res/icon.png");
}

TEST(Storage, SizesEqualTheFormulaFromTheFolders) {
    const Kura kura;
    const std::string package = "org.vesta.streambox";
    const fs::path own = kura.Opt("usr/home/owner/apps_rw/" + package);
    const std::int64_t data = FilesBelow(own / "data");
    const std::int64_t cache = FilesBelow(own / "cache");
    const json app = kura.Json({"app", package});
    EXPECT_EQ(app.at("data_size"), data);
    EXPECT_EQ(app.at("cache_size"), cache);
    // The package manager's total less its data leaves the program itself.
    const json fromList = AppOf(kura.Json({"apps"}).at("apps"), package);
    EXPECT_GE(fromList.at("total_size"), app.at("total_size"));
}

TEST(Storage, TwoHundredAppsAreAllMeasured) {
    const Kura kura;
    json description = kura.Description();
    json apps = json::array();
    for (int i = 0; i < 200; ++i) {
        const std::string id = "org.vesta.app" + std::to_string(i);
        apps.push_back(
            {{"title", "App " + std::to_string(i)},
             {"app_id", id},
             {"package_id", id},
             {"entry_id", "entry-" + std::to_string(i)},
             {"sizes", {{"app", 1000 + i}, {"data", 2000 + i}, {"cache", 3000 + i}, {"web_cache", 0}}},
             {"icons", {"304x304.png"}}});
    }
    description["apps"] = apps;
    kura.Describe(description);
    kura.Json({"set", "lay-out"});
    const json document = kura.Json({"apps"});
    EXPECT_EQ(document.at("count"), 200);
    std::map<std::string, std::int64_t> sizes;
    for (const json& app : document.at("apps")) {
        sizes[app.at("app_id")] = app.at("total_size");
    }
    for (int i = 0; i < 200; ++i) {
        const std::string id = "org.vesta.app" + std::to_string(i);
        const fs::path own = kura.Opt("usr/home/owner/apps_rw/" + id);
        const std::int64_t expected =
            FilesBelow(kura.Opt("usr/apps/" + id)) + FilesBelow(own / "data") + FilesBelow(own / "cache");
        EXPECT_EQ(sizes[id], expected) << id;
    }
}

TEST(Storage, WithoutTermsOnlyTwoAppsAreListed) {
    const Kura kura;
    kura.Json({"settings", "set", "db/menu/lobby/homedatacontrol/defaultdisclaimeragree", "0"});
    const json document = kura.Json({"apps"});
    EXPECT_EQ(document.at("count"), 2);
}

TEST(Storage, CleanUpRemovesRealFiles) {
    const Kura kura;
    const std::string package = "org.vesta.streambox";
    const fs::path own = kura.Opt("usr/home/owner/apps_rw/" + package);
    ASSERT_GT(FilesBelow(own / "cache"), 0);
    kura.Json({"clear-cache", package});
    EXPECT_EQ(FilesBelow(own / "cache"), 0);
    EXPECT_GT(FilesBelow(own / "data"), 0);
    kura.Json({"clear-data", package});
    EXPECT_EQ(FilesBelow(own / "data"), 0);
    const fs::path web = kura.Opt("usr/home/owner/.cache/Apps/WebAppsCache");
    kura.Json({"clean"});
    EXPECT_EQ(FilesBelow(web), 0);
    EXPECT_EQ(kura.Json({"boost"}).at("memory_boost"), "done");
    EXPECT_EQ(kura.Json({"kill", package}).at("agent").at("outcome"), "done");
}

TEST(Storage, ProtectedDataStays) {
    const Kura kura;
    const fs::path data = kura.Opt("usr/home/owner/apps_rw/9Ur5IzDKqV/data");
    const std::int64_t before = FilesBelow(data);
    EXPECT_EQ(kura.Run({"clear-data", "9Ur5IzDKqV", "--json"}).status, 1);
    EXPECT_EQ(FilesBelow(data), before);
}

TEST(Storage, AnAbsentPackageManagerIsExitCodeFour) {
    const Kura kura;
    json description = kura.Description();
    description["faults"]["pkgmgr"] = "absent";
    kura.Describe(description);
    EXPECT_EQ(kura.Run({"app", "org.vesta.streambox", "--json"}).status, 4);
    EXPECT_EQ(kura.Run({"apps", "--json"}).status, 4);
}

TEST(Storage, ADeniedPackageManagerLeavesTheTotalUnknown) {
    const Kura kura;
    json description = kura.Description();
    description["faults"]["pkgmgr"] = "denied";
    kura.Describe(description);
    const Answer app = kura.Run({"app", "org.vesta.streambox", "--json"});
    EXPECT_EQ(app.status, 1);
    EXPECT_EQ(app.Document().at("total_size"), nullptr);
    EXPECT_EQ(app.Document().at("data_size"), 14680064);
    EXPECT_EQ(app.Document().at("error").at("message"),
              "not every size could be measured: the package manager denied the question");
    EXPECT_THAT(kura.Run({"app", "org.vesta.streambox"}).out, testing::HasSubstr("total  unknown\n"));
    const Answer apps = kura.Run({"apps", "--json"});
    EXPECT_EQ(apps.status, 1);
    EXPECT_EQ(apps.Document().at("apps").size(), 9U);
    for (const json& listed : apps.Document().at("apps")) {
        EXPECT_EQ(listed.at("total_size"), nullptr) << listed;
    }
    EXPECT_THAT(kura.Run({"apps"}).out, testing::HasSubstr("unknown Streambox"));
    const json log = kura.Json({"log", "--function", "getAppSize"});
    ASSERT_FALSE(log.at("lines").empty());
    EXPECT_EQ(log.at("lines").at(0).at("message"), "request failed: -5");
}

TEST(Storage, AnAbsentAgentIsExitCodeFour) {
    const Kura kura;
    json description = kura.Description();
    description["faults"]["agent"] = "absent";
    kura.Describe(description);
    EXPECT_EQ(kura.Run({"boost", "--json"}).status, 4);
    const Answer clean = kura.Run({"clean", "--json"});
    EXPECT_EQ(clean.status, 4);
}

TEST(Storage, BadAgentAnswersLeaveTheSizesUnknown) {
    const Kura kura;
    for (const std::string mode : {"partial", "binary", "flood"}) {
        json description = kura.Description();
        description["faults"]["agent"] = mode;
        kura.Describe(description);
        const Answer app = kura.Run({"app", "org.vesta.streambox", "--json"});
        EXPECT_EQ(app.status, 4) << mode;
        EXPECT_EQ(app.Document().at("cache_size"), nullptr) << mode;
        const Answer apps = kura.Run({"apps", "--json"});
        EXPECT_EQ(apps.status, 4) << mode;
        EXPECT_EQ(AppOf(apps.Document().at("apps"), "org.vesta.streambox").at("total_size"), nullptr) << mode;
    }
}

TEST(Storage, UnknownNamesAreExitCodeThree) {
    const Kura kura;
    EXPECT_EQ(kura.Run({"app", "no.such.app", "--json"}).status, 3);
    EXPECT_EQ(kura.Run({"kill", "no.such.app", "--json"}).status, 3);
    EXPECT_EQ(kura.Run({"check", "nothing", "--json"}).status, 3);
}

TEST(Storage, ChecksAnswer) {
    const Kura kura;
    EXPECT_EQ(kura.Json({"check", "terms"}).at("result"), 1);
    EXPECT_EQ(kura.Json({"check", "network"}).at("result"), true);
    EXPECT_EQ(kura.Json({"check", "request-support"}).at("result"), true);
    EXPECT_EQ(kura.Json({"check", "8k"}).at("result"), false);
    EXPECT_EQ(kura.Json({"check", "model", "--model", "NV-K80"}).at("result"), true);
    EXPECT_EQ(kura.Json({"check", "model", "--model", "K80"}).at("result"), false);
    json description = kura.Description();
    description["panel"] = {{"width", 7680}, {"height", 4320}};
    description["network"]["connected"] = false;
    kura.Describe(description);
    EXPECT_EQ(kura.Json({"check", "8k"}).at("result"), true);
    EXPECT_EQ(kura.Json({"check", "network"}).at("result"), false);
}

}  // namespace
