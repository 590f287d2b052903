#include "support/server_process.h"

#include "platform/text_literals.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

namespace tavlo {

namespace {

constexpr int kLongestWaitMs = 30000;

QByteArray jsonLine(const QJsonValue& value)
{
    const QJsonDocument document = value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject());
    return document.toJson(QJsonDocument::Compact) + '\n';
}

}  // namespace

ServerProcess::ServerProcess(const QString& script, const QJsonValue& scenario, const QStringList& arguments)
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(u"/usr/bin/python3"_s,
                    QStringList{u"-B"_s, QStringLiteral(TAVLO_SERVER_SCRIPTS "/") + script} + arguments);
    m_greeting = nextLine();
    setScenario(scenario);
}

ServerProcess::~ServerProcess()
{
    m_process.closeWriteChannel();
    EXPECT_TRUE(m_process.waitForFinished(kLongestWaitMs));
}

void ServerProcess::setScenario(const QJsonValue& scenario)
{
    m_process.write(jsonLine(scenario));
    // What it told about earlier requests and nobody read is passed over.
    while (true) {
        const QJsonObject line = nextLine();
        if (line.isEmpty() || line.contains(u"scenario"_s)) {
            return;
        }
    }
}

QByteArray ServerProcess::authority() const
{
    QFile file(m_greeting[u"authority"_s].toString());
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << "the server named no certificate";
    return file.readAll();
}

void ServerProcess::send(const QJsonObject& command)
{
    m_process.write(jsonLine(command));
    m_process.waitForBytesWritten(kLongestWaitMs);
}

QJsonObject ServerProcess::nextLine()
{
    const QDeadlineTimer deadline(kLongestWaitMs);
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead(static_cast<int>(deadline.remainingTime()))) {
            ADD_FAILURE() << "the server says nothing";
            return {};
        }
    }
    return QJsonDocument::fromJson(m_process.readLine()).object();
}

}  // namespace tavlo
