#include "platform/remote_control.h"
#include "contract/backend.h"
#include "contract/desktop/other_program.h"
#include "linux/freedesktop/session_bus_control.h"
#include "platform/text_literals.h"
#include "support/fakes/fake_remote_control.h"
#include "support/fakes/manual_main_queue.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusPendingCall>
#include <QDBusVariant>

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace tavlo {
namespace {

// A user's session, with the first instance of the program and another program that controls it.
class SessionRig {
public:
    virtual ~SessionRig() = default;

    virtual RemoteControl& control() = 0;
    virtual void endControl() = 0;
    // What a further instance of the program is told. Its control is gone again when this returns.
    virtual ClaimResult claimByAnotherInstance() = 0;
    // From another program; false when nobody answers.
    virtual bool call(RemoteCommand command) = 0;
    // As another program reads them.
    virtual QString state() = 0;
    virtual QString statusLine() = 0;
    virtual void removeBus() = 0;
    // Lets the queue and all programs run until the condition holds; false when it does not in time.
    virtual bool runUntil(const std::function<bool()>& condition) = 0;

    ManualMainQueue queue;
};

class FakeRig : public SessionRig {
public:
    RemoteControl& control() override { return *m_control; }
    void endControl() override { m_control.reset(); }
    ClaimResult claimByAnotherInstance() override { return FakeRemoteControl(queue, m_session).claim(); }
    bool call(RemoteCommand command) override { return m_session.call(command); }
    QString state() override
    {
        static const std::map<Activity, QString> kStates{{Activity::Ready, u"ready"_s},
                                                         {Activity::Recording, u"recording"_s},
                                                         {Activity::Transcribing, u"transcribing"_s},
                                                         {Activity::Capturing, u"capturing"_s}};
        return kStates.at(m_control->published.empty() ? Activity::Ready : m_control->published.back().activity);
    }
    QString statusLine() override
    {
        return m_control->published.empty() ? QString() : m_control->published.back().statusLine;
    }
    void removeBus() override { m_session.hasBus = false; }
    bool runUntil(const std::function<bool()>& condition) override
    {
        queue.advance(std::chrono::seconds(1));
        return condition();
    }

private:
    FakeSession m_session;
    std::optional<FakeRemoteControl> m_control{std::in_place, queue, m_session};
};

class RealRig : public SessionRig {
public:
    RemoteControl& control() override { return *m_control; }
    void endControl() override
    {
        m_control.reset();
        runUntil([this] { return !m_other.bus().interface()->isServiceRegistered(kName).value(); });
    }
    ClaimResult claimByAnotherInstance() override
    {
        std::atomic<bool> done = false;
        ClaimResult result = ClaimResult::NoBus;
        std::thread second([&] {
            ManualMainQueue itsQueue;
            result = SessionBusControl(itsQueue, u"2"_s).claim();
            done = true;
        });
        runUntil([&] { return done.load(); });
        second.join();
        return result;
    }
    bool call(RemoteCommand command) override
    {
        static const std::map<RemoteCommand, QString> kMethods{{RemoteCommand::Toggle, u"Toggle"_s},
                                                               {RemoteCommand::Cancel, u"Cancel"_s},
                                                               {RemoteCommand::PasteAgain, u"PasteAgain"_s},
                                                               {RemoteCommand::OpenSettings, u"OpenSettings"_s}};
        return ask(kInterface, kMethods.at(command), {}).type() == QDBusMessage::ReplyMessage;
    }
    QString state() override { return property(u"State"_s); }
    QString statusLine() override { return property(u"StatusLine"_s); }
    void removeBus() override
    {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + QFile::encodeName(m_bus.home()) + "/none");
    }
    bool runUntil(const std::function<bool()>& condition) override
    {
        return comesTrue([&] {
            QCoreApplication::processEvents();
            queue.advance(std::chrono::milliseconds(5));
            return condition();
        });
    }

private:
    static inline const QString kName = u"nl.pelloquintar.tavlo"_s;
    static inline const QString kInterface = u"nl.pelloquintar.Tavlo1"_s;

    // The queue stands still meanwhile: a command that was answered has not run yet.
    QDBusMessage ask(const QString& interface, const QString& method, const QVariantList& arguments)
    {
        QDBusMessage message = QDBusMessage::createMethodCall(kName, u"/nl/pelloquintar/Tavlo1"_s, interface, method);
        message.setArguments(arguments);
        const QDBusPendingCall pending = m_other.bus().asyncCall(message, 5'000);
        comesTrue([&] {
            QCoreApplication::processEvents();
            return pending.isFinished();
        });
        return pending.reply();
    }
    QString property(const QString& name)
    {
        const QDBusMessage reply = ask(u"org.freedesktop.DBus.Properties"_s, u"Get"_s, {kInterface, name});
        return reply.arguments().value(0).value<QDBusVariant>().variant().toString();
    }

    PrivateBus m_bus;
    OtherProgram m_other{m_bus};
    std::optional<SessionBusControl> m_control{std::in_place, queue, u"1"_s};
};

class RemoteControlContract : public ::testing::TestWithParam<Backend> {
protected:
    RemoteControlContract()
    {
        if (GetParam() == Backend::Real) {
            m_rig = std::make_unique<RealRig>();
        } else {
            m_rig = std::make_unique<FakeRig>();
        }
        m_registration = listen();
    }

    using Commands = std::vector<RemoteCommand>;

    Registration listen()
    {
        return m_rig->control().onCommand([this](RemoteCommand command) { m_commands.push_back(command); });
    }
    bool commandsCome(const Commands& expected)
    {
        return m_rig->runUntil([&] { return m_commands == expected; });
    }

    std::unique_ptr<SessionRig> m_rig;
    Commands m_commands;
    Registration m_registration;
};

TEST_P(RemoteControlContract, ASecondInstanceAsksTheFirstToOpenItsSettings)
{
    ASSERT_EQ(m_rig->control().claim(), ClaimResult::Claimed);
    EXPECT_EQ(m_rig->claimByAnotherInstance(), ClaimResult::AlreadyRunning);
    EXPECT_TRUE(commandsCome({RemoteCommand::OpenSettings}));
}

TEST_P(RemoteControlContract, TheNextInstanceTakesThePlaceOfOneThatEnded)
{
    ASSERT_EQ(m_rig->control().claim(), ClaimResult::Claimed);
    m_rig->endControl();
    EXPECT_EQ(m_rig->claimByAnotherInstance(), ClaimResult::Claimed);
    EXPECT_EQ(m_commands, Commands());
}

TEST_P(RemoteControlContract, EachCommandIsAnsweredAndThenRunsByWayOfTheMainQueue)
{
    ASSERT_EQ(m_rig->control().claim(), ClaimResult::Claimed);
    const Commands all{RemoteCommand::Toggle, RemoteCommand::Cancel, RemoteCommand::PasteAgain,
                       RemoteCommand::OpenSettings};
    for (const RemoteCommand command : all) {
        EXPECT_TRUE(m_rig->call(command));
    }
    EXPECT_EQ(m_commands, Commands()) << "none runs before the queue does";
    EXPECT_TRUE(commandsCome(all));
}

TEST_P(RemoteControlContract, ACommandThatNobodyListensToIsAnsweredAndDropped)
{
    ASSERT_EQ(m_rig->control().claim(), ClaimResult::Claimed);
    m_registration = {};
    EXPECT_TRUE(m_rig->call(RemoteCommand::Toggle));
    m_rig->queue.runPending();
    m_registration = listen();
    EXPECT_TRUE(m_rig->call(RemoteCommand::Cancel));
    EXPECT_TRUE(commandsCome({RemoteCommand::Cancel}));
}

TEST_P(RemoteControlContract, NobodyAnswersBeforeTheClaimAndAfterTheEnd)
{
    EXPECT_FALSE(m_rig->call(RemoteCommand::Toggle));
    ASSERT_EQ(m_rig->control().claim(), ClaimResult::Claimed);
    EXPECT_TRUE(m_rig->call(RemoteCommand::Toggle));
    m_rig->endControl();
    EXPECT_FALSE(m_rig->call(RemoteCommand::Toggle));
    m_rig->queue.advance(std::chrono::seconds(1));
    EXPECT_EQ(m_commands, Commands()) << "a command that still waits goes with the control";
}

TEST_P(RemoteControlContract, OtherProgramsReadWhatIsPublishedAlsoBeforeTheClaim)
{
    m_rig->control().publish(Activity::Ready, u"Klaar"_s);
    ASSERT_EQ(m_rig->control().claim(), ClaimResult::Claimed);
    EXPECT_EQ(m_rig->state(), u"ready"_s);
    EXPECT_EQ(m_rig->statusLine(), u"Klaar"_s);
    m_rig->control().publish(Activity::Recording, u"Opname…"_s);
    EXPECT_EQ(m_rig->state(), u"recording"_s);
    EXPECT_EQ(m_rig->statusLine(), u"Opname…"_s);
}

TEST_P(RemoteControlContract, WithoutABusThereIsNobodyToAsk)
{
    m_rig->removeBus();
    EXPECT_EQ(m_rig->control().claim(), ClaimResult::NoBus);
    m_rig->control().publish(Activity::Ready, u"Klaar"_s);
    EXPECT_FALSE(m_rig->call(RemoteCommand::Toggle));
    EXPECT_EQ(m_commands, Commands());
}

INSTANTIATE_TEST_SUITE_P(On, RemoteControlContract, ::testing::Values(Backend::Fake, Backend::Real),
                         ::testing::PrintToStringParamName());

}  // namespace
}  // namespace tavlo
