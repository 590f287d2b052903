#include "ui/tray/tray_status_item.h"

#include "platform/text_literals.h"
#include "ui/tray/tavlo_icon.h"
#include "ui/window_colours.h"

#include <QApplication>
#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QPalette>
#include <QSystemTrayIcon>

#include <chrono>
#include <utility>

namespace tavlo {

namespace {

// A panel that starts together with us needs some time until it offers all its kinds of tray, and one that crashed
// needs some to restart.
constexpr auto kSettlingTime = std::chrono::seconds(2);

}  // namespace

struct TrayStatusItem::Mirrored {
    Mirrored(TitleEscaping escaping, MenuMirror::Handler handler) : mirror(escaping, std::move(handler)) {}

    void show(const MenuDescription& description) { mirror.show(description, menu); }

    MenuMirror mirror;
    QMenu menu;
};

TrayStatusItem::TrayStatusItem(MainQueue& queue, TrayHost& host, PanelAppearance& appearance)
    : m_queue(queue), m_host(host), m_appearance(appearance)
{
    setObjectName(u"Tavlo"_s);
}

TrayStatusItem::~TrayStatusItem() = default;

Registration TrayStatusItem::appear(StatusItemHandlers handlers)
{
    m_handlers = std::move(handlers);
    m_hostRegistration = m_host.onChange([this] { hostChanged(); });
    m_appearanceRegistration = m_appearance.onChange([this] { redraw(); });
    QCoreApplication::instance()->installEventFilter(this);
    hostChanged();
    return Registration([this, alive = m_lifetime.reference()] {
        if (!alive.expired()) {
            m_handlers = {};
        }
    });
}

void TrayStatusItem::setIcon(Activity activity)
{
    m_activity = activity;
    redraw();
}

void TrayStatusItem::setMenu(const MenuDescription& menu)
{
    m_description = menu;
    for (Mirrored* mirrored : {m_panelMenu.get(), m_popUpMenu.get()}) {
        if (mirrored != nullptr) {
            mirrored->show(m_description);
        }
    }
}

bool TrayStatusItem::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::ApplicationPaletteChange && watched == QCoreApplication::instance()) {
        redraw();
    }
    return event->type() == QEvent::KeyPress && pressed(*watched, *static_cast<QKeyEvent*>(event));
}

bool TrayStatusItem::pressed(const QObject& receiver, const QKeyEvent& key)
{
    for (const Mirrored* const mirrored : {m_panelMenu.get(), m_popUpMenu.get()}) {
        // Submenus are the menu's children.
        for (const QObject* part = &receiver; mirrored != nullptr && part != nullptr; part = part->parent()) {
            if (part == &mirrored->menu) {
                return pressKeyEquivalent(mirrored->menu, key);
            }
        }
    }
    return false;
}

void TrayStatusItem::hostChanged()
{
    // A tray on the bus is taken at once. A panel that can only embed an icon so far may be about to offer the bus.
    if (m_host.kind() == TrayKind::Bus || (m_icon && m_host.offers(m_kind))) {
        settle();
        return;
    }
    m_settling.renew();
    m_queue.postAfter(kSettlingTime, m_settling.reference(), [this] { settle(); });
}

void TrayStatusItem::settle()
{
    m_settling.renew();
    if (!m_icon && m_host.kind() != TrayKind::None) {
        m_kind = m_host.kind();
        createIcon();
    } else if (m_kind == TrayKind::Bus && m_busNumber != m_host.busNumber() && m_host.offers(m_kind)) {
        putIconBack();
    }
    // The toolkit has decided for one kind: a tray of the other kind is of no use from then on.
    const auto presence = m_icon && m_host.offers(m_kind) ? TrayPresence::Present : TrayPresence::Absent;
    if (m_reported != presence) {
        m_reported = presence;
        if (m_handlers.trayChanged) {
            m_handlers.trayChanged(presence);
        }
    }
}

std::unique_ptr<TrayStatusItem::Mirrored> TrayStatusItem::createMenu(TitleEscaping escaping)
{
    auto created = std::make_unique<Mirrored>(escaping, [this](MenuAction action, const QVariant& representedObject) {
        m_queue.post(m_lifetime.reference(), [this, action, representedObject] {
            if (m_handlers.chosen) {
                m_handlers.chosen(action, representedObject);
            }
        });
    });
    created->menu.setAccessibleName(u"Tavlo"_s);
    connect(&created->menu, &QMenu::aboutToShow, &created->menu,
            [menu = &created->menu] { menu->setPalette(greyedRowColours(QApplication::palette("QMenu"))); });
    created->show(m_description);
    return created;
}

void TrayStatusItem::createIcon()
{
    m_busNumber = m_host.busNumber();
    m_panelMenu = createMenu(m_kind == TrayKind::Bus ? TitleEscaping::Bus : TitleEscaping::Toolkit);
    m_icon = std::make_unique<QSystemTrayIcon>();
    m_icon->setObjectName(u"Tavlo"_s);
    m_icon->setToolTip(u"Tavlo"_s);
    m_icon->setContextMenu(&m_panelMenu->menu);
    connect(m_icon.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) {
            popUp();
        }
    });
    redraw();
    m_icon->show();
}

// On a new bus. The icon stays the same object: for another one the toolkit would look for a tray over the connection
// to the former bus. The menu is a new one, since the toolkit exports a menu only once.
void TrayStatusItem::putIconBack()
{
    m_icon->hide();
    m_busNumber = m_host.busNumber();
    const auto former = std::exchange(m_panelMenu, createMenu(TitleEscaping::Bus));
    m_icon->setContextMenu(&m_panelMenu->menu);
    m_icon->show();
}

void TrayStatusItem::redraw()
{
    if (m_icon) {
        const QColor windowColour = QGuiApplication::palette().color(QPalette::Window);
        const QIcon icon = TavloIcon::menuBar(m_activity, panelInk(m_appearance.surroundings(), windowColour));
        if (icon.cacheKey() != m_icon->icon().cacheKey()) {
            m_icon->setIcon(icon);
        }
    }
}

// Every mouse button opens the menu, as in a menu bar. It is not the panel's menu, whose titles may be escaped for the
// bus.
void TrayStatusItem::popUp()
{
    if (!m_popUpMenu) {
        m_popUpMenu = createMenu(TitleEscaping::Toolkit);
    }
    m_popUpMenu->menu.popup(QCursor::pos());
}

}  // namespace tavlo
