#include "linux/qt/qt_workspace.h"

#include "platform/text_literals.h"

#include <QDesktopServices>
#include <QProcess>
#include <QStandardPaths>

namespace tavlo {

void QtWorkspace::open(const QUrl& url)
{
    if (!url.isValid() || url.isEmpty()) {
        return;
    }
    const QString opener = QStandardPaths::findExecutable(u"xdg-open"_s);
    if (opener.isEmpty()) {
        QDesktopServices::openUrl(url);
        return;
    }
    QProcess process;
    process.setProgram(opener);
    process.setArguments({url.toString(QUrl::FullyEncoded)});
    // The browser's messages must not mix with this program's output.
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.startDetached();
}

}  // namespace tavlo
