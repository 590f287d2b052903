#include "ui/about_window.h"

#include "support/fakes/fake_screens.h"
#include "ui/about_window_layout.h"
#include "window_test_support.h"

#include <QPushButton>

using namespace tavlo;
using namespace tavlo::test;

namespace {

class AboutWindowTest : public testing::Test {
protected:
    WindowFrame& window() { return *m_about.aboutWindow(); }
    void click(const char* button) { window().control<QPushButton>(QString::fromLatin1(button)).click(); }

    InLanguage m_language{QStringLiteral("nl")};
    FakeScreens m_screens;
    int m_websites = 0;
    int m_feedbacks = 0;
    AboutWindow m_about{QStringLiteral("1.0"), m_screens, {[this] { ++m_websites; }, [this] { ++m_feedbacks; }}};
};

}  // namespace

TEST_F(AboutWindowTest, TheLayoutIsTheAgreedTable)
{
    const WindowDescription layout = aboutWindowLayout(QStringLiteral("1.0"));
    EXPECT_EQ(layout.title, QStringLiteral("Over Tavlo"));
    EXPECT_EQ(layout.size, QSize(460, 470));
    const std::vector<WindowElement> elements{
        {.name = QStringLiteral("icon"), .kind = ElementKind::Icon, .frame = {198, 386, 64, 64}},
        {.name = QStringLiteral("title"),
         .kind = ElementKind::Label,
         .frame = {20, 356, 420, 24},
         .pixelSize = 18,
         .weight = FontWeight::Semibold,
         .alignment = TextAlignment::Centre},
        {.name = QStringLiteral("tagline"),
         .kind = ElementKind::Label,
         .frame = {20, 332, 420, 18},
         .colour = ColourRole::SecondaryLabel,
         .alignment = TextAlignment::Centre},
        {.name = QStringLiteral("features"),
         .kind = ElementKind::WrappingLabel,
         .frame = {30, 150, 400, 170},
         .pixelSize = 12},
        {.name = QStringLiteral("disclaimer"),
         .kind = ElementKind::WrappingLabel,
         .frame = {30, 106, 400, 34},
         .pixelSize = 10,
         .colour = ColourRole::TertiaryLabel},
        {.name = QStringLiteral("support"),
         .kind = ElementKind::WrappingLabel,
         .frame = {30, 60, 400, 40},
         .pixelSize = 11,
         .colour = ColourRole::SecondaryLabel},
        {.name = QStringLiteral("websiteButton"), .kind = ElementKind::Button, .frame = {30, 20, 130, 32}},
        {.name = QStringLiteral("feedbackButton"), .kind = ElementKind::Button, .frame = {165, 20, 130, 32}},
        {.name = QStringLiteral("maker"),
         .kind = ElementKind::Label,
         .frame = {300, 27, 130, 16},
         .pixelSize = 11,
         .colour = ColourRole::TertiaryLabel,
         .alignment = TextAlignment::Right},
    };
    expectElements(layout, elements);
}

TEST_F(AboutWindowTest, WithoutAVersionItShowsTavlo10)
{
    AboutWindow about(QString(), m_screens, {[] {}, [] {}});
    about.openAbout();
    EXPECT_EQ(labelText(*about.aboutWindow(), "title"), QStringLiteral("Tavlo 1.0"));
}

TEST_F(AboutWindowTest, TheVersionStandsInTheTitle)
{
    AboutWindow about(QStringLiteral("2.7"), m_screens, {[] {}, [] {}});
    about.openAbout();
    EXPECT_EQ(labelText(*about.aboutWindow(), "title"), QStringLiteral("Tavlo 2.7"));
}

TEST_F(AboutWindowTest, OpeningTwiceLeavesOneVisibleWindow)
{
    m_about.openAbout();
    m_about.openAbout();
    EXPECT_EQ(visibleWindows(), 1);
}

TEST_F(AboutWindowTest, AnotherLanguageShowsAtTheNextOpening)
{
    m_about.openAbout();
    EXPECT_EQ(labelText(window(), "tagline"), QStringLiteral("Praat in plaats van typen - in elke app op je Mac."));
    gLang = QStringLiteral("en");
    EXPECT_EQ(labelText(window(), "tagline"), QStringLiteral("Praat in plaats van typen - in elke app op je Mac."));
    m_about.openAbout();
    EXPECT_EQ(window().windowTitle(), QStringLiteral("About Tavlo"));
    EXPECT_EQ(labelText(window(), "tagline"), QStringLiteral("Talk instead of type - in any app on your Mac."));
    EXPECT_TRUE(labelText(window(), "features").startsWith(QStringLiteral("•  Dictate with a hotkey")));
    EXPECT_TRUE(labelText(window(), "disclaimer").startsWith(QStringLiteral("Transcription may contain errors.")));
    EXPECT_TRUE(labelText(window(), "support").startsWith(QStringLiteral("Free and subscription-free")));
    EXPECT_EQ(window().control<QPushButton>(QStringLiteral("feedbackButton")).text(), QStringLiteral("Give feedback"));
    EXPECT_EQ(window().control<QPushButton>(QStringLiteral("websiteButton")).text(), QStringLiteral("Website"));
    EXPECT_EQ(labelText(window(), "maker"), QStringLiteral("Pelloquintar"));
}

TEST_F(AboutWindowTest, TheFeatureListHasSixLinesInBothLanguages)
{
    for (const QString& language : {QStringLiteral("nl"), QStringLiteral("en")}) {
        gLang = language;
        m_about.openAbout();
        const QStringList lines = labelText(window(), "features").split(QLatin1Char('\n'));
        EXPECT_EQ(lines.size(), 6);
        for (const QString& line : lines) {
            EXPECT_TRUE(line.startsWith(QStringLiteral("•  "))) << line.toStdString();
        }
    }
}

TEST_F(AboutWindowTest, TheButtonsOpenTheirPages)
{
    m_about.openAbout();
    click("websiteButton");
    click("feedbackButton");
    click("feedbackButton");
    EXPECT_EQ(m_websites, 1);
    EXPECT_EQ(m_feedbacks, 2);
}

TEST_F(AboutWindowTest, ClosingAndEscapeOnlyHideTheWindow)
{
    m_about.openAbout();
    window().close();
    EXPECT_FALSE(window().isVisible());
    m_about.openAbout();
    press(window(), Qt::Key_Escape);
    EXPECT_FALSE(window().isVisible());
}

TEST_F(AboutWindowTest, EveryControlHasItsNameAndRole)
{
    m_about.openAbout();
    for (const WindowElement& element : window().description().elements) {
        QWidget* control = window().widget(element.name);
        EXPECT_EQ(accessibleName(*control), element.kind == ElementKind::Icon ? QStringLiteral("Tavlo") : element.text);
        const auto expected = element.kind == ElementKind::Icon     ? QAccessible::Graphic
                              : element.kind == ElementKind::Button ? QAccessible::PushButton
                                                                    : QAccessible::StaticText;
        EXPECT_EQ(accessibleRole(*control), expected) << element.name.toStdString();
    }
}
