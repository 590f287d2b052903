#include "platform/linux/freedesktop/bus_notification.h"
#include "platform/linux/freedesktop/session_bus_control.h"
#include "platform/linux/session_bus_address.h"
#include "support/fakes/manual_main_queue.h"
#include "support/private_bus.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QDBusVirtualObject>

#include <atomic>
#include <thread>

namespace tavlo {
namespace {

const QString kName = QStringLiteral("nl.pelloquintar.tavlo");
const QString kPath = QStringLiteral("/nl/pelloquintar/Tavlo1");
const QString kInterface = QStringLiteral("nl.pelloquintar.Tavlo1");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");

// Another program on the bus. It keeps the messages that reach it.
class OtherProgram : public QDBusVirtualObject {
public:
    explicit OtherProgram(const PrivateBus& bus)
        : m_bus(QDBusConnection::connectToBus(QString::fromLocal8Bit(bus.address()), QStringLiteral("other-program")))
    {
    }
    ~OtherProgram() override { QDBusConnection::disconnectFromBus(QStringLiteral("other-program")); }

    QDBusConnection& bus() { return m_bus; }
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override
    {
        messages.append(message);
        return true;
    }

    QList<QDBusMessage> messages;

private:
    QDBusConnection m_bus;
};

class RemoteControlTest : public ::testing::Test {
protected:
    RemoteHandlers handlers()
    {
        return {[this] { m_called += QStringLiteral("toggle "); }, [this] { m_called += QStringLiteral("cancel "); },
                [this] { m_called += QStringLiteral("paste "); }, [this] { m_called += QStringLiteral("settings "); }};
    }

    // Waits with the event loop and the queue running; time on the queue goes on.
    bool waitFor(const std::function<bool()>& condition)
    {
        return comesTrue([&] {
            QCoreApplication::processEvents();
            m_queue.advance(std::chrono::milliseconds(5));
            return condition();
        });
    }

    QDBusMessage call(const QString& interface, const QString& method, const QVariantList& arguments = {})
    {
        QDBusMessage message = QDBusMessage::createMethodCall(kName, kPath, interface, method);
        message.setArguments(arguments);
        const QDBusPendingCall pending = m_other.bus().asyncCall(message, 5'000);
        EXPECT_TRUE(waitFor([&] { return pending.isFinished(); }));
        return pending.reply();
    }

    QString property(const QString& name)
    {
        const QDBusMessage reply = call(kProperties, QStringLiteral("Get"), {kInterface, name});
        return reply.arguments().value(0).value<QDBusVariant>().variant().toString();
    }

    ManualMainQueue m_queue;
    PrivateBus m_bus;
    OtherProgram m_other{m_bus};
    SessionBusControl m_control{m_queue, QStringLiteral("1.2.3")};
    QString m_called;
};

TEST_F(RemoteControlTest, TheFirstInstanceHasTheName)
{
    EXPECT_EQ(m_control.claim(handlers()), ClaimResult::Claimed);
    EXPECT_TRUE(m_other.bus().interface()->isServiceRegistered(kName));
}

TEST_F(RemoteControlTest, ASecondInstanceAsksTheFirstToOpenItsSettings)
{
    ASSERT_EQ(m_control.claim(handlers()), ClaimResult::Claimed);
    std::atomic<bool> done = false;
    ClaimResult result = ClaimResult::NoBus;
    std::thread second([&] {
        ManualMainQueue queue;
        SessionBusControl control(queue, QStringLiteral("1.2.3"));
        result = control.claim({});
        done = true;
    });
    EXPECT_TRUE(waitFor([&] { return done.load(); }));
    second.join();
    EXPECT_EQ(result, ClaimResult::AlreadyRunning);
    EXPECT_TRUE(waitFor([&] { return !m_called.isEmpty(); }));
    EXPECT_EQ(m_called, QStringLiteral("settings "));
}

TEST_F(RemoteControlTest, TheNameIsFreeAgainAfterTheFirstInstanceEnded)
{
    {
        SessionBusControl first(m_queue, QStringLiteral("1"));
        ASSERT_EQ(first.claim(handlers()), ClaimResult::Claimed);
    }
    EXPECT_TRUE(waitFor([&] { return !m_other.bus().interface()->isServiceRegistered(kName).value(); }));
    EXPECT_EQ(m_control.claim(handlers()), ClaimResult::Claimed);
}

TEST_F(RemoteControlTest, EachMethodRunsItsHandlerByWayOfTheMainQueue)
{
    ASSERT_EQ(m_control.claim(handlers()), ClaimResult::Claimed);
    for (const char* method : {"Toggle", "Cancel", "PasteAgain", "OpenSettings"}) {
        EXPECT_EQ(call(kInterface, QString::fromLatin1(method)).type(), QDBusMessage::ReplyMessage);
    }
    EXPECT_TRUE(waitFor([&] { return m_called == QStringLiteral("toggle cancel paste settings "); }));
}

TEST_F(RemoteControlTest, AnUnknownMethodIsRefused)
{
    ASSERT_EQ(m_control.claim(handlers()), ClaimResult::Claimed);
    EXPECT_EQ(call(kInterface, QStringLiteral("Explode")).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(call(QStringLiteral("org.example.Other"), QStringLiteral("Toggle")).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(m_called, QString());
}

TEST_F(RemoteControlTest, PropertiesTellStateStatusLineAndVersion)
{
    m_control.publish(QStringLiteral("ready"), QStringLiteral("Klaar"));
    ASSERT_EQ(m_control.claim(handlers()), ClaimResult::Claimed);
    EXPECT_EQ(property(QStringLiteral("State")), QStringLiteral("ready"));
    EXPECT_EQ(property(QStringLiteral("StatusLine")), QStringLiteral("Klaar"));
    EXPECT_EQ(property(QStringLiteral("Version")), QStringLiteral("1.2.3"));
    m_control.publish(QStringLiteral("recording"), QStringLiteral("Opname…"));
    EXPECT_EQ(property(QStringLiteral("State")), QStringLiteral("recording"));
    EXPECT_EQ(property(QStringLiteral("StatusLine")), QStringLiteral("Opname…"));

    const QDBusMessage all = call(kProperties, QStringLiteral("GetAll"), {kInterface});
    EXPECT_EQ(qdbus_cast<QVariantMap>(all.arguments().value(0)).size(), 3);
}

TEST_F(RemoteControlTest, PropertiesCannotBeWrittenAndUnknownOnesAreRefused)
{
    ASSERT_EQ(m_control.claim(handlers()), ClaimResult::Claimed);
    const QVariant value = QVariant::fromValue(QDBusVariant(QStringLiteral("recording")));
    EXPECT_EQ(call(kProperties, QStringLiteral("Set"), {kInterface, QStringLiteral("State"), value}).errorName(),
              QStringLiteral("org.freedesktop.DBus.Error.PropertyReadOnly"));
    EXPECT_EQ(call(kProperties, QStringLiteral("Get"), {kInterface, QStringLiteral("Mood")}).errorName(),
              QStringLiteral("org.freedesktop.DBus.Error.UnknownProperty"));
    EXPECT_EQ(property(QStringLiteral("State")), QStringLiteral("ready"));
}

// Receives PropertiesChanged by a match of its own, as any program does.
TEST_F(RemoteControlTest, ChangesAreAnnouncedOnceAndOnlyWhatChanged)
{
    ASSERT_EQ(m_control.claim(handlers()), ClaimResult::Claimed);
    m_control.publish(QStringLiteral("ready"), QStringLiteral("Klaar"));
    QProcess watcher;
    watcher.setProcessEnvironment(m_bus.environment());
    watcher.start(QStringLiteral("dbus-monitor"),
                  {QStringLiteral("--session"), QStringLiteral("interface='org.freedesktop.DBus.Properties'")});
    QByteArray seen;
    const auto sees = [&](const QByteArray& text) {
        return waitFor([&] {
            watcher.waitForReadyRead(5);
            seen += watcher.readAll();
            return seen.contains(text);
        });
    };
    ASSERT_TRUE(sees("NameLost"));  // The monitor listens from here on.
    m_control.publish(QStringLiteral("recording"), QStringLiteral("Klaar"));
    m_control.publish(QStringLiteral("recording"), QStringLiteral("Klaar"));
    m_control.publish(QStringLiteral("recording"), QStringLiteral("Opname"));
    EXPECT_TRUE(sees("\"Opname\""));
    EXPECT_EQ(seen.count("member=PropertiesChanged"), 2);
    EXPECT_EQ(seen.count("\"recording\""), 1);
    EXPECT_FALSE(seen.contains("\"Klaar\""));
    watcher.terminate();
    watcher.waitForFinished();
}

TEST_F(RemoteControlTest, TheObjectDescribesItself)
{
    ASSERT_EQ(m_control.claim(handlers()), ClaimResult::Claimed);
    const QString xml = call(QStringLiteral("org.freedesktop.DBus.Introspectable"), QStringLiteral("Introspect"))
                            .arguments()
                            .value(0)
                            .toString();
    for (const char* part :
         {"<interface name=\"nl.pelloquintar.Tavlo1\">", "<method name=\"Toggle\"/>", "<method name=\"Cancel\"/>",
          "<method name=\"PasteAgain\"/>", "<method name=\"OpenSettings\"/>", "name=\"State\"", "name=\"StatusLine\"",
          "name=\"Version\"", "org.freedesktop.DBus.Properties"}) {
        EXPECT_TRUE(xml.contains(QLatin1String(part))) << part << "\n" << xml.toStdString();
    }
    EXPECT_EQ(xml.count(QLatin1String("</interface>")), xml.count(QLatin1String("<interface ")));
}

TEST_F(RemoteControlTest, WithoutABusThereIsNobodyToAsk)
{
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + QFile::encodeName(m_bus.home()) + "/none");
    EXPECT_EQ(m_control.claim(handlers()), ClaimResult::NoBus);
    m_control.publish(QStringLiteral("ready"), QStringLiteral("Klaar"));
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    const QByteArray before = qgetenv("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_bus.home()));
    EXPECT_EQ(m_control.claim(handlers()), ClaimResult::NoBus);
    qputenv("XDG_RUNTIME_DIR", before);
    BusNotification(m_control, QDBusConnection(QStringLiteral("none"))).show(QStringLiteral("x"), QStringLiteral("y"));
}

TEST(RemoteControl, ABusThatRefusesTheNameIsAsGoodAsNone)
{
    const PrivateBus bus("<deny own=\"nl.pelloquintar.tavlo\"/>");
    ManualMainQueue queue;
    SessionBusControl control(queue, QStringLiteral("1"));
    EXPECT_EQ(control.claim({}), ClaimResult::NoBus);
}

TEST(SessionBusAddress, WhereThereIsNoBusTheLibrariesAreKeptFromStartingOne)
{
    const QByteArray bus = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const QByteArray runtimeFolder = qgetenv("XDG_RUNTIME_DIR");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/somewhere");
    keepLibrariesFromStartingABus();
    EXPECT_EQ(qgetenv("DBUS_SESSION_BUS_ADDRESS"), "unix:path=/somewhere");

    const QTemporaryDir folder;
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(folder.path()));
    qputenv("DBUS_SESSION_BUS_ADDRESS", "");
    keepLibrariesFromStartingABus();
    const QString name = QStringLiteral("no-bus");
    const QDBusConnection none = QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
    EXPECT_FALSE(none.isConnected());
    // The search that ends in starting a bus has another error: it was not begun.
    EXPECT_EQ(none.lastError().name(), QStringLiteral("org.freedesktop.DBus.Error.BadAddress"))
        << none.lastError().message().toStdString();
    QDBusConnection::disconnectFromBus(name);
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus);
    qputenv("XDG_RUNTIME_DIR", runtimeFolder);
}

TEST_F(RemoteControlTest, TheNameIsClaimedAgainWhenTheBusComesBack)
{
    QString returned;
    m_control.onReturn([&](const QDBusConnection& bus) { returned += bus.name(); });
    ASSERT_EQ(m_control.claim(handlers()), ClaimResult::Claimed);
    m_bus.stop();
    QDBusConnection::disconnectFromBus(QStringLiteral("other-program"));
    EXPECT_TRUE(waitFor([&] { return !m_other.bus().isConnected(); }));
    m_control.publish(QStringLiteral("recording"), QStringLiteral("Opname"));
    for (int i = 0; i < 20; ++i) {
        QCoreApplication::processEvents();
        m_queue.advance(std::chrono::milliseconds(500));
    }
    m_bus.start();
    m_other.bus() =
        QDBusConnection::connectToBus(QString::fromLocal8Bit(m_bus.address()), QStringLiteral("other-program"));
    ASSERT_TRUE(waitFor([&] { return m_other.bus().interface()->isServiceRegistered(kName).value(); }));
    EXPECT_EQ(property(QStringLiteral("StatusLine")), QStringLiteral("Opname"));
    call(kInterface, QStringLiteral("Toggle"));
    EXPECT_TRUE(waitFor([&] { return m_called == QStringLiteral("toggle "); }));
    // Told once, with the connection that has the name.
    EXPECT_EQ(QDBusConnection(returned).baseService(), m_other.bus().interface()->serviceOwner(kName).value());
}

// Programs may call at every moment, also at the end.
TEST_F(RemoteControlTest, CallsThatComeWhileTheInstanceEndsFindNobody)
{
    QProcess caller;
    caller.setProcessEnvironment(m_bus.environment());
    caller.setProcessChannelMode(QProcess::MergedChannels);
    caller.start(QStringLiteral("/usr/bin/python3"), {QStringLiteral("-c"), QLatin1String(R"py(
import sys
from gi.repository import Gio, GLib
bus = Gio.bus_get_sync(Gio.BusType.SESSION)
print("ready", flush=True)
while True:
    for _ in range(50):
        bus.call("nl.pelloquintar.tavlo", "/nl/pelloquintar/Tavlo1", "org.freedesktop.DBus.Properties", "GetAll",
                 GLib.Variant("(s)", ("nl.pelloquintar.Tavlo1",)), None, Gio.DBusCallFlags.NO_AUTO_START, -1, None)
    bus.flush_sync(None)
)py")});
    ASSERT_TRUE(comesTrue([&] { return caller.waitForReadyRead(100); }));
    for (int i = 0; i < 300; ++i) {
        SessionBusControl control(m_queue, QStringLiteral("1"));
        ASSERT_NE(control.claim(handlers()), ClaimResult::AlreadyRunning);
        QThread::usleep(static_cast<unsigned long>(i % 30) * 100);
        if (i % 3 == 0) {
            QCoreApplication::processEvents();
        }
    }
    caller.kill();
    caller.waitForFinished();
}

TEST_F(RemoteControlTest, ANotificationReachesTheDesktopsService)
{
    ASSERT_TRUE(m_other.bus().registerVirtualObject(QStringLiteral("/org/freedesktop/Notifications"), &m_other));
    ASSERT_TRUE(m_other.bus().registerService(QStringLiteral("org.freedesktop.Notifications")));
    ASSERT_EQ(m_control.claim(handlers()), ClaimResult::Claimed);
    BusNotification(m_control, QDBusConnection(QStringLiteral("none")))
        .show(QStringLiteral("Geen systeemvak"), QStringLiteral("Tekst"));
    ASSERT_TRUE(waitFor([&] { return !m_other.messages.isEmpty(); }));
    const QDBusMessage& message = m_other.messages[0];
    EXPECT_EQ(message.member(), QStringLiteral("Notify"));
    EXPECT_EQ(message.signature(), QStringLiteral("susssasa{sv}i"));
    EXPECT_EQ(message.arguments()[0].toString(), QStringLiteral("Tavlo"));
    EXPECT_EQ(message.arguments()[3].toString(), QStringLiteral("Geen systeemvak"));
    EXPECT_EQ(message.arguments()[4].toString(), QStringLiteral("Tekst"));
}

TEST(BusNotificationTest, WithoutTheNameItGoesOverTheProgramsOtherConnection)
{
    const PrivateBus bus("<deny own=\"nl.pelloquintar.tavlo\"/>");
    OtherProgram other(bus);
    ASSERT_TRUE(other.bus().registerVirtualObject(QStringLiteral("/org/freedesktop/Notifications"), &other));
    ASSERT_TRUE(other.bus().registerService(QStringLiteral("org.freedesktop.Notifications")));
    ManualMainQueue queue;
    SessionBusControl control(queue, QStringLiteral("1"));
    ASSERT_EQ(control.claim({}), ClaimResult::NoBus);
    const QString name = QStringLiteral("second-connection");
    BusNotification(control, QDBusConnection::connectToBus(QString::fromLocal8Bit(bus.address()), name))
        .show(QStringLiteral("x"), QStringLiteral("y"));
    EXPECT_TRUE(comesTrue([&] {
        QCoreApplication::processEvents();
        return !other.messages.isEmpty();
    }));
    QDBusConnection::disconnectFromBus(name);
}

TEST_F(RemoteControlTest, ABusThatHangsDoesNotHoldUpANotification)
{
    ASSERT_TRUE(m_other.bus().registerVirtualObject(QStringLiteral("/org/freedesktop/Notifications"), &m_other));
    ASSERT_TRUE(m_other.bus().registerService(QStringLiteral("org.freedesktop.Notifications")));
    ASSERT_EQ(m_control.claim(handlers()), ClaimResult::Claimed);
    BusNotification notification(m_control, QDBusConnection(QStringLiteral("none")));
    m_bus.freeze(true);
    QElapsedTimer timer;
    timer.start();
    notification.show(QStringLiteral("x"), QStringLiteral("y"));
    EXPECT_LT(timer.elapsed(), 100);
    m_bus.freeze(false);
    EXPECT_TRUE(waitFor([&] { return !m_other.messages.isEmpty(); }));
}

}  // namespace
}  // namespace tavlo
