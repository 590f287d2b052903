#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace tavlo {

// Another program on the test's desktop, which it finds in the environment. It ends with the object.
class DesktopProgram {
public:
    explicit DesktopProgram(const QString& program, const QStringList& arguments = {});
    ~DesktopProgram();
    DesktopProgram(const DesktopProgram&) = delete;
    DesktopProgram& operator=(const DesktopProgram&) = delete;

    // The path of one of the tests' own applications.
    static QString app(const char* name);

    bool hasEnded() const { return m_process.state() == QProcess::NotRunning; }
    // All that it has printed so far.
    const QByteArray& output();
    QByteArray errors() { return m_process.readAllStandardError(); }
    // What an application that reports its text ("text " and a JSON string on a line) has told last.
    QString text();

private:
    QProcess m_process;
    QByteArray m_output;
};

}  // namespace tavlo
