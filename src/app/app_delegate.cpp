#include "app/app_delegate.h"

#include "app/status_board.h"
#include "platform/desktop_notification.h"
#include "platform/secret_store.h"
#include "platform/text_literals.h"
#include "posix/file_access.h"
#include "settings/app_log.h"
#include "settings/config.h"
#include "settings/language.h"
#include "ui/overlays/overlays.h"
#include "ui/windows/app_windows.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <functional>
#include <utility>

namespace tavlo {

CaptureDisplay::CaptureDisplay(SessionState& state, StatusBoard& board, MessageOverlay& msgHud, AppWindows& windows)
    : m_state(state), m_board(board), m_msgHud(msgHud), m_windows(windows)
{
}

bool CaptureDisplay::isRecording() const
{
    return m_state.recording;
}

bool CaptureDisplay::isBusy() const
{
    return m_state.busy;
}

bool CaptureDisplay::isCapturing() const
{
    return m_state.capturing;
}

void CaptureDisplay::setCapturing(bool capturing)
{
    m_state.capturing = capturing;
    m_board.updateIcon();
    m_board.tellKeyboard();
}

void CaptureDisplay::setStatusLine(const QString& text)
{
    m_board.setStatusLine(text);
}

void CaptureDisplay::showMessage(const QString& text, std::optional<double> autoHideSeconds)
{
    m_msgHud.show(text, autoHideSeconds);
}

void CaptureDisplay::hideMessage()
{
    m_msgHud.hide();
}

void CaptureDisplay::showTypingKeyAlert(const TypingKeyAlert& alert, std::function<void(TypingKeyAnswer)> answered)
{
    // The capture is over while the user thinks about the alert, which does not change the menu.
    m_board.publish();
    m_windows.showTypingKeyAlert(alert, std::move(answered));
}

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
      m_board({m_state, parts.queue, parts.file, parts.keyboard, parts.loginItem, parts.statusItem, parts.control}),
      m_delivery(m_state, parts.queue, parts.pasteboard, parts.keystroke, parts.sounds, parts.workspace, m_board),
      m_routing({m_state, parts.queue, parts.background, parts.cloud, parts.local, parts.offer, m_delivery,
                 parts.sounds, m_board, parts.file, parts.log, parts.locations.kLastWavURL}),
      m_session({m_state, parts.queue, m_recorder, m_ducker, parts.sounds, parts.hud, parts.msgHud, m_board, m_routing,
                 parts.file, parts.log, parts.locations.kLastWavURL}),
      m_captureDisplay(m_state, m_board, parts.msgHud, parts.windows),
      m_capture(parts.queue, parts.keyboard, parts.file, parts.log, m_captureDisplay),
      m_detection(parts.queue, parts.file, m_capture, m_session),
      m_actions(parts.file, parts.loginItem, parts.workspace, m_board, m_session, parts.keyboard, parts.log)
{
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching()
{
    createSupportFolder(m_parts.locations.kAppSupportDir);
    m_parts.file.writeTemplateIfMissing();
    m_parts.file.migrateToKeychain();
    const Config config = m_parts.file.load();
    gLang = config.appLanguage;
    m_board.noteKey(config);
    m_board.lookUpLoginItem();
    m_state.statusLine = readyText(m_parts.keyboard);
    m_registrations.push_back(
        m_parts.statusItem.appear({[this](MenuAction action, const QVariant& object) { perform(action, object); },
                                   [this](TrayPresence presence) { trayChanged(presence); }}));
    m_board.updateIcon();
    m_board.buildMenu();
    m_duckRepair.start();
    registerHandlers();
    m_parts.secrets.requestUnlock();
    m_keysWereThere = m_parts.keyboard.unavailableReason().isEmpty();
    if (!m_keysWereThere) {
        m_parts.log.appLog(t(m_parts.keyboard.unavailableReason()));
    }
}

void AppDelegate::registerHandlers()
{
    m_recorder.levelHandler = [this](float level) { m_parts.hud.push(level); };
    m_registrations.push_back(
        m_parts.keyboard.onKeyDown(std::bind_front(&HotkeyDetection::handleKeyDown, &m_detection)));
    m_registrations.push_back(
        m_parts.keyboard.onFlagsChanged(std::bind_front(&HotkeyDetection::handleFlags, &m_detection)));
    m_registrations.push_back(m_parts.keyboard.onAvailabilityChange([this] { keysChanged(); }));
    m_registrations.push_back(
        m_parts.audioInput.onConfigurationChange([this] { m_session.audioConfigurationChanged(); }));
    m_registrations.push_back(m_parts.control.onCommand([this](RemoteCommand command) { obey(command); }));
    m_registrations.push_back(m_parts.secrets.onAvailabilityChange([this] { keyringChanged(); }));
    m_registrations.push_back(m_parts.windows.onSettingsSaved([this] { settingsSaved(); }));
}

void AppDelegate::settingsFileChanged()
{
    m_board.tellKeyboard();
}

void AppDelegate::applicationWillTerminate()
{
    m_ducker.restoreImmediately();
}

void AppDelegate::obey(RemoteCommand command)
{
    switch (command) {
        case RemoteCommand::Toggle:
            m_session.toggle();
            break;
        case RemoteCommand::Cancel:
            m_session.cancelRecording();
            break;
        case RemoteCommand::PasteAgain:
            m_delivery.pasteAgain();
            break;
        case RemoteCommand::OpenSettings:
            m_parts.windows.openSettings();
            break;
    }
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
            m_session.toggle();
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

void AppDelegate::keyringChanged()
{
    // The engine line tells whether there is a key, which is known only while the keyring is open.
    m_board.lookUpKey();
    m_board.buildMenu();
}

void AppDelegate::keysChanged()
{
    const Words reason = m_parts.keyboard.unavailableReason();
    if (m_keysWereThere == reason.isEmpty()) {
        return;
    }
    m_keysWereThere = reason.isEmpty();
    m_parts.log.appLog(m_keysWereThere ? t(u"De sneltoets werkt nu"_s, u"The hotkey works now"_s) : t(reason));
    if (m_state.capturing && !m_keysWereThere) {
        m_captureDisplay.setCapturing(false);  // nothing could end it any more
        m_captureDisplay.hideMessage();
    }
    if (m_state.activity() == Activity::Ready) {
        m_board.setStatusLine(readyText(m_parts.keyboard));
    }
}

void AppDelegate::settingsSaved()
{
    m_board.lookUpKey();
    m_board.setStatusLine(t(u"Instellingen bewaard"_s, u"Settings saved"_s));
}

}  // namespace tavlo
