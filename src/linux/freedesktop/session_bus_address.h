#pragma once

#include "platform/text_literals.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>
#include <QString>

namespace tavlo {

// The address of the session bus, from the environment; empty when there is none. The libraries would then start a bus
// of their own, which nobody would ever stop.
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

// Without a session bus, puts an address into the environment at which there is none: the libraries that look for a bus
// by themselves, the toolkit among them, then start none. To be called before any of them is used.
inline void keepLibrariesFromStartingABus()
{
    if (sessionBusAddress().isEmpty()) {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    }
}

}  // namespace tavlo
