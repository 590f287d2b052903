#include "ui/window_colours.h"

#include <gtest/gtest.h>

using namespace tavlo;

namespace {

QPalette paletteOf(const QColor& text, const QColor& background)
{
    QPalette palette;
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Window, background);
    return palette;
}

const std::array kRoles{ColourRole::Label, ColourRole::SecondaryLabel, ColourRole::TertiaryLabel,
                        ColourRole::SystemRed};

}  // namespace

TEST(WindowColours, ContrastOfBlackAndWhiteIsTwentyOne)
{
    EXPECT_NEAR(contrast(Qt::black, Qt::white), 21.0, 1e-9);
    EXPECT_NEAR(contrast(Qt::white, Qt::black), 21.0, 1e-9);
    EXPECT_NEAR(contrast(Qt::red, Qt::red), 1.0, 1e-9);
    // The grey that is known to be just readable on white.
    EXPECT_NEAR(contrast(QColor(0x76, 0x76, 0x76), Qt::white), 4.54, 0.01);
}

TEST(WindowColours, EveryRoleIsReadableOnCommonLightAndDarkDesktops)
{
    const std::array<std::pair<QColor, QColor>, 7> desktops{{{Qt::black, QColor(239, 239, 239)},
                                                             {Qt::black, Qt::white},
                                                             {QColor(46, 52, 54), QColor(246, 245, 244)},
                                                             {Qt::white, QColor(53, 53, 53)},
                                                             {QColor(238, 238, 236), QColor(36, 36, 36)},
                                                             {QColor(252, 252, 252), QColor(42, 46, 50)},
                                                             {Qt::white, Qt::black}}};
    for (const auto& [text, background] : desktops) {
        for (const ColourRole role : kRoles) {
            EXPECT_GE(contrast(labelColour(role, paletteOf(text, background)), background), kReadableContrast)
                << "role " << static_cast<int>(role) << " on " << background.name().toStdString();
        }
    }
}

TEST(WindowColours, TheHintOfAnEmptyFieldIsWeakerThanItsTextAndReadable)
{
    const std::array<std::pair<QColor, QColor>, 4> fields{{{Qt::black, Qt::white},
                                                           {QColor(46, 52, 54), Qt::white},
                                                           {QColor(252, 252, 252), QColor(27, 30, 32)},
                                                           {Qt::white, Qt::black}}};
    for (const auto& [text, background] : fields) {
        QPalette palette;
        palette.setColor(QPalette::Text, text);
        palette.setColor(QPalette::Base, background);
        const double hint = contrast(placeholderColour(palette), background);
        EXPECT_GE(hint, kReadableContrast) << background.name().toStdString();
        EXPECT_LT(hint, contrast(text, background)) << background.name().toStdString();
    }
}

TEST(WindowColours, GreyedRowsAreReadableAndTheOthersStayAsTheyAre)
{
    for (const auto& palette :
         {paletteOf(Qt::black, QColor(239, 239, 239)), paletteOf(QColor(252, 252, 252), QColor(42, 46, 50))}) {
        const QPalette colours = greyedRowColours(palette).resolve(palette);
        for (const QPalette::ColorRole role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
            const double greyed = contrast(colours.color(QPalette::Disabled, role), palette.color(QPalette::Window));
            EXPECT_GE(greyed, kReadableContrast);
            EXPECT_LT(greyed, contrast(palette.color(QPalette::WindowText), palette.color(QPalette::Window)));
            EXPECT_EQ(colours.color(QPalette::Active, role), palette.color(QPalette::Active, role));
        }
    }
}

TEST(WindowColours, LesserTextsAreWeakerThanGreaterOnes)
{
    for (const auto& palette :
         {paletteOf(Qt::black, QColor(239, 239, 239)), paletteOf(Qt::white, QColor(53, 53, 53))}) {
        const QColor background = palette.color(QPalette::Window);
        const double label = contrast(labelColour(ColourRole::Label, palette), background);
        const double secondary = contrast(labelColour(ColourRole::SecondaryLabel, palette), background);
        const double tertiary = contrast(labelColour(ColourRole::TertiaryLabel, palette), background);
        EXPECT_GT(label, secondary);
        EXPECT_GT(secondary, tertiary);
    }
}

TEST(WindowColours, TheFailureColourIsRed)
{
    for (const auto& palette :
         {paletteOf(Qt::black, QColor(239, 239, 239)), paletteOf(Qt::white, QColor(53, 53, 53))}) {
        const QColor red = labelColour(ColourRole::SystemRed, palette);
        EXPECT_GT(red.red(), red.green() + 80);
        EXPECT_GT(red.red(), red.blue() + 80);
    }
}

TEST(WindowColours, APaletteThatIsUnreadableItselfGetsItsOwnText)
{
    const QColor text(120, 120, 120);
    const QColor background(128, 128, 128);
    EXPECT_EQ(labelColour(ColourRole::TertiaryLabel, paletteOf(text, background)), text);
}
