#include "ui/tray/tavlo_icon.h"

#include "platform/text_literals.h"

#include <QFont>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <utility>

namespace tavlo {

namespace {

// The measures of the icon's shapes within its rectangle, in one unit.
struct Measures {
    QSizeF size;        // of the icon
    double lineWidth;   // of the frame, which lies with its outer edge on the icon's edge
    double blockInset;  // of the solid block, which has no outline
    double cornerRadius;
    double barWidth;  // bars have round ends
    double barStep;   // from one bar to the next
    double shortBar;  // heights
    double tallBar;
    double dotDiameter;
    double dotStep;
    double questionMarkSize;  // of the font
};

// The icon as it is designed, for a panel of kPanelHeight.
constexpr Measures kDesign{.size = {18, 16},
                           .lineWidth = 1.5,
                           .blockInset = 0.75,
                           .cornerRadius = 3.5,
                           .barWidth = 2,
                           .barStep = 4.6,
                           .shortBar = 4.2,
                           .tallBar = 7.8,
                           .dotDiameter = 2.4,
                           .dotStep = 4.6,
                           .questionMarkSize = 9.5};
constexpr double kPanelHeight = 22;

// Up to this size the icon fills the width of its square; above, it leaves some room, as other panel icons do.
constexpr int kFullWidthSize = 16;

// The sizes that panels ask for. The largest one is what Xfce's panel takes and halves.
constexpr std::array kPanelSizes{16, 22, 24, 32, 44};

// The whole number nearest to `value` that is odd or even as `like` is, so that both can have the same centre line.
double nearestOfSameParity(double value, int like)
{
    const int offset = like % 2;
    return 2 * std::round((value - offset) / 2) + offset;
}

// The design, scaled to a square of `side` device pixels, with its straight edges moved onto whole pixels so that none
// is blurred: those of the frame, and the sides of the bars. What is round stays as it is designed.
Measures measuresFor(int side)
{
    const double width = std::max<double>(std::min(side, kFullWidthSize), side * kDesign.size.width() / kPanelHeight);
    const double scale = width / kDesign.size.width();
    const double barWidth = std::max(1.0, std::round(kDesign.barWidth * scale));
    const int parity = static_cast<int>(barWidth) % 2;
    double wholeWidth = nearestOfSameParity(width, parity);
    if (wholeWidth > side) {
        wholeWidth -= 2;
    }
    const double wholeHeight = nearestOfSameParity(wholeWidth * kDesign.size.height() / kDesign.size.width(), parity);
    const double lineWidth = std::max(1.0, std::round(kDesign.lineWidth * scale));
    // In a large icon that is halved the bars must stand on whole pixels as well.
    const double unit = barWidth < 4 ? 1 : 2;
    return {.size = {wholeWidth, wholeHeight},
            .lineWidth = lineWidth,
            .blockInset = std::round(lineWidth / 2),
            .cornerRadius = kDesign.cornerRadius * scale,
            .barWidth = barWidth,
            .barStep = std::max(barWidth + 1, unit * std::round(kDesign.barStep * scale / unit)),
            .shortBar = kDesign.shortBar * scale,
            .tallBar = kDesign.tallBar * scale,
            .dotDiameter = kDesign.dotDiameter * scale,
            .dotStep = kDesign.dotStep * scale,
            .questionMarkSize = kDesign.questionMarkSize * scale};
}

QPointF centre(const Measures& measures)
{
    return {measures.size.width() / 2, measures.size.height() / 2};
}

// The icon's rectangle with its round corners, made smaller by `inset` on every side. The designed radius belongs to
// the middle of the frame's line.
QPainterPath block(const Measures& measures, double inset)
{
    const double radius = measures.cornerRadius + measures.lineWidth / 2 - inset;
    QPainterPath path;
    path.addRoundedRect(QRectF(QPointF(), measures.size).adjusted(inset, inset, -inset, -inset), radius, radius);
    return path;
}

QPainterPath bars(const Measures& measures)
{
    const double width = measures.barWidth;
    QPointF place = centre(measures) - QPointF(measures.barStep, 0);
    QPainterPath path;
    for (const double height : {measures.shortBar, measures.tallBar, measures.shortBar}) {
        path.addRoundedRect(QRectF(place - QPointF(width, height) / 2, QSizeF(width, height)), width / 2, width / 2);
        place.rx() += measures.barStep;
    }
    return path;
}

// Three dots on the centre line, like an ellipsis.
QPainterPath dots(const Measures& measures)
{
    const double radius = measures.dotDiameter / 2;
    QPainterPath path;
    for (const double offset : {-measures.dotStep, 0.0, measures.dotStep}) {
        path.addEllipse(centre(measures) + QPointF(offset, 0), radius, radius);
    }
    return path;
}

QPainterPath questionMark(const Measures& measures)
{
    // Outlines of a large font, scaled down: a small one would be moved onto the pixels of the size in which it was
    // designed, not of the one in which it is drawn.
    constexpr int kLargeSize = 200;
    QFont font = QGuiApplication::font();
    font.setPixelSize(kLargeSize);
    font.setBold(true);
    font.setItalic(false);
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    path.addText(0, 0, font, u"?"_s);
    const double scale = measures.questionMarkSize / kLargeSize;
    path = QTransform::fromScale(scale, scale).map(path.simplified());
    return path.translated(centre(measures) - path.boundingRect().center());
}

// What is solid in the icon of that activity, from its top-left corner downwards. A part within another one is cut out
// of it.
QPainterPath shape(Activity activity, const Measures& measures)
{
    QPainterPath path;
    path.setFillRule(Qt::OddEvenFill);
    if (activity == Activity::Recording) {
        path.addPath(block(measures, measures.blockInset));
        path.addPath(bars(measures));
        return path;
    }
    path.addPath(block(measures, 0));
    path.addPath(block(measures, measures.lineWidth));
    switch (activity) {
        case Activity::Transcribing:
            path.addPath(dots(measures));
            break;
        case Activity::Capturing:
            path.addPath(questionMark(measures));
            break;
        case Activity::Ready:
        case Activity::Recording:
            path.addPath(bars(measures));
            break;
    }
    return path;
}

// The path with its curves as fine polygons: the painter's own ones make a dot of two pixels an eighth smaller.
QPainterPath smooth(const QPainterPath& path)
{
    constexpr double kFineness = 16;
    QPainterPath smoothed;
    for (const QPolygonF& polygon : path.toSubpathPolygons(QTransform::fromScale(kFineness, kFineness))) {
        smoothed.addPolygon(QTransform::fromScale(1 / kFineness, 1 / kFineness).map(polygon));
    }
    return smoothed;
}

class TavloIconEngine : public QIconEngine {
public:
    TavloIconEngine(Activity activity, IconInk ink) : m_activity(activity), m_ink(ink) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override
    {
        const double ratio = painter->device()->devicePixelRatio();
        painter->drawPixmap(rect, scaledPixmap(rect.size() * ratio, mode, state, ratio));
    }

    // `size` is in device pixels. The shape stands in the middle of the picture, on whole pixels.
    QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override
    {
        const Measures measures = measuresFor(std::min(size.width(), size.height()));
        const QPointF place(std::floor((size.width() - measures.size.width()) / 2),
                            std::floor((size.height() - measures.size.height()) / 2));
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillPath(smooth(shape(m_activity, measures)).translated(place),
                         m_ink == IconInk::Dark ? Qt::black : Qt::white);
        return picture;
    }

    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state, qreal) override
    {
        return pixmap(size, mode, state);
    }

    QSize actualSize(const QSize& size, QIcon::Mode, QIcon::State) override { return size; }

    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override
    {
        QList<QSize> sizes;
        for (const int size : kPanelSizes) {
            sizes.append({size, size});
        }
        return sizes;
    }

    QIconEngine* clone() const override { return new TavloIconEngine(m_activity, m_ink); }

private:
    Activity m_activity;
    IconInk m_ink;
};

}  // namespace

QIcon TavloIcon::menuBar(Activity activity, IconInk ink)
{
    static std::map<std::pair<Activity, IconInk>, QIcon> cache;
    const auto key = std::make_pair(activity, ink);
    auto found = cache.find(key);
    if (found == cache.end()) {
        found = cache.emplace(key, QIcon(new TavloIconEngine(activity, ink))).first;
    }
    return found->second;
}

namespace {

// Desktops whose panel is dark whatever the theme of the windows is.
constexpr std::array kDarkPanels{"GNOME", "Unity", "Budgie", "X-Cinnamon", "Pantheon", "sway"};
// These desktops name GNOME as well, but their panel follows the theme.
constexpr std::array kFollowingPanels{"GNOME-Flashback", "GNOME-Classic"};

template <std::size_t count>
bool names(const QStringList& desktops, const std::array<const char*, count>& known)
{
    return std::ranges::any_of(
        known, [&desktops](const char* name) { return desktops.contains(QLatin1String(name), Qt::CaseInsensitive); });
}

Shade panelShade(const PanelSurroundings& surroundings, const QColor& windowColour)
{
    if (surroundings.panel) {
        return *surroundings.panel;
    }
    if (names(surroundings.desktops, kDarkPanels) && !names(surroundings.desktops, kFollowingPanels)) {
        return Shade::Dark;
    }
    if (surroundings.theme) {
        return *surroundings.theme;
    }
    if (surroundings.preference) {
        return *surroundings.preference;
    }
    return windowColour.lightnessF() < 0.5F ? Shade::Dark : Shade::Light;
}

}  // namespace

IconInk panelInk(const PanelSurroundings& surroundings, const QColor& windowColour)
{
    return panelShade(surroundings, windowColour) == Shade::Dark ? IconInk::Light : IconInk::Dark;
}

}  // namespace tavlo
