#pragma once

#include "linux/secretservice/secret_service_connection.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tavlo {

// Talks to the desktop's Secret Service over the session bus. Lives on one thread, whose GMainContext dispatches the
// service's signals. Calls wait for the service without a limit, until `cancellable` is cancelled: whoever must not
// wait leaves that to this thread.
class SecretServiceClient {
public:
    // `changed` runs on this thread when the service came or went, or a collection was locked or unlocked.
    SecretServiceClient(GCancellable* cancellable, std::function<void()> changed);
    SecretServiceClient(const SecretServiceClient&) = delete;
    SecretServiceClient& operator=(const SecretServiceClient&) = delete;

    // Connects to the bus, and to the service if it runs, which the first of the calls below would do otherwise. Starts
    // nothing.
    void connect();
    // Never prompts and never starts the service; locked items are not looked at.
    std::optional<QByteArray> find(const QString& service, const QString& account);
    void deleteItems(const QString& service, const QString& account);
    // Stores in the default collection; false when there is none or it is locked. Starts the service if it can be
    // started: the user has something to keep.
    bool add(const QString& service, const QString& account, const QByteArray& data);
    // Starts the service if it can be started, and unlocks the default collection and the collections that hold items
    // of `service`, with the desktop's prompt where one is needed. Returns without waiting for the answer. While a
    // prompt is open a further request does nothing.
    void unlock(const QString& service);

private:
    struct UnlockRequest;

    std::vector<std::string> search(const QString& service, const std::optional<QString>& account, bool locked);
    std::string defaultCollection();
    void unlockNow(const QString& service);
    void dismiss(const char* promptPath);

    static void onServiceStarted(GObject* source, GAsyncResult* result, gpointer request);
    static void onUnlocked(GObject* source, GAsyncResult* result, gpointer request);

    GCancellable* m_cancellable;
    std::function<void()> m_changed;
    // The request whose prompt is open or whose service is starting; the request itself belongs to its callback.
    UnlockRequest* m_unlocking = nullptr;
    SecretServiceConnection m_connection;  // last, since its destructor still uses the request
};

}  // namespace tavlo
