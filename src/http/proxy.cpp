#include "http/proxy.h"

#include "platform/text_literals.h"

#include <QLibrary>
#include <QUrl>

#include <arpa/inet.h>
#include <proxy.h>

#include <cstdint>
#include <memory>

namespace tavlo {

namespace {

constexpr std::uint32_t kLoopbackNet = 127;  // 127.0.0.0/8

// The operations of libproxy, loaded with the first question: it reads each desktop's settings in that desktop's way,
// with libraries that an idle program should not carry.
class ProxyLibrary {
public:
    ProxyLibrary()
    {
        QLibrary file(u"proxy"_s, 1);
        m_create = reinterpret_cast<decltype(m_create)>(file.resolve("px_proxy_factory_new"));
        m_ask = reinterpret_cast<decltype(m_ask)>(file.resolve("px_proxy_factory_get_proxies"));
        m_forget = reinterpret_cast<decltype(m_forget)>(file.resolve("px_proxy_factory_free_proxies"));
        m_destroy = reinterpret_cast<decltype(m_destroy)>(file.resolve("px_proxy_factory_free"));
    }

    // The first of the proxies for an address; none when nothing can be asked.
    std::optional<QByteArray> firstProxy(const QByteArray& address) const
    {
        if (m_create == nullptr || m_ask == nullptr || m_forget == nullptr || m_destroy == nullptr) {
            return std::nullopt;
        }
        const std::unique_ptr<pxProxyFactory, decltype(m_destroy)> factory(m_create(), m_destroy);
        if (!factory) {
            return std::nullopt;
        }
        const std::unique_ptr<char*, decltype(m_forget)> proxies(m_ask(factory.get(), address.constData()), m_forget);
        return proxies && *proxies != nullptr ? std::optional<QByteArray>(*proxies) : std::nullopt;
    }

private:
    decltype(&px_proxy_factory_new) m_create;
    decltype(&px_proxy_factory_get_proxies) m_ask;
    decltype(&px_proxy_factory_free_proxies) m_forget;
    decltype(&px_proxy_factory_free) m_destroy;
};

}  // namespace

bool isLoopback(const QUrl& url)
{
    const QByteArray host = url.host().toLatin1();
    in_addr four{};
    in6_addr six{};
    return host == "localhost" ||
           (inet_pton(AF_INET, host.constData(), &four) == 1 && ntohl(four.s_addr) >> 24 == kLoopbackNet) ||
           (inet_pton(AF_INET6, host.constData(), &six) == 1 && IN6_IS_ADDR_LOOPBACK(&six));
}

std::optional<QByteArray> proxyFor(const QUrl& url)
{
    static const ProxyLibrary library;
    std::optional<QByteArray> proxy = library.firstProxy(url.toEncoded());
    if (proxy && proxy->startsWith("direct:")) {
        proxy->clear();
    } else if (proxy && proxy->startsWith("socks:")) {
        proxy->replace(0, 6, "socks5h:");
    }
    return proxy;
}

}  // namespace tavlo
