#include "ui/tray/tavlo_icon.h"
#include "platform/text_literals.h"

#include <QImage>
#include <QPainter>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <string>

namespace tavlo {
namespace {

constexpr int kScale = 20;  // large, so that fractions of a point can be told apart

constexpr Activity kMic = Activity::Ready;
constexpr Activity kWaveform = Activity::Recording;
constexpr Activity kHourglass = Activity::Transcribing;
constexpr Activity kKeyboard = Activity::Capturing;

QImage designed(Activity state)
{
    QImage image(18 * kScale, 16 * kScale, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    TavloIcon::draw(painter, image.rect(), state, Qt::black);
    return image;
}

int alphaAt(const QImage& image, double x, double y)
{
    return image.pixelColor(static_cast<int>(x * kScale), static_cast<int>(y * kScale)).alpha();
}

QImage inPixels(Activity state, int side, IconInk ink = IconInk::Dark)
{
    return TavloIcon::menuBar(state, ink).pixmap(QSize(side, side), 1.0).toImage();
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
        EXPECT_EQ(alphaAt(image, left + 2.3, 8), 255);
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

// All straight edges lie between pixels: along the lines through the middle no pixel is half covered, but for the ends
// of the middle bar, which are round.
TEST_P(PanelSize, IsSharp)
{
    const int side = GetParam();
    const QImage image = inPixels(kMic, side);
    const QSizeF size = iconForPixels(side).size;
    const int middleRow = (side - static_cast<int>(size.height())) / 2 + static_cast<int>(size.height()) / 2;
    int solid = 0;
    for (int x = 0; x < side; ++x) {
        const int alpha = image.pixelColor(x, middleRow).alpha();
        EXPECT_TRUE(alpha == 0 || alpha == 255) << "column " << x << ": " << alpha;
        solid += alpha == 255 ? 1 : 0;
    }
    const IconMeasures measures = iconForPixels(side);
    EXPECT_EQ(solid, static_cast<int>(2 * measures.lineWidth + 3 * measures.barWidth));
    // Between the corner and the bars only the frame is crossed.
    const int clearColumn = (side - static_cast<int>(size.width())) / 2 +
                            static_cast<int>(measures.cornerRadius + measures.lineWidth / 2 + 1.5);
    for (int y = 0; y < side / 4; ++y) {
        const int alpha = image.pixelColor(clearColumn, y).alpha();
        EXPECT_TRUE(alpha == 0 || alpha == 255) << "row " << y << ": " << alpha;
    }
}

TEST_P(PanelSize, TheSolidBlockIsSharp)
{
    const int side = GetParam();
    const QImage image = inPixels(kWaveform, side);
    const QSizeF size = iconForPixels(side).size;
    const int middleRow = (side - static_cast<int>(size.height())) / 2 + static_cast<int>(size.height()) / 2;
    int edges = 0;
    for (int x = 0; x < side; ++x) {
        const int alpha = image.pixelColor(x, middleRow).alpha();
        EXPECT_TRUE(alpha == 0 || alpha == 255) << "column " << x << ": " << alpha;
        edges += x > 0 && alpha != image.pixelColor(x - 1, middleRow).alpha() ? 1 : 0;
    }
    EXPECT_EQ(edges, 8);  // of the block and of its three slits
}

TEST_P(PanelSize, LeavesTheBarsApartFromEachOtherAndFromTheFrame)
{
    const IconMeasures measures = iconForPixels(GetParam());
    EXPECT_GE(measures.barGap, 1);
    const double used = 3 * measures.barWidth + 2 * measures.barGap + 2 * measures.lineWidth;
    EXPECT_GE(measures.size.width() - used, 2);
    EXPECT_LE(measures.size.width(), GetParam());
    EXPECT_LE(measures.tallBar + 2 * measures.lineWidth + 2, measures.size.height());
}

INSTANTIATE_TEST_SUITE_P(Pixels, PanelSize, testing::Values(16, 22, 24, 32, 44, 48, 64),
                         [](const auto& size) { return std::to_string(size.param); });

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

TEST(TavloIcon, GivesWellFormedSvgWithOnePath)
{
    QXmlStreamReader reader(TavloIcon::svg(kMic));
    int paths = 0;
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == "path"_L1) {
            ++paths;
            const QString data = reader.attributes().value("d"_L1).toString();
            EXPECT_TRUE(data.startsWith(QLatin1Char('M')));
            EXPECT_TRUE(data.endsWith(QLatin1Char('Z')));
            EXPECT_FALSE(data.contains("nan"_L1));
        }
    }
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    EXPECT_EQ(paths, 1);
    EXPECT_NE(TavloIcon::svg(kMic), TavloIcon::svg(kWaveform));
}

}  // namespace
}  // namespace tavlo
