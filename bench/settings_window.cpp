// How long the settings window takes to open, against an empty Qt window of the same size, one after the other.
//   bench_settings_window DATA-FOLDER ROUNDS
// An opening lasts from the call until the window has been drawn for the first time. Prints one JSON object with the
// milliseconds of each: "settings" and "empty".

#include "ui/windows/settings_window.h"
#include "linux/qt/qt_queues.h"
#include "linux/qt/qt_workspace.h"
#include "linux/secretservice/secret_service_store.h"
#include "linux/x11/x11_display.h"
#include "linux/x11/x11_screens.h"
#include "platform/text_literals.h"
#include "settings/app_log.h"
#include "settings/config.h"
#include "settings/keychain.h"
#include "settings/locations.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPixmap>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <functional>

using namespace tavlo;

namespace {

// Ends a loop when a window and all that stands in it has been drawn.
class DrawnWatch : public QObject {
public:
    explicit DrawnWatch(QEventLoop& loop) : m_loop(loop) { qApp->installEventFilter(this); }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        const auto* const widget = qobject_cast<QWidget*>(watched);
        if (!m_isDrawn && event->type() == QEvent::Paint && widget != nullptr && widget->isWindow()) {
            m_isDrawn = true;
            // The children are drawn, and all is sent to the display, before the loop goes on.
            QMetaObject::invokeMethod(&m_loop, &QEventLoop::quit, Qt::QueuedConnection);
        }
        return false;
    }

private:
    QEventLoop& m_loop;
    bool m_isDrawn = false;
};

double millisecondsUntilDrawn(const std::function<void()>& open)
{
    QEventLoop loop;
    const DrawnWatch watch(loop);
    QTimer::singleShot(std::chrono::seconds(20), &loop, [] { qFatal("the window was never drawn"); });
    QElapsedTimer timer;
    timer.start();
    open();
    loop.exec();
    return static_cast<double>(timer.nsecsElapsed()) * 1e-6;
}

// Lets the window manager and the panel finish with the last window.
void settle()
{
    QEventLoop loop;
    QTimer::singleShot(150, &loop, &QEventLoop::quit);
    loop.exec();
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fputs("usage: bench_settings_window DATA-FOLDER ROUNDS\n", stderr);
        return 2;
    }
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const Locations locations =
        Locations::inFolders(QFile::decodeName(argv[1]), QCoreApplication::applicationDirPath());
    QDir().mkpath(locations.kAppSupportDir);
    FileLog log(locations.kLogURL);
    QtMainQueue queue;
    SecretServiceStore secrets(queue, Keychain::service);
    Keychain keychain(secrets);
    ConfigFile file(locations.kConfigURL, keychain, log);
    file.writeTemplateIfMissing();
    QtWorkspace workspace;
    X11Display display;
    X11Screens screens(display);
    SettingsWindow settings({file, keychain, secrets, log, workspace, screens}, [] {});

    QJsonArray ours;
    QJsonArray empty;
    const int rounds = QByteArray(argv[2]).toInt();
    for (int round = 0; round < rounds; ++round) {
        ours.append(millisecondsUntilDrawn([&] { settings.openSettings(); }));
        const QSize size = settings.settingsWindow()->size();
        const QPoint place = settings.settingsWindow()->pos();
        settings.closeSettings();
        settle();

        QWidget plain;
        QPixmap dot(1, 1);
        dot.fill(Qt::gray);
        plain.setWindowIcon(QIcon(dot));  // not the application's, which is a good part of an opening
        empty.append(millisecondsUntilDrawn([&] {
            plain.setFixedSize(size);
            plain.move(place);
            plain.show();
            plain.raise();
            plain.activateWindow();
        }));
        plain.close();
        settle();
    }
    const QJsonObject result{{u"settings"_s, ours}, {u"empty"_s, empty}};
    std::puts(QJsonDocument(result).toJson(QJsonDocument::Compact).constData());
    return 0;
}
