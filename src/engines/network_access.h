#pragma once

#include <QNetworkProxy>

class QUrl;

namespace tavlo {

// Whether the address names this machine itself.
bool isLoopback(const QUrl& url);

// The desktop's proxy for an address; it may take a moment to find. There is none to this machine itself: plain HTTP
// is allowed here only, and a proxy would carry it away. Any thread.
QNetworkProxy proxyFor(const QUrl& url);

}  // namespace tavlo
