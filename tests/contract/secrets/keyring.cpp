#include "contract/secrets/keyring.h"
#include "platform/text_literals.h"

namespace tavlo {

namespace {

constexpr const char* kName = "org.freedesktop.secrets";
constexpr const char* kPath = "/org/freedesktop/secrets";
constexpr const char* kServiceInterface = "org.freedesktop.Secret.Service";
constexpr const char* kPassword = "for tests only";

GVariant* attributes(const QString& service, const QString& account, const char* schema)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a{ss}"));
    g_variant_builder_add(&builder, "{ss}", "service", service.toUtf8().constData());
    g_variant_builder_add(&builder, "{ss}", "account", account.toUtf8().constData());
    if (*schema != '\0') {
        g_variant_builder_add(&builder, "{ss}", "xdg:schema", schema);
    }
    return g_variant_builder_end(&builder);
}

}  // namespace

void Keyring::start()
{
    m_daemon = std::make_unique<TestProgram>(u"gnome-keyring-daemon"_s,
                                             QStringList{u"--foreground"_s, u"--unlock"_s, u"--components=secrets"_s},
                                             m_bus.environment(), kPassword);
    m_connection.reset(g_dbus_connection_new_for_address_sync(
        m_bus.address().constData(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr));
    if (!m_connection || !comesTrue([this] { return isServing(); })) {
        qFatal("The keyring service does not come up.");
    }
    GVariant* path = g_variant_new("(sv)", "plain", g_variant_new_string(""));
    const auto session = call(kPath, kServiceInterface, "OpenSession", path);
    const gchar* sessionPath = nullptr;
    GVariant* output = nullptr;
    g_variant_get(session.get(), "(v&o)", &output, &sessionPath);
    const GLibPointer<GVariant> owner(output);
    m_session = sessionPath;
}

void Keyring::stop()
{
    m_daemon.reset();
    m_connection.reset();
}

bool Keyring::isServing()
{
    const GLibPointer<GVariant> reply(
        g_dbus_connection_call_sync(m_connection.get(), kName, kLogin, "org.freedesktop.DBus.Properties", "Get",
                                    g_variant_new("(ss)", "org.freedesktop.Secret.Collection", "Locked"), nullptr,
                                    G_DBUS_CALL_FLAGS_NONE, 5'000, nullptr, nullptr));
    return reply != nullptr;
}

GLibPointer<GVariant> Keyring::call(const char* path, const char* interface, const char* method, GVariant* arguments)
{
    GError* error = nullptr;
    GLibPointer<GVariant> reply(g_dbus_connection_call_sync(m_connection.get(), kName, path, interface, method,
                                                            arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, 5'000, nullptr,
                                                            &error));
    if (!reply) {
        qFatal("The keyring does not answer %s: %s", method, error->message);
    }
    return reply;
}

GVariant* Keyring::plainSecret(const QByteArray& data)
{
    return g_variant_new(
        "(o@ay@ays)", m_session.c_str(), g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, "", 0, 1),
        g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, data.constData(), static_cast<gsize>(data.size()), 1),
        "text/plain");
}

void Keyring::lock()
{
    const gchar* paths[] = {kLogin, nullptr};
    call(kPath, kServiceInterface, "Lock", g_variant_new("(^ao)", paths));
}

void Keyring::unlock()
{
    call(kPath, "org.gnome.keyring.InternalUnsupportedGuiltRiddenInterface", "UnlockWithMasterPassword",
         g_variant_new("(o@(oayays))", kLogin, plainSecret(kPassword)));
}

void Keyring::addForeign(const char* collection, const QString& service, const QString& account, const QByteArray& data,
                         const char* schema)
{
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&properties, "{sv}", "org.freedesktop.Secret.Item.Label", g_variant_new_string("foreign"));
    g_variant_builder_add(&properties, "{sv}", "org.freedesktop.Secret.Item.Attributes",
                          attributes(service, account, schema));
    call(collection, "org.freedesktop.Secret.Collection", "CreateItem",
         g_variant_new("(@a{sv}@(oayays)b)", g_variant_builder_end(&properties), plainSecret(data), FALSE));
}

int Keyring::itemCount(const QString& service, const QString& account)
{
    const auto reply =
        call(kPath, kServiceInterface, "SearchItems", g_variant_new("(@a{ss})", attributes(service, account, "")));
    const GLibPointer<GVariant> unlocked(g_variant_get_child_value(reply.get(), 0));
    const GLibPointer<GVariant> locked(g_variant_get_child_value(reply.get(), 1));
    return static_cast<int>(g_variant_n_children(unlocked.get()) + g_variant_n_children(locked.get()));
}

}  // namespace tavlo
