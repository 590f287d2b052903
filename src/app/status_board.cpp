#include "app/status_board.h"

#include "hotkeys/hotkey_catalogue.h"
#include "platform/login_item.h"
#include "settings/config_file.h"
#include "ui/tray/status_item.h"
#include "ui/tray/status_menu.h"

namespace tavlo {

Activity SessionState::activity() const
{
    return recording   ? Activity::Recording
           : busy      ? Activity::Transcribing
           : capturing ? Activity::Capturing
                       : Activity::Ready;
}

StatusBoard::StatusBoard(SessionState& state, const ConfigFile& file, LoginItem& loginItem, StatusItem& statusItem)
    : m_state(state), m_file(file), m_loginItem(loginItem), m_statusItem(statusItem)
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
    menu.recording = m_state.recording;
    menu.config = config;
    menu.hotkey = hotkeyFrom(menu.config, m_file.path());
    menu.loginItemEnabled = m_loginItem.isEnabled();
    m_statusItem.setMenu(statusMenu(menu));
    if (changed) {
        changed();
    }
}

void StatusBoard::updateIcon()
{
    m_statusItem.setIcon(m_state.activity());
}

}  // namespace tavlo
