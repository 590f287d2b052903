#pragma once

#include <QByteArray>
#include <QPaintDevice>
#include <QSizeF>

#include <memory>

namespace tavlo {

class SvgPaintEngine;

// A surface for QPainter that keeps what is painted as an SVG picture: filled and stroked paths in plain colours and
// linear gradients, which is what Tavlo's icons are made of. Strokes become filled outlines, because desktops recolour
// the fills of a symbolic icon and nothing else. Painting anything that the picture cannot hold stops the program.
class SvgCanvas : public QPaintDevice {
public:
    explicit SvgCanvas(QSizeF size);  // in units of the picture; one unit is one pixel at its natural size
    ~SvgCanvas() override;

    // The finished document, UTF-8. Call it after the painter has ended.
    QByteArray document() const;

    QPaintEngine* paintEngine() const override;

protected:
    int metric(PaintDeviceMetric metric) const override;

private:
    QSizeF m_size;
    std::unique_ptr<SvgPaintEngine> m_engine;
};

}  // namespace tavlo
