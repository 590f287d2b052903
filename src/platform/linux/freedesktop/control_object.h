#pragma once

#include "platform/main_queue.h"
#include "platform/remote_control.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QVariantMap>

#include <optional>

namespace tavlo {

// The object at /nl/pelloquintar/Tavlo1 on the bus.
class ControlObject : public QDBusVirtualObject {
    Q_OBJECT

public:
    static QString path();
    static QString interface();

    ControlObject(MainQueue& queue, QString version);

    void setHandlers(RemoteHandlers handlers) { m_handlers = std::move(handlers); }
    void onDisconnected(std::function<void()> disconnected) { m_disconnected = std::move(disconnected); }
    void serveOn(const QDBusConnection& bus);
    // To be called before the connection is given up: from here on it hands over nothing more.
    void stopServing();
    // The connection that it serves on.
    const std::optional<QDBusConnection>& bus() const { return m_bus; }
    void publish(const QString& state, const QString& statusLine);

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private Q_SLOTS:
    void busDisconnected();

private:
    bool handleProperties(const QDBusMessage& message, const QDBusConnection& connection) const;
    QVariantMap properties() const;
    std::function<void()> handlerOf(const QString& method) const;

    MainQueue& m_queue;
    QString m_version;
    QString m_state = QStringLiteral("ready");
    QString m_statusLine;
    RemoteHandlers m_handlers;
    std::function<void()> m_disconnected;
    std::optional<QDBusConnection> m_bus;
    Lifetime m_lifetime;
};

}  // namespace tavlo
