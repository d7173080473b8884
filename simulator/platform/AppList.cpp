// The installed web-app service: the apps of set.json in their order.
#include "app_list.h"

#include <mutex>
#include <string>
#include <vector>

#include "CurrentSet.h"
#include "set/AppFolders.h"

namespace {

using kuraset::CurrentSet;
using kuraset::Entry;
using kuraset::json;
using kuraset::kFailed;

/// The list that was handed out last, with the texts to which its entries point.
struct HandedOut {
    std::vector<std::vector<std::string>> texts;
    std::vector<was_app_entry> entries;
};

std::mutex& ListMutex() {
    static std::mutex* const mutex = new std::mutex;
    return *mutex;
}

/// Guarded by ListMutex.
HandedOut& List() {
    static HandedOut* const list = new HandedOut;
    return *list;
}

void Fill(const json& apps, HandedOut& list) {
    for (const json& app : apps) {
        const std::string package = app.value("package_id", "");
        list.texts.push_back({app.value("entry_id", app.value("app_id", "")), app.value("title", ""),
                              app.value("icon_dir", kuraset::DefaultIconFolder(package)),
                              app.value("app_id", ""), package});
        const std::vector<std::string>& texts = list.texts.back();
        list.entries.push_back({texts[0].c_str(), texts[1].c_str(), texts[2].c_str(), texts[3].c_str(),
                                texts[4].c_str(), app.value("skip", 0), app.value("attribute1", 0),
                                app.value("attribute2", 0), app.value("attribute3", 0)});
    }
}

void NoteList(const char* function, std::size_t count, int result) {
    Entry entry{{"kind", "apps"}, {"op", function}};
    entry["count"] = count;
    entry["result"] = result;
    CurrentSet::Get().NoteAndMaybeDie(function, entry);
}

}  // namespace

extern "C" {

int was_get_app_count(void) {
    try {
        const std::size_t count = CurrentSet::Get().Description()->value("apps", json::array()).size();
        NoteList(__func__, count, 0);
        return static_cast<int>(count);
    } catch (...) {
        return 0;
    }
}

int was_get_app_list(int, was_app_entry** list, int* count) {
    if (list == nullptr || count == nullptr) {
        return kFailed;
    }
    try {
        CurrentSet& set = CurrentSet::Get();
        const int result = set.Number("/faults/apps", 0);
        if (result == 0) {
            const std::lock_guard<std::mutex> lock(ListMutex());
            List() = HandedOut();
            Fill(set.Description()->value("apps", json::array()), List());
            *list = List().entries.data();
            *count = static_cast<int>(List().entries.size());
        }
        NoteList(__func__, result == 0 ? static_cast<std::size_t>(*count) : 0, result);
        return result;
    } catch (...) {
        return kFailed;
    }
}
}
