#include "ui/tray/tavlo_icon.h"

#include <QImage>
#include <QPointF>
#include <QRect>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace tavlo {
namespace {

constexpr Activity kMic = Activity::Ready;
constexpr Activity kWaveform = Activity::Recording;
constexpr Activity kHourglass = Activity::Transcribing;
constexpr Activity kKeyboard = Activity::Capturing;

QImage inPixels(Activity state, int side, IconInk ink = IconInk::Dark)
{
    return TavloIcon::menuBar(state, ink).pixmap(QSize(side, side), 1.0).toImage();
}

// The icon is designed 18 wide and 16 high, for a panel of 22. In ten times that panel's size all its edges fall on
// whole pixels by themselves, so that the picture shows the design.
constexpr int kScale = 10;

QImage designed(Activity state)
{
    return inPixels(state, 22 * kScale).copy(2 * kScale, 3 * kScale, 18 * kScale, 16 * kScale);
}

int alphaAt(const QImage& image, double x, double y)
{
    return image.pixelColor(static_cast<int>(x * kScale), static_cast<int>(y * kScale)).alpha();
}

TEST(TavloIcon, GivesTheSameImageForTheSameState)
{
    EXPECT_EQ(TavloIcon::menuBar(kMic).cacheKey(), TavloIcon::menuBar(kMic).cacheKey());
    EXPECT_NE(TavloIcon::menuBar(kMic).cacheKey(), TavloIcon::menuBar(kWaveform).cacheKey());
}

TEST(TavloIcon, TheFourStatesLookDifferent)
{
    const QList<Activity> states{kMic, kWaveform, kHourglass, kKeyboard};
    for (qsizetype first = 0; first < states.size(); ++first) {
        for (qsizetype second = first + 1; second < states.size(); ++second) {
            EXPECT_NE(inPixels(states[first], 16), inPixels(states[second], 16));
        }
    }
}

TEST(TavloIcon, EveryStateIsFramedByAnOutlineOfOneAndAHalf)
{
    for (Activity state : {kMic, kHourglass, kKeyboard}) {
        const QImage image = designed(state);
        EXPECT_EQ(alphaAt(image, 9, 0.1), 255);
        EXPECT_EQ(alphaAt(image, 9, 1.4), 255);
        EXPECT_EQ(alphaAt(image, 9, 1.6), 0);
        EXPECT_EQ(alphaAt(image, 0.1, 8), 255);
        EXPECT_EQ(alphaAt(image, 17.9, 8), 255);
        EXPECT_EQ(alphaAt(image, 1.6, 8), 0);
        EXPECT_EQ(alphaAt(image, 0.3, 0.3), 0);  // round corners
    }
}

// The three bars: 2.0 wide, 2.6 apart, 4.2, 7.8 and 4.2 high, around the middle.
struct Bar {
    double left;
    double height;
};
constexpr Bar kBars[] = {{3.4, 4.2}, {8.0, 7.8}, {12.6, 4.2}};

TEST(TavloIcon, MicHasThreeSolidBarsInAnOutline)
{
    const QImage image = designed(kMic);
    for (const Bar& bar : kBars) {
        EXPECT_EQ(alphaAt(image, bar.left + 0.1, 8), 255);
        EXPECT_EQ(alphaAt(image, bar.left + 1.9, 8), 255);
        EXPECT_EQ(alphaAt(image, bar.left - 0.15, 8), 0);
        EXPECT_EQ(alphaAt(image, bar.left + 2.15, 8), 0);
        EXPECT_EQ(alphaAt(image, bar.left + 1, 8 - bar.height / 2 + 0.15), 255);
        EXPECT_EQ(alphaAt(image, bar.left + 1, 8 - bar.height / 2 - 0.15), 0);
        EXPECT_EQ(alphaAt(image, bar.left + 1, 8 + bar.height / 2 + 0.15), 0);
    }
}

TEST(TavloIcon, WaveformLeavesTheSameBarsTransparentInASolidBlock)
{
    const QImage image = designed(kWaveform);
    for (const Bar& bar : kBars) {
        EXPECT_EQ(alphaAt(image, bar.left + 0.1, 8), 0);
        EXPECT_EQ(alphaAt(image, bar.left + 1, 8 - bar.height / 2 + 0.15), 0);
        EXPECT_EQ(alphaAt(image, bar.left - 0.15, 8), 255);
        EXPECT_EQ(alphaAt(image, bar.left + 1, 8 - bar.height / 2 - 0.15), 255);
    }
    EXPECT_EQ(alphaAt(image, 2, 8), 255);
    EXPECT_EQ(alphaAt(image, 9, 2), 255);
}

TEST(TavloIcon, HourglassHasThreeDotsOnTheCentreLine)
{
    const QImage image = designed(kHourglass);
    for (const double left : {9 - 5.8, 9 - 1.2, 9 + 3.4}) {
        EXPECT_EQ(alphaAt(image, left + 1.2, 8), 255);
        EXPECT_EQ(alphaAt(image, left + 0.1, 8), 255);
        EXPECT_EQ(alphaAt(image, left + 2.25, 8), 255);
        EXPECT_EQ(alphaAt(image, left - 0.15, 8), 0);
        EXPECT_EQ(alphaAt(image, left + 1.2, 8 - 1.35), 0);
    }
}

TEST(TavloIcon, KeyboardHasAQuestionMarkInTheMiddle)
{
    const QImage image = designed(kKeyboard);
    QRect sign;
    for (int y = 3 * kScale; y < 13 * kScale; ++y) {
        for (int x = 4 * kScale; x < 14 * kScale; ++x) {
            if (image.pixelColor(x, y).alpha() > 128) {
                sign |= QRect(x, y, 1, 1);
            }
        }
    }
    EXPECT_NEAR(sign.center().x(), 9 * kScale, kScale / 2.0);
    EXPECT_NEAR(sign.center().y(), 8 * kScale, kScale / 2.0);
    EXPECT_GT(sign.height(), 5 * kScale);
    EXPECT_LT(sign.height(), 9 * kScale);
    EXPECT_LT(sign.width(), sign.height());
}

TEST(TavloIcon, IsAMaskInBlackForDarkInkAndInWhiteForLightInk)
{
    for (Activity state : {kMic, kWaveform, kHourglass, kKeyboard}) {
        const QImage dark = inPixels(state, 22);
        const QImage light = inPixels(state, 22, IconInk::Light);
        for (int y = 0; y < 22; ++y) {
            for (int x = 0; x < 22; ++x) {
                EXPECT_EQ(dark.pixelColor(x, y).alpha(), light.pixelColor(x, y).alpha());
                if (dark.pixelColor(x, y).alpha() == 255) {
                    EXPECT_EQ(dark.pixelColor(x, y), QColor(Qt::black));
                    EXPECT_EQ(light.pixelColor(x, y), QColor(Qt::white));
                }
            }
        }
    }
}

class PanelSize : public testing::TestWithParam<int> {};

TEST_P(PanelSize, GivesAPictureOfExactlyThatSize)
{
    EXPECT_EQ(inPixels(kMic, GetParam()).size(), QSize(GetParam(), GetParam()));
    EXPECT_EQ(TavloIcon::menuBar(kMic).actualSize(QSize(GetParam(), GetParam())), QSize(GetParam(), GetParam()));
}

// One row or column of a picture, as the alpha of its pixels.
std::vector<int> row(const QImage& image, int y)
{
    std::vector<int> line;
    for (int x = 0; x < image.width(); ++x) {
        line.push_back(image.pixelColor(x, y).alpha());
    }
    return line;
}

std::vector<int> column(const QImage& image, int x)
{
    std::vector<int> line;
    for (int y = 0; y < image.height(); ++y) {
        line.push_back(image.pixelColor(x, y).alpha());
    }
    return line;
}

bool isSharp(const std::vector<int>& line)
{
    return std::ranges::all_of(line, [](int alpha) { return alpha == 0 || alpha == 255; });
}

// The solid runs of a line, as (first pixel, length).
std::vector<std::pair<int, int>> runs(const std::vector<int>& line)
{
    std::vector<std::pair<int, int>> found;
    for (std::size_t index = 0; index < line.size(); ++index) {
        if (line[index] != 0 && (index == 0 || line[index - 1] == 0)) {
            found.emplace_back(static_cast<int>(index), 0);
        }
        if (line[index] != 0) {
            ++found.back().second;
        }
    }
    return found;
}

// All straight edges lie between pixels: those of the frame, and the sides of the bars.
TEST_P(PanelSize, IsSharp)
{
    const int side = GetParam();
    const QImage image = inPixels(kMic, side);
    const std::vector<int> middle = row(image, side / 2);
    EXPECT_TRUE(isSharp(middle)) << testing::PrintToString(middle);
    const auto solid = runs(middle);
    ASSERT_EQ(solid.size(), 5U) << "a side of the frame, three bars, a side of the frame";
    EXPECT_EQ(solid[0].second, solid[4].second);
    EXPECT_EQ(solid[1].second, solid[2].second);
    EXPECT_EQ(solid[1].second, solid[3].second);
    EXPECT_EQ(solid[2].first - solid[1].first, solid[3].first - solid[2].first);
    // Between the first bar and the next only the frame is crossed.
    const std::vector<int> between = column(image, solid[2].first - 1);
    EXPECT_TRUE(isSharp(between)) << testing::PrintToString(between);
    EXPECT_EQ(runs(between).size(), 2U);
}

TEST_P(PanelSize, TheSolidBlockIsSharp)
{
    const int side = GetParam();
    const std::vector<int> middle = row(inPixels(kWaveform, side), side / 2);
    EXPECT_TRUE(isSharp(middle)) << testing::PrintToString(middle);
    EXPECT_EQ(runs(middle).size(), 4U) << "the block with its three slits";
}

INSTANTIATE_TEST_SUITE_P(Pixels, PanelSize, testing::Values(16, 22, 24, 32, 44, 48, 64),
                         [](const auto& size) { return std::to_string(size.param); });

// A picture as a panel gets it, 22 or 44 pixels high, measured in the units of the design.
class PanelPicture : public testing::TestWithParam<int> {
protected:
    struct Part {
        double area;
        QPointF centre;
    };

    // What stands inside the frame, from left to right: shapes with clear columns between them. Their areas and centres
    // are weighed by coverage, so that they can be told to a fraction of a pixel.
    static std::vector<Part> partsInTheFrame(Activity state)
    {
        const QImage image = inPixels(state, GetParam());
        const auto frame = runs(row(image, kBesideTheCorners * unit()));
        // The rows between the frame's corners.
        const int top = 7 * unit();
        const int bottom = 15 * unit();
        std::vector<Part> parts;
        Part part{};
        for (int x = frame.front().first + frame.front().second; x <= frame.back().first; ++x) {
            double covered = 0;
            QPointF moment;
            for (int y = top; x < frame.back().first && y < bottom; ++y) {
                const double coverage = image.pixelColor(x, y).alphaF();
                covered += coverage;
                moment += coverage * QPointF(x + 0.5, y + 0.5);
            }
            if (covered > 0.1) {
                part.area += covered;
                part.centre += moment;
            } else if (part.area > 0) {
                parts.push_back({part.area / (unit() * unit()), part.centre / part.area / unit() - QPointF(2, 3)});
                part = {};
            }
        }
        return parts;
    }

    // A row and a column that cross the frame's straight sides and neither a round corner nor a dot.
    static constexpr int kBesideTheCorners = 8;

    static int unit() { return GetParam() / 22; }
};

INSTANTIATE_TEST_SUITE_P(Pixels, PanelPicture, testing::Values(22, 44),
                         [](const auto& size) { return std::to_string(size.param); });

TEST_P(PanelPicture, ShowsTheDotsAsTheyAreDesigned)
{
    const auto dots = partsInTheFrame(kHourglass);
    ASSERT_EQ(dots.size(), 3U);
    const double area = M_PI * 1.2 * 1.2;  // of a diameter of 2.4
    double x = 9 - 4.6;
    for (const Part& dot : dots) {
        EXPECT_NEAR(dot.area, area, 0.05 * area);
        EXPECT_NEAR(dot.centre.x(), x, 0.03);
        EXPECT_NEAR(dot.centre.y(), 8, 0.03);
        x += 4.6;
    }
}

TEST_P(PanelPicture, ShowsTheBarsAsTheyAreDesignedButOnWholePixels)
{
    const auto bars = partsInTheFrame(kMic);
    ASSERT_EQ(bars.size(), 3U);
    const std::vector<double> heights{4.2, 7.8, 4.2};
    for (std::size_t index = 0; index < bars.size(); ++index) {
        const double area = 2 * (heights[index] - 2) + M_PI;  // two wide, with round ends
        EXPECT_NEAR(bars[index].area, area, 0.03 * area) << index;
        EXPECT_NEAR(bars[index].centre.y(), 8, 0.03) << index;
    }
    EXPECT_NEAR(bars[1].centre.x(), 9, 0.01);
    // The nearest whole pixel of a panel of 22, which Xfce's panel makes of the picture of 44 as well.
    EXPECT_NEAR(bars[1].centre.x() - bars[0].centre.x(), 5, 0.01);
    EXPECT_NEAR(bars[2].centre.x() - bars[1].centre.x(), 5, 0.01);
}

TEST_P(PanelPicture, FillsTheDesignedRectangleWithItsFrame)
{
    const QImage image = inPixels(kHourglass, GetParam());
    const int side = GetParam();
    for (const auto& [line, first] : {std::pair(row(image, kBesideTheCorners * unit()), 2),
                                      std::pair(column(image, kBesideTheCorners * unit()), 3)}) {
        EXPECT_TRUE(isSharp(line)) << testing::PrintToString(line);
        const auto sides = runs(line);
        ASSERT_EQ(sides.size(), 2U);
        EXPECT_EQ(sides[0].first, first * unit());
        EXPECT_EQ(side - sides[1].first - sides[1].second, first * unit());
        EXPECT_NEAR(sides[0].second, 1.5 * unit(), 0.5);
    }
}

TEST(TavloIcon, IsDrawnAnewForTheScaleOfTheScreen)
{
    const QPixmap doubled = TavloIcon::menuBar(kMic).pixmap(QSize(22, 22), 2.0);
    EXPECT_EQ(doubled.size(), QSize(44, 44));
    QImage image = doubled.toImage();
    image.setDevicePixelRatio(1);
    EXPECT_EQ(image.convertToFormat(QImage::Format_ARGB32), inPixels(kMic, 44).convertToFormat(QImage::Format_ARGB32));
}

TEST(TavloIcon, OffersThePanelsSizes)
{
    const QList<QSize> sizes = TavloIcon::menuBar(kMic).availableSizes();
    for (const int side : {16, 22, 24, 32, 44}) {
        EXPECT_TRUE(sizes.contains(QSize(side, side))) << side;
    }
}

}  // namespace
}  // namespace tavlo
