// One download of the model as the user starts it: by the button of the offer window.
//   bench_model_download URL AUTHORITY.pem DATA-FOLDER SMALLEST-SIZE
// Prints one JSON object: seconds from the click to the installed file, how far the memory grew meanwhile (bytes), and
// for how long the main thread was held by one event at most (milliseconds; on the clock, and of processor time).

#include "engines/model/model_downloader.h"
#include "linux/qt/qt_queues.h"
#include "linux/x11/x11_display.h"
#include "linux/x11/x11_screens.h"
#include "platform/text_literals.h"
#include "settings/app_log.h"
#include "settings/locations.h"
#include "ui/windows/offer_window.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPushButton>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>

using namespace tavlo;

namespace {

double seconds(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Notes how long the handling of one event holds the main thread. Other threads' events come by here as well.
class TimedApplication : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override
    {
        if (QThread::currentThread() != thread() || m_depth > 0) {  // or part of an event that is being timed
            return QApplication::notify(receiver, event);
        }
        ++m_depth;
        const double clock = seconds(CLOCK_MONOTONIC);
        const double processor = seconds(CLOCK_THREAD_CPUTIME_ID);
        const int type = event->type();
        const bool isHandled = QApplication::notify(receiver, event);
        longestProcessor = std::max(longestProcessor, seconds(CLOCK_THREAD_CPUTIME_ID) - processor);
        const double held = seconds(CLOCK_MONOTONIC) - clock;
        if (held > longestClock) {
            longestClock = held;
            longestEvent = type;
        }
        --m_depth;
        return isHandled;
    }

    double longestClock = 0;
    double longestProcessor = 0;
    int longestEvent = 0;  // the type of the event that held it longest

private:
    int m_depth = 0;
};

// A value of this process's status, in bytes: "VmRSS", "VmHWM".
qint64 memory(const QByteArray& name)
{
    QFile status(u"/proc/self/status"_s);
    if (status.open(QIODevice::ReadOnly)) {
        for (const QByteArray& line : status.readAll().split('\n')) {
            if (line.startsWith(name + ':')) {
                return line.mid(name.size() + 1).simplified().split(' ').first().toLongLong() * 1024;
            }
        }
    }
    return 0;
}

void forgetMemoryPeak()
{
    QFile control(u"/proc/self/clear_refs"_s);
    if (control.open(QIODevice::WriteOnly)) {
        control.write("5");
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 5) {
        std::fputs("usage: bench_model_download URL AUTHORITY.pem DATA-FOLDER SMALLEST-SIZE\n", stderr);
        return 2;
    }
    TimedApplication application(argc, argv);
    const QString dataFolder = QFile::decodeName(argv[3]);
    const Locations locations = Locations::inFolders(dataFolder, QCoreApplication::applicationDirPath());
    QDir().mkpath(locations.kAppSupportDir);
    FileLog log(locations.kLogURL);
    QtMainQueue queue;
    X11Display display;
    X11Screens screens(display);
    DownloadTerms terms;
    terms.minimumBytes = QByteArray(argv[4]).toLongLong();
    QFile authority(QFile::decodeName(argv[2]));
    if (!authority.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "bench_model_download: %s cannot be read\n", argv[2]);
        return 2;
    }
    terms.authorities = authority.readAll();
    ModelDownloader downloader(locations, log, queue, QString::fromLocal8Bit(argv[1]), terms);
    OfferWindow offer(downloader, screens, queue);

    bool isInstalled = false;
    double started = 0;
    double ended = 0;
    qint64 before = 0;
    offer.offerModelDownload([&](ModelOutcome outcome) {
        ended = seconds(CLOCK_MONOTONIC);
        isInstalled = outcome == ModelOutcome::Installed;
        QCoreApplication::quit();
    });
    // A user reads before he clicks: by then the window has been drawn.
    QTimer::singleShot(1000, &application, [&] {
        application.longestClock = application.longestProcessor = 0;
        forgetMemoryPeak();
        before = memory("VmRSS");
        started = seconds(CLOCK_MONOTONIC);
        offer.modelWindow()->control<QPushButton>(u"downloadButton"_s).click();
    });
    QTimer::singleShot(std::chrono::minutes(2), &application, &QCoreApplication::quit);
    QApplication::exec();
    if (!isInstalled) {
        std::fputs("bench_model_download: the download did not succeed\n", stderr);
        return 1;
    }
    const QJsonObject result{{u"seconds"_s, ended - started},
                             {u"growth"_s, memory("VmHWM") - before},
                             {u"held"_s, application.longestClock * 1e3},
                             {u"held_processor"_s, application.longestProcessor * 1e3},
                             {u"held_by_event"_s, application.longestEvent}};
    std::puts(QJsonDocument(result).toJson(QJsonDocument::Compact).constData());
    return 0;
}
