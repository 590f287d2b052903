#include "linux/qt/session_restart.h"

#include <QGuiApplication>
#include <QSessionManager>

namespace tavlo {

void declineSessionRestart(QGuiApplication& application)
{
    const auto decline = [](QSessionManager& manager) { manager.setRestartHint(QSessionManager::RestartNever); };
    // The session manager reads the hint after either kind of saving, and may ask for one kind only.
    QObject::connect(&application, &QGuiApplication::saveStateRequest, &application, decline);
    QObject::connect(&application, &QGuiApplication::commitDataRequest, &application, decline);
}

}  // namespace tavlo
