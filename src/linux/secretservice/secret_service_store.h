#pragma once

#include "platform/queues.h"
#include "platform/secret_store.h"

#include <chrono>
#include <map>
#include <memory>
#include <optional>

namespace tavlo {

class SecretServiceThread;

// The desktop's keyring, through the Secret Service. Items are known by the attributes `service` and `account` alone
// and found in whatever collection they are; new ones go to the default collection, and nowhere when there is none or
// it is locked. A thread of its own talks to the service, so that a service or a bus that does not answer costs the
// main thread one second once: until that call has come back, further ones behave as with an empty store, except that
// deletions and additions are still carried out when the service answers again. An answer that comes too late is there
// for the observers, who are told of it; what they ask for besides is not told of once more. Nothing is connected to
// before the first call, or `connect`; a bus that was away is found again at the next call.
class SecretServiceStore : public SecretStore {
public:
    // `service` is the one whose locked items requestUnlock unlocks.
    SecretServiceStore(MainQueue& queue, QString service);
    ~SecretServiceStore() override;
    SecretServiceStore(const SecretServiceStore&) = delete;
    SecretServiceStore& operator=(const SecretServiceStore&) = delete;

    // Begins to connect, so that the first call waits for less of it. Returns at once.
    void connect();

    void deleteItems(const QString& service, const QString& account) override;
    bool add(const QString& service, const QString& account, const QByteArray& data) override;
    void beginFind(const QString& service, const QString& account) override;
    std::optional<QByteArray> find(const QString& service, const QString& account) override;
    bool answeredLastFind() const override { return m_answeredLastFind; }
    void requestUnlock() override;
    [[nodiscard]] Registration onAvailabilityChange(std::function<void()> changed) override;

private:
    using Handlers = std::map<int, std::function<void()>>;

    // A search that was begun before its answer was asked for.
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
    std::shared_ptr<Handlers> m_handlers = std::make_shared<Handlers>();
    int m_nextHandler = 0;
    bool m_answeredLastFind = true;
    std::optional<Search> m_search;
    std::optional<Search> m_late;  // the last one that was not waited for
    bool m_isTelling = false;
    Lifetime m_lifetime;
    std::unique_ptr<SecretServiceThread> m_thread;
};

}  // namespace tavlo
