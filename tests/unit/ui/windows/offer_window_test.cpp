#include "ui/windows/offer_window.h"
#include "platform/text_literals.h"

#include "support/fakes/fake_model_download.h"
#include "support/fakes/fake_screens.h"
#include "support/fakes/manual_main_queue.h"
#include "window_test_support.h"

#include <QProgressBar>
#include <QPushButton>

#include <optional>

using namespace tavlo;
using namespace tavlo::test;

namespace {

class OfferWindowTest : public testing::Test {
protected:
    ~OfferWindowTest() override { destroyWhatWaits(); }

    void openOffer()
    {
        m_offer.offerModelDownload([this](ModelOutcome outcome) { m_outcomes.push_back(outcome); });
    }

    WindowFrame& window() { return *m_offer.modelWindow(); }
    QPushButton& downloadButton() { return window().control<QPushButton>(u"downloadButton"_s); }
    QPushButton& declineButton() { return window().control<QPushButton>(u"declineButton"_s); }
    QProgressBar& bar() { return window().control<QProgressBar>(u"progress"_s); }
    QString status() { return labelText(window(), "status"); }
    ColourRole statusColour() { return window().control<FittedLabel>(u"status"_s).colourRole(); }

    FakeModelDownload m_download;
    FakeScreens m_screens;
    ManualMainQueue m_queue;
    OfferWindow m_offer{m_download, m_screens, m_queue};
    std::vector<ModelOutcome> m_outcomes;
};

const std::vector<ModelOutcome> kInstalled{ModelOutcome::Installed};
const std::vector<ModelOutcome> kDeclined{ModelOutcome::Declined};

}  // namespace

TEST_F(OfferWindowTest, TheLayoutIsTheAgreedTable)
{
    const WindowDescription layout = offerWindowLayout();
    EXPECT_EQ(layout.title, u"Offline model"_s);
    EXPECT_EQ(layout.size, QSize(460, 250));
    const std::vector<WindowElement> elements{
        {.name = u"icon"_s, .kind = ElementKind::Icon, .frame = {24, 160, 56, 56}},
        {.name = u"title"_s,
         .kind = ElementKind::Label,
         .frame = {96, 194, 340, 22},
         .pixelSize = 15,
         .weight = FontWeight::Bold},
        {.name = u"body"_s,
         .kind = ElementKind::WrappingLabel,
         .frame = {96, 122, 342, 64},
         .pixelSize = 12,
         .colour = ColourRole::SecondaryLabel},
        {.name = u"progress"_s,
         .kind = ElementKind::ProgressBar,
         .frame = {24, 86, 412, 16},
         .visibility = Visibility::Hidden},
        {.name = u"status"_s,
         .kind = ElementKind::Label,
         .frame = {24, 62, 412, 16},
         .pixelSize = 11,
         .colour = ColourRole::SecondaryLabel},
        {.name = u"declineButton"_s, .kind = ElementKind::Button, .frame = {202, 18, 112, 30}},
        {.name = u"downloadButton"_s, .kind = ElementKind::DefaultButton, .frame = {322, 18, 116, 30}},
    };
    expectElements(layout, elements);
}

TEST_F(OfferWindowTest, TheTextsFollowTheInterfaceLanguage)
{
    openOffer();
    EXPECT_EQ(labelText(window(), "title"), u"Gratis offline dicteren"_s);
    EXPECT_EQ(labelText(window(), "body"),
              u"Zonder API-sleutel gebruikt Tavlo een taalmodel dat volledig op je eigen Mac draait — "
              "gratis en privé. Dit model (± 1,6 GB) wordt eenmalig gedownload; daarna werkt dicteren "
              "offline."_s);
    EXPECT_EQ(declineButton().text(), u"Niet nu"_s);
    EXPECT_EQ(downloadButton().text(), u"Download"_s);

    const LanguageScope english(u"en"_s);
    openOffer();
    EXPECT_EQ(labelText(window(), "title"), u"Free offline dictation"_s);
    EXPECT_EQ(labelText(window(), "body"),
              u"Without an API key, Tavlo uses a language model that runs entirely on your own Mac — "
              "free and private. This model (~1.6 GB) is downloaded once; after that, dictation works "
              "offline."_s);
    EXPECT_EQ(declineButton().text(), u"Not now"_s);
    EXPECT_EQ(downloadButton().text(), u"Download"_s);
}

TEST_F(OfferWindowTest, TheOfferShowsNoProgressBeforeTheDownload)
{
    openOffer();
    EXPECT_TRUE(window().isVisible());
    EXPECT_FALSE(bar().isVisible());
    EXPECT_EQ(status(), QString());
    EXPECT_EQ(m_download.started, 0);
    EXPECT_EQ(window().geometry().center(), m_screens.frame->center());
}

TEST_F(OfferWindowTest, TheDownloadButtonStartsTheDownloadAndShowsIt)
{
    openOffer();
    downloadButton().click();
    EXPECT_EQ(m_download.started, 1);
    EXPECT_FALSE(downloadButton().isVisible());
    EXPECT_EQ(declineButton().text(), u"Annuleren"_s);
    EXPECT_TRUE(bar().isVisible());
    EXPECT_EQ(status(), u"Downloaden…"_s);
    EXPECT_EQ(statusColour(), ColourRole::SecondaryLabel);
}

TEST_F(OfferWindowTest, ReturnStartsTheDownload)
{
    openOffer();
    press(window(), Qt::Key_Return);
    EXPECT_EQ(m_download.started, 1);
}

TEST_F(OfferWindowTest, ReturnDoesNothingWhileTheDownloadRuns)
{
    openOffer();
    press(window(), Qt::Key_Return);
    press(window(), Qt::Key_Return);
    EXPECT_EQ(m_download.started, 1);
    EXPECT_TRUE(m_outcomes.empty());
    EXPECT_EQ(m_download.cancelled, 0);
}

TEST_F(OfferWindowTest, ReturnOnTheDeclineButtonStillStartsTheDownload)
{
    openOffer();
    press(declineButton(), Qt::Key_Return);
    EXPECT_EQ(m_download.started, 1);
    EXPECT_TRUE(m_outcomes.empty());
}

TEST_F(OfferWindowTest, EscapeDeclines)
{
    openOffer();
    press(window(), Qt::Key_Escape);
    EXPECT_EQ(m_outcomes, kDeclined);
    EXPECT_EQ(visibleWindows(), 0);
}

TEST_F(OfferWindowTest, AFastLinesReportsAreShownTenTimesASecondAndTheLastOneAlways)
{
    openOffer();
    downloadButton().click();
    const auto shown = [this] { return bar().value(); };
    m_download.progress(0.1, 1, 10);
    EXPECT_EQ(shown(), 100);
    m_download.progress(0.2, 2, 10);
    m_download.progress(0.3, 3, 10);
    EXPECT_EQ(shown(), 100);
    m_queue.advance(std::chrono::milliseconds(99));
    EXPECT_EQ(shown(), 100);
    m_queue.advance(std::chrono::milliseconds(1));
    EXPECT_EQ(shown(), 300);
    EXPECT_TRUE(status().endsWith(u"(30%)"_s));
    // After a pause the next report is shown at once.
    m_queue.advance(std::chrono::milliseconds(100));
    m_download.progress(0.4, 4, 10);
    EXPECT_EQ(shown(), 400);
}

TEST_F(OfferWindowTest, AReportThatWaitsIsForgottenWhenTheDownloadFails)
{
    openOffer();
    downloadButton().click();
    m_download.progress(0.1, 1, 10);
    m_download.progress(0.2, 2, 10);
    m_download.finish(tl::unexpected<Error>(Error{u"test"_s, 1, u"kapot"_s}));
    m_queue.advance(std::chrono::seconds(1));
    EXPECT_EQ(status(), u"Download mislukt: kapot"_s);
    downloadButton().click();
    m_queue.advance(std::chrono::seconds(1));
    EXPECT_EQ(status(), u"Downloaden…"_s);
    m_download.progress(0.5, 5, 10);
    EXPECT_EQ(bar().value(), 500);
}

TEST_F(OfferWindowTest, ProgressMovesTheBarAndNamesTheAmounts)
{
    openOffer();
    downloadButton().click();
    m_download.progress(0.25, 400'000'000, 1'600'000'000);
    EXPECT_EQ(bar().value(), bar().maximum() / 4);
    EXPECT_EQ(bar().minimum(), 0);
    const QLocale locale = QLocale::system();
    EXPECT_EQ(status(), locale.toString(400.0, 'f', 1) + u" MB / "_s + locale.toString(1.6, 'f', 2) + u" GB  (25%)"_s);
}

TEST_F(OfferWindowTest, AnUnknownExpectedSizeShowsTheWrittenAmountAndTheUsualSize)
{
    openOffer();
    downloadButton().click();
    m_download.progress(0, 12'000, -1);
    EXPECT_EQ(status(), u"12 kB / ± 1,6 GB  (0%)"_s);
    EXPECT_EQ(bar().value(), 0);
    EXPECT_GT(bar().maximum(), bar().minimum());  // determinate, not a moving stripe
}

TEST_F(OfferWindowTest, SuccessClosesTheWindowAndReportsInstalled)
{
    openOffer();
    downloadButton().click();
    m_download.finish({});
    EXPECT_EQ(m_outcomes, kInstalled);
    EXPECT_EQ(m_offer.modelWindow(), nullptr);
    EXPECT_EQ(visibleWindows(), 0);
}

TEST_F(OfferWindowTest, AFailureOffersARetry)
{
    openOffer();
    downloadButton().click();
    m_download.finish(failure(404, u"Download gaf status 404."_s));
    EXPECT_EQ(status(), u"Download mislukt: Download gaf status 404."_s);
    EXPECT_EQ(statusColour(), ColourRole::SystemRed);
    EXPECT_FALSE(bar().isVisible());
    EXPECT_TRUE(downloadButton().isVisible());
    EXPECT_EQ(downloadButton().text(), u"Opnieuw"_s);
    EXPECT_EQ(declineButton().text(), u"Annuleren"_s);
    EXPECT_TRUE(window().isVisible());
    EXPECT_TRUE(m_outcomes.empty());

    press(window(), Qt::Key_Return);
    EXPECT_EQ(m_download.started, 2);
    EXPECT_EQ(status(), u"Downloaden…"_s);
    EXPECT_EQ(statusColour(), ColourRole::SecondaryLabel);
    m_download.finish({});
    EXPECT_EQ(m_outcomes, kInstalled);
}

TEST_F(OfferWindowTest, ALongFailureUsesTheProgressBarsPlaceAndARetryGivesItBack)
{
    openOffer();
    downloadButton().click();
    m_download.finish(failure(7, u"Te weinig schijfruimte voor het model (1624555275 bytes nodig). "_s +
                                     u"Maak ruimte vrij en probeer het daarna opnieuw."_s));
    auto& label = window().control<FittedLabel>(u"status"_s);
    EXPECT_TRUE(fits(label.request(), label.style()));
    EXPECT_EQ(label.size(), QSize(412, 40));
    downloadButton().click();
    EXPECT_EQ(label.size(), QSize(412, 16));
}

TEST_F(OfferWindowTest, DecliningTheOfferReportsDeclinedOnce)
{
    openOffer();
    declineButton().click();
    EXPECT_EQ(m_outcomes, kDeclined);
    EXPECT_EQ(m_download.cancelled, 0);
    EXPECT_EQ(m_offer.modelWindow(), nullptr);
    EXPECT_EQ(visibleWindows(), 0);
}

TEST_F(OfferWindowTest, CancellingARunningDownloadCancelsItAndIgnoresItsLateFailure)
{
    openOffer();
    downloadButton().click();
    declineButton().click();
    EXPECT_EQ(m_download.cancelled, 1);
    EXPECT_EQ(m_outcomes, kDeclined);
    m_download.finish(failure(5, u"Operation canceled"_s));
    EXPECT_EQ(m_outcomes, kDeclined);
}

TEST_F(OfferWindowTest, TheTitleBarsCloseBoxNeitherReportsNorCancels)
{
    openOffer();
    downloadButton().click();
    window().close();
    EXPECT_FALSE(window().isVisible());
    EXPECT_TRUE(m_outcomes.empty());
    EXPECT_EQ(m_download.cancelled, 0);
    EXPECT_TRUE(m_download.isRunning());
}

TEST_F(OfferWindowTest, ASuccessAfterTheWindowWasClosedStillEndsTheOffer)
{
    openOffer();
    downloadButton().click();
    window().close();
    m_download.progress(0.5, 1, 2);
    m_download.finish({});
    EXPECT_EQ(m_outcomes, kInstalled);
    EXPECT_EQ(m_offer.modelWindow(), nullptr);
}

TEST_F(OfferWindowTest, ANewOfferReplacesTheOneBeforeItWhoseCompletionIsNeverCalled)
{
    std::optional<ModelOutcome> first;
    m_offer.offerModelDownload([&first](ModelOutcome outcome) { first = outcome; });
    const QPointer<QPushButton> firstDecline(&declineButton());
    openOffer();
    EXPECT_EQ(visibleWindows(), 1);
    ASSERT_TRUE(firstDecline);  // not destroyed yet, but without a target
    firstDecline->click();
    EXPECT_FALSE(first);
    EXPECT_TRUE(m_outcomes.empty());
    declineButton().click();
    EXPECT_EQ(m_outcomes, kDeclined);
    EXPECT_FALSE(first);
}

TEST_F(OfferWindowTest, ANewOffersDownloadButtonTakesOverTheRunningDownload)
{
    m_offer.offerModelDownload([](ModelOutcome) { FAIL() << "The first offer was replaced."; });
    downloadButton().click();
    openOffer();
    EXPECT_EQ(status(), QString());
    downloadButton().click();
    EXPECT_EQ(m_download.started, 1);
    m_download.progress(0.5, 12'000, -1);
    EXPECT_EQ(status(), u"12 kB / ± 1,6 GB  (0%)"_s.replace(u"(0%)"_s, u"(50%)"_s));
    m_download.finish({});
    EXPECT_EQ(m_outcomes, kInstalled);
}

TEST_F(OfferWindowTest, ADownloadThatWasNotTakenOverShowsNothingInTheNewOffer)
{
    m_offer.offerModelDownload([](ModelOutcome) { FAIL() << "The first offer was replaced."; });
    downloadButton().click();
    openOffer();
    m_download.progress(0.5, 12'000, -1);
    EXPECT_EQ(status(), QString());
    m_download.finish(failure(1, u"mis"_s));
    EXPECT_EQ(status(), QString());
    EXPECT_EQ(downloadButton().text(), u"Download"_s);
    EXPECT_TRUE(m_outcomes.empty());
}

TEST_F(OfferWindowTest, ADownloadThatWasNotTakenOverEndsTheNewOfferWhenItSucceeds)
{
    m_offer.offerModelDownload([](ModelOutcome) { FAIL() << "The first offer was replaced."; });
    downloadButton().click();
    openOffer();
    m_download.finish({});
    EXPECT_EQ(m_outcomes, kInstalled);
    EXPECT_EQ(visibleWindows(), 0);
}

TEST_F(OfferWindowTest, TheCompletionMayOpenTheNextOffer)
{
    m_offer.offerModelDownload([this](ModelOutcome) { openOffer(); });
    declineButton().click();
    ASSERT_NE(m_offer.modelWindow(), nullptr);
    EXPECT_TRUE(window().isVisible());
    declineButton().click();
    EXPECT_EQ(m_outcomes, kDeclined);
}

TEST_F(OfferWindowTest, CallbacksAfterTheOffersOwnerIsGoneDoNothing)
{
    auto offer = std::make_unique<OfferWindow>(m_download, m_screens, m_queue);
    offer->offerModelDownload([](ModelOutcome) { FAIL() << "Nobody is there to hear it."; });
    offer->modelWindow()->control<QPushButton>(u"downloadButton"_s).click();
    offer.reset();
    m_download.progress(0.5, 1, 2);
    m_download.finish({});
    EXPECT_EQ(visibleWindows(), 0);
}

TEST_F(OfferWindowTest, EveryControlHasItsNameAndRole)
{
    openOffer();
    downloadButton().click();
    EXPECT_EQ(accessibleRole(bar()), QAccessible::ProgressBar);
    EXPECT_EQ(accessibleName(bar()), u"Voortgang"_s);
    EXPECT_EQ(accessibleRole(declineButton()), QAccessible::PushButton);
    EXPECT_EQ(accessibleName(declineButton()), u"Annuleren"_s);
    EXPECT_EQ(accessibleName(downloadButton()), u"Download"_s);
    EXPECT_EQ(accessibleName(*window().widget(u"status"_s)), u"Downloaden…"_s);
    EXPECT_EQ(accessibleRole(*window().widget(u"icon"_s)), QAccessible::Graphic);

    const LanguageScope english(u"en"_s);
    openOffer();
    EXPECT_EQ(accessibleName(bar()), u"Progress"_s);
}

TEST_F(OfferWindowTest, TheTabKeyGoesFromLeftToRight)
{
    openOffer();
    EXPECT_EQ(declineButton().nextInFocusChain(), &downloadButton());
    EXPECT_NE(declineButton().focusPolicy() & Qt::TabFocus, 0);
    EXPECT_NE(downloadButton().focusPolicy() & Qt::TabFocus, 0);
}
