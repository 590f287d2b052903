#pragma once

#include "platform/queues.h"
#include "platform/screens.h"
#include "ui/overlays/floating_panel.h"
#include "ui/overlays/overlays.h"
#include "ui/window_text.h"

#include <QWidget>

#include <memory>

namespace tavlo {

// The style of a message: 15 pixels, or the largest smaller size at which it fits two lines, but at least 11.
TextStyle messageStyle(const QString& text);

// Draws the box and in it the message, centred, at most two lines of it; `bounds` is the box.
void drawMessage(QPainter& painter, const QRectF& bounds, const QString& text, PanelLook look);

// One short message in a dark rounded box. Main thread.
class MessageView : public QWidget {
public:
    explicit MessageView(QWidget* parent = nullptr);

    void setText(const QString& text);
    QString text() const { return m_text; }
    void setLook(PanelLook look);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_text;
    PanelLook m_look = PanelLook::Translucent;
};

// The box with one message in the middle of the main screen. Its panel is built at the first show and kept. Main
// thread.
class MessageHUD : public MessageOverlay {
public:
    MessageHUD(MainQueue& queue, Screens& screens);
    ~MessageHUD() override;

    void show(const QString& text, std::optional<double> autoHideSeconds) override;
    void hide() override;

    const MessageView& view() const { return *m_view; }

private:
    MainQueue& m_queue;
    Screens& m_screens;
    std::unique_ptr<MessageView> m_ownView;  // until the panel takes it over
    MessageView* m_view;
    std::unique_ptr<FloatingPanel> m_panel;
    Lifetime m_hideTimer;
};

}  // namespace tavlo
