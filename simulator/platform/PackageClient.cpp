// The package manager's client. Each client has its own connection to the private bus and can clear an
// application's data.
#include "pkgmgr_client.h"

#include <cstdlib>
#include <string>

#include "CurrentSet.h"
#include "set/AppFolders.h"

namespace {

using kuraset::CurrentSet;
using kuraset::Entry;
using kuraset::json;
using kuraset::kFailed;

int Finish(const char* function, const std::string& detail, Entry entry, int result) {
    Entry whole{{"kind", "package"}, {"op", function}};
    whole.update(entry);
    whole["result"] = result;
    CurrentSet::Get().NoteAndMaybeDie(detail.empty() ? function : std::string(function) + ":" + detail,
                                      whole);
    return result;
}

bool DeclaredAbsent() {
    CurrentSet& set = CurrentSet::Get();
    return set.Read<std::string>("/faults/pkgmgr", "") == "absent" ||
           set.Read<std::string>("/faults/pkgmgr/mode", "") == "absent";
}

GDBusConnection* Connect(std::string& failure) {
    const char* address = std::getenv(kuraset::kPackageBusVariable);
    if (DeclaredAbsent() || address == nullptr || *address == '\0') {
        failure = DeclaredAbsent() ? "the package manager is absent" : "no bus";
        return nullptr;
    }
    GError* error = nullptr;
    const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                         G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    GDBusConnection* connection =
        g_dbus_connection_new_for_address_sync(address, flags, nullptr, nullptr, &error);
    if (error != nullptr) {
        failure = error->message;
        g_error_free(error);
    }
    return connection;
}

bool IsInstalled(const std::string& package) {
    for (const json& app : CurrentSet::Get().Description()->value("apps", json::array())) {
        if (app.value("package_id", "") == package) {
            return true;
        }
    }
    return false;
}

int ClearUserData(const std::string& package, Entry& entry) {
    CurrentSet& set = CurrentSet::Get();
    const int fault = set.Number("/faults/pkgmgr/clear_user_data", 0);
    if (fault != 0) {
        return fault;
    }
    if (set.Directory() == nullptr || !kuraset::IsPlainName(package) || !IsInstalled(package)) {
        return kFailed;
    }
    const std::filesystem::path opt = set.Directory()->FilesOpt();
    const kuraset::Removal removal = kuraset::EmptyFolder(opt, kuraset::AppFolders(opt).Data(package));
    entry["bytes"] = removal.bytes;
    entry["entries"] = removal.entries;
    return removal.failures == 0 ? 0 : kFailed;
}

}  // namespace

extern "C" {

pkgmgr_client* pkgmgr_client_new(pkgmgr_client_type type) {
    try {
        std::string failure;
        GDBusConnection* connection = Connect(failure);
        Entry entry{{"type", static_cast<int>(type)}};
        if (connection == nullptr) {
            entry["failure"] = kuraset::Legible(failure);
            Finish(__func__, "", entry, kFailed);
            return nullptr;
        }
        Finish(__func__, "", entry, 0);
        return new pkgmgr_client{type, connection};
    } catch (...) {
        return nullptr;
    }
}

int pkgmgr_client_free(pkgmgr_client* client) {
    if (client == nullptr) {
        return kFailed;
    }
    if (client->connection != nullptr) {
        g_dbus_connection_close_sync(client->connection, nullptr, nullptr);
        g_object_unref(client->connection);
    }
    delete client;
    return Finish(__func__, "", Entry::object(), 0);
}

int pkgmgr_client_clear_user_data(pkgmgr_client* client, const char* package_type, const char* package_name,
                                  int mode) {
    try {
        const std::string package = kuraset::TextOrEmpty(package_name);
        Entry entry{{"package", kuraset::Legible(package)}, {"mode", mode}};
        entry["package_type"] = package_type == nullptr ? Entry() : Entry(kuraset::Legible(package_type));
        const int result = client == nullptr ? kFailed : ClearUserData(package, entry);
        return Finish(__func__, package, entry, result);
    } catch (...) {
        return kFailed;
    }
}
}
