#pragma once

#include "ui/floating_panel_look.h"
#include "ui/window_text.h"

#include <QWidget>

namespace tavlo {

// The style in which a message is set: 15 pixels, or the largest smaller size at which it fits two lines; at the least
// 11.
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

}  // namespace tavlo
