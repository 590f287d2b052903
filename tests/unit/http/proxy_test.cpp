#include "http/proxy.h"
#include "platform/text_literals.h"

#include <gtest/gtest.h>

#include <QUrl>

namespace tavlo {
namespace {

TEST(IsLoopback, holdsForThisMachinesOwnAddressesOnly)
{
    for (const char* host : {"localhost", "127.0.0.1", "127.1.2.3", "[::1]"}) {
        EXPECT_TRUE(isLoopback(QUrl(u"http://%1:8080/v1"_s.arg(QLatin1String(host))))) << host;
    }
    for (const char* host : {"example.com", "localhost.example.com", "128.0.0.1", "126.255.255.255", "10.0.0.1",
                             "[::2]", "[fe80::1]", "127.example.com"}) {
        EXPECT_FALSE(isLoopback(QUrl(u"http://%1:8080/v1"_s.arg(QLatin1String(host))))) << host;
    }
}

class ProxyForTest : public testing::Test {
protected:
    ~ProxyForTest() override { qunsetenv("https_proxy"); }

    const QUrl m_url{u"https://api.example/v1"_s};
};

TEST_F(ProxyForTest, isTheOneOfTheEnvironment)
{
    qputenv("https_proxy", "http://proxy.example:3128");
    EXPECT_EQ(proxyFor(m_url), QByteArray("http://proxy.example:3128"));
    qputenv("https_proxy", "socks://proxy.example:1080");
    EXPECT_EQ(proxyFor(m_url), QByteArray("socks5h://proxy.example:1080"));
}

TEST_F(ProxyForTest, isEmptyWithoutOne)
{
    EXPECT_EQ(proxyFor(m_url), QByteArray());
}

}  // namespace
}  // namespace tavlo
