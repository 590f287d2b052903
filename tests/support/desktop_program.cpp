#include "support/desktop_program.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace tavlo {

DesktopProgram::DesktopProgram(const QString& program, const QStringList& arguments)
{
    m_process.start(program, arguments);
}

DesktopProgram::~DesktopProgram()
{
    m_process.terminate();
    if (!m_process.waitForFinished(5000)) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

QString DesktopProgram::app(const char* name)
{
    return QStringLiteral(TAVLO_TEST_APPS "/") + QString::fromUtf8(name);
}

const QByteArray& DesktopProgram::output()
{
    m_output += m_process.readAllStandardOutput();
    return m_output;
}

QString DesktopProgram::text()
{
    // The last whole one; other lines may follow it, and what is pasted never holds a line break as it stands here.
    output();
    const qsizetype begin = m_output.left(m_output.lastIndexOf('\n') + 1).lastIndexOf("text \"");
    const qsizetype end = m_output.indexOf('\n', begin);
    if (begin < 0 || end < 0) {
        return {};
    }
    return QJsonDocument::fromJson('[' + m_output.mid(begin + 5, end - begin - 5) + ']').array().first().toString();
}

}  // namespace tavlo
