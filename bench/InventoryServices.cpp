#include "InventoryServices.h"

#include <glib-unix.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <stdexcept>
#include <string>
#include <utility>

namespace bench {

namespace {

constexpr const char* kName = "org.vesta.pkgmgr";
constexpr const char* kPath = "/org/vesta/pkgmgr";
constexpr const char* kDescription =
    "<node><interface name='org.vesta.pkgmgr'><method name='getsize_sync'>"
    "<arg type='u' direction='in'/><arg type='s' direction='in'/><arg type='i' direction='in'/>"
    "<arg type='i' direction='out'/><arg type='x' direction='out'/></method></interface></node>";

constexpr const char* kRequests = "/tmp/vardo/req";
constexpr const char* kAcks = "/tmp/vardo/ack";
constexpr const char* kSizeRequest = "calcAppDataCacheSize_";
constexpr const char* kSizeAnswer = "appDataCacheSize_";

using Task = std::function<void()>;

gboolean RunTask(gpointer data) {
    (*static_cast<Task*>(data))();
    return G_SOURCE_REMOVE;
}

/// Runs the task on the thread whose context this is, once the time is over.
void RunLater(GMainContext* context, std::chrono::milliseconds time, Task task) {
    GSource* timer = g_timeout_source_new(static_cast<guint>(time.count()));
    g_source_set_callback(timer, RunTask, new Task(std::move(task)),
                          [](gpointer data) { delete static_cast<Task*>(data); });
    g_source_attach(timer, context);
    g_source_unref(timer);
}

void OnSizeCall(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*,
                GVariant* parameters, GDBusMethodInvocation* invocation, gpointer) {
    guint32 user = 0;
    const gchar* package = nullptr;
    gint32 type = 0;
    g_variant_get(parameters, "(u&si)", &user, &package, &type);
    const gint64 size = type == 0 ? kPackageTotal : kPackageData;
    RunLater(g_main_context_get_thread_default(), kPackageManagerTime, [invocation, size] {
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(ix)", 0, size));
    });
}

void Answer(const std::string& app) {
    std::ofstream(std::string("/tmp/vardo/") + kSizeAnswer + app) << kAgentData << '|' << kAgentCache;
    std::ofstream(std::string(kAcks) + '/' + kSizeAnswer + app).flush();
    unlink((std::string(kRequests) + '/' + kSizeRequest + app).c_str());
}

gboolean OnRequests(gint fd, GIOCondition, gpointer) {
    alignas(inotify_event) std::array<char, 16384> events{};
    const ssize_t length = read(fd, events.data(), events.size());
    for (ssize_t at = 0; at < length;) {
        inotify_event event{};
        std::memcpy(&event, events.data() + at, sizeof event);
        const std::string name = event.len > 0 ? events.data() + at + sizeof event : "";
        if (name.rfind(kSizeRequest, 0) == 0) {
            RunLater(g_main_context_get_thread_default(), kAgentTime,
                     [app = name.substr(std::strlen(kSizeRequest))] { Answer(app); });
        }
        at += static_cast<ssize_t>(sizeof event + event.len);
    }
    return G_SOURCE_CONTINUE;
}

[[noreturn]] void Fail(const char* what, GError* error) {
    const std::string text = std::string(what) + ": " + (error == nullptr ? "?" : error->message);
    g_clear_error(&error);
    throw std::runtime_error(text);
}

GDBusConnection* Connect(GTestDBus* bus) {
    constexpr auto kFlags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    GError* error = nullptr;
    GDBusConnection* connection = g_dbus_connection_new_for_address_sync(g_test_dbus_get_bus_address(bus),
                                                                         kFlags, nullptr, nullptr, &error);
    if (connection == nullptr) {
        Fail("bus", error);
    }
    return connection;
}

/// Its calls arrive on the thread that starts it.
GDBusConnection* StartPackageManager(GTestDBus* bus) {
    static const GDBusInterfaceVTable table = {OnSizeCall, nullptr, nullptr, {}};
    GDBusConnection* connection = Connect(bus);
    GError* error = nullptr;
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(kDescription, &error);
    const bool registered =
        node != nullptr && g_dbus_connection_register_object(connection, kPath, node->interfaces[0], &table,
                                                             nullptr, nullptr, &error) != 0;
    GVariant* named = nullptr;
    if (registered) {
        named = g_dbus_connection_call_sync(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                            "org.freedesktop.DBus", "RequestName",
                                            g_variant_new("(su)", kName, 0U), nullptr, G_DBUS_CALL_FLAGS_NONE,
                                            -1, nullptr, &error);
    }
    if (named == nullptr) {
        Fail("package manager", error);
    }
    g_variant_unref(named);
    g_dbus_node_info_unref(node);
    return connection;
}

/// The descriptor on which its requests arrive.
int StartAgent(GMainContext* context) {
    std::filesystem::create_directories(kRequests);
    std::filesystem::create_directories(kAcks);
    const int requests = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (requests < 0 || inotify_add_watch(requests, kRequests, IN_CLOSE_WRITE) < 0) {
        throw std::runtime_error("agent: no inotify");
    }
    GSource* source = g_unix_fd_source_new(requests, G_IO_IN);
    g_source_set_callback(source, G_SOURCE_FUNC(OnRequests), nullptr, nullptr);
    g_source_attach(source, context);
    g_source_unref(source);
    return requests;
}

}  // namespace

InventoryServices::InventoryServices()
    : m_bus(g_test_dbus_new(G_TEST_DBUS_NONE)),
      m_context(g_main_context_new()),
      m_loop(g_main_loop_new(m_context, FALSE)) {
    g_test_dbus_up(m_bus);
    std::promise<void> ready;
    std::future<void> started = ready.get_future();
    m_thread = std::thread([this, given = std::move(ready)]() mutable { Serve(std::move(given)); });
    try {
        started.get();
        m_clients = Connect(m_bus);
    } catch (const std::exception&) {
        g_main_loop_quit(m_loop);
        m_thread.join();
        g_test_dbus_down(m_bus);
        throw;
    }
}

InventoryServices::~InventoryServices() {
    g_main_loop_quit(m_loop);
    m_thread.join();
    g_object_unref(m_clients);
    g_test_dbus_down(m_bus);
    g_object_unref(m_bus);
    g_main_loop_unref(m_loop);
    g_main_context_unref(m_context);
}

void InventoryServices::Serve(std::promise<void> ready) {
    g_main_context_push_thread_default(m_context);
    GDBusConnection* connection = nullptr;
    int requests = -1;
    try {
        requests = StartAgent(m_context);
        connection = StartPackageManager(m_bus);
        ready.set_value();
        g_main_loop_run(m_loop);
    } catch (const std::exception&) {
        ready.set_exception(std::current_exception());
    }
    g_clear_object(&connection);
    close(requests);
    g_main_context_pop_thread_default(m_context);
}

}  // namespace bench
