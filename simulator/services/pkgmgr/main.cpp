// kura-pkgmgrd: the package manager's service on the private bus that KURA_PKGMGR_BUS names. It measures the
// folders of the set's applications. The set's faults make it deny, delay, leave out or garble the answer.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>

#include <gio/gio.h>

#include "services/ServiceArguments.h"
#include "set/AppFolders.h"
#include "set/Journal.h"
#include "set/KuraSet.h"

namespace {

using kuraset::Entry;
using kuraset::json;

constexpr const char* kName = "org.vesta.pkgmgr";
constexpr const char* kObject = "/org/vesta/pkgmgr";
constexpr const char* kDescription =
    "<node><interface name='org.vesta.pkgmgr'><method name='getsize_sync'>"
    "<arg type='u' name='user' direction='in'/><arg type='s' name='package' direction='in'/>"
    "<arg type='i' name='kind' direction='in'/>"
    "<arg type='i' name='result' direction='out'/><arg type='x' name='size' direction='out'/>"
    "</method></interface></node>";

constexpr int kTotal = 0;
constexpr int kData = 1;
constexpr int kUnknownPackage = -1;

class Service {
public:
    Service(const kuraset::SetDirectory& set, const std::filesystem::path& opt)
        : m_set(set), m_opt(opt), m_folders(opt), m_journal(set.JournalPath()) {}

    void Handle(GDBusMethodInvocation* invocation, GVariant* parameters);

private:
    struct Answer {
        int result = 0;
        std::int64_t size = 0;
    };
    struct Pending {
        GDBusMethodInvocation* invocation;
        Answer answer;
    };

    Answer Measure(const json& description, const std::string& package, int kind) const;
    static void Reply(GDBusMethodInvocation* invocation, const Answer& answer);
    static void ReplyWrongType(GDBusMethodInvocation* invocation);

    const kuraset::SetDirectory m_set;
    const std::filesystem::path m_opt;
    const kuraset::AppFolders m_folders;
    kuraset::JournalWriter m_journal;
};

json FaultOf(const json& description) {
    const json fault = description.value("faults", json::object()).value("pkgmgr", json::object());
    return fault.is_string() ? json{{"mode", fault}} : fault;
}

Service::Answer Service::Measure(const json& description, const std::string& package, int kind) const {
    bool installed = false;
    for (const json& app : description.value("apps", json::array())) {
        installed = installed || app.value("package_id", "") == package;
    }
    if (!installed || !kuraset::IsPlainName(package) || (kind != kTotal && kind != kData)) {
        return {kUnknownPackage, 0};
    }
    if (kind == kData) {
        return {0, kuraset::FolderSize(m_opt, m_folders.Data(package)) +
                       kuraset::FolderSize(m_opt, m_folders.Cache(package))};
    }
    return {0, kuraset::FolderSize(m_opt, m_folders.Program(package)) +
                   kuraset::FolderSize(m_opt, m_folders.Owned(package))};
}

void Service::Reply(GDBusMethodInvocation* invocation, const Answer& answer) {
    g_dbus_method_invocation_return_value(
        invocation,
        g_variant_new("(ix)", static_cast<gint32>(answer.result), static_cast<gint64>(answer.size)));
}

/// Sends a raw message, because GIO's reply function would turn a wrong type into an error.
void Service::ReplyWrongType(GDBusMethodInvocation* invocation) {
    GDBusMessage* reply = g_dbus_message_new_method_reply(g_dbus_method_invocation_get_message(invocation));
    g_dbus_message_set_body(reply, g_variant_new("(s)", "a text where two numbers belong"));
    g_dbus_connection_send_message(g_dbus_method_invocation_get_connection(invocation), reply,
                                   G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(reply);
    g_object_unref(invocation);
}

void Service::Handle(GDBusMethodInvocation* invocation, GVariant* parameters) {
    guint32 user = 0;
    const gchar* package = nullptr;
    gint32 kind = 0;
    g_variant_get(parameters, "(u&si)", &user, &package, &kind);

    const json description = m_set.Description();
    const json fault = FaultOf(description);
    const std::string mode = fault.value("mode", "");
    Answer answer = Measure(description, package, kind);
    answer.result = fault.value("result", answer.result);
    answer.size = fault.value("size", answer.size);

    Entry entry{{"kind", "package"}, {"op", "getsize_sync"}};
    entry["package"] = kuraset::Legible(package);
    entry["type"] = kind;
    entry["result"] = answer.result;
    entry["size"] = answer.size;
    if (!mode.empty()) {
        entry["fault"] = mode;
    }
    m_journal.Append(entry);

    if (mode == "denied") {
        g_dbus_method_invocation_return_error_literal(invocation, G_DBUS_ERROR, G_DBUS_ERROR_ACCESS_DENIED,
                                                      "denied");
    } else if (mode == "wrong_type") {
        ReplyWrongType(invocation);
    } else if (mode == "slow") {
        const auto later = [](gpointer data) -> gboolean {
            const std::unique_ptr<Pending> pending(static_cast<Pending*>(data));
            Reply(pending->invocation, pending->answer);
            return G_SOURCE_REMOVE;
        };
        g_timeout_add_seconds(static_cast<guint>(fault.value("seconds", 1)), later,
                              new Pending{invocation, answer});
    } else if (mode == "silent") {
        g_object_unref(invocation);
    } else {
        Reply(invocation, answer);
    }
}

/// Answers a call. An exception becomes a reply and never reaches GLib's frames.
void OnCall(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant* parameters,
            GDBusMethodInvocation* invocation, gpointer service) {
    try {
        static_cast<Service*>(service)->Handle(invocation, parameters);
    } catch (const std::exception& error) {
        g_dbus_method_invocation_return_error(invocation, G_DBUS_ERROR, G_DBUS_ERROR_FAILED, "%s",
                                              error.what());
    }
}

struct Context {
    kuraset::ServiceArguments arguments;
    GMainLoop* loop = nullptr;
    bool failed = false;

    void Fail(const char* why) {
        std::fprintf(stderr, "kura-pkgmgrd: %s\n", why);
        failed = true;
        g_main_loop_quit(loop);
    }
};

void OnNameAcquired(GDBusConnection*, const gchar*, gpointer context) {
    static_cast<Context*>(context)->arguments.Ready();
}

void OnNameLost(GDBusConnection*, const gchar*, gpointer context) {
    static_cast<Context*>(context)->Fail("the name is taken or the bus went away");
}

bool Serve(Context& context, Service& service) {
    const char* address = std::getenv(kuraset::kPackageBusVariable);
    GError* error = nullptr;
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(kDescription, &error);
    GDBusConnection* connection =
        node == nullptr || address == nullptr
            ? nullptr
            : g_dbus_connection_new_for_address_sync(
                  address,
                  static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                    G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
                  nullptr, nullptr, &error);
    static const GDBusInterfaceVTable kTable = {OnCall, nullptr, nullptr, {nullptr}};
    const bool registered =
        connection != nullptr && g_dbus_connection_register_object(connection, kObject, node->interfaces[0],
                                                                   &kTable, &service, nullptr, &error) != 0;
    if (!registered) {
        std::fprintf(stderr, "kura-pkgmgrd: %s\n",
                     error != nullptr ? error->message : "KURA_PKGMGR_BUS names no bus");
    } else {
        g_bus_own_name_on_connection(connection, kName, G_BUS_NAME_OWNER_FLAGS_DO_NOT_QUEUE, OnNameAcquired,
                                     OnNameLost, &context, nullptr);
        g_main_loop_run(context.loop);
    }
    g_clear_error(&error);
    g_clear_object(&connection);
    g_clear_pointer(&node, g_dbus_node_info_unref);
    return registered && !context.failed;
}

}  // namespace

int main(int count, char** values) {
    Context context;
    if (!context.arguments.Parse(count, values)) {
        return 64;
    }
    try {
        Service service(kuraset::SetDirectory::Open(context.arguments.set), context.arguments.opt);
        context.loop = g_main_loop_new(nullptr, FALSE);
        const bool served = Serve(context, service);
        g_main_loop_unref(context.loop);
        return served ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kura-pkgmgrd: %s\n", error.what());
        return 1;
    }
}
