#include "linux/secretservice/secret_service_store.h"
#include "platform/text_literals.h"
#include "support/fakes/manual_main_queue.h"
#include "support/private_bus.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>

namespace tavlo {
namespace {

const QString kServicePath = u"/org/freedesktop/secrets"_s;
const QString kCollection = u"/org/freedesktop/secrets/collection/login"_s;
const QString kPrompt = u"/org/freedesktop/secrets/prompt/p1"_s;

// A keyring with one collection, locked, which opens only by a prompt that the user has to answer.
class PromptingKeyring : public QDBusVirtualObject {
public:
    explicit PromptingKeyring(const PrivateBus& bus)
        : m_bus(QDBusConnection::connectToBus(QString::fromLocal8Bit(bus.address()), u"keyring"_s))
    {
        if (!m_bus.registerVirtualObject(kServicePath, this, QDBusConnection::SubPath) ||
            !m_bus.registerService(u"org.freedesktop.secrets"_s)) {
            qFatal("The keyring cannot be served.");
        }
    }
    ~PromptingKeyring() override { QDBusConnection::disconnectFromBus(u"keyring"_s); }

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        const QString method = message.member();
        const QList<QDBusObjectPath> none;
        if (method == "SearchItems"_L1) {
            connection.send(message.createReply({QVariant::fromValue(none), QVariant::fromValue(none)}));
        } else if (method == "ReadAlias"_L1) {
            connection.send(message.createReply(QVariant::fromValue(QDBusObjectPath(kCollection))));
        } else if (method == "Get"_L1) {
            connection.send(message.createReply(QVariant::fromValue(QDBusVariant(locked))));
        } else if (method == "Unlock"_L1) {
            ++unlockCalls;
            connection.send(
                message.createReply({QVariant::fromValue(none), QVariant::fromValue(QDBusObjectPath(kPrompt))}));
        } else if (method == "Prompt"_L1) {
            ++prompts;
            connection.send(message.createReply());
        } else {
            return false;
        }
        return true;
    }

    // The user's answer to the prompt.
    void answer(bool dismissed)
    {
        locked = dismissed;
        QDBusMessage completed =
            QDBusMessage::createSignal(kPrompt, u"org.freedesktop.Secret.Prompt"_s, u"Completed"_s);
        QList<QDBusObjectPath> unlocked;
        if (!dismissed) {
            unlocked.append(QDBusObjectPath(kCollection));
        }
        completed << dismissed << QVariant::fromValue(QDBusVariant(QVariant::fromValue(unlocked)));
        m_bus.send(completed);
    }

    bool locked = true;
    int unlockCalls = 0;
    int prompts = 0;

private:
    QDBusConnection m_bus;
};

class UnlockTest : public ::testing::Test {
protected:
    bool waitFor(const std::function<bool()>& condition)
    {
        return comesTrue([&] {
            QCoreApplication::processEvents();
            m_queue.runPending();
            return condition();
        });
    }

    // The bus of all these tests: a process has one session bus for its life.
    static PrivateBus& bus()
    {
        static PrivateBus theBus;
        qputenv("DBUS_SESSION_BUS_ADDRESS", theBus.address());
        return theBus;
    }

    PrivateBus& m_bus = bus();
    ManualMainQueue m_queue;
    PromptingKeyring m_keyring{m_bus};
    SecretServiceStore m_store{m_queue, u"nl.pelloquintar.tavlo"_s};
};

TEST_F(UnlockTest, AskingShowsTheDesktopsPromptOnceAndTellsWhenTheUserHasUnlocked)
{
    int notices = 0;
    const Registration registration = m_store.onAvailabilityChange([&] { ++notices; });
    m_store.requestUnlock();
    ASSERT_TRUE(waitFor([&] { return m_keyring.prompts == 1; }));
    EXPECT_EQ(notices, 0);

    m_store.requestUnlock();  // The prompt is open: nothing more is asked.
    m_keyring.answer(false);
    EXPECT_TRUE(waitFor([&] { return notices == 1; }));
    EXPECT_EQ(m_keyring.prompts, 1);
    EXPECT_EQ(m_keyring.unlockCalls, 1);

    m_store.requestUnlock();  // Open already.
    EXPECT_EQ(m_keyring.unlockCalls, 1);
}

TEST_F(UnlockTest, APromptThatTheUserDismissedIsShownAgainOnlyWhenAskedAgain)
{
    m_store.requestUnlock();
    ASSERT_TRUE(waitFor([&] { return m_keyring.prompts == 1; }));
    m_keyring.answer(true);
    ASSERT_TRUE(waitFor([&] {
        m_store.requestUnlock();
        return m_keyring.prompts == 2;
    }));
    EXPECT_EQ(m_keyring.unlockCalls, 2);
}

}  // namespace
}  // namespace tavlo
