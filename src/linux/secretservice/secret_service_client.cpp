#include "linux/secretservice/secret_service_client.h"

#include <utility>

namespace tavlo {

namespace {

constexpr const char* kPath = "/org/freedesktop/secrets";
constexpr const char* kServiceInterface = "org.freedesktop.Secret.Service";
constexpr const char* kCollectionInterface = "org.freedesktop.Secret.Collection";
constexpr const char* kItemInterface = "org.freedesktop.Secret.Item";
constexpr const char* kPromptInterface = "org.freedesktop.Secret.Prompt";
// The path that stands for "no object".
constexpr const char* kNoPath = "/";

GLibPointer<GHashTable> attributes(const QString& service, const std::optional<QString>& account)
{
    GHashTable* table = g_hash_table_new_full(g_str_hash, g_str_equal, g_free, g_free);
    g_hash_table_insert(table, g_strdup("service"), g_strdup(service.toUtf8().constData()));
    if (account) {
        g_hash_table_insert(table, g_strdup("account"), g_strdup(account->toUtf8().constData()));
    }
    return GLibPointer<GHashTable>(table);
}

}  // namespace

struct SecretServiceClient::UnlockRequest {
    SecretServiceClient* client;  // null when the connection was given up meanwhile
    QString service;
};

SecretServiceClient::SecretServiceClient(GCancellable* cancellable, std::function<void()> changed)
    : m_cancellable(cancellable), m_changed(std::move(changed)), m_connection(cancellable, m_changed, [this] {
          if (auto* request = std::exchange(m_unlocking, nullptr)) {
              request->client = nullptr;
          }
      })
{
}

void SecretServiceClient::connect()
{
    if (m_connection.connect() && m_connection.hasOwner()) {
        m_connection.service();
    }
}

std::optional<QByteArray> SecretServiceClient::find(const QString& service, const QString& account)
{
    if (!m_connection.connect() || !m_connection.hasOwner()) {
        return std::nullopt;
    }
    for (const std::string& path : search(service, account, false)) {
        GLibPointer<SecretValue> value(
            secret_service_get_secret_for_dbus_path_sync(m_connection.service(), path.c_str(), m_cancellable, nullptr));
        if (value) {
            gsize length = 0;
            const gchar* data = secret_value_get(value.get(), &length);
            return QByteArray(data, static_cast<qsizetype>(length));
        }
    }
    return std::nullopt;
}

void SecretServiceClient::deleteItems(const QString& service, const QString& account)
{
    if (!m_connection.connect() || !m_connection.hasOwner()) {
        return;
    }
    for (const std::string& path : search(service, account, false)) {
        const auto reply = m_connection.call(path.c_str(), kItemInterface, "Delete", nullptr, "(o)");
        if (reply) {
            const gchar* prompt = nullptr;
            g_variant_get(reply.get(), "(&o)", &prompt);
            dismiss(prompt);
        }
    }
}

bool SecretServiceClient::add(const QString& service, const QString& account, const QByteArray& data)
{
    if (!m_connection.connect()) {
        return false;
    }
    if (!m_connection.hasOwner()) {
        m_connection.startService();
    }
    const std::string collection = defaultCollection();
    if (collection.empty() || m_connection.isLocked(collection) ||
        !secret_service_ensure_session_sync(m_connection.service(), m_cancellable, nullptr)) {
        return false;
    }
    GVariantBuilder pairs;
    g_variant_builder_init(&pairs, G_VARIANT_TYPE("a{ss}"));
    g_variant_builder_add(&pairs, "{ss}", "service", service.toUtf8().constData());
    g_variant_builder_add(&pairs, "{ss}", "account", account.toUtf8().constData());
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE("a{sv}"));
    // Password managers list an item by its label.
    g_variant_builder_add(&properties, "{sv}", "org.freedesktop.Secret.Item.Label",
                          g_variant_new_string(service.toUtf8().constData()));
    g_variant_builder_add(&properties, "{sv}", "org.freedesktop.Secret.Item.Attributes", g_variant_builder_end(&pairs));
    const GLibPointer<SecretValue> value(
        secret_value_new(data.constData(), static_cast<gssize>(data.size()), "text/plain"));
    GVariant* secret = secret_service_encode_dbus_secret(m_connection.service(), value.get());
    const auto reply = m_connection.call(
        collection.c_str(), kCollectionInterface, "CreateItem",
        g_variant_new("(@a{sv}@(oayays)b)", g_variant_builder_end(&properties), secret, FALSE), "(oo)");
    if (!reply) {
        return false;
    }
    const gchar* item = nullptr;
    const gchar* prompt = nullptr;
    g_variant_get(reply.get(), "(&o&o)", &item, &prompt);
    dismiss(prompt);
    return g_strcmp0(item, kNoPath) != 0;
}

void SecretServiceClient::unlock(const QString& service)
{
    if (m_unlocking != nullptr || !m_connection.connect()) {
        return;
    }
    if (m_connection.hasOwner()) {
        unlockNow(service);
        return;
    }
    m_unlocking = new UnlockRequest{this, service};
    m_connection.startService(&SecretServiceClient::onServiceStarted, m_unlocking);
}

void SecretServiceClient::onServiceStarted(GObject* source, GAsyncResult* result, gpointer data)
{
    const std::unique_ptr<UnlockRequest> request(static_cast<UnlockRequest*>(data));
    const GLibPointer<GVariant> reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr));
    if (request->client != nullptr) {
        request->client->m_unlocking = nullptr;
        request->client->m_connection.refreshOwner();
        if (request->client->m_connection.hasOwner()) {
            request->client->unlockNow(request->service);
        }
    }
}

void SecretServiceClient::unlockNow(const QString& service)
{
    std::vector<std::string> paths = search(service, std::nullopt, true);
    const std::string collection = defaultCollection();
    if (!collection.empty() && m_connection.isLocked(collection)) {
        paths.push_back(collection);
    }
    if (paths.empty() || m_connection.service() == nullptr) {
        return;
    }
    std::vector<const gchar*> list;
    list.reserve(paths.size() + 1);
    for (const std::string& path : paths) {
        list.push_back(path.c_str());
    }
    list.push_back(nullptr);
    m_unlocking = new UnlockRequest{this, service};
    secret_service_unlock_dbus_paths(m_connection.service(), list.data(), m_cancellable,
                                     &SecretServiceClient::onUnlocked, m_unlocking);
}

void SecretServiceClient::onUnlocked(GObject* source, GAsyncResult* result, gpointer data)
{
    const std::unique_ptr<UnlockRequest> request(static_cast<UnlockRequest*>(data));
    const gint count = secret_service_unlock_dbus_paths_finish(SECRET_SERVICE(source), result, nullptr, nullptr);
    if (request->client != nullptr) {
        request->client->m_unlocking = nullptr;
        if (count > 0) {
            // Not every service signals that a collection was unlocked.
            request->client->m_changed();
        }
    }
}

std::vector<std::string> SecretServiceClient::search(const QString& service, const std::optional<QString>& account,
                                                     bool locked)
{
    if (m_connection.service() == nullptr) {
        return {};
    }
    gchar** unlockedPaths = nullptr;
    gchar** lockedPaths = nullptr;
    // Without a schema the attributes alone are matched, whatever program stored the item.
    const gboolean found =
        secret_service_search_for_dbus_paths_sync(m_connection.service(), nullptr, attributes(service, account).get(),
                                                  m_cancellable, &unlockedPaths, &lockedPaths, nullptr);
    if (!found) {
        return {};
    }
    const GLibTexts unlockedOwner(unlockedPaths);
    const GLibTexts lockedOwner(lockedPaths);
    std::vector<std::string> paths;
    for (gchar** path = locked ? lockedPaths : unlockedPaths; path != nullptr && *path != nullptr; ++path) {
        paths.emplace_back(*path);
    }
    return paths;
}

std::string SecretServiceClient::defaultCollection()
{
    if (!m_connection.hasOwner()) {
        return {};
    }
    const auto reply = m_connection.call(kPath, kServiceInterface, "ReadAlias", g_variant_new("(s)", "default"), "(o)");
    const gchar* path = kNoPath;
    if (reply) {
        g_variant_get(reply.get(), "(&o)", &path);
    }
    return g_strcmp0(path, kNoPath) == 0 ? std::string() : std::string(path);
}

void SecretServiceClient::dismiss(const char* promptPath)
{
    if (g_strcmp0(promptPath, kNoPath) != 0) {
        m_connection.call(promptPath, kPromptInterface, "Dismiss", nullptr, "()");
    }
}

}  // namespace tavlo
