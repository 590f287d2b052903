#include "app/app_delegate.h"

#include "app/app_windows.h"
#include "platform/desktop_notification.h"
#include "platform/remote_control.h"
#include "platform/secret_store.h"
#include "platform/text_literals.h"
#include "posix/file_access.h"
#include "settings/app_log.h"
#include "settings/config_file.h"
#include "settings/language.h"
#include "ui/overlays/overlays.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

namespace tavlo {

namespace {

// The support folder holds recordings and settings: its owner alone may look inside.
void createSupportFolder(const QString& path)
{
    // Without the folder nothing is kept, but everything else works.
    static_cast<void>(makeFolder(path));
    QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

}  // namespace

AppDelegate::AppDelegate(const AppParts& parts)
    : m_parts(parts),
      m_recorder(parts.audioInput, parts.queue),
      m_duckJournal(parts.locations.kDuckJournalURL),
      m_duckRepair(m_duckJournal, parts.outputVolume),
      m_ducker(parts.outputVolume, parts.queue, &m_duckJournal),
      m_board(m_state, parts.file, parts.loginItem, parts.statusItem),
      m_delivery(m_state, parts.queue, parts.pasteboard, parts.keystroke, parts.sounds, m_board),
      m_routing({m_state, parts.queue, parts.background, parts.cloud, parts.local, parts.offer, m_delivery,
                 parts.sounds, m_board, parts.file, parts.log, parts.locations.kLastWavURL}),
      m_session(
          {m_state, parts.queue, m_recorder, m_ducker, parts.sounds, parts.hud, parts.msgHud, m_board, parts.file,
           parts.log, parts.locations.kLastWavURL},
          [this] { m_routing.prepare(); },
          [this](const QByteArray& wav, const Config& config, double durationSeconds) {
              m_routing.route(wav, config, durationSeconds);
          }),
      m_capture(parts.queue, parts.file, parts.log, *this),
      m_detection(parts.queue, parts.file, *this),
      m_actions(parts.file, parts.loginItem, parts.workspace, m_board, parts.log,
                [this](const QString& message) { m_session.flashError(message); })
{
    m_board.changed = [this] { publishState(); };
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching()
{
    createSupportFolder(m_parts.locations.kAppSupportDir);
    m_parts.file.writeTemplateIfMissing();
    m_parts.file.migrateToKeychain();
    gLang = m_parts.file.loadWithoutKey().appLanguage;
    m_state.statusLine = readyText();
    m_registrations.push_back(
        m_parts.statusItem.appear({[this](MenuAction action, const QVariant& object) { perform(action, object); },
                                   [this](TrayPresence presence) { trayChanged(presence); }}));
    m_board.updateIcon();
    m_board.buildMenu();
    m_duckRepair.start();
    m_recorder.levelHandler = [this](float level) { m_parts.hud.push(level); };

    m_registrations.push_back(
        m_parts.keyboard.monitor([this](const KeyEvent& event) { m_detection.handleKeyDown(event); },
                                 [this](const KeyEvent& event) { m_detection.handleFlags(event); }));
    m_registrations.push_back(m_parts.audioInput.onConfigurationChange([this] { audioConfigurationChanged(); }));
    m_registrations.push_back(m_parts.control.onCommand([this](RemoteCommand command) { obey(command); }));
    // The engine line tells whether there is a key, which is known only while the keyring is open.
    m_registrations.push_back(m_parts.secrets.onAvailabilityChange([this] { m_board.buildMenu(); }));
    m_parts.secrets.requestUnlock();
    if (const QString reason = m_parts.keyboard.unavailableReason(); !reason.isEmpty()) {
        m_parts.log.appLog(reason);
        m_board.setStatusLine(u"⚠️ "_s + reason);
    }
}

void AppDelegate::applicationWillTerminate()
{
    m_ducker.restoreImmediately();
}

void AppDelegate::obey(RemoteCommand command)
{
    switch (command) {
        case RemoteCommand::Toggle:
            m_session.menuToggle();
            break;
        case RemoteCommand::Cancel:
            cancelRecording();
            break;
        case RemoteCommand::PasteAgain:
            m_delivery.pasteAgain();
            break;
        case RemoteCommand::OpenSettings:
            m_parts.windows.openSettings();
            break;
    }
}

void AppDelegate::setCapturing(bool capturing)
{
    m_state.capturing = capturing;
    m_board.updateIcon();
}

void AppDelegate::perform(MenuAction action, const QVariant& representedObject)
{
    switch (action) {
        case MenuAction::None:
            break;
        case MenuAction::PickLanguage:
            m_actions.pickLanguage(representedObject);
            break;
        case MenuAction::MenuToggle:
            m_session.menuToggle();
            break;
        case MenuAction::PasteAgain:
            m_delivery.pasteAgain();
            break;
        case MenuAction::PickHotkey:
            m_capture.pickHotkey(representedObject);
            break;
        case MenuAction::StartCapture:
            m_capture.startCapture();
            break;
        case MenuAction::ToggleDuck:
            m_actions.toggleDuck();
            break;
        case MenuAction::OpenSettings:
            m_parts.windows.openSettings();
            break;
        case MenuAction::ToggleLogin:
            m_actions.toggleLogin();
            break;
        case MenuAction::OpenFeedback:
            m_actions.openFeedback();
            break;
        case MenuAction::OpenAbout:
            m_parts.windows.openAbout();
            break;
        case MenuAction::Quit:
            QCoreApplication::quit();
            break;
    }
}

void AppDelegate::cancelRecording()
{
    // A cancel that was queued before the recording ended comes too late to mean anything.
    if (m_state.recording) {
        m_session.cancelRecording();
    }
}

void AppDelegate::trayChanged(TrayPresence presence)
{
    if (presence == TrayPresence::Present || m_missingTrayTold) {
        return;
    }
    m_missingTrayTold = true;
    const QString label = currentHotkey(m_parts.file).label();
    m_parts.notification.show(
        u"Tavlo"_s, t(u"Dit bureaublad heeft geen systeemvak voor het pictogram. Tavlo werkt wel: dicteer met de "
                      "sneltoets ("_s +
                          label + u"). Start Tavlo nog een keer om de instellingen te openen."_s,
                      u"This desktop has no system tray for the icon. Tavlo works all the same: dictate with the "
                      "hotkey ("_s +
                          label + u"). Start Tavlo once more to open its settings."_s));
}

void AppDelegate::settingsSaved()
{
    m_board.setStatusLine(t(u"Instellingen bewaard"_s, u"Settings saved"_s));
}

void AppDelegate::audioConfigurationChanged()
{
    if (!m_state.recording) {
        return;
    }
    m_parts.log.appLog(u"Audio-apparaat gewisseld tijdens opname - opname gestopt"_s);
    m_session.cancelRecording();
    m_parts.msgHud.show(t(u"Je microfoon of audio-apparaat is gewisseld tijdens de opname. De opname is "
                          "gestopt - druk op de sneltoets om opnieuw te beginnen."_s,
                          u"Your microphone or audio device changed during recording. Recording "
                          "stopped - press the hotkey to start again."_s),
                        5.0);
    m_board.setStatusLine(
        t(u"Audio-apparaat gewisseld - opname gestopt"_s, u"Audio device changed - recording stopped"_s));
}

void AppDelegate::publishState()
{
    m_parts.control.publish(m_state.activity(), m_state.statusLine);
}

void AppDelegate::showMessage(const QString& text, std::optional<double> autoHideSeconds)
{
    m_parts.msgHud.show(text, autoHideSeconds);
}

void AppDelegate::hideMessage()
{
    m_parts.msgHud.hide();
}

void AppDelegate::showTypingKeyAlert(const TypingKeyAlert& alert, std::function<void(TypingKeyAnswer)> answered)
{
    // The capture is over while the user thinks about the alert, which does not change the menu.
    publishState();
    m_parts.windows.showTypingKeyAlert(alert, std::move(answered));
}

}  // namespace tavlo
