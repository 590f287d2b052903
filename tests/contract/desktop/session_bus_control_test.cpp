#include "linux/freedesktop/session_bus_control.h"
#include "contract/desktop/other_program.h"
#include "linux/freedesktop/session_bus_address.h"
#include "platform/text_literals.h"
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

#include <vector>

namespace tavlo {
namespace {

const QString kName = u"nl.pelloquintar.tavlo"_s;
const QString kPath = u"/nl/pelloquintar/Tavlo1"_s;
const QString kInterface = u"nl.pelloquintar.Tavlo1"_s;
const QString kProperties = u"org.freedesktop.DBus.Properties"_s;

class SessionBusControlTest : public ::testing::Test {
protected:
    using Commands = std::vector<RemoteCommand>;

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
        const QDBusMessage reply = call(kProperties, u"Get"_s, {kInterface, name});
        return reply.arguments().value(0).value<QDBusVariant>().variant().toString();
    }

    ManualMainQueue m_queue;
    PrivateBus m_bus;
    OtherProgram m_other{m_bus};
    SessionBusControl m_control{m_queue, u"1.2.3"_s};
    Commands m_commands;
    Registration m_registration = m_control.onCommand([this](RemoteCommand command) { m_commands.push_back(command); });
};

TEST_F(SessionBusControlTest, TheFirstInstanceHasTheName)
{
    EXPECT_EQ(m_control.claim(), ClaimResult::Claimed);
    EXPECT_TRUE(m_other.bus().interface()->isServiceRegistered(kName));
}

TEST_F(SessionBusControlTest, AnUnknownMethodIsRefused)
{
    ASSERT_EQ(m_control.claim(), ClaimResult::Claimed);
    EXPECT_EQ(call(kInterface, u"Explode"_s).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(call(u"org.example.Other"_s, u"Toggle"_s).type(), QDBusMessage::ErrorMessage);
    EXPECT_TRUE(m_commands.empty());
}

TEST_F(SessionBusControlTest, PropertiesTellStateStatusLineAndVersion)
{
    m_control.publish(Activity::Ready, u"Klaar"_s);
    ASSERT_EQ(m_control.claim(), ClaimResult::Claimed);
    EXPECT_EQ(property(u"State"_s), u"ready"_s);
    EXPECT_EQ(property(u"StatusLine"_s), u"Klaar"_s);
    EXPECT_EQ(property(u"Version"_s), u"1.2.3"_s);
    m_control.publish(Activity::Recording, u"Opname…"_s);
    EXPECT_EQ(property(u"State"_s), u"recording"_s);
    EXPECT_EQ(property(u"StatusLine"_s), u"Opname…"_s);

    const QDBusMessage all = call(kProperties, u"GetAll"_s, {kInterface});
    EXPECT_EQ(qdbus_cast<QVariantMap>(all.arguments().value(0)).size(), 3);
}

TEST_F(SessionBusControlTest, PropertiesCannotBeWrittenAndUnknownOnesAreRefused)
{
    ASSERT_EQ(m_control.claim(), ClaimResult::Claimed);
    const QVariant value = QVariant::fromValue(QDBusVariant(u"recording"_s));
    EXPECT_EQ(call(kProperties, u"Set"_s, {kInterface, u"State"_s, value}).errorName(),
              u"org.freedesktop.DBus.Error.PropertyReadOnly"_s);
    EXPECT_EQ(call(kProperties, u"Get"_s, {kInterface, u"Mood"_s}).errorName(),
              u"org.freedesktop.DBus.Error.UnknownProperty"_s);
    EXPECT_EQ(property(u"State"_s), u"ready"_s);
}

// Receives PropertiesChanged by a match of its own, as any program does.
TEST_F(SessionBusControlTest, ChangesAreAnnouncedOnceAndOnlyWhatChanged)
{
    ASSERT_EQ(m_control.claim(), ClaimResult::Claimed);
    m_control.publish(Activity::Ready, u"Klaar"_s);
    QProcess watcher;
    watcher.setProcessEnvironment(m_bus.environment());
    watcher.start(u"dbus-monitor"_s, {u"--session"_s, u"interface='org.freedesktop.DBus.Properties'"_s});
    QByteArray seen;
    const auto sees = [&](const QByteArray& text) {
        return waitFor([&] {
            watcher.waitForReadyRead(5);
            seen += watcher.readAll();
            return seen.contains(text);
        });
    };
    ASSERT_TRUE(sees("NameLost"));  // The monitor listens from here on.
    m_control.publish(Activity::Recording, u"Klaar"_s);
    m_control.publish(Activity::Recording, u"Klaar"_s);
    m_control.publish(Activity::Recording, u"Opname"_s);
    EXPECT_TRUE(sees("\"Opname\""));
    EXPECT_EQ(seen.count("member=PropertiesChanged"), 2);
    EXPECT_EQ(seen.count("\"recording\""), 1);
    EXPECT_FALSE(seen.contains("\"Klaar\""));
    watcher.terminate();
    watcher.waitForFinished();
}

TEST_F(SessionBusControlTest, TheObjectDescribesItself)
{
    ASSERT_EQ(m_control.claim(), ClaimResult::Claimed);
    const QString xml = call(u"org.freedesktop.DBus.Introspectable"_s, u"Introspect"_s).arguments().value(0).toString();
    for (const char* part :
         {"<interface name=\"nl.pelloquintar.Tavlo1\">", "<method name=\"Toggle\"/>", "<method name=\"Cancel\"/>",
          "<method name=\"PasteAgain\"/>", "<method name=\"OpenSettings\"/>", "name=\"State\"", "name=\"StatusLine\"",
          "name=\"Version\"", "org.freedesktop.DBus.Properties"}) {
        EXPECT_TRUE(xml.contains(QLatin1String(part))) << part << "\n" << xml.toStdString();
    }
    EXPECT_EQ(xml.count("</interface>"_L1), xml.count("<interface "_L1));
}

TEST_F(SessionBusControlTest, WithoutABusThereIsNobodyToAsk)
{
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + QFile::encodeName(m_bus.home()) + "/none");
    EXPECT_EQ(m_control.claim(), ClaimResult::NoBus);
    m_control.publish(Activity::Ready, u"Klaar"_s);
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    const QByteArray before = qgetenv("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_bus.home()));
    EXPECT_EQ(m_control.claim(), ClaimResult::NoBus);
    qputenv("XDG_RUNTIME_DIR", before);
}

TEST(SessionBusControl, ABusThatRefusesTheNameIsAsGoodAsNone)
{
    const PrivateBus bus("<deny own=\"nl.pelloquintar.tavlo\"/>");
    ManualMainQueue queue;
    SessionBusControl control(queue, u"1"_s);
    EXPECT_EQ(control.claim(), ClaimResult::NoBus);
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
    const QString name = u"no-bus"_s;
    const QDBusConnection none = QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
    EXPECT_FALSE(none.isConnected());
    // The search that ends in starting a bus has another error: it was not begun.
    EXPECT_EQ(none.lastError().name(), u"org.freedesktop.DBus.Error.BadAddress"_s)
        << none.lastError().message().toStdString();
    QDBusConnection::disconnectFromBus(name);
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus);
    qputenv("XDG_RUNTIME_DIR", runtimeFolder);
}

TEST_F(SessionBusControlTest, TheNameIsClaimedAgainWhenTheBusComesBack)
{
    QString returned;
    m_control.onReturn([&](const QDBusConnection& bus) { returned += bus.name(); });
    ASSERT_EQ(m_control.claim(), ClaimResult::Claimed);
    m_bus.stop();
    QDBusConnection::disconnectFromBus(u"other-program"_s);
    EXPECT_TRUE(waitFor([&] { return !m_other.bus().isConnected(); }));
    m_control.publish(Activity::Recording, u"Opname"_s);
    for (int i = 0; i < 20; ++i) {
        QCoreApplication::processEvents();
        m_queue.advance(std::chrono::milliseconds(500));
    }
    m_bus.start();
    m_other.bus() = QDBusConnection::connectToBus(QString::fromLocal8Bit(m_bus.address()), u"other-program"_s);
    ASSERT_TRUE(waitFor([&] { return m_other.bus().interface()->isServiceRegistered(kName).value(); }));
    EXPECT_EQ(property(u"StatusLine"_s), u"Opname"_s);
    call(kInterface, u"Toggle"_s);
    EXPECT_TRUE(waitFor([&] { return m_commands == Commands{RemoteCommand::Toggle}; }));
    // Told once, with the connection that has the name.
    EXPECT_EQ(QDBusConnection(returned).baseService(), m_other.bus().interface()->serviceOwner(kName).value());
}

// Programs may call at every moment, also at the end.
TEST_F(SessionBusControlTest, CallsThatComeWhileTheInstanceEndsFindNobody)
{
    QProcess caller;
    caller.setProcessEnvironment(m_bus.environment());
    caller.setProcessChannelMode(QProcess::MergedChannels);
    caller.start(u"/usr/bin/python3"_s, {u"-c"_s, QLatin1String(R"py(
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
        SessionBusControl control(m_queue, u"1"_s);
        // The bus may hear of the new instance before it sees that the last one's connection was closed.
        ASSERT_TRUE(comesTrue([&] { return control.claim() == ClaimResult::Claimed; }));
        QThread::usleep(static_cast<unsigned long>(i % 30) * 100);
        if (i % 3 == 0) {
            QCoreApplication::processEvents();
        }
    }
    caller.kill();
    caller.waitForFinished();
}

}  // namespace
}  // namespace tavlo
