#include "ui/overlays/floating_panel.h"

#include "ui/window_description.h"

#include <QApplication>
#include <QBitmap>
#include <QImage>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>

namespace tavlo {

namespace {

QPainterPath roundedPath(const QRectF& rect, double radius)
{
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

// The pixels of which at least half lies within the shape.
QBitmap shapeMask(const QSize& size, double radius)
{
    QImage coverage(size, QImage::Format_ARGB32_Premultiplied);
    coverage.fill(Qt::transparent);
    QPainter painter(&coverage);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(roundedPath(QRectF(QPointF(), size), radius), Qt::black);
    painter.end();
    return QBitmap::fromImage(coverage.createAlphaMask(Qt::ThresholdDither));
}

// A frame given from the bottom-left of the visible frame, as a place on the desktop.
QPoint placeInVisibleFrame(const QRect& visibleFrame, const QRect& frame)
{
    return visibleFrame.topLeft() + frameFromBottomLeft(frame, visibleFrame.height()).topLeft();
}

}  // namespace

FloatingPanel::FloatingPanel(PanelLevel level, double cornerRadius, QWidget* content)
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint |
                           Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus | Qt::WindowTransparentForInput),
      m_level(level),
      m_cornerRadius(cornerRadius),
      m_content(content)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_X11NetWmWindowTypeNotification);
    setAttribute(Qt::WA_QuitOnClose, false);
    setFocusPolicy(Qt::NoFocus);

    const QSize size = m_content->size();
    m_content->setParent(this);
    m_content->resize(size);
    resize(size.grownBy({kShadowMargin, kShadowMargin, kShadowMargin, kShadowMargin}));
    m_content->move(kShadowMargin, kShadowMargin);
}

PanelLook FloatingPanel::adaptTo(Compositing compositing)
{
    const PanelLook look = compositing == Compositing::Present ? PanelLook::Translucent : PanelLook::Opaque;
    if (look != m_look) {
        const QPoint place = pos() + m_content->pos();
        m_look = look;
        const int margin = shadowMargin();
        m_content->move(margin, margin);
        setGeometry(QRect(place, m_content->size()).marginsAdded({margin, margin, margin, margin}));
    }
    if (m_look == PanelLook::Opaque) {
        setMask(shapeMask(size(), m_cornerRadius));
    } else {
        clearMask();
    }
    return m_look;
}

void FloatingPanel::moveContent(const QPoint& topLeft)
{
    move(topLeft - QPoint(shadowMargin(), shadowMargin()));
}

void FloatingPanel::orderFront()
{
    show();
    raise();
    // The panels that belong above this one stay there.
    for (QWidget* window : QApplication::topLevelWidgets()) {
        const auto* panel = dynamic_cast<const FloatingPanel*>(window);
        if (panel != nullptr && panel->isVisible() && panel->level() > m_level) {
            window->raise();
        }
    }
}

// Kept until the size or the scale changes. The panel itself is translucent, so the shadow leaves its place free.
void FloatingPanel::drawShadow()
{
    const double ratio = devicePixelRatioF();
    m_shadow = QPixmap((QSizeF(size()) * ratio).toSize());
    m_shadow.setDevicePixelRatio(ratio);
    m_shadow.fill(Qt::transparent);

    QPainter painter(&m_shadow);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QRectF frame = m_content->geometry();
    // Many faint layers give a soft edge. They stand a little lower than the panel: light falls from above.
    constexpr int kLayers = 12;
    for (int layer = kLayers; layer > 0; --layer) {
        const double spread = layer - 1.0;
        painter.setBrush(QColor(0, 0, 0, 3 + (kLayers - layer) / 2));
        painter.drawRoundedRect(frame.adjusted(-spread, -spread, spread, spread).translated(0, 3),
                                m_cornerRadius + spread, m_cornerRadius + spread);
    }
    painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
    painter.fillPath(roundedPath(frame, m_cornerRadius), Qt::black);
}

void FloatingPanel::paintEvent(QPaintEvent* event)
{
    if (m_look == PanelLook::Opaque) {
        return;
    }
    if (m_shadow.isNull() || m_shadow.deviceIndependentSize().toSize() != size() ||
        m_shadow.devicePixelRatio() != devicePixelRatioF()) {
        drawShadow();
    }
    QPainter painter(this);
    painter.setClipRegion(event->region());
    painter.drawPixmap(0, 0, m_shadow);
}

QPoint placeAboveBottom(const QRect& visibleFrame, const QSize& size, int above)
{
    const int left = (visibleFrame.width() - size.width()) / 2;
    return placeInVisibleFrame(visibleFrame, QRect(QPoint(left, above), size));
}

QPoint placeInMiddle(const QRect& visibleFrame, const QSize& size)
{
    return placeAboveBottom(visibleFrame, size, (visibleFrame.height() - size.height()) / 2);
}

}  // namespace tavlo
