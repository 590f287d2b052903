#pragma once

#include "platform/screens.h"

#include <QColor>
#include <QPixmap>
#include <QWidget>

namespace tavlo {

// Without a compositor a panel is cut to its shape and drawn opaque.
enum class PanelLook { Translucent, Opaque };

// The dark ground of a panel: `white` of 0...1 at `alpha` where the look allows it.
inline QColor panelGround(double white, double alpha, PanelLook look)
{
    return QColor::fromRgbF(static_cast<float>(white), static_cast<float>(white), static_cast<float>(white),
                            look == PanelLook::Opaque ? 1.0F : static_cast<float>(alpha));
}

// Which panel stands above another one: the one of the higher level.
enum class PanelLevel { Status = 25, ScreenSaver = 1000 };

// A borderless panel with rounded corners above everything else, full-screen windows too, on every workspace. It never
// takes the keyboard focus and never catches the mouse. It bypasses the window manager, which could otherwise move,
// decorate or focus it. With a compositor it is translucent and casts a shadow, for which the window is larger than its
// content by shadowMargin() on every side. Main thread.
class FloatingPanel : public QWidget {
public:
    // `content` fills the panel, which becomes its owner.
    FloatingPanel(PanelLevel level, double cornerRadius, QWidget* content);

    // Call it before each show: a compositor may have started or ended since the last one. Returns how the content is
    // to be drawn.
    PanelLook adaptTo(Compositing compositing);
    // Moves the content to that place, in pixels from the top-left of the desktop.
    void moveContent(const QPoint& topLeft);
    // Shows the panel above all windows without activating anything.
    void orderFront();
    void orderOut() { hide(); }

    PanelLevel level() const { return m_level; }
    int shadowMargin() const { return m_look == PanelLook::Translucent ? kShadowMargin : 0; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    static constexpr int kShadowMargin = 16;

    void drawShadow();

    PanelLevel m_level;
    double m_cornerRadius;
    QWidget* m_content;
    PanelLook m_look = PanelLook::Translucent;
    QPixmap m_shadow;
};

// The place of a content of `size` that is centred horizontally in the visible frame, with its bottom edge `above`
// pixels over the bottom of that frame.
QPoint placeAboveBottom(const QRect& visibleFrame, const QSize& size, int above);
// The place of a content of `size` in the middle of the visible frame.
QPoint placeInMiddle(const QRect& visibleFrame, const QSize& size);

}  // namespace tavlo
