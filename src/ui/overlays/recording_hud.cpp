#include "ui/overlays/recording_hud.h"

#include "platform/text_literals.h"
#include "settings/language.h"
#include "ui/overlays/floating_panel.h"

#include <QPainter>

#include <algorithm>

namespace tavlo {

namespace {

constexpr QSize kSize{190, 38};
constexpr int kAboveBottom = 56;  // of the visible frame
constexpr double kGround = 0.07;  // white
constexpr double kGroundAlpha = 0.88;
constexpr double kBarAlpha = 0.92;
constexpr QRgb kRecordingRed = 0xffff3b30;
constexpr double kStubHeight = 2.5;  // of a silent slot's bar

// The same from the bottom-left and from the top-left corner, because it stands in the middle.
QRectF meterArea(const QRectF& bounds)
{
    return {bounds.x() + 34, bounds.y() + 9, bounds.width() - 50, bounds.height() - 18};
}

// The part of `bounds` whose picture depends on the levels: the meter's columns over the whole height.
QRectF meterColumns(const QRectF& bounds)
{
    const QRectF meter = meterArea(bounds);
    return {meter.x(), bounds.y(), meter.width(), bounds.height()};
}

}  // namespace

void drawLevels(QPainter& painter, const QRectF& bounds, std::span<const float> levels, PanelLook look)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);

    painter.setBrush(panelGround(kGround, kGroundAlpha, look));
    painter.drawRoundedRect(bounds, bounds.height() / 2, bounds.height() / 2);

    painter.setBrush(QColor::fromRgba(kRecordingRed));
    painter.drawEllipse(QRectF(bounds.x() + 16, bounds.center().y() - 4.5, 9, 9));

    const QRectF meter = meterArea(bounds);
    const double slot = meter.width() / static_cast<double>(std::max<std::size_t>(levels.size(), 1));
    const double bar = slot * 0.44;
    painter.setBrush(QColor::fromRgbF(1.0F, 1.0F, 1.0F, static_cast<float>(kBarAlpha)));
    double left = meter.x() + slot * 0.28;  // 0.28 + 0.44 + 0.28: the bar stands in the middle of its slot
    for (const float level : levels) {
        const double height = std::max(kStubHeight, meter.height() * static_cast<double>(level));
        painter.drawRoundedRect(QRectF(left, meter.center().y() - height / 2, bar, height), bar / 2, bar / 2);
        left += slot;
    }
    painter.restore();
}

LevelView::LevelView(QWidget* parent) : QWidget(parent)
{
    resize(kSize);
}

void LevelView::push(float level)
{
    std::shift_left(m_levels.begin(), m_levels.end(), 1);
    m_levels.back() = level;
    update(meterColumns(rect()).toAlignedRect());
}

void LevelView::reset()
{
    m_levels.fill(0);
    update(meterColumns(rect()).toAlignedRect());
}

void LevelView::setLook(PanelLook look)
{
    if (m_look != look) {
        m_look = look;
        update();
    }
}

void LevelView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    drawLevels(painter, rect(), m_levels, m_look);
}

RecordingHUD::RecordingHUD(Screens& screens)
    : m_screens(screens), m_ownLevelView(std::make_unique<LevelView>()), m_levelView(m_ownLevelView.get())
{
}

RecordingHUD::~RecordingHUD() = default;

void RecordingHUD::show()
{
    if (!m_panel) {
        m_panel = std::make_unique<FloatingPanel>(PanelLevel::Status, kSize.height() / 2.0, m_ownLevelView.release());
        m_panel->setObjectName(u"RecordingHUD"_s);
        m_panel->setWindowTitle(u"Tavlo"_s);
    }
    m_levelView->setAccessibleName(t(u"Opname"_s, u"Recording"_s));
    m_levelView->setLook(m_panel->adaptTo(m_screens.compositing()));
    m_levelView->reset();
    if (const auto frame = m_screens.mainVisibleFrame()) {
        m_panel->moveContent(placeAboveBottom(*frame, kSize, kAboveBottom));
    }
    m_panel->orderFront();
}

void RecordingHUD::hide()
{
    if (m_panel) {
        m_panel->orderOut();
    }
}

void RecordingHUD::push(float level)
{
    m_levelView->push(level);
}

}  // namespace tavlo
