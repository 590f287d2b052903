#pragma once

#include "platform/queues.h"
#include "platform/secret_store.h"

#include <chrono>
#include <memory>
#include <optional>
#include <utility>

namespace tavlo {

class SecretServiceThread;

// The desktop's keyring, through the Secret Service. Items are found by the attributes `service` and `account` alone,
// in any collection; new ones go to the default collection, and nowhere when there is none or it is locked.
//
// A thread of its own talks to the service, so that a service or a bus that hangs holds up the main thread for one
// second, once: until that call has come back, the store behaves as empty, except that deletions and additions are
// carried out when the service answers again. When the late answer is there, the handlers are notified, and find it
// without waiting. A search that times out while they run does not notify them again.
//
// Connects at the first call, or at `connect`; after the bus was away, at the next call.
class SecretServiceStore : public SecretStore {
public:
    // `service` is the one whose locked items requestUnlock unlocks.
    SecretServiceStore(MainQueue& queue, QString service);
    ~SecretServiceStore() override;
    SecretServiceStore(const SecretServiceStore&) = delete;
    SecretServiceStore& operator=(const SecretServiceStore&) = delete;

    // Begins to connect, so that the first call need not wait for it. Returns at once.
    void connect();

    void deleteItems(const QString& service, const QString& account) override;
    bool add(const QString& service, const QString& account, const QByteArray& data) override;
    void beginFind(const QString& service, const QString& account) override;
    std::optional<QByteArray> find(const QString& service, const QString& account) override;
    bool answeredLastFind() const override { return m_answeredLastFind; }
    void requestUnlock() override;
    Registration onAvailabilityChange(std::function<void()> changed) override
    {
        return m_changed.add(std::move(changed));
    }

private:
    // A search that runs, or ran, on the other thread.
    struct Search {
        QString service;
        QString account;
        std::chrono::steady_clock::time_point begun;
        std::shared_ptr<std::optional<QByteArray>> found;
    };

    SecretServiceThread& thread();
    void tell();

    MainQueue& m_queue;
    const QString m_service;
    HandlerList<> m_changed;
    bool m_answeredLastFind = true;
    std::optional<Search> m_search;
    std::optional<Search> m_late;  // the last one that timed out
    bool m_isTelling = false;
    Lifetime m_lifetime;
    std::unique_ptr<SecretServiceThread> m_thread;
};

}  // namespace tavlo
