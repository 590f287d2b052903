#include "contract/secrets/keyring.h"
#include "linux/secretservice/secret_service_store.h"
#include "platform/text_literals.h"
#include "settings/keychain.h"
#include "support/fakes/fake_secret_store.h"
#include "support/fakes/manual_main_queue.h"
#include "support/given_time.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace tavlo {
namespace {

const QString kService = u"nl.pelloquintar.tavlo"_s;
const QString kAccount = u"openai_api_key"_s;
const QString kOther = u"groq_api_key"_s;

// One bus for all tests, since a process has one session bus for its life; each test begins with an empty home.
PrivateBus& emptyBus()
{
    static PrivateBus bus;
    bus.emptyHome();
    return bus;
}

// What every store must do, on the fake and on the real keyring.
class StoreUnderTest {
public:
    virtual ~StoreUnderTest() = default;
    virtual SecretStore& store() = 0;
    virtual void lock() = 0;
    virtual void unlock() = 0;
    virtual void removeService() = 0;
    virtual void bringServiceBack() = 0;

    ManualMainQueue queue;
};

class FakeStoreUnderTest : public StoreUnderTest {
public:
    SecretStore& store() override { return m_store; }
    void lock() override { m_store.setState(FakeSecretStore::State::Locked); }
    void unlock() override { m_store.setState(FakeSecretStore::State::Open); }
    void removeService() override { m_store.setState(FakeSecretStore::State::Absent); }
    void bringServiceBack() override { m_store.setState(FakeSecretStore::State::Open); }

private:
    FakeSecretStore m_store{queue};
};

class RealStoreUnderTest : public StoreUnderTest {
public:
    SecretStore& store() override { return m_store; }
    void lock() override { m_keyring.lock(); }
    void unlock() override { m_keyring.unlock(); }
    void removeService() override { m_keyring.stop(); }
    void bringServiceBack() override { m_keyring.start(); }

private:
    PrivateBus& m_bus = emptyBus();
    Keyring m_keyring{m_bus};
    SecretServiceStore m_store{queue, kService};
};

using MakeStore = std::unique_ptr<StoreUnderTest> (*)();

class SecretStoreContract : public ::testing::TestWithParam<MakeStore> {
protected:
    bool becomes(const std::optional<QByteArray>& expected)
    {
        return comesTrue([&] {
            m_under->queue.runPending();
            return store().find(kService, kAccount) == expected;
        });
    }

    SecretStore& store() { return m_under->store(); }

    std::unique_ptr<StoreUnderTest> m_under = GetParam()();
};

TEST_P(SecretStoreContract, FindsWhatWasAddedByServiceAndAccount)
{
    EXPECT_EQ(store().find(kService, kAccount), std::nullopt);
    EXPECT_TRUE(store().add(kService, kAccount, "sk-one"));
    EXPECT_TRUE(store().add(kService, kOther, "gsk-two"));
    EXPECT_EQ(store().find(kService, kAccount), QByteArray("sk-one"));
    EXPECT_EQ(store().find(kService, kOther), QByteArray("gsk-two"));
    EXPECT_EQ(store().find(u"another"_s, kAccount), std::nullopt);
}

TEST_P(SecretStoreContract, ASearchThatWasBegunFindsWhatIsThere)
{
    EXPECT_TRUE(store().add(kService, kAccount, "sk-one"));
    EXPECT_TRUE(store().add(kService, kOther, "gsk-two"));
    store().beginFind(kService, kAccount);
    EXPECT_EQ(store().find(kService, kOther), QByteArray("gsk-two"));
    EXPECT_EQ(store().find(kService, kAccount), QByteArray("sk-one"));
    EXPECT_EQ(store().find(kService, kAccount), QByteArray("sk-one"));
    store().beginFind(kService, u"nobody"_s);
    EXPECT_EQ(store().find(kService, u"nobody"_s), std::nullopt);
}

TEST_P(SecretStoreContract, WhatIsReplacedAfterASearchBeganIsFoundAsItIsThen)
{
    EXPECT_TRUE(store().add(kService, kAccount, "sk-one"));
    store().beginFind(kService, kAccount);
    store().deleteItems(kService, kAccount);
    EXPECT_EQ(store().find(kService, kAccount), std::nullopt);
    store().beginFind(kService, kAccount);
    EXPECT_TRUE(store().add(kService, kAccount, "sk-two"));
    EXPECT_EQ(store().find(kService, kAccount), QByteArray("sk-two"));
}

TEST_P(SecretStoreContract, KeepsBytesAsTheyAre)
{
    for (const QByteArray& data : {QByteArray("\xff\xfe\x01"), QByteArray("ends with a line feed\n"), QByteArray("")}) {
        store().deleteItems(kService, kAccount);
        EXPECT_TRUE(store().add(kService, kAccount, data));
        EXPECT_EQ(store().find(kService, kAccount), data);
    }
}

TEST_P(SecretStoreContract, DeletingRemovesEveryItemOfTheAccountAndNoOther)
{
    EXPECT_TRUE(store().add(kService, kAccount, "one"));
    EXPECT_TRUE(store().add(kService, kAccount, "two"));
    EXPECT_TRUE(store().add(kService, kOther, "kept"));
    store().deleteItems(kService, kAccount);
    EXPECT_EQ(store().find(kService, kAccount), std::nullopt);
    EXPECT_EQ(store().find(kService, kOther), QByteArray("kept"));
    store().deleteItems(kService, kAccount);  // None is no failure.
}

TEST_P(SecretStoreContract, ALockedStoreBehavesAsEmptyAndTellsWhenItOpens)
{
    EXPECT_TRUE(store().add(kService, kAccount, "sk-one"));
    m_under->lock();
    EXPECT_TRUE(becomes(std::nullopt));
    EXPECT_FALSE(store().add(kService, kOther, "dropped"));
    store().deleteItems(kService, kAccount);

    int notices = 0;
    const Registration registration = store().onAvailabilityChange([&] { ++notices; });
    m_under->unlock();
    EXPECT_TRUE(comesTrue([&] {
        m_under->queue.runPending();
        return notices > 0;
    }));
    EXPECT_EQ(store().find(kService, kAccount), QByteArray("sk-one"));
    EXPECT_EQ(store().find(kService, kOther), std::nullopt);
}

TEST_P(SecretStoreContract, TellsWhenItIsLocked)
{
    EXPECT_TRUE(store().add(kService, kAccount, "sk-one"));
    int notices = 0;
    const Registration registration = store().onAvailabilityChange([&] { ++notices; });
    m_under->lock();
    EXPECT_TRUE(comesTrue([&] {
        m_under->queue.runPending();
        return notices > 0;
    }));
}

TEST_P(SecretStoreContract, AStoreThatGoesAndComesBackIsUsedAgain)
{
    EXPECT_TRUE(store().add(kService, kAccount, "sk-one"));
    m_under->removeService();
    EXPECT_TRUE(becomes(std::nullopt));
    EXPECT_FALSE(store().add(kService, kOther, "dropped"));
    int notices = 0;
    const Registration registration = store().onAvailabilityChange([&] { ++notices; });
    m_under->bringServiceBack();
    EXPECT_TRUE(comesTrue([&] {
        m_under->queue.runPending();
        return notices > 0;
    }));
    EXPECT_TRUE(becomes(QByteArray("sk-one")));
}

TEST_P(SecretStoreContract, NobodyIsToldAfterTheRegistrationEnded)
{
    int notices = 0;
    {
        const Registration registration = store().onAvailabilityChange([&] { ++notices; });
    }
    bool told = false;
    const Registration other = store().onAvailabilityChange([&] { told = true; });
    EXPECT_TRUE(store().add(kService, kAccount, "sk-one"));
    m_under->removeService();
    EXPECT_TRUE(comesTrue([&] {
        m_under->queue.runPending();
        return told;
    }));
    EXPECT_EQ(notices, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Stores, SecretStoreContract,
    ::testing::Values(
        +[]() -> std::unique_ptr<StoreUnderTest> { return std::make_unique<FakeStoreUnderTest>(); },
        +[]() -> std::unique_ptr<StoreUnderTest> { return std::make_unique<RealStoreUnderTest>(); }),
    [](const auto& instance) { return instance.index == 0 ? "Fake" : "SecretService"; });

// What only the real thing can show.
class SecretServiceStoreTest : public ::testing::Test {
protected:
    // The time of one search, in milliseconds.
    qint64 searchTime()
    {
        const GivenTime search;
        m_found = m_store.find(kService, kAccount);
        m_searchClockTime = search.clockTime().count();
        return search.elapsed().count();
    }

    ManualMainQueue m_queue;
    PrivateBus& m_bus = emptyBus();
    SecretServiceStore m_store{m_queue, kService};
    std::optional<QByteArray> m_found;
    qint64 m_searchClockTime = 0;
};

TEST_F(SecretServiceStoreTest, FindsItemsOfOtherProgramsWhateverTheirSchemaAndCollection)
{
    Keyring keyring(m_bus);
    keyring.addForeign(Keyring::kLogin, kService, kAccount, "by secret-tool", "org.example.Other");
    EXPECT_EQ(m_store.find(kService, kAccount), QByteArray("by secret-tool"));
    keyring.addForeign(Keyring::kSession, kService, kOther, "for the session", "");
    EXPECT_EQ(m_store.find(kService, kOther), QByteArray("for the session"));
    m_store.deleteItems(kService, kAccount);
    EXPECT_EQ(keyring.itemCount(kService, kAccount), 0);
}

TEST_F(SecretServiceStoreTest, OneItemStandsAfterAKeyIsReplaced)
{
    Keyring keyring(m_bus);
    keyring.addForeign(Keyring::kLogin, kService, kAccount, "one", "org.example.Other");
    keyring.addForeign(Keyring::kLogin, kService, kAccount, "two", "");
    Keychain keychain(m_store);
    keychain.set(u"sk-ë"_s, kAccount);
    EXPECT_EQ(keyring.itemCount(kService, kAccount), 1);
    EXPECT_EQ(keychain.get(kAccount), u"sk-ë"_s);
}

TEST_F(SecretServiceStoreTest, WithoutAServiceEveryCallAnswersAtOnce)
{
    EXPECT_LT(searchTime(), 500);
    EXPECT_EQ(m_found, std::nullopt);
    EXPECT_FALSE(m_store.add(kService, kAccount, "x"));
    m_store.deleteItems(kService, kAccount);
    m_store.requestUnlock();
}

TEST_F(SecretServiceStoreTest, AServiceThatDoesNotAnswerCostsOneSecondOnce)
{
    Keyring keyring(m_bus);
    ASSERT_TRUE(m_store.add(kService, kAccount, "sk-one"));
    int notices = 0;
    const Registration registration = m_store.onAvailabilityChange([&] { ++notices; });
    keyring.freeze(true);
    const qint64 first = searchTime();
    EXPECT_LT(first, 1500);
    EXPECT_GE(m_searchClockTime, 900);
    EXPECT_EQ(m_found, std::nullopt);
    EXPECT_FALSE(m_store.answeredLastFind());
    EXPECT_LT(searchTime(), 100);
    EXPECT_EQ(m_found, std::nullopt);
    EXPECT_FALSE(m_store.answeredLastFind());
    EXPECT_FALSE(m_store.add(kService, kOther, "kept for later"));

    keyring.freeze(false);
    EXPECT_TRUE(comesTrue([&] {
        m_queue.runPending();
        return notices > 0;
    }));
    EXPECT_TRUE(comesTrue([&] { return m_store.find(kService, kAccount) == QByteArray("sk-one"); }));
    EXPECT_TRUE(comesTrue([&] { return m_store.find(kService, kOther) == QByteArray("kept for later"); }));
    EXPECT_TRUE(m_store.answeredLastFind());
}

TEST_F(SecretServiceStoreTest, ALateAnswerIsThereForTheObserversAtOnce)
{
    Keyring keyring(m_bus);
    ASSERT_TRUE(m_store.add(kService, kAccount, "sk-one"));
    std::vector<std::optional<QByteArray>> seen;
    const Registration registration = m_store.onAvailabilityChange([&] {
        keyring.freeze(true);  // Whoever asks the service itself gets nothing.
        seen.push_back(m_store.find(kService, kAccount));
        EXPECT_TRUE(m_store.answeredLastFind());
        keyring.freeze(false);
    });
    keyring.freeze(true);
    EXPECT_EQ(m_store.find(kService, kAccount), std::nullopt);
    keyring.freeze(false);
    EXPECT_TRUE(comesTrue([&] {
        m_queue.runPending();
        return !seen.empty();
    }));
    EXPECT_EQ(seen.front(), QByteArray("sk-one"));
}

TEST_F(SecretServiceStoreTest, AServiceThatIsSlowEachTimeIsNotAskedForEver)
{
    Keyring keyring(m_bus);
    ASSERT_TRUE(m_store.add(kService, kAccount, "sk-one"));
    ASSERT_TRUE(m_store.add(kService, kOther, "gsk-two"));
    int notices = 0;
    const Registration registration = m_store.onAvailabilityChange([&] {
        ++notices;
        keyring.freeze(true);
        EXPECT_EQ(m_store.find(kService, kOther), std::nullopt);
        keyring.freeze(false);
    });
    keyring.freeze(true);
    EXPECT_EQ(m_store.find(kService, kAccount), std::nullopt);
    keyring.freeze(false);
    const auto isToldAgain = [&] {
        m_queue.runPending();
        return notices > 1;
    };
    EXPECT_FALSE(comesTrue(isToldAgain, 5000));
    EXPECT_EQ(notices, 1);
    EXPECT_EQ(m_store.find(kService, kOther), QByteArray("gsk-two"));
}

TEST_F(SecretServiceStoreTest, ABusThatDoesNotAnswerCostsOneSecondOnce)
{
    Keyring keyring(m_bus);
    ASSERT_TRUE(m_store.add(kService, kAccount, "sk-one"));
    m_bus.freeze(true);
    EXPECT_LT(searchTime(), 1500);
    EXPECT_EQ(m_found, std::nullopt);
    EXPECT_LT(searchTime(), 100);
    m_bus.freeze(false);
    EXPECT_TRUE(comesTrue([&] { return m_store.find(kService, kAccount) == QByteArray("sk-one"); }));
}

TEST_F(SecretServiceStoreTest, ASearchThatWasBegunWaitsForNobodyOnceItIsDone)
{
    Keyring keyring(m_bus);
    ASSERT_TRUE(m_store.add(kService, kAccount, "sk-one"));
    m_store.beginFind(kService, kAccount);
    EXPECT_EQ(m_store.find(kService, kOther), std::nullopt);  // One comes after the other.
    keyring.freeze(true);
    EXPECT_EQ(m_store.find(kService, kAccount), QByteArray("sk-one"));
    m_store.beginFind(kService, kAccount);
    EXPECT_EQ(m_store.find(kService, kAccount), std::nullopt);
    EXPECT_FALSE(m_store.answeredLastFind());
    keyring.freeze(false);
}

TEST_F(SecretServiceStoreTest, AConnectionThatWasBegunServesTheFirstCall)
{
    Keyring keyring(m_bus);
    ASSERT_TRUE(m_store.add(kService, kAccount, "sk-one"));
    SecretServiceStore store(m_queue, kService);
    store.connect();
    EXPECT_EQ(store.find(kService, kAccount), QByteArray("sk-one"));
    EXPECT_TRUE(store.answeredLastFind());
}

TEST_F(SecretServiceStoreTest, BeginningToConnectToABusThatDoesNotAnswerTakesNoTime)
{
    Keyring keyring(m_bus);
    ASSERT_TRUE(m_store.add(kService, kAccount, "sk-one"));
    m_bus.freeze(true);
    SecretServiceStore store(m_queue, kService);
    const GivenTime timer;
    store.connect();
    EXPECT_LT(timer.elapsed().count(), 100);
    EXPECT_EQ(store.find(kService, kAccount), std::nullopt);
    EXPECT_LT(timer.elapsed().count(), 1500) << "the limit of one call holds for what was begun, too";
    EXPECT_FALSE(store.answeredLastFind());
    m_bus.freeze(false);
    EXPECT_TRUE(comesTrue([&] { return store.find(kService, kAccount) == QByteArray("sk-one"); }));
}

TEST_F(SecretServiceStoreTest, EndingWhileTheServiceHangsTakesNoLongerThanASecond)
{
    Keyring keyring(m_bus);
    GivenTime timer;
    {
        SecretServiceStore store(m_queue, kService);
        ASSERT_TRUE(store.add(kService, kAccount, "sk-one"));
        keyring.freeze(true);
        EXPECT_EQ(store.find(kService, kAccount), std::nullopt);
        timer.restart();
    }
    EXPECT_LT(timer.elapsed().count(), 1500);
    keyring.freeze(false);
}

TEST_F(SecretServiceStoreTest, TheProcessOutlivesTheBusAndFindsTheNextOneAtTheSameAddress)
{
    {
        Keyring keyring(m_bus);
        ASSERT_TRUE(m_store.add(kService, kAccount, "sk-one"));
    }
    bool told = false;
    const Registration registration = m_store.onAvailabilityChange([&] { told = true; });
    m_bus.stop();
    EXPECT_TRUE(comesTrue([&] {
        m_queue.runPending();
        return told;
    }));
    EXPECT_LT(searchTime(), 500);
    EXPECT_EQ(m_found, std::nullopt);

    m_bus.start();
    Keyring keyring(m_bus);
    EXPECT_TRUE(comesTrue([&] { return m_store.find(kService, kAccount) == QByteArray("sk-one"); }));
}

TEST_F(SecretServiceStoreTest, WithoutABusThereIsNothingAndNoneIsStarted)
{
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    const QByteArray runtimeFolder = qgetenv("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_bus.home()));
    EXPECT_LT(searchTime(), 500);
    EXPECT_EQ(m_found, std::nullopt);
    EXPECT_FALSE(m_store.add(kService, kAccount, "x"));
    m_store.requestUnlock();
    qputenv("XDG_RUNTIME_DIR", runtimeFolder);
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address());
}

TEST_F(SecretServiceStoreTest, AskingToUnlockALockedKeyringDoesNotWaitForTheAnswer)
{
    Keyring keyring(m_bus);
    ASSERT_TRUE(m_store.add(kService, kAccount, "sk-one"));
    keyring.lock();
    ASSERT_TRUE(comesTrue([&] { return m_store.find(kService, kAccount) == std::nullopt; }));
    const GivenTime timer;
    m_store.requestUnlock();
    EXPECT_LT(timer.elapsed().count(), 100);
    EXPECT_LT(searchTime(), 900);
    EXPECT_EQ(m_found, std::nullopt);
    keyring.unlock();
    EXPECT_TRUE(comesTrue([&] { return m_store.find(kService, kAccount) == QByteArray("sk-one"); }));
}

}  // namespace
}  // namespace tavlo
