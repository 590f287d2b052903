#include "engines/model/model_downloader.h"

#include "engines/model/model_files.h"
#include "http/http_exchange.h"
#include "http/network_thread.h"
#include "platform/text_literals.h"
#include "posix/system_error.h"
#include "support/fakes/manual_main_queue.h"
#include "support/fakes/memory_log.h"
#include "support/held_thread.h"
#include "support/server_process.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QTemporaryDir>

#include <curl/curl.h>
#include <sys/resource.h>
#include <algorithm>
#include <atomic>
#include <csignal>
#include <optional>
#include <thread>

namespace tavlo {
namespace {

using namespace std::chrono_literals;

constexpr qint64 kSmallModel = 3'000'000;

QJsonObject body(const char* kind, qint64 size, const QJsonObject& more = {})
{
    QJsonObject object = more;
    object[u"kind"_s] = QLatin1String(kind);
    object[u"size"_s] = size;
    return object;
}

QJsonObject redirectTo(const QString& location)
{
    return {{u"kind"_s, u"redirect"_s}, {u"location"_s, location}};
}

// No write of this process makes a file longer, as on a disk that is full.
class SmallDisk {
public:
    explicit SmallDisk(rlim_t bytes)
    {
        m_oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_old);
        const rlimit limit{bytes, m_old.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    ~SmallDisk()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_old);
        std::signal(SIGXFSZ, m_oldHandler);
    }

private:
    rlimit m_old{};
    void (*m_oldHandler)(int) = nullptr;
};

// Counts what is posted.
class CountingQueue : public ManualMainQueue {
public:
    void post(std::weak_ptr<void> owner, std::function<void()> task) override
    {
        ++m_count;
        ManualMainQueue::post(std::move(owner), std::move(task));
    }
    int count() const { return m_count; }

private:
    std::atomic<int> m_count = 0;
};

class ModelDownloaderTest : public testing::Test {
protected:
    ModelDownloaderTest() : m_server(u"model_server.py"_s, body("body", kSmallModel))
    {
        m_terms.minimumBytes = kSmallModel;
        m_terms.authorities = m_server.authority();
        m_url = m_server.baseUrl() + u"/whisper.cpp/resolve/main/ggml-large-v3-turbo.bin"_s;
    }

    ModelDownloader& downloader()
    {
        if (!m_downloader) {
            m_downloader.emplace(m_locations, m_log, m_queue, m_url, m_terms);
            m_downloader->onProgress = [this](double fraction, qint64 written, qint64 expected) {
                m_progress.push_back({fraction, written, expected});
            };
            m_downloader->onDone = [this](const Result<void>& result) { m_ends.push_back(result); };
        }
        return *m_downloader;
    }

    // Downloads to the end.
    Result<void> download()
    {
        const std::size_t before = m_ends.size();
        downloader().start();
        EXPECT_TRUE(downloader().isRunning());
        if (!m_queue.runUntil([&] { return m_ends.size() > before; })) {
            ADD_FAILURE() << "no end";
            return {};
        }
        EXPECT_FALSE(downloader().isRunning());
        return m_ends.back();
    }

    QStringList modelFolder() const
    {
        return QDir(m_locations.kModelsDir).entryList(QDir::NoDotAndDotDot | QDir::AllEntries);
    }

    QString started() const { return u"Model-download gestart van "_s + m_url; }
    static QString failed(const QString& description) { return u"Model-download mislukt: "_s + description; }

    struct Progress {
        double fraction;
        qint64 written;
        qint64 expected;
    };

    QTemporaryDir m_home;
    Locations m_locations = Locations::inFolders(m_home.filePath(u"data"_s), m_home.filePath(u"bin"_s));
    ServerProcess m_server;
    MemoryLog m_log;
    ManualMainQueue m_queue;
    DownloadTerms m_terms;
    QString m_url;
    std::vector<Progress> m_progress;
    std::vector<Result<void>> m_ends;
    std::optional<ModelDownloader> m_downloader;
    const QStringList m_modelAlone{u"ggml-large-v3-turbo.bin"_s};
};

TEST_F(ModelDownloaderTest, aCompleteDownloadIsInstalledAndLogged)
{
    EXPECT_TRUE(download());
    EXPECT_EQ(modelFolder(), m_modelAlone);
    const QFileInfo model(m_locations.kModelURL);
    EXPECT_EQ(model.size(), kSmallModel);
    EXPECT_EQ(model.permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
    EXPECT_EQ(m_log.lines(), (QStringList{started(), u"Model-download klaar: 3000000 bytes"_s}));
}

TEST_F(ModelDownloaderTest, progressGrowsToTheWholeAndComesBeforeTheEnd)
{
    downloader().onDone = [this](const Result<void>& result) {
        ASSERT_FALSE(m_progress.empty());
        EXPECT_EQ(m_progress.back().written, kSmallModel);
        EXPECT_EQ(m_progress.back().fraction, 1.0);
        m_ends.push_back(result);
    };
    EXPECT_TRUE(download());
    qint64 last = 0;
    for (const Progress& progress : m_progress) {
        EXPECT_GT(progress.written, last);
        EXPECT_EQ(progress.expected, kSmallModel);
        EXPECT_EQ(progress.fraction, static_cast<double>(progress.written) / kSmallModel);
        last = progress.written;
    }
}

TEST_F(ModelDownloaderTest, anUnknownLengthGivesNoFractionAndIsInstalled)
{
    m_server.setScenario(body("body", kSmallModel, {{u"length"_s, false}}));
    EXPECT_TRUE(download());
    ASSERT_FALSE(m_progress.empty());
    EXPECT_EQ(m_progress.back().written, kSmallModel);
    EXPECT_EQ(m_progress.back().fraction, 0);
    EXPECT_LT(m_progress.back().expected, 1);
}

TEST_F(ModelDownloaderTest, startWhileADownloadRunsDoesNothing)
{
    m_server.setScenario(body("hold", kSmallModel, {{u"after"_s, 1000000}}));
    downloader().start();
    EXPECT_EQ(m_server.nextLine()[u"kind"_s].toString(), u"hold"_s);
    downloader().start();
    // A new window's handlers get what comes from now on.
    int reportsToTheNewWindow = 0;
    downloader().onProgress = [&](double, qint64, qint64) { ++reportsToTheNewWindow; };
    m_server.send({{u"release"_s, true}});
    EXPECT_TRUE(m_queue.runUntil([&] { return !m_ends.empty(); }));
    EXPECT_TRUE(m_ends.front());
    EXPECT_GT(reportsToTheNewWindow, 0);
    EXPECT_TRUE(m_progress.empty());
    EXPECT_EQ(m_log.lines().count(started()), 1);
    EXPECT_EQ(m_server.nextLine()[u"sent"_s].toInt(), 1000000);
}

TEST_F(ModelDownloaderTest, anAddressThatIsNotValidStartsNothing)
{
    for (const char* address : {"", "not an address", "http://127.0.0.1/model", "ftp://host/model", "https://"}) {
        m_url = QString::fromLatin1(address);
        m_downloader.reset();
        downloader().start();
        EXPECT_FALSE(downloader().isRunning()) << address;
    }
    EXPECT_TRUE(m_log.lines().isEmpty());
}

TEST_F(ModelDownloaderTest, status404IsAFailureThatTheLogDoesNotRepeat)
{
    m_server.setScenario(QJsonObject{{u"kind"_s, u"status"_s}, {u"status"_s, 404}, {u"body"_s, u"niets"_s}});
    EXPECT_EQ(download().error(), (Error{u"Tavlo"_s, 404, u"Download gaf status 404."_s}));
    EXPECT_EQ(modelFolder(), QStringList());
    EXPECT_EQ(m_log.lines(), QStringList(started()));
}

TEST_F(ModelDownloaderTest, everyStatusBut200IsAFailure)
{
    for (const int status : {206, 304, 400, 401, 403, 500, 503}) {
        m_server.setScenario(QJsonObject{{u"kind"_s, u"status"_s}, {u"status"_s, status}});
        EXPECT_EQ(download().error().code, status);
        EXPECT_EQ(modelFolder(), QStringList());
    }
}

TEST_F(ModelDownloaderTest, aTooSmallDownloadIsRejectedAndLeavesNothing)
{
    m_server.setScenario(body("body", kSmallModel - 1));
    EXPECT_EQ(download().error(), (Error{u"Tavlo"_s, 4, u"Download onvolledig (2999999 bytes)."_s}));
    EXPECT_EQ(modelFolder(), QStringList());
    EXPECT_EQ(m_log.lines(), QStringList(started()));
}

TEST_F(ModelDownloaderTest, aRedirectToHttpsIsFollowed)
{
    m_server.setScenario(QJsonArray{redirectTo(u"/relative"_s),
                                    redirectTo(u"https://localhost:%1/cdn?token=a%2Fb"_s.arg(m_server.port())),
                                    body("body", kSmallModel)});
    EXPECT_TRUE(download());
    EXPECT_EQ(modelFolder(), m_modelAlone);
    m_server.nextLine();
    EXPECT_EQ(m_server.nextLine()[u"request"_s].toString(), u"/relative"_s);
    EXPECT_EQ(m_server.nextLine()[u"request"_s].toString(), u"/cdn?token=a%2Fb"_s);
}

TEST_F(ModelDownloaderTest, aRedirectToHttpIsNotFollowed)
{
    ServerProcess plain(u"model_server.py"_s, body("body", kSmallModel), {u"--plain"_s});
    for (const QString& location : {plain.baseUrl() + u"/model"_s, u"file:///etc/passwd"_s, u"https://"_s, QString()}) {
        m_server.setScenario(redirectTo(location));
        EXPECT_EQ(download().error(), (Error{u"Tavlo"_s, 302, u"Download gaf status 302."_s}))
            << location.toStdString();
    }
    EXPECT_EQ(modelFolder(), QStringList());
}

TEST_F(ModelDownloaderTest, redirectsInACircleEnd)
{
    m_server.setScenario(redirectTo(u"/again"_s));
    EXPECT_EQ(download().error().code, 302);
}

TEST_F(ModelDownloaderTest, aConnectionThatBreaksInTheMiddleIsThePlatformsFailureAndLeavesNothing)
{
    for (const char* kind : {"reset", "truncated"}) {
        m_server.setScenario(body(kind, kSmallModel, {{u"after"_s, 2000000}}));
        const Error error = download().error();
        EXPECT_EQ(error.domain, kNetworkErrorDomain) << kind;
        EXPECT_EQ(m_log.lines().last(), failed(error.description));
        EXPECT_EQ(modelFolder(), QStringList());
    }
}

TEST_F(ModelDownloaderTest, aStallEndsAtTheIdleLimit)
{
    m_terms.limits = {300ms, 30s};
    m_server.setScenario(body("stall", kSmallModel, {{u"after"_s, 2000000}}));
    const Error error = download().error();
    EXPECT_EQ(error, timeoutError());
    EXPECT_EQ(m_log.lines().last(), failed(error.description));
    EXPECT_EQ(modelFolder(), QStringList());
}

TEST_F(ModelDownloaderTest, aSlowDownloadEndsAtTheLimitOfTheWhole)
{
    m_terms.limits = {30s, 500ms};
    m_server.setScenario(body("body", kSmallModel, {{u"rate"_s, 1000000}}));
    EXPECT_EQ(download().error(), timeoutError());
    EXPECT_EQ(modelFolder(), QStringList());
}

TEST_F(ModelDownloaderTest, anAnswerThatIsNotHttpIsThePlatformsFailure)
{
    m_server.setScenario(QJsonObject{{u"kind"_s, u"nonsense"_s}, {u"text"_s, u"220 mail\r\n"_s}});
    EXPECT_EQ(download().error(), invalidAnswerError());
}

TEST_F(ModelDownloaderTest, aCertificateThatNobodyKnowsIsThePlatformsFailure)
{
    m_terms.authorities.clear();
    EXPECT_EQ(download().error().code, CURLE_PEER_FAILED_VERIFICATION);
    EXPECT_EQ(modelFolder(), QStringList());
}

TEST_F(ModelDownloaderTest, aCertificateForAnotherHostIsThePlatformsFailure)
{
    ServerProcess other(u"model_server.py"_s, body("body", kSmallModel), {u"--name"_s, u"other.example"_s});
    m_url = other.baseUrl() + u"/model"_s;
    m_terms.authorities = other.authority();
    EXPECT_EQ(download().error().code, CURLE_PEER_FAILED_VERIFICATION);
}

TEST_F(ModelDownloaderTest, aDiskWithoutRoomForTheAnnouncedSizeIsFoundBeforeTheTransfer)
{
    m_server.setScenario(body("stall", 4'000'000'000'000'000'000, {{u"after"_s, 0}}));
    const Error error = download().error();
    EXPECT_EQ(error, (Error{u"Tavlo"_s, kNoCode,
                            u"Te weinig schijfruimte voor het model (4000000000000000000 bytes nodig)."_s}));
    EXPECT_TRUE(m_progress.empty());
    EXPECT_EQ(m_log.lines().last(), failed(error.description));
    EXPECT_EQ(modelFolder(), QStringList());
}

TEST_F(ModelDownloaderTest, aDiskThatRunsFullIsThePlatformsFailureAndLeavesNothing)
{
    const SmallDisk disk(1'500'000);
    const Error error = download().error();
    EXPECT_EQ(error, systemError(EFBIG));
    EXPECT_EQ(m_log.lines().last(), failed(error.description));
    EXPECT_EQ(modelFolder(), QStringList());
}

TEST_F(ModelDownloaderTest, aFolderThatCannotBeMadeIsThePlatformsFailure)
{
    QDir().mkpath(m_locations.kAppSupportDir);
    QFile inTheWay(m_locations.kModelsDir);
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
    EXPECT_EQ(download().error().domain, kSystemErrorDomain);
}

TEST_F(ModelDownloaderTest, leftoversOfADownloadThatWasKilledGoAtTheNextStart)
{
    QDir().mkpath(m_locations.kModelsDir);
    const ModelFiles files(m_locations);
    for (const QString& path : {files.temporaryPath(), files.stagingPath()}) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    m_server.setScenario(QJsonObject{{u"kind"_s, u"status"_s}, {u"status"_s, 500}});
    EXPECT_FALSE(download());
    EXPECT_EQ(modelFolder(), QStringList());
}

TEST_F(ModelDownloaderTest, whatCameBeforeAPauseIsOnTheDiskAndReported)
{
    constexpr qint64 kBeforeThePause = 2'345'678;
    m_server.setScenario(body("stall", kSmallModel, {{u"after"_s, kBeforeThePause}}));
    downloader().start();
    EXPECT_TRUE(m_queue.runUntil([&] { return !m_progress.empty() && m_progress.back().written == kBeforeThePause; }));
    EXPECT_EQ(QFileInfo(ModelFiles(m_locations).temporaryPath()).size(), kBeforeThePause);
    downloader().cancel();
    EXPECT_TRUE(m_queue.runUntil([&] { return !m_ends.empty(); }));
}

TEST_F(ModelDownloaderTest, aDownloadLeavesTheProcessorToTheInterface)
{
    m_server.setScenario(body("stall", kSmallModel, {{u"after"_s, 2000000}}));
    const int before = getpriority(PRIO_PROCESS, 0);
    const int least = 19;
    downloader().start();
    EXPECT_TRUE(m_queue.runUntil([&] { return !m_progress.empty(); }));
    EXPECT_EQ(getpriority(PRIO_PROCESS, static_cast<id_t>(HeldThread::taskOf("tavlo-model"))),
              std::min(before + 10, least));
    EXPECT_EQ(getpriority(PRIO_PROCESS, 0), before) << "the thread's own share alone";
}

TEST(DownloadTerms, aDownloadMayTakeAMinuteWithoutAByteAndAnHourInAll)
{
    const DownloadTerms terms;
    EXPECT_EQ(terms.limits.idle, std::chrono::seconds(60));
    EXPECT_EQ(terms.limits.whole, std::chrono::seconds(3600));
}

TEST_F(ModelDownloaderTest, aCancelledDownloadReportsTheCancellationLaterAndLeavesNothing)
{
    m_server.setScenario(body("stall", kSmallModel, {{u"after"_s, 2000000}}));
    downloader().start();
    EXPECT_TRUE(m_queue.runUntil([&] { return !m_progress.empty(); }));
    EXPECT_EQ(modelFolder(), QStringList(u"ggml-large-v3-turbo.part.download"_s));
    downloader().cancel();
    EXPECT_FALSE(downloader().isRunning());
    EXPECT_TRUE(m_ends.empty());
    EXPECT_TRUE(m_queue.runUntil([&] { return !m_ends.empty(); }));
    EXPECT_EQ(m_ends.front().error(), cancellationError());
    EXPECT_EQ(m_log.lines().last(), failed(m_ends.front().error().description));
    EXPECT_EQ(modelFolder(), QStringList());
}

TEST_F(ModelDownloaderTest, cancelWithoutADownloadDoesNothing)
{
    downloader().cancel();
    m_queue.runPending();
    EXPECT_TRUE(m_ends.empty());
    EXPECT_TRUE(m_log.lines().isEmpty());
}

TEST_F(ModelDownloaderTest, aDownloadThatIsNoLongerTheCurrentOneIsOnlyLogged)
{
    m_server.setScenario(QJsonArray{body("stall", kSmallModel, {{u"after"_s, 2000000}}), body("body", kSmallModel)});
    downloader().start();
    EXPECT_TRUE(m_queue.runUntil([&] { return !m_progress.empty(); }));
    downloader().cancel();
    downloader().start();
    EXPECT_TRUE(downloader().isRunning());
    EXPECT_TRUE(m_queue.runUntil([&] { return !m_ends.empty(); }));
    m_queue.runPending();
    ASSERT_EQ(m_ends.size(), 1U);
    EXPECT_TRUE(m_ends.front());
    EXPECT_EQ(modelFolder(), m_modelAlone);
    EXPECT_EQ(m_log.lines().filter(u"mislukt"_s).size(), 1);
}

TEST_F(ModelDownloaderTest, aFailedDownloadCanBeStartedAgainFromItsOwnReport)
{
    m_server.setScenario(
        QJsonArray{body("truncated", kSmallModel, {{u"after"_s, 2000000}}), body("body", kSmallModel)});
    downloader().onDone = [this](const Result<void>& result) {
        EXPECT_FALSE(result);
        downloader().onDone = [this](const Result<void>& second) { m_ends.push_back(second); };
        downloader().start();
    };
    EXPECT_TRUE(download());
    EXPECT_EQ(modelFolder(), m_modelAlone);
}

TEST_F(ModelDownloaderTest, aDownloadWithoutHandlersInstallsTheModel)
{
    downloader().onProgress = nullptr;
    downloader().onDone = nullptr;
    downloader().start();
    EXPECT_TRUE(m_queue.runUntil([&] { return !downloader().isRunning(); }));
    EXPECT_EQ(modelFolder(), m_modelAlone);
}

TEST_F(ModelDownloaderTest, destructionEndsADownloadWithoutReportAndLeavesNothing)
{
    m_server.setScenario(body("stall", kSmallModel, {{u"after"_s, 2000000}}));
    downloader().start();
    EXPECT_TRUE(m_queue.runUntil([&] { return !m_progress.empty(); }));
    m_downloader.reset();
    m_queue.runPending();
    EXPECT_TRUE(m_ends.empty());
    EXPECT_EQ(modelFolder(), QStringList());
}

// The end of the program does not wait for a disk that does not answer. What the transfer reports to is then gone.
TEST_F(ModelDownloaderTest, aTransferThatIsHeldUpAtTheDestructionReportsToNobodyAndCleansUpWhenItGoesOn)
{
    m_server.setScenario(body("stall", kSmallModel, {{u"after"_s, 2000000}}));
    CountingQueue queue;
    bool progressed = false;
    std::optional<ModelDownloader> downloader(std::in_place, m_locations, m_log, queue, m_url, m_terms);
    downloader->onProgress = [&](double, qint64, qint64) { progressed = true; };
    downloader->start();
    ASSERT_TRUE(queue.runUntil([&] { return progressed; }));
    HeldThread thread("tavlo-model");

    const auto before = std::chrono::steady_clock::now();
    downloader.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 10s);
    EXPECT_TRUE(NetworkThread::isAnyLeftBehind());
    const int posted = queue.count();
    EXPECT_EQ(m_log.lines(), QStringList(started()));
    EXPECT_EQ(modelFolder(), QStringList(u"ggml-large-v3-turbo.part.download"_s));

    thread.letGo();
    EXPECT_EQ(queue.count(), posted);
    EXPECT_EQ(m_log.lines(), QStringList(started()));
    EXPECT_EQ(modelFolder(), QStringList());
}

}  // namespace
}  // namespace tavlo
