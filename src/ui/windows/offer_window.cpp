#include "ui/windows/offer_window.h"

#include "engines/engines.h"
#include "platform/screens.h"
#include "platform/text_literals.h"
#include "settings/language.h"
#include "ui/windows/window_controls.h"

#include <QLocale>
#include <QProgressBar>
#include <QPushButton>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace tavlo {

namespace {

constexpr int kProgressSteps = 1000;
constexpr std::chrono::milliseconds kProgressPause{100};

const QString kProgress = u"progress"_s;
const QString kStatus = u"status"_s;
const QString kDeclineButton = u"declineButton"_s;
const QString kDownloadButton = u"downloadButton"_s;

void showStatus(WindowFrame& window, const QString& text)
{
    window.control<FittedLabel>(kStatus).showText(text);
}

WindowElement statusElement()
{
    const WindowDescription layout = offerWindowLayout();
    return *std::ranges::find(layout.elements, kStatus, &WindowElement::name);
}

void showFailure(WindowFrame& window, const QString& text)
{
    WindowElement element = statusElement();
    element.colour = ColourRole::SystemRed;
    window.redescribe(element);
    showStatus(window, text);
    const bool asItIs =
        window.control<FittedLabel>(kStatus).style().font == windowFont(element.pixelSize, element.weight);
    if (!asItIs) {
        window.redescribe(offerFailureElement());
    }
}

}  // namespace

QString byteCountText(qint64 bytes, const QLocale& locale)
{
    struct Unit {
        double size;
        int digits;
        QString name;
    };
    const Unit units[] = {{1e3, 0, u" kB"_s}, {1e6, 1, u" MB"_s}, {1e9, 2, u" GB"_s}};
    const Unit* unit = units;
    double amount = 0;
    for (const Unit& candidate : units) {
        const double scale = std::pow(10, candidate.digits);
        unit = &candidate;
        amount = std::round(static_cast<double>(bytes) / candidate.size * scale) / scale;
        // Judged after rounding: 999,960,000 bytes are 1,00 GB, not 1000,0 MB.
        if (amount < 1000) {
            break;
        }
    }
    return locale.toString(amount, 'f', unit->digits) + unit->name;
}

QString downloadProgressText(double fraction, qint64 written, qint64 expected, const QLocale& locale)
{
    const QString total = expected < 1 ? u"± 1,6 GB"_s : byteCountText(expected, locale);
    return byteCountText(written, locale) + u" / "_s + total + u"  ("_s +
           QString::number(static_cast<int>(fraction * 100)) + u"%)"_s;
}

QString downloadFailureText(const QString& description)
{
    return t(u"Download mislukt: "_s, u"Download failed: "_s) + description;
}

WindowDescription offerWindowLayout()
{
    WindowDescription window{u"Offline model"_s, {460, 250}, {}};
    auto& elements = window.elements;
    elements.push_back(
        {.name = u"icon"_s, .kind = ElementKind::Icon, .frame = {24, 160, 56, 56}, .accessibleName = u"Tavlo"_s});
    elements.push_back({.name = u"title"_s,
                        .frame = {96, 194, 340, 22},
                        .text = t(u"Gratis offline dicteren"_s, u"Free offline dictation"_s),
                        .pixelSize = 15,
                        .weight = FontWeight::Bold});
    elements.push_back(
        {.name = u"body"_s,
         .kind = ElementKind::WrappingLabel,
         .frame = {96, 122, 342, 64},
         .text = t(u"Zonder API-sleutel gebruikt Tavlo een taalmodel dat volledig op je eigen Mac draait — gratis "
                   "en privé. Dit model (± 1,6 GB) wordt eenmalig gedownload; daarna werkt dicteren offline."_s,
                   u"Without an API key, Tavlo uses a language model that runs entirely on your own Mac — free and "
                   "private. This model (~1.6 GB) is downloaded once; after that, dictation works offline."_s),
         .pixelSize = 12,
         .colour = ColourRole::SecondaryLabel});
    elements.push_back({.name = kProgress,
                        .kind = ElementKind::ProgressBar,
                        .frame = {24, 86, 412, 16},
                        .visibility = Visibility::Hidden,
                        .accessibleName = t(u"Voortgang"_s, u"Progress"_s)});
    elements.push_back(
        {.name = kStatus, .frame = {24, 62, 412, 16}, .pixelSize = 11, .colour = ColourRole::SecondaryLabel});
    elements.push_back({.name = kDeclineButton,
                        .kind = ElementKind::Button,
                        .frame = {202, 18, 112, 30},
                        .text = t(u"Niet nu"_s, u"Not now"_s)});
    elements.push_back({.name = kDownloadButton,
                        .kind = ElementKind::DefaultButton,
                        .frame = {322, 18, 116, 30},
                        .text = u"Download"_s});
    return window;
}

WindowElement offerFailureElement()
{
    return {.name = kStatus,
            .kind = ElementKind::WrappingLabel,
            .frame = {24, 62, 412, 40},
            .pixelSize = 11,
            .colour = ColourRole::SystemRed};
}

void OfferWindow::DestroyLater::operator()(WindowFrame* window) const
{
    window->hide();
    window->deleteLater();
}

OfferWindow::OfferWindow(ModelDownload& download, Screens& screens, MainQueue& queue)
    : m_download(download), m_screens(screens), m_queue(queue)
{
}

OfferWindow::~OfferWindow() = default;

void OfferWindow::offerModelDownload(std::function<void(ModelOutcome)> completion)
{
    // The offer before this one is dropped; its completion is never called.
    m_modelWindow.reset();
    m_modelTargets.clear();
    forgetProgress();
    m_completion = std::move(completion);

    m_modelWindow.reset(new WindowFrame(offerWindowLayout()));
    m_modelWindow->control<QProgressBar>(kProgress).setRange(0, kProgressSteps);
    bind(kDownloadButton, &OfferWindow::startDownload);
    bind(kDeclineButton, &OfferWindow::decline);
    m_modelWindow->onEscape = [this] { decline(); };
    m_modelWindow->bringToFront(m_screens.mainVisibleFrame());
}

void OfferWindow::bind(const QString& button, void (OfferWindow::*action)())
{
    m_modelTargets.push_back(std::make_unique<ClosureTarget>([this, action] { (this->*action)(); }));
    m_modelTargets.back()->bind(&m_modelWindow->control<QPushButton>(button));
}

void OfferWindow::startDownload()
{
    m_modelWindow->retitle(kDeclineButton, t(u"Annuleren"_s, u"Cancel"_s));
    m_modelWindow->control<QPushButton>(kDownloadButton).hide();
    m_modelWindow->control<QProgressBar>(kProgress).setVisible(true);
    m_modelWindow->redescribe(statusElement());
    showStatus(*m_modelWindow, t(u"Downloaden…"_s, u"Downloading…"_s));
    forgetProgress();
    m_progressShown = ProgressShown::Yes;
    m_download.onProgress = [this, owner = m_lifetime.reference()](double fraction, qint64 written, qint64 expected) {
        if (!owner.expired()) {
            reported({fraction, written, expected});
        }
    };
    m_download.onDone = [this, owner = m_lifetime.reference()](const Result<void>& result) {
        if (!owner.expired()) {
            downloadEnded(result);
        }
    };
    // A download that is running already continues, and from now on reports to this window.
    m_download.start();
}

void OfferWindow::decline()
{
    if (m_download.isRunning()) {
        m_download.cancel();
    }
    end(ModelOutcome::Declined);
}

void OfferWindow::reported(const Progress& progress)
{
    if (m_progressShown == ProgressShown::No) {
        return;
    }
    m_latest = progress;
    if (!m_isPausing) {
        showLatestProgress();
    }
}

void OfferWindow::showLatestProgress()
{
    m_isPausing = m_latest.has_value();
    if (const auto latest = std::exchange(m_latest, std::nullopt)) {
        m_modelWindow->control<QProgressBar>(kProgress).setValue(
            static_cast<int>(std::lround(latest->fraction * kProgressSteps)));
        showStatus(*m_modelWindow,
                   downloadProgressText(latest->fraction, latest->written, latest->expected, QLocale::system()));
        m_queue.postAfter(kProgressPause, m_pause.reference(), [this] { showLatestProgress(); });
    }
}

void OfferWindow::forgetProgress()
{
    m_progressShown = ProgressShown::No;
    m_latest.reset();
    m_isPausing = false;
    m_pause.renew();
}

void OfferWindow::downloadEnded(const Result<void>& result)
{
    if (!m_modelWindow) {
        return;  // declined; the downloader has logged how the download ended
    }
    if (result) {
        // Also when an earlier window started the download: the model is there now.
        showStatus(*m_modelWindow, t(u"Klaar"_s, u"Done"_s));
        end(ModelOutcome::Installed);
        return;
    }
    if (m_progressShown == ProgressShown::No) {
        return;  // an earlier window started this download
    }
    forgetProgress();
    m_modelWindow->control<QProgressBar>(kProgress).hide();
    showFailure(*m_modelWindow, downloadFailureText(result.error().description));
    m_modelWindow->retitle(kDownloadButton, t(u"Opnieuw"_s, u"Retry"_s));
    m_modelWindow->control<QPushButton>(kDownloadButton).show();
}

void OfferWindow::end(ModelOutcome outcome)
{
    if (!m_modelWindow) {
        return;
    }
    m_modelWindow.reset();
    m_modelTargets.clear();
    forgetProgress();
    const auto completion = std::exchange(m_completion, nullptr);
    if (completion) {
        completion(outcome);
    }
}

}  // namespace tavlo
