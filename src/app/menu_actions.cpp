#include "app/menu_actions.h"

#include "app/dictation_session.h"
#include "app/status_board.h"
#include "platform/keyboard_monitor.h"
#include "platform/login_item.h"
#include "platform/text_literals.h"
#include "platform/workspace.h"
#include "settings/app_log.h"
#include "settings/config.h"
#include "settings/language.h"
#include "settings/locations.h"

#include <QMetaType>
#include <QUrl>

namespace tavlo {

MenuActions::MenuActions(ConfigFile& file, LoginItem& loginItem, Workspace& workspace, StatusBoard& board,
                         DictationSession& session, const KeyboardMonitor& keyboard, AppLog& log)
    : m_file(file),
      m_loginItem(loginItem),
      m_workspace(workspace),
      m_board(board),
      m_session(session),
      m_keyboard(keyboard),
      m_log(log)
{
}

void MenuActions::pickLanguage(const QVariant& representedObject)
{
    if (representedObject.typeId() != QMetaType::QString) {
        return;
    }
    const QString code = representedObject.toString();
    m_file.update(setting::kAppLanguage, code);
    gLang = code;
    m_log.appLog(u"Taal gewijzigd naar "_s + code);
    m_board.setStatusLine(readyText(m_keyboard));
}

void MenuActions::toggleDuck()
{
    m_file.update(setting::kDuckEnabled, !m_file.loadWithoutKey().duckEnabled);
    m_board.buildMenu();
}

void MenuActions::toggleLogin()
{
    const auto done = m_loginItem.isEnabled() ? m_loginItem.disable() : m_loginItem.enable();
    m_board.lookUpLoginItem();
    if (done) {
        m_board.buildMenu();
    } else {
        m_session.flashError(t(u"Login-item: "_s, u"Login item: "_s) + done.error().description);
    }
}

void MenuActions::openConfig()
{
    m_workspace.open(QUrl::fromLocalFile(m_file.path()));
}

void MenuActions::openFeedback()
{
    m_workspace.open(QUrl(kFeedbackURL));
}

QString readyText(const KeyboardMonitor& keyboard)
{
    if (const Words reason = keyboard.unavailableReason(); !reason.isEmpty()) {
        return u"⚠️ "_s + t(reason);
    }
    return t(u"Klaar - druk op de sneltoets om te dicteren"_s, u"Ready - press the hotkey to dictate"_s);
}

}  // namespace tavlo
