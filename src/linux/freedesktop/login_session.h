#pragma once

#include "platform/registration.h"

#include <QDBusConnection>
#include <QObject>
#include <QVariant>

#include <functional>

namespace tavlo {

// Whether the user is the one in front of the computer: their login session is the active one of its seat and is not
// locked. Where nobody keeps login sessions it is always so. Main thread.
class LoginSession : public QObject {
    Q_OBJECT

public:
    explicit LoginSession(const QDBusConnection& systemBus);

    bool isInFront() const { return m_isActive && !m_isLocked; }
    // Told when `isInFront` has changed.
    Registration onChange(std::function<void()> changed) { return m_changed.add(std::move(changed)); }

private Q_SLOTS:
    void propertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList& invalidated);

private:
    void follow(const QString& session);
    void take(const QVariantMap& properties);

    QDBusConnection m_bus;
    unsigned m_notices = 0;
    bool m_isActive = true;
    bool m_isLocked = false;
    HandlerList<> m_changed;
};

}  // namespace tavlo
