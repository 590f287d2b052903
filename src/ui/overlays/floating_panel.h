#pragma once

#include "platform/screens.h"

#include <QColor>
#include <QPixmap>
#include <QWidget>

namespace tavlo {

// Where nothing composites the desktop, a panel is cut to its shape and drawn without its translucency.
enum class PanelLook { Translucent, Opaque };

// The dark ground of a panel: `white` of 0...1 at `alpha` where the look allows it.
inline QColor panelGround(double white, double alpha, PanelLook look)
{
    return QColor::fromRgbF(static_cast<float>(white), static_cast<float>(white), static_cast<float>(white),
                            look == PanelLook::Opaque ? 1.0F : static_cast<float>(alpha));
}

// Which panel stands above the other one where they meet; a higher value is nearer to the user.
enum class PanelLevel { Status = 25, ScreenSaver = 1000 };

// A borderless panel with rounded corners above everything else, full-screen windows too, on every workspace. It never
// takes the keyboard focus and never catches the mouse. Its window manager is by-passed, so that none of them can
// place, decorate or focus it. With a compositor it is translucent and casts a shadow, for which the window is larger
// than its content by shadowMargin() on every side. Main thread.
class FloatingPanel : public QWidget {
public:
    // `content` fills the panel, which becomes its owner.
    FloatingPanel(PanelLevel level, double cornerRadius, QWidget* content);

    // To be called before the content is drawn for a show, since a compositor may have come or gone.
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
