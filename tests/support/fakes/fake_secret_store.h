#pragma once

#include "platform/queues.h"
#include "platform/secret_store.h"

#include <QStringList>

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

namespace tavlo {

// A secret store in memory.
class FakeSecretStore : public SecretStore {
public:
    enum class State { Open, Locked, Absent };

    struct Item {
        QString service;
        QString account;
        QByteArray data;
    };

    explicit FakeSecretStore(MainQueue& queue) : m_queue(queue) {}

    void deleteItems(const QString& service, const QString& account) override
    {
        ++calls;
        if (m_state == State::Open) {
            std::erase_if(items, [&](const Item& item) { return item.service == service && item.account == account; });
        }
    }

    bool add(const QString& service, const QString& account, const QByteArray& data) override
    {
        ++calls;
        if (m_state != State::Open || refusesToAdd) {
            return false;
        }
        items.push_back({service, account, data});
        return true;
    }

    void beginFind(const QString&, const QString& account) override { begunFor.append(account); }

    std::optional<QByteArray> find(const QString& service, const QString& account) override
    {
        ++calls;
        askedFor.append(account);
        m_answeredLastFind = !isSlow;
        if (isSlow) {
            return std::nullopt;
        }
        const auto found = std::find_if(items.begin(), items.end(), [&](const Item& item) {
            return item.service == service && item.account == account;
        });
        return m_state == State::Open && found != items.end() ? std::optional(found->data) : std::nullopt;
    }

    bool answeredLastFind() const override { return m_answeredLastFind; }

    void requestUnlock() override
    {
        ++unlockRequests;
        if (m_state == State::Locked && unlocksWhenAsked) {
            setState(State::Open);
        }
    }

    Registration onAvailabilityChange(std::function<void()> changed) override
    {
        return m_changes.add(std::move(changed));
    }

    // The store comes, goes, is locked or unlocked; who asked to know is told by way of the main queue.
    void setState(State state)
    {
        m_state = state;
        m_queue.post(m_lifetime.reference(), [this] { m_changes.call(); });
    }

    std::vector<Item> items;
    QStringList askedFor;  // the accounts, in order
    QStringList begunFor;
    bool refusesToAdd = false;
    bool isSlow = false;  // Searches are given up; what is deleted and added is done all the same, later.
    bool unlocksWhenAsked = false;
    int unlockRequests = 0;
    int calls = 0;

private:
    MainQueue& m_queue;
    State m_state = State::Open;
    bool m_answeredLastFind = true;
    HandlerList<> m_changes;
    Lifetime m_lifetime;
};

}  // namespace tavlo
