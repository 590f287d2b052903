#include "linux/session.h"

#include "linux/desktop.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QGuiApplication>
#include <QSessionManager>

namespace tavlo {

namespace {

// The keyring's connection is made beside what comes until the menu asks for a key.
ClaimResult connectAndClaim(SecretServiceStore& secrets, SessionBusControl& control)
{
    secrets.connect();
    return control.claim();
}

}  // namespace

LinuxSessionStart::LinuxSessionStart(const QString& keyringService, const QString& version)
    : secrets(queue, keyringService), control(queue, version), claim(connectAndClaim(secrets, control))
{
}

LinuxSession::LinuxSession(LinuxSessionStart& start)
    : m_start(start),
      m_audioInput(m_sound, start.queue),
      m_outputVolume(m_sound, start.queue),
      m_sounds(m_sound),
      m_loginItem(AutostartLoginItem::forProgram(QCoreApplication::applicationFilePath())),
      m_desktop(makeDesktop()),
      m_notification(start.control, QDBusConnection::sessionBus()),
      m_trayHost(QDBusConnection::sessionBus()),
      m_panelAppearance(QDBusConnection::sessionBus(), qEnvironmentVariable("XDG_CURRENT_DESKTOP"))
{
    start.control.onReturn([this](const QDBusConnection& bus) {
        m_trayHost.moveTo(bus);
        m_panelAppearance.moveTo(bus);
    });
}

Ports LinuxSession::ports()
{
    return {
        .queue = m_start.queue,
        .background = m_background,
        .audioInput = m_audioInput,
        .outputVolume = m_outputVolume,
        .sounds = m_sounds,
        .secrets = m_start.secrets,
        .desktop = *m_desktop,
        .loginItem = m_loginItem,
        .workspace = m_workspace,
        .trayHost = m_trayHost,
        .panelAppearance = m_panelAppearance,
        .notification = m_notification,
        .control = m_start.control,
    };
}

void declineSessionRestart(QGuiApplication& application)
{
    const auto decline = [](QSessionManager& manager) { manager.setRestartHint(QSessionManager::RestartNever); };
    // The session manager reads the hint after either kind of saving, and may ask for one kind only.
    QObject::connect(&application, &QGuiApplication::saveStateRequest, &application, decline);
    QObject::connect(&application, &QGuiApplication::commitDataRequest, &application, decline);
}

}  // namespace tavlo
