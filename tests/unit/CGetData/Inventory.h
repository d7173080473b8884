// Makes installed applications: entries of the app-list service, icons on disk and answers of the agent.
#pragma once

#include <deque>
#include <filesystem>
#include <string>
#include <vector>

#include "Agent.h"
#include "Fakes.h"
#include "app_list.h"

/// Adds applications to the fake service; its texts live as long as it does.
class Inventory {
public:
    struct App {
        std::string title;
        std::string packageId;
        std::string appId;
        std::string entryId;
        std::string iconFolder;
    };

    /// An application with an icon of the usual size and an answer of the agent.
    was_app_entry& Add(const std::string& title, const std::string& answer = "20|7") {
        const std::string number = std::to_string(m_apps.size());
        App& app = m_apps.emplace_back();
        app.title = title;
        app.packageId = "package" + number;
        app.appId = "app" + number;
        app.entryId = "entry" + number;
        app.iconFolder = "/opt/icons/" + number + "/";
        std::filesystem::create_directories(app.iconFolder);
        agent::Write(app.iconFolder + "304x304.png", "icon");
        agent::Answer(app.appId, answer);
        std::vector<was_app_entry>& apps = fakes::Set().apps;
        apps.push_back({app.entryId.c_str(), app.title.c_str(), app.iconFolder.c_str(), app.appId.c_str(),
                        app.packageId.c_str(), 0, 0, 0, 0});
        fakes::Set().appCount = static_cast<int>(apps.size());
        return apps.back();
    }

private:
    std::deque<App> m_apps;
};
