#pragma once

#include "platform/text_literals.h"

#include <QByteArray>
#include <QStringList>

#include <sys/types.h>

namespace tavlo {

// An X server of the test's own, without a screen to look at, on a display number that was free. It ends with the
// object, and with the test process should that crash. A server that does not start leaves an empty display name.
class XServer {
public:
    explicit XServer(const QStringList& arguments = {u"-screen"_s, u"0"_s, u"1280x800x24"_s});
    ~XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    QByteArray displayName() const { return m_displayName; }

private:
    pid_t m_process = -1;
    QByteArray m_displayName;
};

}  // namespace tavlo
