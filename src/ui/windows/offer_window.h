#pragma once

#include "engines/engines.h"
#include "platform/queues.h"
#include "platform/result.h"
#include "ui/window_description.h"
#include "ui/windows/window_controls.h"
#include "ui/windows/window_frame.h"

#include <QLocale>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace tavlo {

class ModelDownload;
class Screens;

// An amount of data as the user reads it, in decimal units: whole kB, MB with one digit, GB with two.
QString byteCountText(qint64 bytes, const QLocale& locale);

// "312,5 MB / 1,62 GB  (19%)". An expected amount below 1 is unknown and takes the model's usual size. The percentage
// is cut, so that only a complete download shows 100.
QString downloadProgressText(double fraction, qint64 written, qint64 expected, const QLocale& locale);

// The failure of a download in the interface language; the description stays as it is.
QString downloadFailureText(const QString& description);

// The window that offers the offline model, as it stands before the download, in the interface language.
WindowDescription offerWindowLayout();

// The status label while it says at length why a download failed: it takes the place of the progress bar as well,
// which is hidden then.
WindowElement offerFailureElement();

// The window that offers the offline model, shows its download and tells how it ended. There is one offer at a time: a
// new one replaces the one before. Main thread.
class OfferWindow : public ModelOffer {
public:
    // All outlive this object.
    OfferWindow(ModelDownload& download, Screens& screens, MainQueue& queue);
    ~OfferWindow() override;

    void offerModelDownload(std::function<void(ModelOutcome)> completion) override;

    // The window of the offer that is still open; none when there is no offer.
    WindowFrame* modelWindow() { return m_modelWindow.get(); }

private:
    // Whether the download reports to the offer that is open: from the press of its button to a failure.
    enum class ProgressShown { No, Yes };
    struct Progress {
        double fraction;
        qint64 written;
        qint64 expected;
    };
    // A click on one of its own buttons may close a window, so it is destroyed after the click has been handled.
    struct DestroyLater {
        void operator()(WindowFrame* window) const;
    };

    void startDownload();
    void decline();
    // Shows the first report at once, and then the latest one ten times a second: a fast download reports far more
    // often.
    void reported(const Progress& progress);
    void showLatestProgress();
    void forgetProgress();
    void downloadEnded(const Result<void>& result);
    void end(ModelOutcome outcome);
    void bind(const QString& button, void (OfferWindow::*action)());

    ModelDownload& m_download;
    Screens& m_screens;
    MainQueue& m_queue;
    std::unique_ptr<WindowFrame, DestroyLater> m_modelWindow;
    std::vector<std::unique_ptr<ClosureTarget>> m_modelTargets;
    std::function<void(ModelOutcome)> m_completion;  // of the offer that is open
    ProgressShown m_progressShown = ProgressShown::No;
    std::optional<Progress> m_latest;  // not shown yet
    bool m_isPausing = false;          // a report was shown less than a tenth of a second ago
    Lifetime m_pause;
    Lifetime m_lifetime;
};

}  // namespace tavlo
