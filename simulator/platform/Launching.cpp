// Application launching. No application is started: a request is journalled, and the set may refuse it.
#include "app_control.h"

#include <new>
#include <string>
#include <utility>
#include <vector>

#include "CurrentSet.h"

struct app_control_s {
    std::string operation;
    std::string appId;
    std::vector<std::pair<std::string, std::string>> extras;
};

namespace {

using kuraset::kFailed;

constexpr int kRefused = -2;

int Launch(const app_control_s& request) {
    kuraset::CurrentSet& set = kuraset::CurrentSet::Get();
    const bool refused = request.appId.empty() || set.Lists("/faults/launch", request.appId);
    const int result = refused ? kRefused : 0;

    kuraset::Entry extras = kuraset::Entry::array();
    for (const auto& [key, value] : request.extras) {
        extras.push_back({kuraset::Legible(key), kuraset::Legible(value)});
    }
    kuraset::Entry entry{{"kind", "launch"}, {"app", kuraset::Legible(request.appId)}};
    entry["operation"] = request.operation;
    entry["extras"] = extras;
    entry["result"] = result;
    set.NoteAndMaybeDie("app_control_send_launch_request:" + request.appId, entry);
    return result;
}

int Assign(std::string app_control_s::*member, app_control_h handle, const char* text) {
    if (handle == nullptr || text == nullptr) {
        return kFailed;
    }
    try {
        handle->*member = text;
        return 0;
    } catch (...) {
        return kFailed;
    }
}

}  // namespace

extern "C" {

int app_control_create(app_control_h* handle) {
    if (handle == nullptr) {
        return kFailed;
    }
    *handle = new (std::nothrow) app_control_s;
    return *handle == nullptr ? kFailed : 0;
}

int app_control_set_operation(app_control_h handle, const char* operation) {
    return Assign(&app_control_s::operation, handle, operation);
}

int app_control_set_app_id(app_control_h handle, const char* app_id) {
    return Assign(&app_control_s::appId, handle, app_id);
}

int app_control_add_extra_data(app_control_h handle, const char* key, const char* value) {
    if (handle == nullptr || key == nullptr || value == nullptr) {
        return kFailed;
    }
    try {
        handle->extras.emplace_back(key, value);
        return 0;
    } catch (...) {
        return kFailed;
    }
}

int app_control_send_launch_request(app_control_h handle, app_control_reply_cb, void*) {
    if (handle == nullptr) {
        return kFailed;
    }
    try {
        return Launch(*handle);
    } catch (...) {
        return kFailed;
    }
}

int app_control_destroy(app_control_h handle) {
    delete handle;
    return handle == nullptr ? kFailed : 0;
}
}
