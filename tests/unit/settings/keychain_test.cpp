#include "settings/keychain.h"

#include "support/fakes/fake_secret_store.h"
#include "support/fakes/manual_main_queue.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

class KeychainTest : public ::testing::Test {
protected:
    std::optional<QString> read(const QByteArray& data)
    {
        m_store.items = {{Keychain::service, m_account, data}};
        return m_keychain.get(m_account);
    }

    ManualMainQueue m_queue;
    FakeSecretStore m_store{m_queue};
    Keychain m_keychain{m_store};
    const QString m_account = QStringLiteral("groq_api_key");
};

TEST_F(KeychainTest, StoresUnderTheServiceAndTheAccountAsUtf8)
{
    m_keychain.set(QStringLiteral("gsk-ë"), m_account);
    ASSERT_EQ(m_store.items.size(), 1u);
    EXPECT_EQ(m_store.items[0].service, QStringLiteral("nl.pelloquintar.tavlo"));
    EXPECT_EQ(m_store.items[0].account, m_account);
    EXPECT_EQ(m_store.items[0].data, QByteArray("gsk-\xc3\xab"));
    EXPECT_EQ(m_keychain.get(m_account), QStringLiteral("gsk-ë"));
}

TEST_F(KeychainTest, StoringReplacesEverythingThatWasThere)
{
    m_store.items = {{Keychain::service, m_account, "one"},
                     {Keychain::service, m_account, "two"},
                     {Keychain::service, QStringLiteral("openai_api_key"), "kept"}};
    m_keychain.set(QStringLiteral("three"), m_account);
    ASSERT_EQ(m_store.items.size(), 2u);
    EXPECT_EQ(m_keychain.get(m_account), QStringLiteral("three"));
    EXPECT_EQ(m_keychain.get(QStringLiteral("openai_api_key")), QStringLiteral("kept"));
}

TEST_F(KeychainTest, AnEmptyValueRemovesTheKey)
{
    m_keychain.set(QStringLiteral("gsk"), m_account);
    m_keychain.set(QString(), m_account);
    EXPECT_TRUE(m_store.items.empty());
    EXPECT_EQ(m_keychain.get(m_account), std::nullopt);
}

TEST_F(KeychainTest, AnEmptyItemReadsAsNone)
{
    EXPECT_EQ(read(""), std::nullopt);
}

TEST_F(KeychainTest, AnItemThatIsNotUtf8ReadsAsNone)
{
    EXPECT_EQ(read("sk-\xff"), std::nullopt);
    EXPECT_EQ(read("sk-\xc3"), std::nullopt);
    EXPECT_EQ(read("\xed\xa0\x80"), std::nullopt);
}

TEST_F(KeychainTest, ATextIsGivenAsStored)
{
    EXPECT_EQ(read(" sk \n"), QStringLiteral(" sk \n"));
}

TEST_F(KeychainTest, AFailureToStoreIsSilent)
{
    m_store.refusesToAdd = true;
    m_keychain.set(QStringLiteral("gsk"), m_account);
    EXPECT_EQ(m_keychain.get(m_account), std::nullopt);
}

}  // namespace
}  // namespace tavlo
