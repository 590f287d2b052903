#pragma once

#define SECRET_API_SUBJECT_TO_CHANGE
#include <libsecret/secret.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tavlo {

// Frees what GLib and libsecret return.
struct GLibDelete {
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(GVariant* variant) const { g_variant_unref(variant); }
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
    void operator()(GCancellable* cancellable) const { g_object_unref(cancellable); }
    void operator()(GDBusConnection* connection) const { g_object_unref(connection); }
    void operator()(SecretService* service) const { g_object_unref(service); }
    void operator()(SecretValue* value) const { secret_value_unref(value); }
    void operator()(GMainContext* context) const { g_main_context_unref(context); }
    void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
    void operator()(gchar** texts) const { g_strfreev(texts); }
};

template <class T>
using GLibPointer = std::unique_ptr<T, GLibDelete>;
using GLibTexts = std::unique_ptr<gchar*, GLibDelete>;

// The connection to the session bus on which the Secret Service is: made when it is first needed, and again after the
// bus was away. Follows whether the service is there and which collections are locked. Lives on one thread, whose
// GMainContext dispatches the bus's signals. Calls wait without a limit, until `cancellable` is cancelled.
class SecretServiceConnection {
public:
    // `changed` runs on this thread when the service came or went, or a collection was locked or unlocked; `dropped`
    // whenever the connection is given up.
    SecretServiceConnection(GCancellable* cancellable, std::function<void()> changed, std::function<void()> dropped);
    ~SecretServiceConnection();
    SecretServiceConnection(const SecretServiceConnection&) = delete;
    SecretServiceConnection& operator=(const SecretServiceConnection&) = delete;

    // Whether there is a connection, made now if need be. Everything below wants one.
    bool connect();
    // Whether the service runs.
    bool hasOwner() const { return !m_owner.empty(); }
    // Asks the bus whether it runs, without waiting for the signal that tells it.
    void refreshOwner();
    // Starts the service if the bus knows how, and waits for it.
    void startService();
    // The same without waiting.
    void startService(GAsyncReadyCallback started, gpointer data);
    // The service for libsecret's operations; none when it cannot be made.
    SecretService* service();
    // Calls a method of one of the service's objects; never starts the service. None on any failure. Consumes floating
    // `arguments`.
    GLibPointer<GVariant> call(const char* path, const char* interface, const char* method, GVariant* arguments,
                               const char* replyType);
    // Whether a collection is locked. One that does not answer counts as locked.
    bool isLocked(const std::string& collection);

private:
    void disconnect();
    void watchForEndOfBus();
    std::string askOwner();
    void ownerChanged(const std::string& owner);
    void lockedChanged(const std::string& collection, bool locked);
    void subscribe(const char* sender, const char* interface, const char* signal, const char* argument,
                   GDBusSignalCallback callback);

    GCancellable* m_cancellable;
    std::function<void()> m_changed;
    std::function<void()> m_dropped;
    GLibPointer<GDBusConnection> m_connection;
    std::shared_ptr<SecretServiceConnection*> m_connected;  // expires when this connection is given up
    std::vector<guint> m_subscriptions;
    gulong m_closedHandler = 0;
    std::string m_owner;  // the service's unique name on the bus; empty while it does not run
    GLibPointer<SecretService> m_service;
    std::map<std::string, bool> m_lockedCollections;  // by path, as last known
};

}  // namespace tavlo
