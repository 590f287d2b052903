#pragma once

#include "platform/text_literals.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>
#include <QString>

namespace tavlo {

// Where the session bus listens, as the environment tells; empty where there is none. The libraries' own search would
// go on to start a bus of its own for want of one, which nobody would ever end.
inline QString sessionBusAddress()
{
    const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    if (!address.isEmpty()) {
        return QString::fromLocal8Bit(address);
    }
    const QByteArray runtimeFolder = qgetenv("XDG_RUNTIME_DIR");
    const QString socket = QFile::decodeName(runtimeFolder) + u"/bus"_s;
    return !runtimeFolder.isEmpty() && QFileInfo::exists(socket) ? u"unix:path="_s + socket : QString();
}

// Where there is no session bus, the libraries that look for one by themselves, the toolkit among them, do so by the
// environment: it then names an address at which there is none. To be called before any of them is used.
inline void keepLibrariesFromStartingABus()
{
    if (sessionBusAddress().isEmpty()) {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    }
}

}  // namespace tavlo
