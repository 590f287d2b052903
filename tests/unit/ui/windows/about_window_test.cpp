#include "ui/windows/about_window.h"
#include "platform/text_literals.h"

#include "settings/locations.h"
#include "support/fakes/fake_screens.h"
#include "support/fakes/fake_workspace.h"
#include "window_test_support.h"

#include <QPushButton>

using namespace tavlo;
using namespace tavlo::test;

namespace {

class AboutWindowTest : public testing::Test {
protected:
    WindowFrame& window() { return *m_about.aboutWindow(); }
    void click(const char* button) { window().control<QPushButton>(QString::fromLatin1(button)).click(); }

    LanguageScope m_language{u"nl"_s};
    FakeScreens m_screens;
    FakeWorkspace m_workspace;
    AboutWindow m_about{u"1.0"_s, m_screens, m_workspace};
};

}  // namespace

TEST_F(AboutWindowTest, TheLayoutIsTheAgreedTable)
{
    const WindowDescription layout = aboutWindowLayout(u"1.0"_s);
    EXPECT_EQ(layout.title, u"Over Tavlo"_s);
    EXPECT_EQ(layout.size, QSize(460, 470));
    const std::vector<WindowElement> elements{
        {.name = u"icon"_s, .kind = ElementKind::Icon, .frame = {198, 386, 64, 64}},
        {.name = u"title"_s,
         .kind = ElementKind::Label,
         .frame = {20, 356, 420, 24},
         .pixelSize = 18,
         .weight = FontWeight::Semibold,
         .alignment = TextAlignment::Centre},
        {.name = u"tagline"_s,
         .kind = ElementKind::Label,
         .frame = {20, 332, 420, 18},
         .colour = ColourRole::SecondaryLabel,
         .alignment = TextAlignment::Centre},
        {.name = u"features"_s, .kind = ElementKind::WrappingLabel, .frame = {30, 150, 400, 170}, .pixelSize = 12},
        {.name = u"disclaimer"_s,
         .kind = ElementKind::WrappingLabel,
         .frame = {30, 106, 400, 34},
         .pixelSize = 10,
         .colour = ColourRole::TertiaryLabel},
        {.name = u"support"_s,
         .kind = ElementKind::WrappingLabel,
         .frame = {30, 60, 400, 40},
         .pixelSize = 11,
         .colour = ColourRole::SecondaryLabel},
        {.name = u"websiteButton"_s, .kind = ElementKind::Button, .frame = {30, 20, 130, 32}},
        {.name = u"feedbackButton"_s, .kind = ElementKind::Button, .frame = {165, 20, 130, 32}},
        {.name = u"maker"_s,
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
    AboutWindow about(QString(), m_screens, m_workspace);
    about.openAbout();
    EXPECT_EQ(labelText(*about.aboutWindow(), "title"), u"Tavlo 1.0"_s);
}

TEST_F(AboutWindowTest, TheVersionStandsInTheTitle)
{
    AboutWindow about(u"2.7"_s, m_screens, m_workspace);
    about.openAbout();
    EXPECT_EQ(labelText(*about.aboutWindow(), "title"), u"Tavlo 2.7"_s);
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
    EXPECT_EQ(labelText(window(), "tagline"), u"Praat in plaats van typen - in elke app op je Mac."_s);
    gLang = u"en"_s;
    EXPECT_EQ(labelText(window(), "tagline"), u"Praat in plaats van typen - in elke app op je Mac."_s);
    m_about.openAbout();
    EXPECT_EQ(window().windowTitle(), u"About Tavlo"_s);
    EXPECT_EQ(labelText(window(), "tagline"), u"Talk instead of type - in any app on your Mac."_s);
    EXPECT_TRUE(labelText(window(), "features").startsWith(u"•  Dictate with a hotkey"_s));
    EXPECT_TRUE(labelText(window(), "disclaimer").startsWith(u"Transcription may contain errors."_s));
    EXPECT_TRUE(labelText(window(), "support").startsWith(u"Free and subscription-free"_s));
    EXPECT_EQ(window().control<QPushButton>(u"feedbackButton"_s).text(), u"Give feedback"_s);
    EXPECT_EQ(window().control<QPushButton>(u"websiteButton"_s).text(), u"Website"_s);
    EXPECT_EQ(labelText(window(), "maker"), u"Pelloquintar"_s);
}

TEST_F(AboutWindowTest, TheFeatureListHasSixLinesInBothLanguages)
{
    for (const QString& language : {u"nl"_s, u"en"_s}) {
        gLang = language;
        m_about.openAbout();
        const QStringList lines = labelText(window(), "features").split(QLatin1Char('\n'));
        EXPECT_EQ(lines.size(), 6);
        for (const QString& line : lines) {
            EXPECT_TRUE(line.startsWith(u"•  "_s)) << line.toStdString();
        }
    }
}

TEST_F(AboutWindowTest, TheButtonsOpenTheirPages)
{
    m_about.openAbout();
    click("websiteButton");
    click("feedbackButton");
    EXPECT_EQ(m_workspace.opened, (QList<QUrl>{QUrl(kWebsiteURL), QUrl(kFeedbackURL)}));
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
        EXPECT_EQ(accessibleName(*control), element.kind == ElementKind::Icon ? u"Tavlo"_s : element.text);
        const auto expected = element.kind == ElementKind::Icon     ? QAccessible::Graphic
                              : element.kind == ElementKind::Button ? QAccessible::PushButton
                                                                    : QAccessible::StaticText;
        EXPECT_EQ(accessibleRole(*control), expected) << element.name.toStdString();
    }
}
