#pragma once

#include "platform/panel.h"
#include "platform/queues.h"
#include "platform/registration.h"
#include "ui/tray/menu_mirror.h"
#include "ui/tray/status_menu.h"

#include <QObject>

#include <memory>
#include <optional>

class QKeyEvent;
class QSystemTrayIcon;

namespace tavlo {

// The status item in the desktop's tray. Its icon is made when a tray is there, since the toolkit decides once, at its
// first icon, which kind of tray there is. Main thread.
class TrayStatusItem : public QObject, public StatusItem {
public:
    // All outlive this object.
    TrayStatusItem(MainQueue& queue, TrayHost& host, PanelAppearance& appearance);
    ~TrayStatusItem() override;

    Registration appear(StatusItemHandlers handlers) override;
    void setIcon(Activity activity) override;
    void setMenu(const MenuDescription& menu) override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool pressed(const QObject& receiver, const QKeyEvent& key);
    void hostChanged();
    void settle();
    // A menu that follows the description.
    struct Mirrored;

    void createIcon();
    void putIconBack();
    std::unique_ptr<Mirrored> createMenu(TitleEscaping escaping);
    void redraw();
    void popUp();

    MainQueue& m_queue;
    TrayHost& m_host;
    PanelAppearance& m_appearance;
    StatusItemHandlers m_handlers;
    Activity m_activity = Activity::Ready;
    MenuDescription m_description;
    std::optional<TrayPresence> m_reported;
    TrayKind m_kind = TrayKind::None;  // of the icon, for good
    int m_busNumber = 0;               // at which the icon was made
    // Both outlive the icon that shows them.
    std::unique_ptr<Mirrored> m_panelMenu;
    std::unique_ptr<Mirrored> m_popUpMenu;
    std::unique_ptr<QSystemTrayIcon> m_icon;
    Lifetime m_settling;
    Lifetime m_lifetime;
    Registration m_hostRegistration;
    Registration m_appearanceRegistration;
};

}  // namespace tavlo
