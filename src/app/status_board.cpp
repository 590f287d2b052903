#include "app/status_board.h"

#include "audio/recorder.h"
#include "hotkeys/hotkey_catalogue.h"
#include "platform/login_item.h"
#include "settings/config_file.h"
#include "ui/tray/status_item.h"
#include "ui/tray/status_menu.h"

namespace tavlo {

StatusBoard::StatusBoard(SessionState& state, const Recorder& recorder, const ConfigFile& file, LoginItem& loginItem,
                         StatusItem& statusItem)
    : m_state(state), m_recorder(recorder), m_file(file), m_loginItem(loginItem), m_statusItem(statusItem)
{
}

void StatusBoard::setStatusLine(const QString& text)
{
    setStatusLine(text, m_file.load());
}

void StatusBoard::setStatusLine(const QString& text, const Config& config)
{
    m_state.statusLine = text;
    buildMenu(config);
}

void StatusBoard::buildMenu()
{
    buildMenu(m_file.load());
}

void StatusBoard::buildMenu(const Config& config)
{
    MenuState menu;
    menu.statusLine = m_state.statusLine;
    menu.lastText = m_state.lastText;
    menu.recording = m_recorder.isRecording();
    menu.config = config;
    menu.hotkey = hotkeyFrom(menu.config, m_file.path());
    menu.loginItemEnabled = m_loginItem.isEnabled();
    m_statusItem.setMenu(statusMenu(menu));
    if (changed) {
        changed();
    }
}

void StatusBoard::setIcon(const QString& state)
{
    m_statusItem.setIcon(state);
}

}  // namespace tavlo
