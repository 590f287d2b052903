#pragma once

#include "platform/text_literals.h"

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace tavlo {

// One of the servers in tests/support/servers, for the life of this object. A server that does not answer in time
// fails the test and then gives empty objects.
class ServerProcess {
public:
    // `script` is a file name in that folder.
    ServerProcess(const QString& script, const QJsonValue& scenario, const QStringList& arguments = {});
    ~ServerProcess();

    // What it said at its start.
    QString baseUrl() const { return m_greeting[u"base_url"_s].toString(); }
    int port() const { return m_greeting[u"port"_s].toInt(); }
    // The certificate of the authority that vouches for it, in PEM form.
    QByteArray authority() const;

    // Takes effect with the next request.
    void setScenario(const QJsonValue& scenario);
    // Sends a line that is not acknowledged.
    void send(const QJsonObject& command);
    // The next thing that it says; waits for it.
    QJsonObject nextLine();

private:
    QProcess m_process;
    QJsonObject m_greeting;
};

}  // namespace tavlo
