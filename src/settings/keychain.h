#pragma once

#include <QString>

#include <optional>

namespace tavlo {

class SecretStore;

// The account of a provider's key: "openai_api_key", "groq_api_key".
QString keyAccount(const QString& provider);

// The API keys, in the desktop's keyring. Failures are silent: `set` reports nothing, `get` answers none.
// Main thread.
class Keychain {
public:
    static const QString service;  // "nl.pelloquintar.tavlo"

    explicit Keychain(SecretStore& store) : m_store(store) {}

    // Deletes what is stored for `account`, then stores `value` unless it is empty.
    void set(const QString& value, const QString& account);
    // Begins to look for `account`, so that a `get` of it within the next second waits less. Returns at once.
    void beginGet(const QString& account);
    // The stored text, untrimmed; none when there is no item, or it is empty or not UTF-8.
    std::optional<QString> get(const QString& account);
    // Whether the last `get` was answered: a keyring that was too slow may hold a key although `get` gave none.
    bool answeredLastGet() const;

private:
    SecretStore& m_store;
};

}  // namespace tavlo
