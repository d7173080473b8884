// The set's C services: settings keys, launches, package manager, facts, network, picture, installed apps.
#include <cstring>

#include "Fakes.h"
#include "Recorder.h"
#include "app_control.h"
#include "app_list.h"
#include "connection.h"
#include "picture_api.h"
#include "pkgmgr_client.h"
#include "system_info.h"
#include "vconf.h"

using fakes::AnswerLock;
using fakes::Enter;
using fakes::Set;

struct app_control_s {
    fakes::Launch launch;
};

namespace {

/// A copy that the caller frees, as the set's functions hand out.
char* Duplicate(const std::string& text) {
    return strdup(text.c_str());
}

int WriteInt(const char* key, int value) {
    const AnswerLock lock;
    if (Set().refusedKeys.count(key) != 0) {
        return -1;
    }
    Set().intKeys[key] = value;
    return 0;
}

}  // namespace

extern "C" {

int vconf_get_int(const char* key, int* value) {
    Enter("vconf_get_int", key);
    const AnswerLock lock;
    const auto entry = Set().intKeys.find(key);
    if (Set().refusedKeys.count(key) != 0 || entry == Set().intKeys.end()) {
        return -1;
    }
    *value = entry->second;
    return 0;
}

char* vconf_get_str(const char* key) {
    Enter("vconf_get_str", key);
    const AnswerLock lock;
    const auto entry = Set().stringKeys.find(key);
    if (Set().refusedKeys.count(key) != 0 || entry == Set().stringKeys.end()) {
        return nullptr;
    }
    return Duplicate(entry->second);
}

int vconf_set_int(const char* key, int value) {
    Enter("vconf_set_int", key, value);
    return WriteInt(key, value);
}

int vconf_set_bool(const char* key, int value) {
    Enter("vconf_set_bool", key, value);
    return WriteInt(key, value);
}

int vconf_set_str(const char* key, const char* value) {
    Enter("vconf_set_str", key, value);
    const AnswerLock lock;
    if (Set().refusedKeys.count(key) != 0) {
        return -1;
    }
    Set().stringKeys[key] = value;
    return 0;
}

int app_control_create(app_control_h* handle) {
    Enter("app_control_create");
    const AnswerLock lock;
    if (Set().createAppControlResult != 0) {
        return Set().createAppControlResult;
    }
    *handle = new app_control_s;
    ++Set().liveAppControls;
    return 0;
}

int app_control_set_operation(app_control_h handle, const char* operation) {
    Enter("app_control_set_operation", operation);
    if (handle == nullptr) {
        return -1;
    }
    handle->launch.operation = operation;
    return 0;
}

int app_control_set_app_id(app_control_h handle, const char* app_id) {
    Enter("app_control_set_app_id", app_id);
    if (handle == nullptr) {
        return -1;
    }
    handle->launch.appId = app_id;
    return 0;
}

int app_control_add_extra_data(app_control_h handle, const char* key, const char* value) {
    Enter("app_control_add_extra_data", key, value);
    if (handle == nullptr) {
        return -1;
    }
    handle->launch.extras.emplace_back(key, value);
    return 0;
}

int app_control_send_launch_request(app_control_h handle, app_control_reply_cb callback, void*) {
    Enter("app_control_send_launch_request", handle == nullptr ? "(null)" : handle->launch.appId);
    if (handle == nullptr) {
        return -1;
    }
    const AnswerLock lock;
    if (Set().keepRecords) {
        Set().launches.push_back(handle->launch);
        Set().launches.back().hadCallback = callback != nullptr;
    }
    return Set().launchResult;
}

int app_control_destroy(app_control_h handle) {
    Enter("app_control_destroy");
    if (handle == nullptr) {
        return -1;
    }
    const AnswerLock lock;
    delete handle;
    --Set().liveAppControls;
    return 0;
}

pkgmgr_client* pkgmgr_client_new(pkgmgr_client_type type) {
    Enter("pkgmgr_client_new", type);
    const AnswerLock lock;
    if (!Set().pkgmgrClientAvailable) {
        return nullptr;
    }
    ++Set().livePkgmgrClients;
    return new pkgmgr_client{type, static_cast<GDBusConnection*>(Set().pkgmgrConnection)};
}

int pkgmgr_client_free(pkgmgr_client* client) {
    Enter("pkgmgr_client_free");
    if (client == nullptr) {
        return -1;
    }
    const AnswerLock lock;
    delete client;
    --Set().livePkgmgrClients;
    return 0;
}

int pkgmgr_client_clear_user_data(pkgmgr_client* client, const char* package_type, const char* package_name,
                                  int mode) {
    Enter("pkgmgr_client_clear_user_data", package_type == nullptr ? "NULL" : package_type, package_name,
          mode);
    const AnswerLock lock;
    return client == nullptr ? -1 : Set().clearUserDataResult;
}

int system_info_get_value_string(int key, char** value) {
    Enter("system_info_get_value_string", key);
    const AnswerLock lock;
    if (Set().nullValueStrings.count(key) != 0) {
        *value = nullptr;
        return 0;
    }
    const auto entry = Set().valueStrings.find(key);
    if (entry == Set().valueStrings.end()) {
        return -1;
    }
    *value = Duplicate(entry->second);
    return 0;
}

int system_info_get_custom_int(const char* key, int* value) {
    Enter("system_info_get_custom_int", key);
    const AnswerLock lock;
    const auto entry = Set().customInts.find(key);
    if (entry == Set().customInts.end()) {
        return -1;
    }
    *value = entry->second;
    return 0;
}

int system_info_get_custom_bool(const char* key, bool* value) {
    Enter("system_info_get_custom_bool", key);
    const AnswerLock lock;
    const auto entry = Set().customBools.find(key);
    if (entry == Set().customBools.end()) {
        return -1;
    }
    *value = entry->second;
    return 0;
}

int connection_create(connection_h* handle) {
    Enter("connection_create");
    const AnswerLock lock;
    if (Set().createConnectionResult != 0) {
        return Set().createConnectionResult;
    }
    *handle = new char;
    ++Set().liveConnections;
    return 0;
}

int connection_profile_check_default_gateway(bool* connected) {
    Enter("connection_profile_check_default_gateway");
    const AnswerLock lock;
    if (Set().checkGatewayResult != 0) {
        return Set().checkGatewayResult;
    }
    *connected = Set().gatewayConnected;
    return 0;
}

int connection_destroy(connection_h handle) {
    Enter("connection_destroy");
    if (handle == nullptr) {
        return -1;
    }
    const AnswerLock lock;
    delete static_cast<char*>(handle);
    --Set().liveConnections;
    return 0;
}

int pixo_reset_picture(int mode) {
    Enter("pixo_reset_picture", mode);
    const AnswerLock lock;
    return Set().resetPictureResult;
}

int was_get_app_count(void) {
    Enter("was_get_app_count");
    const AnswerLock lock;
    return Set().appCount;
}

int was_get_app_list(int kind, was_app_entry** list, int* count) {
    Enter("was_get_app_list", kind);
    const AnswerLock lock;
    if (Set().appListResult != 0) {
        return Set().appListResult;
    }
    *list = Set().apps.data();
    *count = static_cast<int>(Set().apps.size());
    return 0;
}

}  // extern "C"
