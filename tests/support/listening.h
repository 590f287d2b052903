#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <algorithm>

namespace tavlo {

// Whether a server listens at this socket, whose file is there a moment earlier.
inline bool isListenedTo(const QString& path)
{
    sockaddr_un place = {};
    place.sun_family = AF_UNIX;
    const QByteArray name = QFile::encodeName(path);
    std::copy_n(name.constData(), std::min<qsizetype>(name.size(), sizeof(place.sun_path) - 1), place.sun_path);
    const int end = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isConnected = ::connect(end, reinterpret_cast<const sockaddr*>(&place), sizeof(place)) == 0;
    ::close(end);
    return isConnected;
}

}  // namespace tavlo
