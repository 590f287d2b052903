#include "ui/overlays/message_hud.h"

#include "platform/text_literals.h"
#include "ui/overlays/floating_panel.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <array>
#include <chrono>

namespace tavlo {

namespace {

constexpr QSize kSize{460, 64};
constexpr double kGround = 0.07;  // white
constexpr double kGroundAlpha = 0.92;
constexpr double kCornerRadius = 16;
constexpr QRectF kLabelFrame{18, 12, 424, 40};
constexpr int kLines = 2;

double heightOfLines(const TextStyle& style)
{
    return std::min(QFontMetricsF(style.font).height() * kLines, kLabelFrame.height());
}

// The ways to set a message, the best one first. Letters that are a little narrower are better than very small ones.
struct Setting {
    int pixelSize;
    int stretch;  // width of the letters, in percents
};
constexpr std::array kSettings{Setting{15, 100}, Setting{14, 100}, Setting{13, 100}, Setting{12, 100},
                               Setting{12, 96},  Setting{12, 92},  Setting{11, 100}};

bool fitsTwoLines(const QString& text, const TextStyle& style)
{
    const QSizeF needed = TextBlock(text, style, Wrapping::BetweenWords, kLabelFrame.width()).size();
    return needed.width() <= kLabelFrame.width() && needed.height() <= heightOfLines(style);
}

}  // namespace

TextStyle messageStyle(const QString& text)
{
    TextStyle style;
    for (const Setting& setting : kSettings) {
        style = {windowFont(setting.pixelSize, FontWeight::Regular, setting.stretch)};
        style.font.setWeight(QFont::Medium);
        if (fitsTwoLines(text, style)) {
            break;
        }
    }
    return style;
}

void drawMessage(QPainter& painter, const QRectF& bounds, const QString& text, PanelLook look)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(panelGround(kGround, kGroundAlpha, look));
    painter.drawRoundedRect(bounds, kCornerRadius, kCornerRadius);

    const TextStyle style = messageStyle(text);
    const TextBlock block(text, style, Wrapping::BetweenWords, kLabelFrame.width());
    const double height = std::min(block.size().height(), heightOfLines(style));
    QRectF frame = frameFromBottomLeft(kLabelFrame, bounds.height()).translated(bounds.topLeft());
    frame.adjust(0, (frame.height() - height) / 2, 0, -(frame.height() - height) / 2);
    painter.setClipRect(frame);  // a third line is cut off
    painter.setPen(Qt::white);
    block.draw(painter, frame, TextAlignment::Centre);
    painter.restore();
}

MessageView::MessageView(QWidget* parent) : QWidget(parent)
{
    resize(kSize);
}

void MessageView::setText(const QString& text)
{
    m_text = text;
    setAccessibleName(text);
    update();
}

void MessageView::setLook(PanelLook look)
{
    if (m_look != look) {
        m_look = look;
        update();
    }
}

void MessageView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    drawMessage(painter, rect(), m_text, m_look);
}

MessageHUD::MessageHUD(MainQueue& queue, Screens& screens)
    : m_queue(queue), m_screens(screens), m_ownView(std::make_unique<MessageView>()), m_view(m_ownView.get())
{
}

MessageHUD::~MessageHUD() = default;

void MessageHUD::show(const QString& text, std::optional<double> autoHideSeconds)
{
    if (!m_panel) {
        m_panel = std::make_unique<FloatingPanel>(PanelLevel::ScreenSaver, kCornerRadius, m_ownView.release());
        m_panel->setObjectName(u"MessageHUD"_s);
        m_panel->setWindowTitle(u"Tavlo"_s);
    }
    m_view->setLook(m_panel->adaptTo(m_screens.compositing()));
    m_view->setText(text);
    if (const auto frame = m_screens.mainVisibleFrame()) {
        m_panel->moveContent(placeInMiddle(*frame, kSize));
    }
    m_panel->orderFront();

    m_hideTimer.renew();
    if (autoHideSeconds) {
        const auto delay =
            std::chrono::duration_cast<MainQueue::Duration>(std::chrono::duration<double>(*autoHideSeconds));
        m_queue.postAfter(delay, m_hideTimer.reference(), [this] { m_panel->orderOut(); });
    }
}

void MessageHUD::hide()
{
    m_hideTimer.renew();
    if (m_panel) {
        m_panel->orderOut();
    }
}

}  // namespace tavlo
