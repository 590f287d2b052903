#include "linux/freedesktop/login_session.h"

#include "platform/text_literals.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace tavlo {

namespace {

const QString kLogin = u"org.freedesktop.login1"_s;
const QString kManager = u"org.freedesktop.login1.Manager"_s;
const QString kSession = u"org.freedesktop.login1.Session"_s;
const QString kProperties = u"org.freedesktop.DBus.Properties"_s;

}  // namespace

LoginSession::LoginSession(const QDBusConnection& systemBus) : m_bus(systemBus)
{
    if (!m_bus.isConnected()) {
        return;
    }
    QDBusMessage question =
        QDBusMessage::createMethodCall(kLogin, u"/org/freedesktop/login1"_s, kManager, u"GetSession"_s);
    question << u"auto"_s;  // this process' own, or the one of this user's desktop
    question.setAutoStartService(false);
    auto* const call = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        call->deleteLater();
        const QDBusPendingReply<QDBusObjectPath> path = *call;
        if (path.isValid()) {
            follow(path.value().path());
        }
    });
}

void LoginSession::follow(const QString& session)
{
    m_bus.connect(kLogin, session, kProperties, u"PropertiesChanged"_s, this,
                  SLOT(propertiesChanged(QString, QVariantMap, QStringList)));
    QDBusMessage question = QDBusMessage::createMethodCall(kLogin, session, kProperties, u"GetAll"_s);
    question << kSession;
    auto* const call = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    // The toolkit may deliver an answer after a notice that was sent later: what is noticed meanwhile is newer.
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call, noticesBefore = m_notices] {
        call->deleteLater();
        const QDBusPendingReply<QVariantMap> properties = *call;
        if (properties.isValid() && m_notices == noticesBefore) {
            take(properties.value());
        }
    });
}

void LoginSession::propertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList&)
{
    if (interface == kSession) {
        ++m_notices;
        take(changed);
    }
}

void LoginSession::take(const QVariantMap& properties)
{
    const bool wasInFront = isInFront();
    m_isActive = properties.value(u"Active"_s, m_isActive).toBool();
    m_isLocked = properties.value(u"LockedHint"_s, m_isLocked).toBool();
    if (isInFront() != wasInFront) {
        m_changed.call();
    }
}

}  // namespace tavlo
