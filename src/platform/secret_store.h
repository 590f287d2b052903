#pragma once

#include "platform/registration.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

namespace tavlo {

// A per-user store of secrets, each found by its service and account. Main thread. Every call is bounded in time
// (one second); a store that is missing, locked or silent behaves as empty and drops what is added. No call prompts
// except `requestUnlock`.
class SecretStore {
public:
    virtual ~SecretStore() = default;

    // Deletes every item of that service and account; none is no failure.
    virtual void deleteItems(const QString& service, const QString& account) = 0;
    // Adds an item; false when it could not be stored.
    virtual bool add(const QString& service, const QString& account, const QByteArray& data) = 0;
    // Begins to look for an item, so that a `find` of it within the next second waits less. Returns at once.
    virtual void beginFind(const QString& service, const QString& account) = 0;
    // One item's data, or none.
    virtual std::optional<QByteArray> find(const QString& service, const QString& account) = 0;
    // False when the last `find` timed out, so that there may be an item after all. What is deleted and added then is
    // carried out when the store answers again.
    virtual bool answeredLastFind() const { return true; }

    // Asks the desktop, in the background, to unlock the store if it is locked (the desktop may put up its own
    // prompt). Returns at once.
    virtual void requestUnlock() = 0;
    // `changed` runs on the main thread when the store has become available, was unlocked or locked.
    virtual Registration onAvailabilityChange(std::function<void()> changed) = 0;
};

}  // namespace tavlo
