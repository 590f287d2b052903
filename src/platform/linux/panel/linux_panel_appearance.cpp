#include "platform/linux/panel/linux_panel_appearance.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <array>
#include <utility>

namespace tavlo {

namespace {

const QString kPortalName = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kPortalInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString kAppearance = QStringLiteral("org.freedesktop.appearance");
const QString kColourScheme = QStringLiteral("color-scheme");

const QString kXfcePanelName = QStringLiteral("org.xfce.Panel");
const QString kXfconfName = QStringLiteral("org.xfce.Xfconf");
const QString kXfconfPath = QStringLiteral("/org/xfce/Xfconf");

// Answers come as variants within variants, at times one deeper than promised.
QVariant unwrapped(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

QVariantList listFrom(const QVariant& value)
{
    QVariantList list;
    if (value.metaType() == QMetaType::fromType<QDBusArgument>()) {
        value.value<QDBusArgument>() >> list;
    } else {
        list = value.toList();
    }
    return list;
}

}  // namespace

std::optional<Shade> xfcePanelShade(const QVariantMap& properties)
{
    constexpr int kSolidColour = 1;
    for (auto property = properties.begin(); property != properties.end(); ++property) {
        if (!property.key().endsWith(QLatin1String("/background-style")) || property.value().toInt() != kSolidColour) {
            continue;
        }
        const QString panel = property.key().section(QLatin1Char('/'), 0, -2);
        const QVariantList parts = listFrom(properties.value(panel + QStringLiteral("/background-rgba")));
        if (parts.size() == 4) {
            // Perceived lightness, not the mean: a pure blue is dark, a pure green is light.
            const double lightness = 0.2126 * unwrapped(parts[0]).toDouble() + 0.7152 * unwrapped(parts[1]).toDouble() +
                                     0.0722 * unwrapped(parts[2]).toDouble();
            return lightness < 0.5 ? Shade::Dark : Shade::Light;
        }
    }
    if (properties.value(QStringLiteral("/panels/dark-mode")).toBool()) {
        return Shade::Dark;
    }
    return std::nullopt;
}

Shade shadeOfTheme(const QString& name)
{
    return name.contains(QLatin1String("dark"), Qt::CaseInsensitive) ? Shade::Dark : Shade::Light;
}

LinuxPanelAppearance::LinuxPanelAppearance(const QDBusConnection& sessionBus, const QString& desktopNames)
    : m_bus(sessionBus)
{
    m_surroundings.desktops = desktopNames.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    m_services.setWatchMode(QDBusServiceWatcher::WatchForRegistration);
    m_services.setWatchedServices({kPortalName, kXfcePanelName, kXfconfName});
    connect(&m_services, &QDBusServiceWatcher::serviceRegistered, this, [this](const QString& service) {
        if (service == kPortalName) {
            askPortal();
        } else {
            askXfce();
        }
    });
    watch();
}

void LinuxPanelAppearance::moveTo(const QDBusConnection& sessionBus)
{
    m_bus = sessionBus;
    watch();
}

void LinuxPanelAppearance::watch()
{
    m_services.setConnection(m_bus);
    m_bus.connect(kPortalName, kPortalPath, kPortalInterface, QStringLiteral("SettingChanged"), this,
                  SLOT(portalSettingChanged(QString, QString, QDBusVariant)));
    for (const char* signal : {"PropertyChanged", "PropertyRemoved"}) {
        m_bus.connect(kXfconfName, kXfconfPath, kXfconfName, QLatin1String(signal), this, SLOT(askXfce()));
    }
    askPortal();
    askXfce();
}

void LinuxPanelAppearance::ask(const QString& service, const QString& path, const QString& interface,
                               const QString& method, const QVariantList& arguments,
                               std::function<void(const QVariant& answer)> answered)
{
    if (!m_bus.isConnected()) {
        return;
    }
    QDBusMessage question = QDBusMessage::createMethodCall(service, path, interface, method);
    question.setArguments(arguments);
    question.setAutoStartService(false);
    auto* call = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [call, answered = std::move(answered)] {
        call->deleteLater();
        const QDBusMessage reply = call->reply();
        answered(reply.type() == QDBusMessage::ReplyMessage ? unwrapped(reply.arguments().value(0)) : QVariant());
    });
}

template <typename Field>
void LinuxPanelAppearance::set(Field PanelSurroundings::*field, const Field& value)
{
    if (m_surroundings.*field != value) {
        m_surroundings.*field = value;
        m_observers.notify();
    }
}

void LinuxPanelAppearance::askPortal()
{
    ask(kPortalName, kPortalPath, kPortalInterface, QStringLiteral("Read"), {kAppearance, kColourScheme},
        [this](const QVariant& answer) { setPreference(answer); });
}

void LinuxPanelAppearance::setPreference(const QVariant& colourScheme)
{
    constexpr uint kPrefersDark = 1;
    constexpr uint kPrefersLight = 2;
    std::optional<Shade> preference;
    if (colourScheme.isValid() && colourScheme.toUInt() == kPrefersDark) {
        preference = Shade::Dark;
    } else if (colourScheme.isValid() && colourScheme.toUInt() == kPrefersLight) {
        preference = Shade::Light;
    }
    set(&PanelSurroundings::preference, preference);
}

void LinuxPanelAppearance::portalSettingChanged(const QString& area, const QString& key, const QDBusVariant& value)
{
    if (area == kAppearance && key == kColourScheme) {
        setPreference(unwrapped(value.variant()));
    }
}

// Only where Xfce's panel runs: its settings service may run in other desktops as well.
void LinuxPanelAppearance::askXfce()
{
    const QString dbus = QStringLiteral("org.freedesktop.DBus");
    ask(dbus, QStringLiteral("/org/freedesktop/DBus"), dbus, QStringLiteral("NameHasOwner"), {kXfcePanelName},
        [this](const QVariant& running) {
            if (!running.toBool()) {
                return;
            }
            ask(kXfconfName, kXfconfPath, kXfconfName, QStringLiteral("GetAllProperties"),
                {QStringLiteral("xfce4-panel"), QStringLiteral("/panels")}, [this](const QVariant& answer) {
                    QVariantMap properties;
                    if (answer.metaType() == QMetaType::fromType<QDBusArgument>()) {
                        answer.value<QDBusArgument>() >> properties;
                    }
                    set(&PanelSurroundings::panel, xfcePanelShade(properties));
                });
            ask(kXfconfName, kXfconfPath, kXfconfName, QStringLiteral("GetProperty"),
                {QStringLiteral("xsettings"), QStringLiteral("/Net/ThemeName")}, [this](const QVariant& name) {
                    std::optional<Shade> shade;
                    if (name.isValid()) {
                        shade = shadeOfTheme(name.toString());
                    }
                    set(&PanelSurroundings::theme, shade);
                });
        });
}

}  // namespace tavlo
