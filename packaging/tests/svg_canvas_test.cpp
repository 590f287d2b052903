#include "icons/svg_canvas.h"

#include "ui/application_icon.h"

#include <QPainter>
#include <QPixmap>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <functional>

namespace tavlo {
namespace {

QByteArray painted(const std::function<void(QPainter&)>& paint)
{
    SvgCanvas canvas(QSizeF(16, 8));
    QPainter painter(&canvas);
    painter.setPen(Qt::NoPen);
    paint(painter);
    painter.end();
    return canvas.document();
}

// The attributes of each element of one name, in the order of the document. A document that is no XML fails the test.
QList<QXmlStreamAttributes> elements(const QByteArray& document, const QString& name)
{
    QList<QXmlStreamAttributes> found;
    QXmlStreamReader reader(document);
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement() && reader.name() == name) {
            found.append(reader.attributes());
        }
    }
    EXPECT_FALSE(reader.hasError()) << qPrintable(reader.errorString());
    return found;
}

QString value(const QXmlStreamAttributes& attributes, const char* name)
{
    return attributes.value(QLatin1String(name)).toString();
}

TEST(SvgCanvas, DocumentHasTheSizeOfTheCanvas)
{
    const auto roots = elements(painted([](QPainter&) {}), QStringLiteral("svg"));
    ASSERT_EQ(roots.size(), 1);
    EXPECT_EQ(value(roots[0], "width"), QStringLiteral("16"));
    EXPECT_EQ(value(roots[0], "height"), QStringLiteral("8"));
    EXPECT_EQ(value(roots[0], "viewBox"), QStringLiteral("0 0 16 8"));
}

TEST(SvgCanvas, FilledRectangleIsAClosedPathInItsColour)
{
    const auto paths = elements(painted([](QPainter& painter) { painter.fillRect(QRectF(1, 2, 3, 4), Qt::red); }),
                                QStringLiteral("path"));
    ASSERT_EQ(paths.size(), 1);
    EXPECT_EQ(value(paths[0], "fill"), QStringLiteral("#ff0000"));
    EXPECT_EQ(value(paths[0], "fill-opacity"), QString());
    EXPECT_EQ(value(paths[0], "d"), QStringLiteral("M1 2L4 2L4 6L1 6L1 2Z"));
}

TEST(SvgCanvas, OpacityOfColourAndPainterMultiply)
{
    const auto paths = elements(painted([](QPainter& painter) {
                                    painter.setOpacity(0.5);
                                    painter.fillRect(QRectF(0, 0, 1, 1), QColor(0, 0, 0, 51));
                                }),
                                QStringLiteral("path"));
    ASSERT_EQ(paths.size(), 1);
    EXPECT_EQ(value(paths[0], "fill-opacity"), QStringLiteral("0.1"));
}

TEST(SvgCanvas, StrokeBecomesAFilledOutlineAroundTheLine)
{
    const auto paths = elements(painted([](QPainter& painter) {
                                    painter.setPen(QPen(Qt::blue, 2, Qt::SolidLine, Qt::FlatCap));
                                    painter.drawLine(QPointF(2, 4), QPointF(6, 4));
                                }),
                                QStringLiteral("path"));
    ASSERT_EQ(paths.size(), 1);
    EXPECT_EQ(value(paths[0], "fill"), QStringLiteral("#0000ff"));
    const QString outline = value(paths[0], "d");
    for (const char* corner : {"2 3", "6 3", "6 5", "2 5"}) {
        EXPECT_TRUE(outline.contains(QLatin1String(corner))) << qPrintable(outline);
    }
}

TEST(SvgCanvas, LinearGradientKeepsItsLineAndStops)
{
    const QByteArray document = painted([](QPainter& painter) {
        QLinearGradient gradient(QPointF(1, 2), QPointF(3, 4));
        gradient.setColorAt(0, Qt::white);
        gradient.setColorAt(1, QColor(0, 0, 0, 0));
        painter.setBrush(gradient);
        painter.drawRect(QRectF(0, 0, 16, 8));
    });
    const auto gradients = elements(document, QStringLiteral("linearGradient"));
    ASSERT_EQ(gradients.size(), 1);
    EXPECT_EQ(
        value(gradients[0], "x1") + value(gradients[0], "y1") + value(gradients[0], "x2") + value(gradients[0], "y2"),
        QStringLiteral("1234"));
    const auto stops = elements(document, QStringLiteral("stop"));
    ASSERT_EQ(stops.size(), 2);
    EXPECT_EQ(value(stops[0], "stop-color"), QStringLiteral("#ffffff"));
    EXPECT_EQ(value(stops[1], "stop-opacity"), QStringLiteral("0"));
    const auto paths = elements(document, QStringLiteral("path"));
    ASSERT_EQ(paths.size(), 1);
    EXPECT_EQ(value(paths[0], "fill"), QStringLiteral("url(#") + value(gradients[0], "id") + QLatin1Char(')'));
}

TEST(SvgCanvas, TransformGoesWithThePath)
{
    const auto paths = elements(painted([](QPainter& painter) {
                                    painter.translate(3, 1);
                                    painter.scale(2, 2);
                                    painter.fillRect(QRectF(0, 0, 1, 1), Qt::black);
                                }),
                                QStringLiteral("path"));
    ASSERT_EQ(paths.size(), 1);
    EXPECT_EQ(value(paths[0], "transform"), QStringLiteral("matrix(2 0 0 2 3 1)"));
}

TEST(SvgCanvasDeathTest, WhatThePictureCannotHoldStopsTheProgram)
{
    EXPECT_DEATH(painted([](QPainter& painter) {
                     painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
                     painter.fillRect(QRectF(0, 0, 1, 1), Qt::black);
                 }),
                 "way of composing");
    EXPECT_DEATH(painted([](QPainter& painter) {
                     painter.setBrush(QRadialGradient(QPointF(4, 4), 4));
                     painter.drawRect(QRectF(0, 0, 8, 8));
                 }),
                 "linear gradients only");
}

TEST(SvgCanvas, ApplicationIconIsTwoTilesAndFiveBarsInsideItsSquare)
{
    SvgCanvas canvas(QSizeF(64, 64));
    QPainter painter(&canvas);
    drawApplicationIcon(painter, QRectF(0, 0, 64, 64));
    painter.end();
    const auto paths = elements(canvas.document(), QStringLiteral("path"));
    int bars = 0;
    for (const QXmlStreamAttributes& path : paths) {
        bars += value(path, "fill") == QStringLiteral("#ffffff") ? 1 : 0;
    }
    EXPECT_EQ(bars, 5);
    EXPECT_EQ(paths.size(), 7);
    EXPECT_EQ(elements(canvas.document(), QStringLiteral("linearGradient")).size(), 2);
}

}  // namespace
}  // namespace tavlo
