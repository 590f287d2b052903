#include "ui/tavlo_icon.h"

#include "ui/icon_shape.h"

#include <QIconEngine>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <utility>

namespace tavlo {

namespace {

// The largest one is what Xfce's panel takes and halves.
constexpr std::array kPanelSizes{16, 22, 24, 32, 44};

QColor colourOf(IconInk ink)
{
    return ink == IconInk::Dark ? QColor(Qt::black) : QColor(Qt::white);
}

// The shape of whole pixels, in the middle of a picture.
void drawOnPixels(QPainter& painter, const QSize& pixels, const QString& state, const QColor& colour)
{
    const IconMeasures measures = iconForPixels(std::min(pixels.width(), pixels.height()));
    const QPointF place(std::floor((pixels.width() - measures.size.width()) / 2),
                        std::floor((pixels.height() - measures.size.height()) / 2));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(iconShape(state, measures).translated(place), colour);
}

class TavloIconEngine : public QIconEngine {
public:
    TavloIconEngine(QString state, IconInk ink) : m_state(std::move(state)), m_ink(ink) {}

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
        drawOnPixels(painter, size, m_state, colourOf(m_ink));
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

    QIconEngine* clone() const override { return new TavloIconEngine(m_state, m_ink); }

private:
    QString m_state;
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

QIcon TavloIcon::menuBar(const QString& state, IconInk ink)
{
    static std::map<std::pair<QString, IconInk>, QIcon> cache;
    const auto key = std::make_pair(state, ink);
    auto found = cache.find(key);
    if (found == cache.end()) {
        found = cache.emplace(key, QIcon(new TavloIconEngine(state, ink))).first;
    }
    return found->second;
}

void TavloIcon::draw(QPainter& painter, const QRectF& bounds, const QString& state, const QColor& colour)
{
    const IconMeasures measures = designedIcon();
    const double scale = std::min(bounds.width() / measures.size.width(), bounds.height() / measures.size.height());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(bounds.center() - QPointF(measures.size.width(), measures.size.height()) * scale / 2);
    painter.scale(scale, scale);
    painter.fillPath(iconShape(state, measures), colour);
    painter.restore();
}

QByteArray TavloIcon::svg(const QString& state)
{
    const QPainterPath shape = iconShape(state, designedIcon()).translated(0, 1);
    const QByteArray rule = shape.fillRule() == Qt::OddEvenFill ? "evenodd" : "nonzero";
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"18\" height=\"18\" viewBox=\"0 0 18 18\">\n"
           "  <path fill=\"#2e3436\" fill-rule=\"" +
           rule + "\" d=\"" + pathData(shape) + "\"/>\n</svg>\n";
}

}  // namespace tavlo
