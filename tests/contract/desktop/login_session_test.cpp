#include "linux/freedesktop/login_session.h"
#include "platform/text_literals.h"
#include "support/private_bus.h"
#include "support/wait_until.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>

#include <gtest/gtest.h>

namespace tavlo {
namespace {

const QString kSessionPath = u"/org/freedesktop/login1/session/_32"_s;

// What keeps the login sessions, on a bus of the test's own.
class LoginManager : public QDBusVirtualObject {
public:
    explicit LoginManager(const PrivateBus& bus)
        : m_bus(QDBusConnection::connectToBus(QString::fromLocal8Bit(bus.address()), u"logind"_s))
    {
        if (!m_bus.registerVirtualObject(u"/org/freedesktop/login1"_s, this, QDBusConnection::SubPath) ||
            !m_bus.registerService(u"org.freedesktop.login1"_s)) {
            qFatal("The login sessions cannot be served.");
        }
    }
    ~LoginManager() override { QDBusConnection::disconnectFromBus(u"logind"_s); }

    void set(const QString& property, bool value)
    {
        m_properties.insert(property, value);
        QDBusMessage notice =
            QDBusMessage::createSignal(kSessionPath, u"org.freedesktop.DBus.Properties"_s, u"PropertiesChanged"_s);
        notice << u"org.freedesktop.login1.Session"_s << QVariantMap{{property, value}} << QStringList();
        m_bus.send(notice);
    }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        if (message.member() == "GetSession"_L1 && message.arguments().value(0) == u"auto"_s && hasSession) {
            connection.send(message.createReply(QVariant::fromValue(QDBusObjectPath(kSessionPath))));
        } else if (message.member() == "GetAll"_L1 && message.path() == kSessionPath) {
            connection.send(message.createReply(QVariant(m_properties)));
        } else {
            connection.send(message.createErrorReply(u"org.freedesktop.login1.NoSessionForPID"_s, u"none"_s));
        }
        ++questions;
        return true;
    }

    bool hasSession = true;
    int questions = 0;

private:
    QDBusConnection m_bus;
    QVariantMap m_properties{{u"Active"_s, true}, {u"LockedHint"_s, false}, {u"Type"_s, u"wayland"_s}};
};

class LoginSessionTest : public testing::Test {
protected:
    ~LoginSessionTest() override { QDBusConnection::disconnectFromBus(u"system"_s); }

    PrivateBus bus;
    QDBusConnection connection = QDBusConnection::connectToBus(QString::fromLocal8Bit(bus.address()), u"system"_s);
};

TEST_F(LoginSessionTest, IsInFrontWhileItIsActiveAndNotLocked)
{
    LoginManager manager(bus);
    LoginSession session(connection);
    int notices = 0;
    const Registration registration = session.onChange([&] { ++notices; });
    ASSERT_TRUE(waitUntil([&] { return manager.questions == 2; }));
    EXPECT_TRUE(session.isInFront());
    manager.set(u"LockedHint"_s, true);
    EXPECT_TRUE(waitUntil([&] { return !session.isInFront(); }));
    manager.set(u"Active"_s, false);
    manager.set(u"LockedHint"_s, false);
    manager.set(u"Active"_s, true);
    EXPECT_TRUE(waitUntil([&] { return session.isInFront(); }));
    EXPECT_EQ(notices, 2);
}

TEST_F(LoginSessionTest, ThatIsLockedAtTheStartIsKnown)
{
    LoginManager manager(bus);
    manager.set(u"LockedHint"_s, true);
    const LoginSession session(connection);
    EXPECT_TRUE(waitUntil([&] { return !session.isInFront(); }));
}

TEST_F(LoginSessionTest, WhereThereIsNoneTheUserIsInFront)
{
    LoginManager manager(bus);
    manager.hasSession = false;
    const LoginSession session(connection);
    ASSERT_TRUE(waitUntil([&] { return manager.questions == 1; }));
    EXPECT_TRUE(session.isInFront());
}

TEST_F(LoginSessionTest, WhereNobodyKeepsThemOrThereIsNoBusTheUserIsInFront)
{
    const LoginSession session(connection);
    const LoginSession withoutBus(QDBusConnection(u"none"_s));
    EXPECT_TRUE(session.isInFront());
    EXPECT_TRUE(withoutBus.isInFront());
}

}  // namespace
}  // namespace tavlo
