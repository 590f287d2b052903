#include "settings/keychain.h"
#include "platform/text_literals.h"

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
    const QString m_account = u"groq_api_key"_s;
};

TEST_F(KeychainTest, StoresUnderTheServiceAndTheAccountAsUtf8)
{
    m_keychain.set(u"gsk-ë"_s, m_account);
    ASSERT_EQ(m_store.items.size(), 1u);
    EXPECT_EQ(m_store.items[0].service, u"nl.pelloquintar.tavlo"_s);
    EXPECT_EQ(m_store.items[0].account, m_account);
    EXPECT_EQ(m_store.items[0].data, QByteArray("gsk-\xc3\xab"));
    EXPECT_EQ(m_keychain.get(m_account), u"gsk-ë"_s);
}

TEST_F(KeychainTest, StoringReplacesEverythingThatWasThere)
{
    m_store.items = {{Keychain::service, m_account, "one"},
                     {Keychain::service, m_account, "two"},
                     {Keychain::service, u"openai_api_key"_s, "kept"}};
    m_keychain.set(u"three"_s, m_account);
    ASSERT_EQ(m_store.items.size(), 2u);
    EXPECT_EQ(m_keychain.get(m_account), u"three"_s);
    EXPECT_EQ(m_keychain.get(u"openai_api_key"_s), u"kept"_s);
}

TEST_F(KeychainTest, AnEmptyValueRemovesTheKey)
{
    m_keychain.set(u"gsk"_s, m_account);
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
    EXPECT_EQ(read(" sk \n"), u" sk \n"_s);
}

TEST_F(KeychainTest, AFailureToStoreIsSilent)
{
    m_store.refusesToAdd = true;
    m_keychain.set(u"gsk"_s, m_account);
    EXPECT_EQ(m_keychain.get(m_account), std::nullopt);
}

}  // namespace
}  // namespace tavlo
