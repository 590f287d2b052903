#include "linux/secretservice/secret_service_connection.h"

#include "linux/freedesktop/session_bus_address.h"

#include <limits>
#include <utility>

namespace tavlo {

namespace {

constexpr const char* kBusName = "org.freedesktop.DBus";
constexpr const char* kBusPath = "/org/freedesktop/DBus";
constexpr const char* kName = "org.freedesktop.secrets";
constexpr const char* kServiceInterface = "org.freedesktop.Secret.Service";
constexpr const char* kCollectionInterface = "org.freedesktop.Secret.Collection";
constexpr const char* kPropertiesInterface = "org.freedesktop.DBus.Properties";

// The bus sets no timer for a call with this limit, so that a service which is stopped costs no wake-ups.
constexpr int kUnlimited = std::numeric_limits<int>::max();

}  // namespace

SecretServiceConnection::SecretServiceConnection(GCancellable* cancellable, std::function<void()> changed,
                                                 std::function<void()> dropped)
    : m_cancellable(cancellable), m_changed(std::move(changed)), m_dropped(std::move(dropped))
{
}

SecretServiceConnection::~SecretServiceConnection()
{
    disconnect();
}

bool SecretServiceConnection::connect()
{
    if (m_connection) {
        return true;
    }
    if (sessionBusAddress().isEmpty()) {
        return false;
    }
    // libsecret knows no other connection than the one that all libraries of the process share.
    m_connection.reset(g_bus_get_sync(G_BUS_TYPE_SESSION, m_cancellable, nullptr));
    if (m_connection && g_dbus_connection_is_closed(m_connection.get())) {
        m_connection.reset();  // another library still holds the connection to a bus that is gone
    }
    if (!m_connection) {
        return false;
    }
    // By default GLib ends the process when the bus goes away.
    g_dbus_connection_set_exit_on_close(m_connection.get(), FALSE);
    watchForEndOfBus();
    subscribe(kBusName, kBusName, "NameOwnerChanged", kName,
              [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant* arguments,
                 gpointer self) {
                  const gchar* owner = nullptr;
                  g_variant_get_child(arguments, 2, "&s", &owner);
                  static_cast<SecretServiceConnection*>(self)->ownerChanged(owner);
              });
    subscribe(kName, kPropertiesInterface, "PropertiesChanged", kCollectionInterface,
              [](GDBusConnection*, const gchar*, const gchar* path, const gchar*, const gchar*, GVariant* arguments,
                 gpointer self) {
                  const GLibPointer<GVariant> properties(g_variant_get_child_value(arguments, 1));
                  gboolean locked = FALSE;
                  if (g_variant_lookup(properties.get(), "Locked", "b", &locked)) {
                      static_cast<SecretServiceConnection*>(self)->lockedChanged(path, locked != FALSE);
                  }
              });
    subscribe(kName, kServiceInterface, "CollectionChanged", nullptr,
              [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant* arguments,
                 gpointer self) {
                  auto* connection = static_cast<SecretServiceConnection*>(self);
                  const gchar* path = nullptr;
                  g_variant_get(arguments, "(&o)", &path);
                  connection->lockedChanged(path, connection->isLocked(path));
              });
    m_owner = askOwner();
    return true;
}

void SecretServiceConnection::watchForEndOfBus()
{
    // The signal comes on the thread that made the connection, which may be another library's.
    struct Watch {
        GLibPointer<GMainContext> context;
        std::weak_ptr<SecretServiceConnection*> connection;
    };
    m_connected = std::make_shared<SecretServiceConnection*>(this);
    m_closedHandler = g_signal_connect_data(
        m_connection.get(), "closed", G_CALLBACK(+[](GDBusConnection*, gboolean, GError*, gpointer data) {
            auto* watch = static_cast<Watch*>(data);
            GSource* source = g_idle_source_new();
            g_source_set_callback(
                source,
                [](gpointer connection) -> gboolean {
                    if (const auto alive = static_cast<std::weak_ptr<SecretServiceConnection*>*>(connection)->lock()) {
                        SecretServiceConnection& self = **alive;
                        self.disconnect();
                        self.m_changed();
                    }
                    return G_SOURCE_REMOVE;
                },
                new std::weak_ptr<SecretServiceConnection*>(watch->connection),
                [](gpointer connection) { delete static_cast<std::weak_ptr<SecretServiceConnection*>*>(connection); });
            g_source_attach(source, watch->context.get());
            g_source_unref(source);
        }),
        new Watch{GLibPointer<GMainContext>(g_main_context_ref_thread_default()), m_connected},
        [](gpointer data, GClosure*) { delete static_cast<Watch*>(data); }, static_cast<GConnectFlags>(0));
}

void SecretServiceConnection::disconnect()
{
    m_connected.reset();
    m_dropped();
    m_service.reset();
    m_owner.clear();
    m_lockedCollections.clear();
    if (m_connection) {
        g_signal_handler_disconnect(m_connection.get(), m_closedHandler);
        for (const guint id : m_subscriptions) {
            g_dbus_connection_signal_unsubscribe(m_connection.get(), id);
        }
        m_subscriptions.clear();
        m_connection.reset();
    }
}

void SecretServiceConnection::subscribe(const char* sender, const char* interface, const char* signal,
                                        const char* argument, GDBusSignalCallback callback)
{
    m_subscriptions.push_back(g_dbus_connection_signal_subscribe(m_connection.get(), sender, interface, signal, nullptr,
                                                                 argument, G_DBUS_SIGNAL_FLAGS_NONE, callback, this,
                                                                 nullptr));
}

void SecretServiceConnection::ownerChanged(const std::string& owner)
{
    if (owner == m_owner) {
        return;
    }
    m_owner = owner;
    // The session was one with the owner that left.
    m_service.reset();
    m_lockedCollections.clear();
    m_changed();
}

void SecretServiceConnection::lockedChanged(const std::string& collection, bool locked)
{
    const auto known = m_lockedCollections.find(collection);
    if (known != m_lockedCollections.end() && known->second == locked) {
        return;
    }
    m_lockedCollections[collection] = locked;
    m_changed();
}

std::string SecretServiceConnection::askOwner()
{
    const GLibPointer<GVariant> reply(g_dbus_connection_call_sync(
        m_connection.get(), kBusName, kBusPath, kBusName, "GetNameOwner", g_variant_new("(s)", kName),
        G_VARIANT_TYPE("(s)"), G_DBUS_CALL_FLAGS_NONE, kUnlimited, m_cancellable, nullptr));
    const gchar* owner = "";
    if (reply) {
        g_variant_get(reply.get(), "(&s)", &owner);
    }
    return owner;
}

void SecretServiceConnection::refreshOwner()
{
    ownerChanged(askOwner());
}

void SecretServiceConnection::startService()
{
    const GLibPointer<GVariant> reply(g_dbus_connection_call_sync(
        m_connection.get(), kBusName, kBusPath, kBusName, "StartServiceByName", g_variant_new("(su)", kName, 0U),
        G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, kUnlimited, m_cancellable, nullptr));
    if (reply) {
        refreshOwner();  // the signal is dispatched only after this call
    }
}

void SecretServiceConnection::startService(GAsyncReadyCallback started, gpointer data)
{
    g_dbus_connection_call(m_connection.get(), kBusName, kBusPath, kBusName, "StartServiceByName",
                           g_variant_new("(su)", kName, 0U), G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, kUnlimited,
                           m_cancellable, started, data);
}

SecretService* SecretServiceConnection::service()
{
    if (!m_service && m_connection) {
        // The class fills in the name, the path and the bus by itself.
        m_service.reset(SECRET_SERVICE(g_initable_new(SECRET_TYPE_SERVICE, m_cancellable, nullptr, "g-flags",
                                                      G_DBUS_PROXY_FLAGS_DO_NOT_AUTO_START |
                                                          G_DBUS_PROXY_FLAGS_DO_NOT_LOAD_PROPERTIES |
                                                          G_DBUS_PROXY_FLAGS_DO_NOT_CONNECT_SIGNALS,
                                                      "flags", SECRET_SERVICE_NONE, nullptr)));
        if (m_service) {
            g_dbus_proxy_set_default_timeout(G_DBUS_PROXY(m_service.get()), kUnlimited);
        }
    }
    return m_service.get();
}

GLibPointer<GVariant> SecretServiceConnection::call(const char* path, const char* interface, const char* method,
                                                    GVariant* arguments, const char* replyType)
{
    return GLibPointer<GVariant>(g_dbus_connection_call_sync(
        m_connection.get(), kName, path, interface, method, arguments, G_VARIANT_TYPE(replyType),
        G_DBUS_CALL_FLAGS_NO_AUTO_START, kUnlimited, m_cancellable, nullptr));
}

bool SecretServiceConnection::isLocked(const std::string& path)
{
    const auto reply =
        call(path.c_str(), kPropertiesInterface, "Get", g_variant_new("(ss)", kCollectionInterface, "Locked"), "(v)");
    if (!reply) {
        return true;
    }
    GVariant* inner = nullptr;
    g_variant_get(reply.get(), "(v)", &inner);
    const GLibPointer<GVariant> value(inner);
    return !g_variant_is_of_type(inner, G_VARIANT_TYPE_BOOLEAN) || g_variant_get_boolean(inner) != FALSE;
}

}  // namespace tavlo
