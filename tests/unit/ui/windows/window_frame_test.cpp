#include "ui/windows/window_frame.h"
#include "platform/text_literals.h"

#include "window_test_support.h"

#include <QImage>
#include <QLineEdit>
#include <QPushButton>
#include <QWindow>

using namespace tavlo;
using namespace tavlo::test;

namespace {

WindowDescription smallWindow()
{
    return {u"Small"_s,
            {200, 100},
            {{.name = u"label"_s,
              .frame = {10, 60, 100, 17},
              .text = u"Naam:"_s,
              .colour = ColourRole::SecondaryLabel,
              .labelled = u"field"_s},
             {.name = u"field"_s, .kind = ElementKind::TextField, .frame = {110, 56, 80, 24}},
             {.name = u"other"_s, .kind = ElementKind::Button, .frame = {10, 10, 80, 30}, .text = u"A & B"_s},
             {.name = u"go"_s, .kind = ElementKind::DefaultButton, .frame = {110, 10, 80, 30}, .text = u"Go"_s}}};
}

// The colour furthest from the ground, which is the one of the letters' cores.
double strongestContrast(const QWidget& widget, const QColor& ground)
{
    const QImage picture = const_cast<QWidget&>(widget).grab().toImage();
    double strongest = 1;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            strongest = std::max(strongest, contrast(picture.pixelColor(x, y), ground));
        }
    }
    return strongest;
}

}  // namespace

TEST(WindowFrame, IsOfFixedSizeWithTitleAndCloseBoxOnly)
{
    const WindowFrame window(smallWindow());
    EXPECT_EQ(window.minimumSize(), QSize(200, 100));
    EXPECT_EQ(window.maximumSize(), QSize(200, 100));
    EXPECT_EQ(window.windowTitle(), u"Small"_s);
    const Qt::WindowFlags flags = window.windowFlags();
    EXPECT_TRUE(flags.testFlag(Qt::WindowTitleHint));
    EXPECT_TRUE(flags.testFlag(Qt::WindowCloseButtonHint));
    EXPECT_FALSE(flags.testFlag(Qt::WindowMinimizeButtonHint));
    EXPECT_FALSE(flags.testFlag(Qt::WindowMaximizeButtonHint));
    EXPECT_EQ(window.windowModality(), Qt::NonModal);
}

TEST(WindowFrame, FramesAreMeasuredFromTheBottomLeft)
{
    const WindowFrame window(smallWindow());
    EXPECT_EQ(window.widget(u"label"_s)->geometry(), QRect(10, 23, 100, 17));
    EXPECT_EQ(window.widget(u"go"_s)->geometry(), QRect(110, 60, 80, 30));
}

TEST(WindowFrame, ClosingHidesItAndDestroysNothing)
{
    WindowFrame window(smallWindow());
    window.bringToFront(QRect(0, 0, 800, 600));
    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(window.close());
    EXPECT_FALSE(window.isVisible());
    EXPECT_FALSE(window.testAttribute(Qt::WA_DeleteOnClose));
    window.bringToFront(std::nullopt);
    EXPECT_TRUE(window.isVisible());
}

TEST(WindowFrame, AHiddenWindowHoldsNothingAtTheDisplay)
{
    WindowFrame window(smallWindow());
    window.bringToFront(std::nullopt);
    QApplication::processEvents();
    EXPECT_NE(window.windowHandle(), nullptr);
    window.close();
    QApplication::processEvents();
    EXPECT_EQ(window.windowHandle(), nullptr);
    window.bringToFront(std::nullopt);
    QApplication::processEvents();
    ASSERT_NE(window.windowHandle(), nullptr);
    EXPECT_TRUE(window.windowHandle()->isExposed());
    EXPECT_TRUE(window.widget(u"go"_s)->isVisible());
}

TEST(WindowFrame, AWindowThatComesBackAtOnceStaysAtTheDisplay)
{
    WindowFrame window(smallWindow());
    window.bringToFront(std::nullopt);
    const QWindow* const before = window.windowHandle();
    window.close();
    window.bringToFront(std::nullopt);
    QApplication::processEvents();
    EXPECT_EQ(window.windowHandle(), before);
    EXPECT_TRUE(window.isVisible());
}

TEST(WindowFrame, TheCloseBoxIsNotEscape)
{
    WindowFrame window(smallWindow());
    int escapes = 0;
    window.onEscape = [&escapes] { ++escapes; };
    window.bringToFront(std::nullopt);
    window.close();
    EXPECT_EQ(escapes, 0);
    window.bringToFront(std::nullopt);
    press(window, Qt::Key_Escape);
    EXPECT_EQ(escapes, 1);
}

TEST(WindowFrame, ReturnPressesTheDefaultButtonWhereverTheFocusIs)
{
    WindowFrame window(smallWindow());
    int gone = 0;
    int others = 0;
    QObject::connect(&window.control<QPushButton>(u"go"_s), &QPushButton::clicked, [&gone] { ++gone; });
    QObject::connect(&window.control<QPushButton>(u"other"_s), &QPushButton::clicked, [&others] { ++others; });
    window.bringToFront(std::nullopt);
    press(*window.widget(u"field"_s), Qt::Key_Return);
    press(*window.widget(u"other"_s), Qt::Key_Enter);
    EXPECT_EQ(gone, 2);
    EXPECT_EQ(others, 0);
    press(*window.widget(u"other"_s), Qt::Key_Space);
    EXPECT_EQ(others, 1);
}

TEST(WindowFrame, AnAmpersandInATitleIsShown)
{
    const WindowFrame window(smallWindow());
    auto& button = window.control<QPushButton>(u"other"_s);
    EXPECT_EQ(button.text(), u"A && B"_s);
    EXPECT_EQ(accessibleName(button), u"A & B"_s);
    EXPECT_TRUE(button.shortcut().isEmpty());
}

TEST(WindowFrame, ALabelNamesItsControl)
{
    const WindowFrame window(smallWindow());
    EXPECT_EQ(accessibleName(*window.widget(u"field"_s)), u"Naam"_s);
}

TEST(WindowFrame, ItsTextsFollowAPaletteThatChangesWhileItIsOpen)
{
    WindowFrame window(smallWindow());
    window.bringToFront(std::nullopt);
    const QPalette before = QApplication::palette();
    for (const QColor& ground : {QColor(40, 40, 40), QColor(245, 245, 245)}) {
        QApplication::setPalette(QPalette(ground));
        QApplication::processEvents();
        EXPECT_EQ(window.grab().toImage().pixelColor(1, 1), ground);
        EXPECT_GE(strongestContrast(*window.widget(u"label"_s), ground), 4.0);
    }
    QApplication::setPalette(before);
}

TEST(WindowFrame, ANewFontIsFittedWhileItIsOpen)
{
    WindowFrame window(smallWindow());
    window.bringToFront(std::nullopt);
    const QFont before = QApplication::font();
    QApplication::setFont(QFont(u"Liberation Sans"_s, 20));
    QApplication::processEvents();
    EXPECT_EQ(window.control<FittedLabel>(u"label"_s).style().font.family(), u"Liberation Sans"_s);
    EXPECT_LE(window.widget(u"go"_s)->font().pixelSize(), 13);
    QApplication::setFont(before);
}

TEST(WindowFrameDeathTest, AnUnknownControlStopsTheProgram)
{
    const WindowFrame window(smallWindow());
    // The toolkit has threads of its own, so the dying process starts afresh.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(window.control<QPushButton>(u"none"_s), "no such control: none");
    EXPECT_DEATH(window.control<QPushButton>(u"field"_s), "no such control: field");
}
