#include "icons/svg_canvas.h"

#include <QLinearGradient>
#include <QPaintEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPainterPathStroker>

#include <cmath>

namespace tavlo {

namespace {

// Four digits after the point are finer than any screen shows, and keep the file short and the same on every machine.
QByteArray number(double value)
{
    QByteArray text = QByteArray::number(value, 'f', 4);
    while (text.endsWith('0')) {
        text.chop(1);
    }
    if (text.endsWith('.')) {
        text.chop(1);
    }
    return text == "-0" ? QByteArray("0") : text;
}

QByteArray colourAttributes(const QColor& colour, const QByteArray& name, double opacity)
{
    QByteArray attributes = name + "=\"" + colour.name().toLatin1() + '"';
    const double alpha = colour.alphaF() * opacity;
    if (alpha < 1) {
        // The name of the opacity that goes with stop-color is stop-opacity, with fill it is fill-opacity.
        attributes += ' ' + (name == "stop-color" ? QByteArray("stop-opacity") : QByteArray("fill-opacity")) + "=\"" +
                      number(alpha) + '"';
    }
    return attributes;
}

QByteArray transformAttribute(const QByteArray& name, const QTransform& transform)
{
    if (transform.isIdentity()) {
        return {};
    }
    return ' ' + name + "=\"matrix(" + number(transform.m11()) + ' ' + number(transform.m12()) + ' ' +
           number(transform.m21()) + ' ' + number(transform.m22()) + ' ' + number(transform.dx()) + ' ' +
           number(transform.dy()) + ")\"";
}

QByteArray pathData(const QPainterPath& path)
{
    QByteArray data;
    for (int i = 0; i < path.elementCount(); ++i) {
        const QPainterPath::Element element = path.elementAt(i);
        switch (element.type) {
            case QPainterPath::MoveToElement:
                data += (i == 0 ? "M" : "ZM");
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

class SvgPaintEngine : public QPaintEngine {
public:
    SvgPaintEngine() : QPaintEngine(QPaintEngine::AllFeatures) {}

    bool begin(QPaintDevice*) override { return true; }
    bool end() override { return true; }
    Type type() const override { return QPaintEngine::User; }

    void updateState(const QPaintEngineState& changed) override
    {
        if (changed.state() & DirtyCompositionMode &&
            changed.compositionMode() != QPainter::CompositionMode_SourceOver) {
            qFatal("An SVG icon cannot hold this way of composing.");
        }
        if (changed.state() & (DirtyClipPath | DirtyClipRegion) && changed.clipOperation() != Qt::NoClip) {
            qFatal("An SVG icon cannot hold a clip.");
        }
        if (changed.state() & DirtyTransform) {
            m_transform = changed.transform();
        }
        if (changed.state() & DirtyPen) {
            m_pen = changed.pen();
        }
        if (changed.state() & DirtyBrush) {
            m_brush = changed.brush();
        }
        if (changed.state() & DirtyOpacity) {
            m_opacity = changed.opacity();
        }
    }

    void drawPath(const QPainterPath& path) override
    {
        if (m_brush.style() != Qt::NoBrush) {
            fill(path, m_brush);
        }
        if (m_pen.style() != Qt::NoPen) {
            fill(QPainterPathStroker(m_pen).createStroke(path), m_pen.brush());
        }
    }

    void drawPolygon(const QPointF* points, int count, PolygonDrawMode mode) override
    {
        QPainterPath path;
        path.setFillRule(mode == WindingMode ? Qt::WindingFill : Qt::OddEvenFill);
        QPolygonF polygon;
        for (int i = 0; i < count; ++i) {
            polygon << points[i];
        }
        path.addPolygon(polygon);
        if (mode != PolylineMode) {
            path.closeSubpath();
        }
        drawPath(path);
    }

    void drawPixmap(const QRectF&, const QPixmap&, const QRectF&) override
    {
        qFatal("An SVG icon is made of paths, not of pixels.");
    }

    const QByteArray& definitions() const { return m_definitions; }
    const QByteArray& shapes() const { return m_shapes; }

private:
    void fill(const QPainterPath& path, const QBrush& brush)
    {
        if (path.isEmpty()) {
            return;
        }
        m_shapes += "  <path" + transformAttribute("transform", m_transform) + ' ' + paint(brush);
        if (path.fillRule() == Qt::OddEvenFill) {
            m_shapes += " fill-rule=\"evenodd\"";
        }
        m_shapes += " d=\"" + pathData(path) + "\"/>\n";
    }

    QByteArray paint(const QBrush& brush)
    {
        if (brush.style() == Qt::SolidPattern) {
            return colourAttributes(brush.color(), "fill", m_opacity);
        }
        if (brush.style() != Qt::LinearGradientPattern ||
            brush.gradient()->coordinateMode() != QGradient::LogicalMode) {
            qFatal("An SVG icon holds plain colours and linear gradients only.");
        }
        const auto& gradient = static_cast<const QLinearGradient&>(*brush.gradient());
        const QByteArray name = "gradient" + QByteArray::number(++m_gradients);
        m_definitions += "    <linearGradient id=\"" + name + "\" gradientUnits=\"userSpaceOnUse\" x1=\"" +
                         number(gradient.start().x()) + "\" y1=\"" + number(gradient.start().y()) + "\" x2=\"" +
                         number(gradient.finalStop().x()) + "\" y2=\"" + number(gradient.finalStop().y()) + '"' +
                         transformAttribute("gradientTransform", brush.transform()) + ">\n";
        for (const QGradientStop& stop : gradient.stops()) {
            m_definitions += "      <stop offset=\"" + number(stop.first) + "\" " +
                             colourAttributes(stop.second, "stop-color", m_opacity) + "/>\n";
        }
        m_definitions += "    </linearGradient>\n";
        return "fill=\"url(#" + name + ")\"";
    }

    QTransform m_transform;
    QPen m_pen{Qt::NoPen};
    QBrush m_brush;
    double m_opacity = 1;
    int m_gradients = 0;
    QByteArray m_definitions;
    QByteArray m_shapes;
};

SvgCanvas::SvgCanvas(QSizeF size) : m_size(size), m_engine(std::make_unique<SvgPaintEngine>()) {}

SvgCanvas::~SvgCanvas() = default;

QByteArray SvgCanvas::document() const
{
    const QByteArray width = number(m_size.width());
    const QByteArray height = number(m_size.height());
    QByteArray text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" +
                      width + "\" height=\"" + height + "\" viewBox=\"0 0 " + width + ' ' + height + "\">\n";
    if (!m_engine->definitions().isEmpty()) {
        text += "  <defs>\n" + m_engine->definitions() + "  </defs>\n";
    }
    return text + m_engine->shapes() + "</svg>\n";
}

QPaintEngine* SvgCanvas::paintEngine() const
{
    return m_engine.get();
}

int SvgCanvas::metric(PaintDeviceMetric metric) const
{
    constexpr int kDotsPerInch = 96;
    constexpr double kMillimetresPerInch = 25.4;
    switch (metric) {
        case PdmWidth:
            return static_cast<int>(std::ceil(m_size.width()));
        case PdmHeight:
            return static_cast<int>(std::ceil(m_size.height()));
        case PdmWidthMM:
            return static_cast<int>(m_size.width() * kMillimetresPerInch / kDotsPerInch);
        case PdmHeightMM:
            return static_cast<int>(m_size.height() * kMillimetresPerInch / kDotsPerInch);
        case PdmDpiX:
        case PdmDpiY:
        case PdmPhysicalDpiX:
        case PdmPhysicalDpiY:
            return kDotsPerInch;
        case PdmDevicePixelRatio:
            return 1;
        case PdmDevicePixelRatioScaled:
            return static_cast<int>(devicePixelRatioFScale());
        case PdmDepth:
            return 32;
        default:
            return QPaintDevice::metric(metric);
    }
}

}  // namespace tavlo
