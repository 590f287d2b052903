#pragma once

#include "linux/secretservice/secret_service_connection.h"
#include "support/private_bus.h"

#include <QByteArray>
#include <QString>

#include <memory>

namespace tavlo {

// The desktop's real keyring service on a private bus, with a collection that this class locks and unlocks as another
// program would.
class Keyring {
public:
    explicit Keyring(PrivateBus& bus) : m_bus(bus) { start(); }
    ~Keyring() { stop(); }

    void start();
    void stop();
    void freeze(bool frozen) const { m_daemon->freeze(frozen); }
    void lock();
    void unlock();
    // Adds an item as another program does, with `schema` among its attributes unless that is empty.
    void addForeign(const char* collection, const QString& service, const QString& account, const QByteArray& data,
                    const char* schema);
    int itemCount(const QString& service, const QString& account);

    static constexpr const char* kLogin = "/org/freedesktop/secrets/collection/login";
    static constexpr const char* kSession = "/org/freedesktop/secrets/collection/session";

private:
    GLibPointer<GVariant> call(const char* path, const char* interface, const char* method, GVariant* arguments);
    bool isServing();
    // The secret as the bus carries it, for a session without encryption.
    GVariant* plainSecret(const QByteArray& data);

    PrivateBus& m_bus;
    GLibPointer<GDBusConnection> m_connection;
    std::unique_ptr<TestProgram> m_daemon;
    std::string m_session;
};

}  // namespace tavlo
