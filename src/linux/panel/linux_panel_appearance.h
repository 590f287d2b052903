#pragma once

#include "platform/panel.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>
#include <QVariant>

namespace tavlo {

// What Xfce's settings and the desktop portal say about dark and light. Asks both without waiting, starts neither, and
// follows their changes. Main thread.
class LinuxPanelAppearance : public QObject, public PanelAppearance {
    Q_OBJECT

public:
    // `desktopNames` as in XDG_CURRENT_DESKTOP, separated by colons.
    LinuxPanelAppearance(const QDBusConnection& sessionBus, const QString& desktopNames);

    // Uses this connection from now on: the session bus came back after a crash.
    void moveTo(const QDBusConnection& sessionBus);

    PanelSurroundings surroundings() const override { return m_surroundings; }
    Registration onChange(std::function<void()> changed) override { return m_changed.add(std::move(changed)); }

private Q_SLOTS:
    void portalSettingChanged(const QString& area, const QString& key, const QDBusVariant& value);
    void askXfce();

private:
    void watch();
    void askPortal();
    void ask(const QString& service, const QString& path, const QString& interface, const QString& method,
             const QVariantList& arguments, std::function<void(const QVariant& answer)> answered);
    void setPreference(const QVariant& colourScheme);
    template <typename Field>
    void set(Field PanelSurroundings::*field, const Field& value);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_services;
    HandlerList<> m_changed;
    unsigned m_preferenceNotices = 0;  // how often the portal told of a change by itself
    PanelSurroundings m_surroundings;
};

// The shade of Xfce's panels by the properties below "/panels" of its channel; none when they follow the theme.
std::optional<Shade> xfcePanelShade(const QVariantMap& properties);
// The shade that a theme's name suggests.
Shade shadeOfTheme(const QString& name);

}  // namespace tavlo
