#include "ui/overlays/recording_hud.h"

#include <QCoreApplication>
#include <QImage>
#include <QPaintEvent>
#include <QPainter>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace tavlo {
namespace {

constexpr int kScale = 10;  // pictures are drawn ten times as large, so that fractions of a point can be told apart

QImage picture(const std::vector<float>& levels, PanelLook look = PanelLook::Translucent)
{
    QImage image(190 * kScale, 38 * kScale, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.scale(kScale, kScale);
    drawLevels(painter, QRectF(0, 0, 190, 38), levels, look);
    return image;
}

QColor at(const QImage& image, double x, double y)
{
    return image.pixelColor(static_cast<int>(x * kScale), static_cast<int>(y * kScale));
}

bool isBar(const QColor& colour)
{
    return colour.red() > 200 && colour.green() > 200;
}

// The height of the bar in that slot, in points.
double barHeight(const QImage& image, std::size_t slot)
{
    const double middle = 34 + (140.0 / 30) * (static_cast<double>(slot) + 0.5);
    int rows = 0;
    for (int y = 0; y < image.height(); ++y) {
        rows += isBar(image.pixelColor(static_cast<int>(middle * kScale), y)) ? 1 : 0;
    }
    return static_cast<double>(rows) / kScale;
}

class PaintRegion : public LevelView {
public:
    QRegion region;

protected:
    void paintEvent(QPaintEvent* event) override
    {
        region = event->region();
        LevelView::paintEvent(event);
    }
};

TEST(LevelView, HasThirtyZerosAtFirst)
{
    const LevelView view;
    EXPECT_EQ(view.levels().size(), 30U);
    EXPECT_TRUE(std::ranges::all_of(view.levels(), [](float level) { return level == 0; }));
}

TEST(LevelView, PushDropsTheOldestAndAppendsAtTheEnd)
{
    LevelView view;
    for (int value = 1; value <= 31; ++value) {
        view.push(static_cast<float>(value) / 100);
    }
    EXPECT_EQ(view.levels().size(), 30U);
    EXPECT_FLOAT_EQ(view.levels().front(), 0.02F);
    EXPECT_FLOAT_EQ(view.levels().back(), 0.31F);
}

TEST(LevelView, TheFirstPushMovesOneValueInFromTheRightAndTheOthersStayStubs)
{
    LevelView view;
    view.push(0.5F);
    const QImage image = picture({view.levels().begin(), view.levels().end()});
    for (std::size_t slot = 0; slot < 29; ++slot) {
        EXPECT_NEAR(barHeight(image, slot), 2.5, 0.21) << slot;
    }
    EXPECT_NEAR(barHeight(image, 29), 10, 0.21);
}

TEST(LevelView, ResetZeroesTheLevels)
{
    LevelView view;
    view.push(1);
    view.reset();
    EXPECT_EQ(view.levels(), (std::array<float, kLevelCount>{}));
}

TEST(LevelView, PushRepaintsTheMeterOnly)
{
    PaintRegion view;
    view.show();
    QCoreApplication::processEvents();
    ASSERT_EQ(view.region.boundingRect(), QRect(0, 0, 190, 38));
    view.push(0.7F);
    QCoreApplication::processEvents();
    EXPECT_EQ(view.region.boundingRect(), QRect(34, 0, 140, 38));
}

TEST(LevelView, DrawsAPillInDarkTranslucentGrey)
{
    const QImage image = picture(std::vector<float>(30, 0.0F));
    EXPECT_EQ(at(image, 0.3, 0.3).alpha(), 0);
    EXPECT_EQ(at(image, 189.7, 37.7).alpha(), 0);
    EXPECT_GT(at(image, 5.9, 5.9).alpha(), 200);  // just within the arc of radius 19
    EXPECT_EQ(at(image, 5.2, 5.2).alpha(), 0);    // just outside of it
    const QColor ground = at(image, 95, 2);
    EXPECT_NEAR(ground.alphaF(), 0.88F, 0.01F);
    EXPECT_NEAR(ground.redF(), 0.07F, 0.01F);
    EXPECT_EQ(ground.red(), ground.green());
    EXPECT_EQ(ground.red(), ground.blue());
}

TEST(LevelView, DrawsAnOpaqueGroundWhereNothingComposites)
{
    const QColor ground = at(picture(std::vector<float>(30, 0.0F), PanelLook::Opaque), 95, 2);
    EXPECT_EQ(ground.alpha(), 255);
    EXPECT_NEAR(ground.redF(), 0.07F, 0.01F);
}

TEST(LevelView, DrawsTheRedDotOnTheCentreLine)
{
    const QImage image = picture({});
    for (const QPointF inside : {QPointF(20.5, 19), QPointF(16.2, 19), QPointF(24.8, 19), QPointF(20.5, 14.7)}) {
        const QColor colour = at(image, inside.x(), inside.y());
        EXPECT_GT(colour.red(), 240);
        EXPECT_LT(colour.green(), 100);
    }
    EXPECT_LT(at(image, 15.8, 19).red(), 50);
    EXPECT_LT(at(image, 25.2, 19).red(), 50);
}

TEST(LevelView, DrawsBarsOfTheLevelsHeightCentredInTheirSlots)
{
    std::vector<float> levels(30, 0.0F);
    levels[0] = 1;
    levels[15] = 0.6F;
    const QImage image = picture(levels);
    EXPECT_NEAR(barHeight(image, 0), 20, 0.21);
    EXPECT_NEAR(barHeight(image, 15), 12, 0.21);
    EXPECT_TRUE(isBar(at(image, 34 + 140.0 / 30 / 2, 9.4)));
    EXPECT_FALSE(isBar(at(image, 34 + 140.0 / 30 / 2, 8.8)));
    // 0.28 of a slot, 0.44 of bar, 0.28 again
    const double slot = 140.0 / 30;
    const double left = 34 + 15 * slot + 0.28 * slot;
    EXPECT_FALSE(isBar(at(image, left - 0.15, 19)));
    EXPECT_TRUE(isBar(at(image, left + 0.15, 19)));
    EXPECT_TRUE(isBar(at(image, left + 0.44 * slot - 0.15, 19)));
    EXPECT_FALSE(isBar(at(image, left + 0.44 * slot + 0.15, 19)));
}

TEST(LevelView, ALevelAboveOneDrawsABarTallerThanTheMeter)
{
    std::vector<float> levels(30, 0.0F);
    levels[10] = 1.5F;
    EXPECT_NEAR(barHeight(picture(levels), 10), 30, 0.21);
}

TEST(LevelView, DrawsOnlyTheGroundAndTheDotWithoutLevels)
{
    const QImage image = picture({});
    for (int x = 0; x < image.width(); ++x) {
        EXPECT_FALSE(isBar(image.pixelColor(x, image.height() / 2)));
    }
    EXPECT_GT(at(image, 20.5, 19).red(), 240);
}

}  // namespace
}  // namespace tavlo
