#include "contract/backend.h"
#include "contract/x11/x11_environment.h"
#include "linux/panel/linux_panel_appearance.h"
#include "linux/panel/linux_tray_host.h"
#include "platform/text_literals.h"
#include "support/fakes/fake_panel.h"
#include "support/private_bus.h"
#include "support/x_hands.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>

#include <gtest/gtest.h>

#include <memory>

namespace tavlo {
namespace {

const QString kWatcher = u"org.kde.StatusNotifierWatcher"_s;
const QString kPortal = u"org.freedesktop.portal.Desktop"_s;
const QString kPortalPath = u"/org/freedesktop/portal/desktop"_s;

// The desktop on a session bus of the test's own: shows the icons of programs, and tells the user's preference.
class DesktopOnBus : public QDBusVirtualObject {
public:
    explicit DesktopOnBus(const PrivateBus& bus)
        : m_bus(QDBusConnection::connectToBus(QString::fromLocal8Bit(bus.address()), u"desktop"_s))
    {
        if (!m_bus.registerVirtualObject(u"/StatusNotifierWatcher"_s, this) ||
            !m_bus.registerVirtualObject(kPortalPath, this)) {
            qFatal("The desktop cannot be served.");
        }
    }
    ~DesktopOnBus() override { QDBusConnection::disconnectFromBus(u"desktop"_s); }

    void showIcons(bool shows) { shows ? m_bus.registerService(kWatcher) : m_bus.unregisterService(kWatcher); }
    // 1 dark, 2 light, 0 neither.
    void setColourScheme(uint scheme)
    {
        m_scheme = scheme;
        if (!m_bus.registerService(kPortal)) {
            qFatal("The desktop's portal cannot be named.");
        }
        QDBusMessage notice =
            QDBusMessage::createSignal(kPortalPath, u"org.freedesktop.portal.Settings"_s, u"SettingChanged"_s);
        notice << u"org.freedesktop.appearance"_s << u"color-scheme"_s << QVariant::fromValue(QDBusVariant(m_scheme));
        m_bus.send(notice);
    }

    void holdAnswers() { m_holdsAnswers = true; }
    qsizetype heldAnswers() const { return m_held.size(); }
    void sendHeldAnswers()
    {
        for (const QDBusMessage& answer : std::as_const(m_held)) {
            m_bus.send(answer);
        }
    }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        if (message.member() == "Get"_L1) {
            connection.send(message.createReply(QVariant::fromValue(QDBusVariant(true))));
        } else if (message.member() == "Read"_L1) {
            const QVariant inner = QVariant::fromValue(QDBusVariant(m_scheme));
            const QDBusMessage answer = message.createReply(QVariant::fromValue(QDBusVariant(inner)));
            if (m_holdsAnswers) {
                m_held.append(answer);
            } else {
                connection.send(answer);
            }
        } else {
            return false;
        }
        return true;
    }

private:
    QDBusConnection m_bus;
    uint m_scheme = 0;
    bool m_holdsAnswers = false;
    QList<QDBusMessage> m_held;
};

// A panel that can show icons, and what the desktop says about its look.
class PanelRig {
public:
    virtual ~PanelRig() = default;
    virtual TrayHost& host() = 0;
    virtual PanelAppearance& appearance() = 0;
    virtual void showIconsOnBus(bool shows) = 0;
    virtual void prefer(std::optional<Shade> shade) = 0;
};

class FakeRig : public PanelRig {
public:
    explicit FakeRig(TrayKind kind)
    {
        m_kindWithoutBus = kind;
        m_host.set(kind);
        m_surroundings.desktops = QStringList{u"ubuntu"_s, u"GNOME"_s};
        m_appearance.set(m_surroundings);
    }
    TrayHost& host() override { return m_host; }
    PanelAppearance& appearance() override { return m_appearance; }
    void showIconsOnBus(bool shows) override { m_host.set(shows ? TrayKind::Bus : m_kindWithoutBus); }
    void prefer(std::optional<Shade> shade) override
    {
        m_surroundings.preference = shade;
        m_appearance.set(m_surroundings);
    }

private:
    TrayKind m_kindWithoutBus = TrayKind::None;
    PanelSurroundings m_surroundings;
    FakeTrayHost m_host;
    FakePanelAppearance m_appearance;
};

class RealRig : public PanelRig {
public:
    explicit RealRig(TrayKind kind)
    {
        if (kind == TrayKind::Embedding) {
            m_hands.ownSelection("_NET_SYSTEM_TRAY_S0", m_hands.createWindow(0, 0, 1, 1));
        }
        m_host.emplace(m_connection);
        m_appearance.emplace(m_connection, u"ubuntu:GNOME"_s);
    }
    ~RealRig() override
    {
        m_host.reset();
        m_appearance.reset();
        m_hands.ownSelection("_NET_SYSTEM_TRAY_S0", XCB_WINDOW_NONE);
        QDBusConnection::disconnectFromBus(u"panel"_s);
    }
    TrayHost& host() override { return *m_host; }
    PanelAppearance& appearance() override { return *m_appearance; }
    void showIconsOnBus(bool shows) override { m_desktop.showIcons(shows); }
    void prefer(std::optional<Shade> shade) override
    {
        m_desktop.setColourScheme(!shade ? 0 : *shade == Shade::Dark ? 1 : 2);
    }

private:
    PrivateBus m_bus;
    DesktopOnBus m_desktop{m_bus};
    QDBusConnection m_connection = QDBusConnection::connectToBus(QString::fromLocal8Bit(m_bus.address()), u"panel"_s);
    XHands m_hands{testServer().displayName()};
    std::optional<LinuxTrayHost> m_host;
    std::optional<LinuxPanelAppearance> m_appearance;
};

std::unique_ptr<PanelRig> makeRig(Backend backend, TrayKind kind = TrayKind::None)
{
    if (backend == Backend::Real) {
        return std::make_unique<RealRig>(kind);
    }
    return std::make_unique<FakeRig>(kind);
}

class TrayHostContract : public testing::TestWithParam<Backend> {};

TEST_P(TrayHostContract, FollowsATrayOnTheBusThatComesAndGoes)
{
    const auto rig = makeRig(GetParam());
    TrayHost& host = rig->host();
    EXPECT_EQ(host.kind(), TrayKind::None);
    int notices = 0;
    const Registration registration = host.onChange([&] { ++notices; });
    rig->showIconsOnBus(true);
    EXPECT_TRUE(waitUntil([&] { return notices == 1; }));
    EXPECT_EQ(host.kind(), TrayKind::Bus);
    EXPECT_TRUE(host.offers(TrayKind::Bus));
    EXPECT_FALSE(host.offers(TrayKind::Embedding));
    rig->showIconsOnBus(false);
    EXPECT_TRUE(waitUntil([&] { return notices == 2; }));
    EXPECT_EQ(host.kind(), TrayKind::None);
    EXPECT_FALSE(host.offers(TrayKind::Bus));
    EXPECT_EQ(host.busNumber(), 1);
}

TEST_P(TrayHostContract, ATrayOnTheBusIsBetterThanOneThatEmbeds)
{
    const auto rig = makeRig(GetParam(), TrayKind::Embedding);
    EXPECT_EQ(rig->host().kind(), TrayKind::Embedding);
    EXPECT_TRUE(rig->host().offers(TrayKind::Embedding));
    rig->showIconsOnBus(true);
    EXPECT_TRUE(waitUntil([&] { return rig->host().kind() == TrayKind::Bus; }));
    EXPECT_TRUE(rig->host().offers(TrayKind::Embedding)) << "it is still there";
    rig->showIconsOnBus(false);
    EXPECT_TRUE(waitUntil([&] { return rig->host().kind() == TrayKind::Embedding; }));
}

TEST_P(TrayHostContract, EveryObserverIsToldUntilItsRegistrationEnds)
{
    const auto rig = makeRig(GetParam());
    int first = 0;
    int second = 0;
    Registration one = rig->host().onChange([&] { ++first; });
    const Registration other = rig->host().onChange([&] { ++second; });
    rig->showIconsOnBus(true);
    EXPECT_TRUE(waitUntil([&] { return first == 1 && second == 1; }));
    one = {};
    rig->showIconsOnBus(false);
    EXPECT_TRUE(waitUntil([&] { return second == 2; }));
    EXPECT_EQ(first, 1);
}

INSTANTIATE_TEST_SUITE_P(On, TrayHostContract, testing::Values(Backend::Fake, Backend::Real),
                         testing::PrintToStringParamName());

class PanelAppearanceContract : public testing::TestWithParam<Backend> {};

TEST_P(PanelAppearanceContract, KnowsTheDesktopAndFollowsTheUsersPreference)
{
    const auto rig = makeRig(GetParam());
    PanelAppearance& appearance = rig->appearance();
    PanelSurroundings expected;
    expected.desktops = QStringList{u"ubuntu"_s, u"GNOME"_s};
    EXPECT_EQ(appearance.surroundings(), expected);
    int notices = 0;
    const Registration registration = appearance.onChange([&] { ++notices; });
    for (const std::optional<Shade> shade : {std::optional(Shade::Dark), std::optional(Shade::Light), {}}) {
        const int before = notices;
        rig->prefer(shade);
        expected.preference = shade;
        EXPECT_TRUE(waitUntil([&] { return appearance.surroundings() == expected; }));
        EXPECT_GT(notices, before);
    }
}

TEST_P(PanelAppearanceContract, EveryObserverIsToldUntilItsRegistrationEnds)
{
    const auto rig = makeRig(GetParam());
    int first = 0;
    int second = 0;
    Registration one = rig->appearance().onChange([&] { ++first; });
    const Registration other = rig->appearance().onChange([&] { ++second; });
    rig->prefer(Shade::Dark);
    EXPECT_TRUE(waitUntil([&] { return first == 1 && second == 1; }));
    one = {};
    rig->prefer(Shade::Light);
    EXPECT_TRUE(waitUntil([&] { return second == 2; }));
    EXPECT_EQ(first, 1);
}

TEST(LinuxPanelAppearanceTest, AnAnswerThatIsOlderThanANoticeIsNotBelieved)
{
    const PrivateBus bus;
    DesktopOnBus desktop(bus);
    desktop.setColourScheme(1);
    desktop.holdAnswers();
    const QDBusConnection connection = QDBusConnection::connectToBus(QString::fromLocal8Bit(bus.address()), u"panel"_s);
    {
        LinuxPanelAppearance appearance(connection, u"GNOME"_s);
        EXPECT_TRUE(waitUntil([&] { return desktop.heldAnswers() == 1; }));
        QList<std::optional<Shade>> seen;
        const Registration registration =
            appearance.onChange([&] { seen.append(appearance.surroundings().preference); });
        desktop.setColourScheme(2);
        EXPECT_TRUE(waitUntil([&] { return appearance.surroundings().preference == Shade::Light; }));
        desktop.sendHeldAnswers();
        desktop.setColourScheme(0);  // arrives after the old answer
        EXPECT_TRUE(waitUntil([&] { return !appearance.surroundings().preference; }));
        EXPECT_EQ(seen, (QList<std::optional<Shade>>{Shade::Light, std::nullopt}));
    }
    QDBusConnection::disconnectFromBus(u"panel"_s);
}

INSTANTIATE_TEST_SUITE_P(On, PanelAppearanceContract, testing::Values(Backend::Fake, Backend::Real),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace tavlo
