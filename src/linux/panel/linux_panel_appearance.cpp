#include "linux/panel/linux_panel_appearance.h"

#include "platform/text_literals.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <array>
#include <utility>

namespace tavlo {

namespace {

const QString kPortalName = u"org.freedesktop.portal.Desktop"_s;
const QString kPortalPath = u"/org/freedesktop/portal/desktop"_s;
const QString kPortalInterface = u"org.freedesktop.portal.Settings"_s;
const QString kAppearance = u"org.freedesktop.appearance"_s;
const QString kColourScheme = u"color-scheme"_s;

const QString kXfcePanelName = u"org.xfce.Panel"_s;
const QString kXfconfName = u"org.xfce.Xfconf"_s;
const QString kXfconfPath = u"/org/xfce/Xfconf"_s;

// Answers are variants within variants, sometimes one level deeper than documented.
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
        if (!property.key().endsWith("/background-style"_L1) || property.value().toInt() != kSolidColour) {
            continue;
        }
        const QString panel = property.key().section(QLatin1Char('/'), 0, -2);
        const QVariantList parts = listFrom(properties.value(panel + u"/background-rgba"_s));
        if (parts.size() == 4) {
            // Perceived lightness, not the mean: pure blue is dark, pure green is light.
            const double lightness = 0.2126 * unwrapped(parts[0]).toDouble() + 0.7152 * unwrapped(parts[1]).toDouble() +
                                     0.0722 * unwrapped(parts[2]).toDouble();
            return lightness < 0.5 ? Shade::Dark : Shade::Light;
        }
    }
    if (properties.value(u"/panels/dark-mode"_s).toBool()) {
        return Shade::Dark;
    }
    return std::nullopt;
}

Shade shadeOfTheme(const QString& name)
{
    return name.contains("dark"_L1, Qt::CaseInsensitive) ? Shade::Dark : Shade::Light;
}

LinuxPanelAppearance::LinuxPanelAppearance(const QDBusConnection& sessionBus, const QString& desktopNames)
    : m_bus(sessionBus)
{
    qRegisterMetaType<QDBusVariant>();  // the bus finds a slot by the names of its types
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
    m_bus.connect(kPortalName, kPortalPath, kPortalInterface, u"SettingChanged"_s, this,
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
        m_changed.call();
    }
}

void LinuxPanelAppearance::askPortal()
{
    // The toolkit may deliver an answer after a notice that was sent later: what is noticed meanwhile is newer.
    ask(kPortalName, kPortalPath, kPortalInterface, u"Read"_s, {kAppearance, kColourScheme},
        [this, noticesBefore = m_preferenceNotices](const QVariant& answer) {
            if (m_preferenceNotices == noticesBefore) {
                setPreference(answer);
            }
        });
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
        ++m_preferenceNotices;
        setPreference(unwrapped(value.variant()));
    }
}

// Asks only if Xfce's panel runs: the settings service may run on other desktops too.
void LinuxPanelAppearance::askXfce()
{
    const QString dbus = u"org.freedesktop.DBus"_s;
    ask(dbus, u"/org/freedesktop/DBus"_s, dbus, u"NameHasOwner"_s, {kXfcePanelName}, [this](const QVariant& running) {
        if (!running.toBool()) {
            return;
        }
        ask(kXfconfName, kXfconfPath, kXfconfName, u"GetAllProperties"_s, {u"xfce4-panel"_s, u"/panels"_s},
            [this](const QVariant& answer) {
                QVariantMap properties;
                if (answer.metaType() == QMetaType::fromType<QDBusArgument>()) {
                    answer.value<QDBusArgument>() >> properties;
                }
                set(&PanelSurroundings::panel, xfcePanelShade(properties));
            });
        ask(kXfconfName, kXfconfPath, kXfconfName, u"GetProperty"_s, {u"xsettings"_s, u"/Net/ThemeName"_s},
            [this](const QVariant& name) {
                std::optional<Shade> shade;
                if (name.isValid()) {
                    shade = shadeOfTheme(name.toString());
                }
                set(&PanelSurroundings::theme, shade);
            });
    });
}

}  // namespace tavlo
