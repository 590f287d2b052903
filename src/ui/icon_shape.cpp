#include "ui/icon_shape.h"

#include <QFont>
#include <QGuiApplication>
#include <QPainterPathStroker>

#include <algorithm>
#include <array>
#include <cmath>

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
    path.addText(0, 0, font, QStringLiteral("?"));
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

QPainterPath iconShape(const QString& state, const IconMeasures& measures)
{
    if (state == QLatin1String("waveform")) {
        return frame(measures, measures.blockInset).subtracted(bars(measures));
    }
    if (state == QLatin1String("hourglass")) {
        return outline(measures).united(dots(measures));
    }
    if (state == QLatin1String("keyboard")) {
        return outline(measures).united(questionMark(measures));
    }
    return outline(measures).united(bars(measures));
}

}  // namespace tavlo
