#include "contract/backend.h"
#include "contract/desktop/other_program.h"
#include "linux/freedesktop/bus_notification.h"
#include "linux/freedesktop/session_bus_control.h"
#include "platform/text_literals.h"
#include "support/fakes/fake_desktop_notification.h"
#include "support/fakes/manual_main_queue.h"
#include "support/given_time.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <memory>

namespace tavlo {
namespace {

// A desktop that shows notices.
class NotificationRig {
public:
    using Notice = FakeDesktopNotification::Notice;

    virtual ~NotificationRig() = default;
    virtual DesktopNotification& notification() = 0;
    virtual std::vector<Notice> shown() = 0;
};

class FakeRig : public NotificationRig {
public:
    DesktopNotification& notification() override { return m_notification; }
    std::vector<Notice> shown() override { return m_notification.shown; }

private:
    FakeDesktopNotification m_notification;
};

// With a session bus and the instance that has the program's name there.
class RealRig : public NotificationRig {
public:
    RealRig()
    {
        if (!m_desktop.serveNotifications() || m_control.claim() != ClaimResult::Claimed) {
            qFatal("The test's bus refuses a name.");
        }
    }

    PrivateBus& bus() { return m_bus; }
    const QList<QDBusMessage>& messages() const { return m_desktop.messages; }
    DesktopNotification& notification() override { return m_notification; }
    std::vector<Notice> shown() override
    {
        QCoreApplication::processEvents();
        std::vector<Notice> notices;
        for (const QDBusMessage& message : messages()) {
            notices.push_back({message.arguments().value(3).toString(), message.arguments().value(4).toString()});
        }
        return notices;
    }

private:
    ManualMainQueue m_queue;
    PrivateBus m_bus;
    OtherProgram m_desktop{m_bus};
    SessionBusControl m_control{m_queue, u"1.2.3"_s};
    BusNotification m_notification{m_control, QDBusConnection(u"none"_s)};
};

class DesktopNotificationContract : public ::testing::TestWithParam<Backend> {
protected:
    DesktopNotificationContract()
    {
        if (GetParam() == Backend::Real) {
            m_rig = std::make_unique<RealRig>();
        } else {
            m_rig = std::make_unique<FakeRig>();
        }
    }

    std::unique_ptr<NotificationRig> m_rig;
};

TEST_P(DesktopNotificationContract, EachNoticeIsShownWithItsTitleAndText)
{
    const std::vector<NotificationRig::Notice> expected{{u"Geen systeemvak"_s, u"Tekst"_s}, {u"Title"_s, u"<b> & é"_s}};
    for (const auto& notice : expected) {
        m_rig->notification().show(notice.title, notice.text);
    }
    EXPECT_TRUE(comesTrue([&] { return m_rig->shown() == expected; }));
}

INSTANTIATE_TEST_SUITE_P(On, DesktopNotificationContract, ::testing::Values(Backend::Fake, Backend::Real),
                         ::testing::PrintToStringParamName());

TEST(BusNotification, IsTheCallThatTheDesktopsServiceKnows)
{
    RealRig rig;
    rig.notification().show(u"Title"_s, u"Text"_s);
    ASSERT_TRUE(comesTrue([&] { return rig.shown().size() == 1; }));
    const QDBusMessage& message = rig.messages()[0];
    EXPECT_EQ(message.member(), u"Notify"_s);
    EXPECT_EQ(message.signature(), u"susssasa{sv}i"_s);
    EXPECT_EQ(message.arguments()[0].toString(), u"Tavlo"_s);
}

TEST(BusNotification, ABusThatHangsHoldsNothingUp)
{
    RealRig rig;
    rig.bus().freeze(true);
    const GivenTime showing;
    rig.notification().show(u"x"_s, u"y"_s);
    EXPECT_LT(showing.elapsed(), std::chrono::milliseconds(100));
    rig.bus().freeze(false);
    EXPECT_TRUE(comesTrue([&] { return rig.shown().size() == 1; }));
}

TEST(BusNotification, WithoutTheNameItGoesOverTheProgramsOtherConnection)
{
    const PrivateBus bus("<deny own=\"nl.pelloquintar.tavlo\"/>");
    OtherProgram desktop(bus);
    ASSERT_TRUE(desktop.serveNotifications());
    ManualMainQueue queue;
    SessionBusControl control(queue, u"1"_s);
    ASSERT_EQ(control.claim(), ClaimResult::NoBus);
    const QString name = u"second-connection"_s;
    BusNotification(control, QDBusConnection::connectToBus(QString::fromLocal8Bit(bus.address()), name))
        .show(u"x"_s, u"y"_s);
    EXPECT_TRUE(comesTrue([&] {
        QCoreApplication::processEvents();
        return !desktop.messages.isEmpty();
    }));
    QDBusConnection::disconnectFromBus(name);
}

TEST(BusNotification, WithoutABusNothingHappens)
{
    ManualMainQueue queue;
    SessionBusControl control(queue, u"1"_s);
    BusNotification(control, QDBusConnection(u"none"_s)).show(u"x"_s, u"y"_s);
}

}  // namespace
}  // namespace tavlo
