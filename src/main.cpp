#include "app/application.h"
#include "engines/local/local_runner.h"
#include "linux/desktop.h"
#include "linux/freedesktop/process_end.h"
#include "linux/freedesktop/session_bus_address.h"
#include "linux/qt/local_key_filter.h"
#include "linux/session.h"
#include "platform/text_literals.h"
#include "settings/app_log.h"

#include <QApplication>

using namespace tavlo;

static int run(QApplication& toolkit)
{
    const QString version = QStringLiteral(TAVLO_VERSION);
    const Locations locations = Locations::forThisProcess();
    FileLog log(locations.kLogURL);
    LocalRunner local(locations, log);
    LinuxSessionStart start(Keychain::service, version);
    if (start.claim == ClaimResult::AlreadyRunning) {
        return 0;
    }
    LinuxSession session(start);
    Application application(locations, log, local, session.ports(), version);
    const LocalKeyFilter localKeys(session.desktop().keys(), [&application] { return application.isCapturing(); });
    const auto terminate = [&application] { application.terminate(); };
    QObject::connect(&toolkit, &QCoreApplication::aboutToQuit, &toolkit, terminate);
    const ProcessExit processExit(terminate);  // an X server that goes takes the process along without a word
    const TerminationSignals signals([] { QCoreApplication::quit(); });
    QStringList notices{describeServices(session.desktop())};
    if (start.claim == ClaimResult::NoBus) {
        notices.append(u"Geen sessiebus: Tavlo draait zonder besturing van buitenaf"_s);
    }
    application.launch(notices);
    return QApplication::exec();
}

int main(int, char** argv)
{
    keepLibrariesFromStartingABus();
    std::vector<char*> arguments = toolkitArguments(argv[0]);  // not ours: Tavlo takes no options
    int count = static_cast<int>(arguments.size()), result = 0;
    {
        QApplication toolkit(count, arguments.data());
        // Not as the display name, which the toolkit would add to the windows' titles.
        QApplication::setApplicationName(u"Tavlo"_s);
        QApplication::setDesktopFileName(u"nl.pelloquintar.tavlo"_s);
        QApplication::setQuitOnLastWindowClosed(false);
        declineSessionRestart(toolkit);
        result = run(toolkit);
    }
    endProcess(result);
}
