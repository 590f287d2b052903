#pragma once

#include <QByteArray>

#include <optional>

class QUrl;

namespace tavlo {

// Whether the address names this machine itself.
bool isLoopback(const QUrl& url);

// The desktop's proxy for an address, such as "http://proxy:3128"; empty where the desktop wants none. None at all when
// it cannot be asked. Blocks while the desktop's settings are read. Any thread.
std::optional<QByteArray> proxyFor(const QUrl& url);

}  // namespace tavlo
