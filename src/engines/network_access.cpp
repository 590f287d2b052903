#include "engines/network_access.h"

#include <QHostAddress>
#include <QNetworkProxyFactory>
#include <QUrl>

namespace tavlo {

bool isLoopback(const QUrl& url)
{
    return url.host() == QLatin1String("localhost") || QHostAddress(url.host()).isLoopback();
}

QNetworkProxy proxyFor(const QUrl& url)
{
    if (isLoopback(url)) {
        return QNetworkProxy(QNetworkProxy::NoProxy);
    }
    const QList<QNetworkProxy> proxies = QNetworkProxyFactory::systemProxyForQuery(QNetworkProxyQuery(url));
    return proxies.isEmpty() ? QNetworkProxy(QNetworkProxy::NoProxy) : proxies.first();
}

}  // namespace tavlo
