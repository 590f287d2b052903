// Shows one of the windows, or all of them by turns, on the display that it is started on, for whoever looks at them
// or takes their picture: window_probe settings|about|offer|downloading|failed|alert nl|en light|dark [picture.png]
// [font family]. "fullscreen" shows a field as large as the screen, as another program's window. With a picture's path
// it saves the window's content there and ends; else it runs until its standard input ends.

#include "engines/engines.h"
#include "hotkeys/hotkey_capture.h"
#include "platform/screens.h"
#include "platform/text_literals.h"
#include "platform/workspace.h"
#include "settings/config.h"
#include "settings/keychain.h"
#include "settings/language.h"
#include "support/fakes/fake_secret_store.h"
#include "support/fakes/manual_main_queue.h"
#include "support/fakes/memory_log.h"
#include "ui/windows/about_window.h"
#include "ui/windows/offer_window.h"
#include "ui/windows/settings_window.h"
#include "ui/windows/typing_key_alert.h"

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
    QApplication::setStyle(QStyleFactory::create(u"Fusion"_s));
    if (arguments[3] == "dark"_L1) {
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
    ConfigFile file(folder.filePath(u"config.json"_s), keychain, log);
    file.writeTemplateIfMissing();
    PrimaryScreen screens;
    NoWorkspace workspace;
    StandingDownload download;
    SettingsWindow settings({file, keychain, secrets, log, workspace, screens}, [] {});
    AboutWindow about(u"1.0"_s, screens, workspace);
    OfferWindow offer(download, screens, queue);
    TypingKeyAlertBox alert;

    QLineEdit field;

    QWidget* shown = nullptr;
    const QString& window = arguments[1];
    const auto open = [&] {
        if (window == "settings"_L1) {
            settings.openSettings();
            shown = settings.settingsWindow();
        } else if (window == "about"_L1) {
            about.openAbout();
            shown = about.aboutWindow();
        } else if (window == "fullscreen"_L1) {
            field.setWindowTitle(u"Full screen"_s);
            field.showFullScreen();
            shown = &field;
        } else if (window == "alert"_L1) {
            alert.show(typingKeyAlert(t(u"Spatie"_s, u"Space"_s)), [](TypingKeyAnswer) {});
            shown = alert.box();
        } else {
            offer.offerModelDownload([](ModelOutcome) {});
            shown = offer.modelWindow();
            if (window != "offer"_L1) {
                offer.modelWindow()->control<QPushButton>(u"downloadButton"_s).click();
                download.onProgress(0.1923, 312'500'000, 1'624'555'275);
            }
            if (window == "failed"_L1) {
                download.onDone(failure(7,
                                        u"Te weinig schijfruimte voor het model (1624555275 bytes "
                                        "nodig)."_s));
            }
        }
    };
    const QString picture = arguments.value(4);
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
            if (picture.isEmpty()) {
                QApplication::quit();
            }
        }
    });
    if (!picture.isEmpty()) {
        QTimer::singleShot(200, [&] {
            shown->grab().save(picture);
            QApplication::quit();
        });
    }
    return QApplication::exec();
}
