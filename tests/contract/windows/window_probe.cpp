// Shows one of the windows, or all of them by turns, on the display that it is started on, for whoever looks at them
// or takes their picture: window_probe settings|about|offer|downloading|failed|alert nl|en light|dark [picture.png]
// [font family]. "fullscreen" shows a field as large as the screen, as another program's window. With a picture's path
// it saves the window's content there and ends; else it runs until it is ended.

#include "engines/model_download.h"
#include "hotkeys/hotkey_capture.h"
#include "platform/screens.h"
#include "platform/workspace.h"
#include "settings/config_file.h"
#include "settings/keychain.h"
#include "settings/language.h"
#include "support/fakes/fake_secret_store.h"
#include "support/fakes/manual_main_queue.h"
#include "support/fakes/memory_log.h"
#include "ui/about_window.h"
#include "ui/offer_window.h"
#include "ui/settings_window.h"
#include "ui/typing_key_alert.h"

#include <QApplication>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QSocketNotifier>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <QTimer>

#include <unistd.h>

#include <cstdio>

using namespace tavlo;

namespace {

class PrimaryScreen : public Screens {
public:
    std::optional<QRect> mainVisibleFrame() override { return QGuiApplication::primaryScreen()->availableGeometry(); }
    Compositing compositing() override { return Compositing::Absent; }
};

class NoWorkspace : public Workspace {
public:
    void open(const QUrl&) override {}
};

class StandingDownload : public ModelDownload {
public:
    void start() override { m_running = true; }
    void cancel() override { m_running = false; }
    bool isRunning() const override { return m_running; }

private:
    bool m_running = false;
};

QPalette darkPalette()
{
    QPalette palette(QColor(53, 53, 53));
    palette.setColor(QPalette::Base, QColor(35, 35, 35));
    palette.setColor(QPalette::Highlight, QColor(53, 132, 228));
    return palette;
}

}  // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() < 4) {
        std::fputs("window_probe WINDOW nl|en light|dark [PICTURE [FONT]]\n", stderr);
        return 2;
    }
    gLang = arguments[2];
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    if (arguments[3] == QLatin1String("dark")) {
        QApplication::setPalette(darkPalette());
    }
    if (arguments.size() > 5) {
        QApplication::setFont(QFont(arguments[5], 10));
    }

    const QTemporaryDir folder;
    ManualMainQueue queue;
    MemoryLog log;
    FakeSecretStore secrets(queue);
    Keychain keychain(secrets);
    ConfigFile file(folder.filePath(QStringLiteral("config.json")), keychain, log);
    file.writeTemplateIfMissing();
    PrimaryScreen screens;
    NoWorkspace workspace;
    StandingDownload download;
    SettingsWindow settings({file, keychain, secrets, log, workspace, screens, [] {}});
    AboutWindow about(QStringLiteral("1.0"), screens, {[] {}, [] {}});
    OfferWindow offer(download, screens, queue);
    TypingKeyAlertBox alert;

    QLineEdit field;

    QWidget* shown = nullptr;
    const QString& window = arguments[1];
    const auto open = [&] {
        if (window == QLatin1String("settings")) {
            settings.openSettings();
            shown = settings.settingsWindow();
        } else if (window == QLatin1String("about")) {
            about.openAbout();
            shown = about.aboutWindow();
        } else if (window == QLatin1String("fullscreen")) {
            field.setWindowTitle(QStringLiteral("Full screen"));
            field.showFullScreen();
            shown = &field;
        } else if (window == QLatin1String("alert")) {
            alert.show(typingKeyAlert(t(QStringLiteral("Spatie"), QStringLiteral("Space"))), [](TypingKeyAnswer) {});
            shown = alert.box();
        } else {
            offer.offerModelDownload([](ModelOutcome) {});
            shown = offer.modelWindow();
            if (window != QLatin1String("offer")) {
                offer.modelWindow()->control<QPushButton>(QStringLiteral("downloadButton")).click();
                download.onProgress(0.1923, 312'500'000, 1'624'555'275);
            }
            if (window == QLatin1String("failed")) {
                download.onDone(failure(7, QStringLiteral("Te weinig schijfruimte voor het model (1624555275 bytes "
                                                          "nodig).")));
            }
        }
    };
    // Each line of standard input opens the window again, as a choice in the tray's menu would: without any event of
    // the display that Tavlo's own windows could have seen.
    QTimer::singleShot(0, open);
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [&] {
        char line[64];
        if (read(STDIN_FILENO, line, sizeof line) > 0) {
            open();
        } else {
            input.setEnabled(false);
        }
    });
    if (arguments.size() > 4 && !arguments[4].isEmpty()) {
        QTimer::singleShot(200, [&] {
            shown->grab().save(arguments[4]);
            QApplication::quit();
        });
    }
    return QApplication::exec();
}
