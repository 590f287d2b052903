#include "ui/tray/tavlo_icon.h"

#include "platform/text_literals.h"

#include <QFont>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPathStroker>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <utility>

namespace tavlo {

namespace {

constexpr std::array kBarHeights{0.42, 0.78, 0.42};

// The whole number nearest to `value` that is odd or even as `like` is, so that both can have the same centre line.
double nearestOfSameParity(double value, int like)
{
    const int offset = like % 2;
    return 2 * std::round((value - offset) / 2) + offset;
}

QPainterPath frame(const IconMeasures& measures, double inset)
{
    QPainterPath path;
    path.addRoundedRect(QRectF(QPointF(), measures.size).adjusted(inset, inset, -inset, -inset), measures.cornerRadius,
                        measures.cornerRadius);
    return path;
}

QPainterPath outline(const IconMeasures& measures)
{
    QPainterPathStroker stroker;
    stroker.setWidth(measures.lineWidth);
    stroker.setCurveThreshold(0.02);
    return stroker.createStroke(frame(measures, measures.lineWidth / 2)).simplified();
}

QPainterPath bars(const IconMeasures& measures)
{
    const std::array heights{measures.shortBar, measures.tallBar, measures.shortBar};
    const auto count = static_cast<double>(heights.size());
    const double middle = measures.size.height() / 2;
    const double width = measures.barWidth;
    double left = measures.size.width() / 2 - (count * width + (count - 1) * measures.barGap) / 2;
    QPainterPath path;
    for (const double height : heights) {
        path.addRoundedRect(QRectF(left, middle - height / 2, width, height), width / 2, width / 2);
        left += width + measures.barGap;
    }
    return path;
}

// Three dots on the centre line, like an ellipsis.
QPainterPath dots(const IconMeasures& measures)
{
    const QPointF centre(measures.size.width() / 2, measures.size.height() / 2);
    const double step = measures.barWidth + measures.barGap;
    const double radius = measures.dotDiameter / 2;
    QPainterPath path;
    for (const double offset : {-step, 0.0, step}) {
        path.addEllipse(centre + QPointF(offset, 0), radius, radius);
    }
    return path;
}

QPainterPath questionMark(const IconMeasures& measures)
{
    // Outlines of a large font, scaled down: a small one would be moved onto the pixels of the size in which it was
    // designed, not of the one in which it is drawn.
    constexpr int kLargeSize = 200;
    QFont font = QGuiApplication::font();
    font.setPixelSize(kLargeSize);
    font.setBold(true);
    font.setItalic(false);
    QPainterPath path;
    path.addText(0, 0, font, u"?"_s);
    const double scale = measures.questionMarkSize / kLargeSize;
    path = QTransform::fromScale(scale, scale).map(path);
    const QPointF centre(measures.size.width() / 2, measures.size.height() / 2);
    return path.translated(centre - path.boundingRect().center());
}

}  // namespace

IconMeasures designedIcon()
{
    constexpr double kWidth = 18;
    constexpr double kHeight = 16;
    return {{kWidth, kHeight},
            1.5,
            0.75,
            3.5,
            2.0,
            2.6,
            kBarHeights[0] * (kHeight - 6),
            kBarHeights[1] * (kHeight - 6),
            2.4,
            9.5};
}

IconMeasures iconForPixels(int side)
{
    const IconMeasures design = designedIcon();
    // The panel for which the icon is designed is 22 units high.
    const double width = std::max(std::min(side, 16) * 1.0, side * design.size.width() / 22);
    const double scale = width / design.size.width();
    const double barWidth = std::max(1.0, std::round(design.barWidth * scale));
    const int parity = static_cast<int>(barWidth) % 2;
    double wholeWidth = nearestOfSameParity(width, parity);
    if (wholeWidth > side) {
        wholeWidth -= 2;
    }
    const double wholeHeight = nearestOfSameParity(wholeWidth * design.size.height() / design.size.width(), parity);
    const double lineWidth = std::max(1.0, std::round(design.lineWidth * scale));
    // A panel that halves a large icon, as Xfce's does with the one of 44, shall find bars on whole pixels as well.
    const double gapUnit = barWidth < 4 ? 1 : 2;
    const double barGap = gapUnit * std::max(1.0, std::round(design.barGap * scale / gapUnit - 0.2));
    return {{wholeWidth, wholeHeight},
            lineWidth,
            std::round(lineWidth / 2),
            design.cornerRadius * scale,
            barWidth,
            barGap,
            nearestOfSameParity(design.shortBar * scale, parity),
            nearestOfSameParity(design.tallBar * scale, parity),
            design.dotDiameter * scale,
            design.questionMarkSize * scale};
}

QPainterPath iconShape(Activity activity, const IconMeasures& measures)
{
    switch (activity) {
        case Activity::Recording:
            return frame(measures, measures.blockInset).subtracted(bars(measures));
        case Activity::Transcribing:
            return outline(measures).united(dots(measures));
        case Activity::Capturing:
            return outline(measures).united(questionMark(measures));
        case Activity::Ready:
            break;
    }
    return outline(measures).united(bars(measures));
}

namespace {

// The largest one is what Xfce's panel takes and halves.
constexpr std::array kPanelSizes{16, 22, 24, 32, 44};

QColor colourOf(IconInk ink)
{
    return ink == IconInk::Dark ? QColor(Qt::black) : QColor(Qt::white);
}

// The shape of whole pixels, in the middle of a picture.
void drawOnPixels(QPainter& painter, const QSize& pixels, Activity activity, const QColor& colour)
{
    const IconMeasures measures = iconForPixels(std::min(pixels.width(), pixels.height()));
    const QPointF place(std::floor((pixels.width() - measures.size.width()) / 2),
                        std::floor((pixels.height() - measures.size.height()) / 2));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(iconShape(activity, measures).translated(place), colour);
}

class TavloIconEngine : public QIconEngine {
public:
    TavloIconEngine(Activity activity, IconInk ink) : m_activity(activity), m_ink(ink) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override
    {
        const double ratio = painter->device()->devicePixelRatio();
        painter->drawPixmap(rect, scaledPixmap(rect.size() * ratio, mode, state, ratio));
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override
    {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        drawOnPixels(painter, size, m_activity, colourOf(m_ink));
        return picture;
    }

    // `size` is in device pixels.
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

QByteArray number(double value)
{
    return QByteArray::number(std::round(value * 1000) / 1000);
}

QByteArray pathData(const QPainterPath& path)
{
    QByteArray data;
    for (int index = 0; index < path.elementCount(); ++index) {
        const QPainterPath::Element element = path.elementAt(index);
        switch (element.type) {
            case QPainterPath::MoveToElement:
                data += index == 0 ? "M" : "ZM";
                break;
            case QPainterPath::LineToElement:
                data += 'L';
                break;
            case QPainterPath::CurveToElement:
                data += 'C';
                break;
            case QPainterPath::CurveToDataElement:
                data += ' ';
                break;
        }
        data += number(element.x) + ' ' + number(element.y);
    }
    return data + 'Z';
}

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

void TavloIcon::draw(QPainter& painter, const QRectF& bounds, Activity activity, const QColor& colour)
{
    const IconMeasures measures = designedIcon();
    const double scale = std::min(bounds.width() / measures.size.width(), bounds.height() / measures.size.height());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(bounds.center() - QPointF(measures.size.width(), measures.size.height()) * scale / 2);
    painter.scale(scale, scale);
    painter.fillPath(iconShape(activity, measures), colour);
    painter.restore();
}

QByteArray TavloIcon::svg(Activity activity)
{
    const QPainterPath shape = iconShape(activity, designedIcon()).translated(0, 1);
    const QByteArray rule = shape.fillRule() == Qt::OddEvenFill ? "evenodd" : "nonzero";
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"18\" height=\"18\" viewBox=\"0 0 18 18\">\n"
           "  <path fill=\"#2e3436\" fill-rule=\"" +
           rule + "\" d=\"" + pathData(shape) + "\"/>\n</svg>\n";
}

}  // namespace tavlo
