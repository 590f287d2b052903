#include "ui/offer_window.h"

#include "engines/model_download.h"
#include "engines/model_offer_texts.h"
#include "platform/screens.h"
#include "settings/language.h"
#include "ui/offer_window_layout.h"
#include "ui/window_labels.h"

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

const QString kProgress = QStringLiteral("progress");
const QString kStatus = QStringLiteral("status");
const QString kDeclineButton = QStringLiteral("declineButton");
const QString kDownloadButton = QStringLiteral("downloadButton");

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
    // The offer before this one is dropped with its buttons; nobody hears of its end.
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
    m_modelWindow->retitle(kDeclineButton, t(QStringLiteral("Annuleren"), QStringLiteral("Cancel")));
    m_modelWindow->control<QPushButton>(kDownloadButton).hide();
    m_modelWindow->control<QProgressBar>(kProgress).setVisible(true);
    m_modelWindow->redescribe(statusElement());
    showStatus(*m_modelWindow, t(QStringLiteral("Downloaden…"), QStringLiteral("Downloading…")));
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
    // A download that already runs goes on and reports to this window from here.
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
        // Also when this window has not asked for the download: the model that it offers is there.
        showStatus(*m_modelWindow, t(QStringLiteral("Klaar"), QStringLiteral("Done")));
        end(ModelOutcome::Installed);
        return;
    }
    if (m_progressShown == ProgressShown::No) {
        return;  // of a download that an earlier window started
    }
    forgetProgress();
    m_modelWindow->control<QProgressBar>(kProgress).hide();
    showFailure(*m_modelWindow, downloadFailureText(result.error().description));
    m_modelWindow->retitle(kDownloadButton, t(QStringLiteral("Opnieuw"), QStringLiteral("Retry")));
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
