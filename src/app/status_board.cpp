#include "app/status_board.h"

#include "hotkeys/hotkey_catalogue.h"
#include "platform/keyboard_monitor.h"
#include "platform/login_item.h"
#include "platform/remote_control.h"
#include "settings/config.h"
#include "ui/tray/status_menu.h"

namespace tavlo {

Activity SessionState::activity() const
{
    if (recording) {
        return Activity::Recording;
    }
    if (busy) {
        return Activity::Transcribing;
    }
    return capturing ? Activity::Capturing : Activity::Ready;
}

StatusBoard::StatusBoard(const StatusBoardParts& parts) : m_parts(parts) {}

void StatusBoard::setStatusLine(const QString& text)
{
    m_parts.state.statusLine = text;
    buildMenu();
}

void StatusBoard::buildMenu()
{
    MenuState menu;
    menu.statusLine = m_parts.state.statusLine;
    menu.lastText = m_parts.state.lastText;
    menu.recording = m_parts.state.recording;
    menu.config = m_parts.file.loadWithoutKey();
    menu.hasKey = hasKey(menu.config);
    menu.hotkey = hotkeyFrom(menu.config, m_parts.file.path());
    menu.loginItemEnabled = m_loginItemEnabled;
    m_parts.statusItem.setMenu(statusMenu(menu));
    tellKeyboard(menu.hotkey);
    publish();
    if (menu.config.provider != m_keyProvider && m_parts.file.isReadable()) {
        // Somebody has written another provider into the file, or has mended a file that could not be read.
        m_lookUp.renew();
        m_parts.queue.post(m_lookUp.reference(), [this] {
            lookUpKey();
            buildMenu();
        });
    }
}

void StatusBoard::tellKeyboard()
{
    const Config config = m_parts.file.loadWithoutKey();
    // A key code that is none stops the program at the next key; nobody has pressed one.
    if (namesHotkey(config)) {
        tellKeyboard(hotkeyFrom(config, m_parts.file.path()));
    }
}

void StatusBoard::tellKeyboard(const HotkeyOption& hotkey)
{
    m_parts.keyboard.setInterest({.hotkey = hotkey.keyCode, .everyKey = m_parts.state.capturing});
}

void StatusBoard::updateIcon()
{
    m_parts.statusItem.setIcon(m_parts.state.activity());
}

void StatusBoard::publish()
{
    m_parts.control.publish(m_parts.state.activity(), m_parts.state.statusLine);
}

void StatusBoard::lookUpKey()
{
    noteKey(m_parts.file.load());
}

void StatusBoard::noteKey(const Config& config)
{
    // Settings that could not be read have no key, whatever the keyring holds for the provider that is the default.
    m_keyProvider = m_parts.file.isReadable() ? config.provider : QString();
    m_hasKey = !config.apiKey.isEmpty();
}

bool StatusBoard::hasKey(const Config& config) const
{
    return m_hasKey && config.provider == m_keyProvider;
}

void StatusBoard::lookUpLoginItem()
{
    m_loginItemEnabled = m_parts.loginItem.isEnabled();
}

}  // namespace tavlo
