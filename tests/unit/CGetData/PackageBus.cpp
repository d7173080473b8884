#include "PackageBus.h"

#include <dlfcn.h>

#include <stdexcept>
#include <utility>

#include "Fakes.h"

namespace {

/// What GLib takes for a mistake in the program ends the test.
[[maybe_unused]] const GLogLevelFlags kFatalBefore = g_log_set_always_fatal(
    static_cast<GLogLevelFlags>(static_cast<int>(G_LOG_FATAL_MASK) | static_cast<int>(G_LOG_LEVEL_CRITICAL)));

constexpr const char* kName = "org.vesta.pkgmgr";

std::atomic<int> g_defaultTimeout{0};
/// Proxies through which a call was made and that still live.
std::atomic<int> g_proxies{0};

void NoteProxy(GDBusProxy* proxy) {
    ++g_proxies;
    g_object_weak_ref(
        G_OBJECT(proxy), [](gpointer, GObject*) { --g_proxies; }, nullptr);
}

GDBusConnection* Connect(GTestDBus* bus) {
    const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                         G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    GError* error = nullptr;
    GDBusConnection* connection = g_dbus_connection_new_for_address_sync(g_test_dbus_get_bus_address(bus),
                                                                         flags, nullptr, nullptr, &error);
    if (connection == nullptr) {
        const std::string text = error->message;
        g_error_free(error);
        throw std::runtime_error(text);
    }
    return connection;
}

SizeCall Describe(GDBusMessage* message) {
    SizeCall call;
    call.path = g_dbus_message_get_path(message);
    call.interface = g_dbus_message_get_interface(message);
    call.member = g_dbus_message_get_member(message);
    GVariant* body = g_dbus_message_get_body(message);
    if (body == nullptr) {
        return call;
    }
    call.signature = g_variant_get_type_string(body);
    if (call.signature == "(usi)") {
        const char* packageId = nullptr;
        guint32 user = 0;
        gint32 type = 0;
        g_variant_get(body, "(u&si)", &user, &packageId, &type);
        call.user = user;
        call.packageId = packageId;
        call.type = type;
    }
    return call;
}

}  // namespace

/// Stands in front of GIO's.
extern "C" GVariant* g_dbus_proxy_call_sync(GDBusProxy* proxy, const gchar* method, GVariant* parameters,
                                            GDBusCallFlags flags, gint timeout, GCancellable* cancellable,
                                            GError** error) {
    static auto* const next =
        reinterpret_cast<decltype(&g_dbus_proxy_call_sync)>(dlsym(RTLD_NEXT, "g_dbus_proxy_call_sync"));
    NoteProxy(proxy);
    const bool shorten = timeout == -1 && g_defaultTimeout != 0;
    return next(proxy, method, parameters, flags, shorten ? g_defaultTimeout.load() : timeout, cancellable,
                error);
}

void PackageBus::ShortenDefaultTimeout(int milliseconds) {
    g_defaultTimeout = milliseconds;
}

PackageBus::PackageBus() : m_bus(g_test_dbus_new(G_TEST_DBUS_NONE)) {
    g_test_dbus_up(m_bus);
    m_client = Connect(m_bus);
}

PackageBus::~PackageBus() {
    CloseClient();
    if (m_server != nullptr) {
        g_dbus_connection_close_sync(m_server, nullptr, nullptr);
        g_object_unref(m_server);
    }
    g_object_unref(m_client);
    g_test_dbus_down(m_bus);
    g_object_unref(m_bus);
}

void PackageBus::Serve(Service service) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_service = std::move(service);
    }
    if (m_server != nullptr) {
        return;
    }
    m_server = Connect(m_bus);
    g_dbus_connection_add_filter(m_server, &PackageBus::Filter, this, nullptr);
    constexpr guint32 kDoNotQueue = 4;
    GVariant* reply = g_dbus_connection_call_sync(
        m_server, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
        g_variant_new("(su)", kName, kDoNotQueue), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    if (reply == nullptr) {
        throw std::runtime_error("no name on the bus");
    }
    g_variant_unref(reply);
}

void PackageBus::ServeSizes(int code, gint64 total, gint64 data) {
    Serve([=](GDBusMessage* message, const SizeCall& call) {
        return Reply(message, g_variant_new("(ix)", code, call.type == PKGMGR_SIZE_TOTAL ? total : data));
    });
}

bool PackageBus::HasProxy() {
    return g_proxies != 0;
}

void PackageBus::LeaveBus() {
    g_dbus_connection_close(m_server, nullptr, nullptr, nullptr);
}

void PackageBus::CloseClient() {
    g_dbus_connection_close_sync(m_client, nullptr, nullptr);
}

std::vector<SizeCall> PackageBus::Calls() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
}

GDBusMessage* PackageBus::Reply(GDBusMessage* message, GVariant* body) {
    GDBusMessage* reply = g_dbus_message_new_method_reply(message);
    g_dbus_message_set_body(reply, body);
    return reply;
}

GDBusMessage* PackageBus::Error(GDBusMessage* message, const char* name) {
    return g_dbus_message_new_method_error_literal(message, name, "refused");
}

GDBusMessage* PackageBus::Filter(GDBusConnection* connection, GDBusMessage* message, gboolean incoming,
                                 gpointer self) {
    if (incoming == FALSE || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL) {
        return message;
    }
    GDBusMessage* reply = static_cast<PackageBus*>(self)->Answer(message);
    if (reply != nullptr) {
        g_dbus_connection_send_message(connection, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
        g_object_unref(reply);
    }
    g_object_unref(message);
    return nullptr;
}

GDBusMessage* PackageBus::Answer(GDBusMessage* message) {
    const SizeCall call = Describe(message);
    ++m_callCount;
    Service service;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (fakes::Set().keepRecords) {
            m_calls.push_back(call);
        }
        service = m_service;
    }
    return service(message, call);
}
