// Asks the package manager for sizes over D-Bus. It may be starting or busy, so a call is tried several
// times; only denied access ends the tries.
#include <gio/gio.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>
#include <utility>

#include "CGetData.h"
#include "base/CancellationHeld.h"
#include "base/Log.h"
#include "base/OrEmpty.h"
#include "pkgmgr_client.h"

namespace KURA {

namespace {

constexpr const char* kBusName = "org.vesta.pkgmgr";
constexpr const char* kObjectPath = "/org/vesta/pkgmgr";
constexpr const char* kInterface = "org.vesta.pkgmgr";
constexpr const char* kSizeMethod = "getsize_sync";
constexpr const char* kSizeReplyType = "(ix)";

constexpr int kAttempts = 6;
constexpr std::chrono::milliseconds kPause{500};

constexpr int kFailed = -1;
constexpr int kNotAnswered = -2;
constexpr int kInvalidParameter = -3;
constexpr int kAccessDenied = -5;

/// Iterates the context before it is freed. A proxy leaves work behind in its context, which only an
/// iteration removes, and not every host runs a main loop.
struct ContextEnd {
    void operator()(GMainContext* context) const {
        while (g_main_context_iteration(context, FALSE) != FALSE) {
        }
        g_main_context_pop_thread_default(context);
        g_main_context_unref(context);
    }
};

using Context = std::unique_ptr<GMainContext, ContextEnd>;
using Variant = std::unique_ptr<GVariant, base::Release<g_variant_unref>>;
using Proxy = std::unique_ptr<GDBusProxy, base::Release<g_object_unref>>;
using Error = std::unique_ptr<GError, base::Release<g_error_free>>;

/// Whether the two descriptors that a call needs can be had. GLib ends the process when it gets none for a
/// context.
bool HasDescriptors() {
    const int first = eventfd(0, EFD_CLOEXEC);
    const int second = eventfd(0, EFD_CLOEXEC);
    close(first);
    close(second);
    return first >= 0 && second >= 0;
}

/// Whether GIO accepts the call. It takes wrong arguments, and a closed connection, for a mistake in the
/// program.
bool IsCallable(const pkgmgr_client* client, const char* method, GVariant* params) {
    return client != nullptr && HasDescriptors() && G_IS_DBUS_CONNECTION(client->connection) &&
           g_dbus_connection_is_closed(client->connection) == FALSE &&
           g_dbus_is_member_name(method) != FALSE &&
           (params == nullptr || g_variant_is_of_type(params, G_VARIANT_TYPE_TUPLE) != FALSE);
}

/// Makes one attempt and returns the reply, or null and the error. The proxy serves one call, so it loads no
/// properties and connects no signals.
std::pair<Variant, Error> Call(GDBusConnection* connection, const char* method, GVariant* params) {
    constexpr auto kProxyFlags = static_cast<GDBusProxyFlags>(G_DBUS_PROXY_FLAGS_DO_NOT_LOAD_PROPERTIES |
                                                              G_DBUS_PROXY_FLAGS_DO_NOT_CONNECT_SIGNALS);
    constexpr int kDefaultTimeout = -1;
    const base::CancellationHeld held;
    const Context context(g_main_context_new());
    g_main_context_push_thread_default(context.get());
    GError* error = nullptr;
    const Proxy proxy(g_dbus_proxy_new_sync(connection, kProxyFlags, nullptr, kBusName, kObjectPath,
                                            kInterface, nullptr, &error));
    if (proxy == nullptr) {
        return {nullptr, Error(error)};
    }
    Variant reply(g_dbus_proxy_call_sync(proxy.get(), method, params, G_DBUS_CALL_FLAGS_NONE, kDefaultTimeout,
                                         nullptr, &error));
    return {std::move(reply), Error(error)};
}

/// Returns the reply's result code and size. A reply of another type counts as a failure of the request.
std::pair<int, std::int64_t> ReadSizeReply(GVariant* reply) {
    gint32 code = kFailed;
    gint64 size = 0;
    if (g_variant_is_of_type(reply, G_VARIANT_TYPE(kSizeReplyType)) != FALSE) {
        g_variant_get(reply, kSizeReplyType, &code, &size);
    }
    return {code, size};
}

}  // namespace

int CGetData::pkgmgr_client_connection_send_request(pkgmgr_client* client, const char* method,
                                                    GVariant* params, GVariant** result) {
    const Variant owned(params == nullptr ? nullptr : g_variant_ref_sink(params));
    for (int attempt = 1; attempt <= kAttempts; ++attempt) {
        auto [reply, error] = IsCallable(client, base::OrEmpty(method), owned.get())
                                  ? Call(client->connection, method, owned.get())
                                  : std::pair<Variant, Error>(nullptr, nullptr);
        if (reply != nullptr) {
            *result = reply.release();
            return 0;
        }
        if (g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_ACCESS_DENIED) != FALSE) {
            return kAccessDenied;
        }
        if (attempt < kAttempts) {
            std::this_thread::sleep_for(kPause);
        }
    }
    return kNotAnswered;
}

int CGetData::getAppSize(pkgmgr_client* client, const char* packageId, unsigned uid, pkgmgr_getsize_type type,
                         pkgmgr_getsize_cb, void*) {
    // D-Bus carries UTF-8 only.
    if (client == nullptr || packageId == nullptr || g_utf8_validate(packageId, -1, nullptr) == FALSE) {
        KURA_ERROR("invalid parameter");
        return kInvalidParameter;
    }
    if (client->pc_type != PC_REQUEST) {
        KURA_ERROR("client->pc_type is not PC_REQUEST");
        return kInvalidParameter;
    }
    GVariant* received = nullptr;
    GVariant* params = g_variant_new("(usi)", uid, packageId, static_cast<gint32>(type));
    const int failure = pkgmgr_client_connection_send_request(client, kSizeMethod, params, &received);
    if (failure != 0) {
        KURA_ERROR("request failed: %d", failure);
        return failure;
    }
    const Variant reply(received);
    const auto [code, size] = ReadSizeReply(reply.get());
    if (code != 0) {
        KURA_ERROR("request result failed: %d", code);
        return code;
    }
    if (size < 0) {
        KURA_ERROR("invalid size_info=(%lld)", static_cast<long long>(size));
        return kFailed;
    }
    return static_cast<std::int32_t>(size);
}

}  // namespace KURA
