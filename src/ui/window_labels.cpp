#include "ui/window_labels.h"

#include "ui/application_icon.h"

#include <QPainter>

namespace tavlo {

FittedLabel::FittedLabel(QWidget* parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
}

void FittedLabel::restyle(const WindowElement& element)
{
    m_pixelSize = element.pixelSize;
    m_weight = element.weight;
    m_colour = element.colour;
    m_alignment = element.alignment;
    m_wrapping = element.kind == ElementKind::WrappingLabel ? Wrapping::BetweenWords : Wrapping::SingleLine;
    update();
}

void FittedLabel::showText(const QString& text)
{
    setText(text);
    update();
}

void FittedLabel::setColourRole(ColourRole role)
{
    m_colour = role;
    update();
}

TextRequest FittedLabel::request() const
{
    return {text(), QSizeF(size()), m_pixelSize, m_weight, m_wrapping};
}

void FittedLabel::paintEvent(QPaintEvent*)
{
    const FittedText fitted = fittedText(request());
    // A text of unknown length, such as an error of the system, may not fit at all: it is then read here.
    setToolTip(fitted.isWhole ? QString() : text());
    QPainter painter(this);
    painter.setPen(labelColour(m_colour, palette()));
    QRectF frame(rect());
    if (m_wrapping == Wrapping::SingleLine) {
        // At the bottom of the frame the label stands level with the control beside it.
        frame.translate(0, height() - fitted.block.size().height());
    }
    fitted.block.draw(painter, frame, m_alignment);
}

IconLabel::IconLabel(const QSize& size, QWidget* parent) : QLabel(parent)
{
    resize(size);
    // The picture itself is drawn below; this one tells assistive programs that the label is one.
    setPixmap(QPixmap(1, 1));
}

void IconLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    drawApplicationIcon(painter, QRectF(rect()));
}

}  // namespace tavlo
