#include "engines/model/model_downloader.h"

#include "engines/model/model_files.h"
#include "http/network_thread.h"
#include "platform/text_literals.h"
#include "posix/file_access.h"
#include "posix/system_error.h"
#include "settings/app_log.h"

#include <QByteArray>
#include <QTimer>
#include <QUrl>

#include <fcntl.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>
#include <limits>
#include <optional>
#include <utility>

namespace tavlo {

namespace {

// On a fast line the file grows by pieces of this size, so that the reports do not flood the main thread; on a slow
// one it grows as the data comes.
constexpr qsizetype kPieceBytes = qsizetype{1024} * 1024;
constexpr std::chrono::milliseconds kLongestHeldBack{20};
constexpr int kMostRedirects = 10;

bool isRedirect(int status)
{
    constexpr std::array kStatuses{301, 302, 303, 307, 308};
    return std::find(kStatuses.begin(), kStatuses.end(), status) != kStatuses.end();
}

}  // namespace

// One transfer of the model, from the first request to the installed file. Made anywhere, then used on the network
// thread only, on which it also reports. It touches nothing else of the program: a thread that the disk holds up may
// outlast the rest.
class ModelTransfer : public std::enable_shared_from_this<ModelTransfer> {
public:
    struct Reports {
        std::function<void(const QString& line)> log;
        // Total written, total expected (below 1 while unknown), for every piece that was written.
        std::function<void(qint64 written, qint64 expected)> progress;
        std::function<void(Result<void>)> done;  // exactly once, last
    };

    ModelTransfer(ModelFiles files, DownloadTerms terms, std::shared_ptr<NetworkThread::Link> thread, Reports reports);

    void start(const QUrl& url);
    void cancel();

private:
    void request(const QUrl& url);
    void readHead(const HttpHead& head);
    // The address to go on to; none when the answer is no redirect, or one that is not followed.
    std::optional<QUrl> redirectTarget(const HttpHead& head) const;
    void createFile();
    void readBody(QByteArrayView bytes);
    // Empties the buffer into the file; false when that failed, which has then ended the transfer.
    bool write();
    void answered(const Result<int>& status);
    void install();
    // For failures of the transfer itself, which the log tells.
    void fail(const Error& error);
    void end(Result<void> result);

    const ModelFiles m_files;
    const DownloadTerms m_terms;
    const std::shared_ptr<NetworkThread::Link> m_thread;
    const Reports m_reports;

    std::unique_ptr<TransferClock> m_clock;
    QUrl m_url;
    HttpExchange* m_exchange = nullptr;  // none once the transfer has ended; deletes itself
    Descriptor m_file;
    QByteArray m_buffer;                 // not written yet
    std::unique_ptr<QTimer> m_heldBack;  // runs while the buffer waits for more
    qint64 m_written = 0;
    qint64 m_expected = -1;
    int m_redirects = 0;
};

ModelTransfer::ModelTransfer(ModelFiles files, DownloadTerms terms, std::shared_ptr<NetworkThread::Link> thread,
                             Reports reports)
    : m_files(std::move(files)), m_terms(std::move(terms)), m_thread(std::move(thread)), m_reports(std::move(reports))
{
}

void ModelTransfer::start(const QUrl& url)
{
    m_files.removeLeftovers();
    m_clock = std::make_unique<TransferClock>(m_terms.limits, [this] { fail(timeoutError()); });
    m_heldBack = std::make_unique<QTimer>();
    m_heldBack->setSingleShot(true);
    m_heldBack->setInterval(kLongestHeldBack);
    QObject::connect(m_heldBack.get(), &QTimer::timeout, m_heldBack.get(), [this] { write(); });
    m_buffer.reserve(kPieceBytes + kPieceBytes / 4);
    request(url);
}

void ModelTransfer::cancel()
{
    if (m_exchange) {
        fail(cancellationError());
    }
}

void ModelTransfer::request(const QUrl& url)
{
    m_url = url;
    HttpRequest request;
    request.method = "GET";
    request.url = url;
    request.authorities = m_terms.authorities;
    request.largestAnswer = std::numeric_limits<qint64>::max();
    m_exchange = new HttpExchange(
        std::move(request), *m_clock,
        {[this](const HttpHead& head) { readHead(head); }, [this](QByteArrayView bytes) { readBody(bytes); },
         [this](const Result<int>& status) { answered(status); }});
}

void ModelTransfer::readHead(const HttpHead& head)
{
    if (head.status == 200) {
        m_expected = head.length;
        createFile();
    } else if (const std::optional<QUrl> target = redirectTarget(head)) {
        ++m_redirects;
        m_exchange->drop();
        request(*target);
    } else {
        end(failure(head.status, u"Download gaf status "_s + QString::number(head.status) + QLatin1Char('.')));
    }
}

std::optional<QUrl> ModelTransfer::redirectTarget(const HttpHead& head) const
{
    if (!isRedirect(head.status) || head.location.isEmpty() || m_redirects == kMostRedirects) {
        return std::nullopt;
    }
    const QUrl target = m_url.resolved(QUrl::fromEncoded(head.location, QUrl::StrictMode));
    if (!target.isValid() || target.scheme() != "https"_L1 || target.host().isEmpty()) {
        return std::nullopt;
    }
    return target;
}

void ModelTransfer::createFile()
{
    if (const Result<void> folder = m_files.createFolder(); !folder) {
        end(tl::unexpected<Error>(folder.error()));
        return;
    }
    if (const Result<void> room = m_files.checkRoom(m_expected); !room) {
        fail(room.error());
        return;
    }
    m_file = openFile(m_files.temporaryPath(), O_WRONLY | O_CREAT | O_EXCL);
    if (!m_file.isOpen()) {
        fail(systemError(errno));
    }
}

void ModelTransfer::readBody(QByteArrayView bytes)
{
    m_buffer += bytes;
    if (m_buffer.size() >= kPieceBytes) {
        write();
    } else if (!m_heldBack->isActive()) {
        m_heldBack->start();
    }
}

bool ModelTransfer::write()
{
    m_heldBack->stop();
    if (m_buffer.isEmpty()) {
        return true;
    }
    if (!writeAll(m_file, m_buffer)) {
        fail(systemError(errno));
        return false;
    }
    m_written += m_buffer.size();
    m_buffer.resize(0);  // Keeps its memory.
    m_reports.progress(m_written, m_expected);
    return true;
}

void ModelTransfer::answered(const Result<int>& status)
{
    if (!status) {
        fail(status.error());
    } else if (*status == 0) {
        fail(invalidAnswerError());
    } else if (write()) {
        install();
    }
}

void ModelTransfer::install()
{
    if (!m_file.close()) {  // Some disks tell only now.
        fail(systemError(errno));
        return;
    }
    const Result<qint64> installed = m_files.install();
    if (!installed) {
        end(tl::unexpected<Error>(installed.error()));
        return;
    }
    m_reports.log(u"Model-download klaar: "_s + QString::number(*installed) + u" bytes"_s);
    end({});
}

void ModelTransfer::fail(const Error& error)
{
    m_reports.log(u"Model-download mislukt: "_s + error.description);
    end(tl::unexpected<Error>(error));
}

void ModelTransfer::end(Result<void> result)
{
    m_clock->stop();
    m_heldBack->stop();
    std::exchange(m_exchange, nullptr)->drop();
    static_cast<void>(m_file.close());
    m_files.removeLeftovers();
    // A timer cannot go from within its own signal.
    m_thread->post([self = shared_from_this(), result = std::move(result)] {
        self->m_clock.reset();
        self->m_heldBack.reset();
        self->m_reports.done(result);
    });
}

ModelDownloader::ModelDownloader(Locations locations, AppLog& log, MainQueue& queue, QString remoteURL,
                                 DownloadTerms terms)
    : m_locations(std::move(locations)),
      m_log(log),
      m_queue(queue),
      m_remoteURL(std::move(remoteURL)),
      m_terms(std::move(terms))
{
}

ModelDownloader::~ModelDownloader()
{
    ModelDownloader::cancel();
    m_thread.reset();
}

void ModelDownloader::start()
{
    const QUrl url(m_remoteURL, QUrl::StrictMode);
    if (m_running || !url.isValid() || url.scheme() != "https"_L1 || url.host().isEmpty()) {
        return;
    }
    m_running = true;
    const std::uint64_t number = ++m_number;
    if (!m_thread) {
        m_thread = std::make_unique<NetworkThread>(u"tavlo-model"_s, NetworkThread::Share::Small);
    }
    const auto owner = m_lifetime.reference();
    const auto thread = m_thread->link();
    ModelTransfer::Reports reports;
    reports.log = [thread, &log = m_log](const QString& line) { thread->callOut([&] { log.appLog(line); }); };
    reports.progress = [this, thread, &queue = m_queue, owner, number](qint64 written, qint64 expected) {
        thread->callOut([&] {
            queue.post(owner, [this, number, written, expected] { transferProgress(number, written, expected); });
        });
    };
    reports.done = [this, thread, &queue = m_queue, owner, number](const Result<void>& result) {
        thread->callOut([&] { queue.post(owner, [this, number, result] { transferDone(number, result); }); });
    };
    m_transfer = std::make_shared<ModelTransfer>(ModelFiles(m_locations, m_terms.minimumBytes), m_terms, thread,
                                                 std::move(reports));
    m_log.appLog(u"Model-download gestart van "_s + m_remoteURL);
    m_thread->post([transfer = m_transfer, url] { transfer->start(url); });
}

void ModelDownloader::cancel()
{
    if (!m_running) {
        return;
    }
    m_running = false;
    m_thread->post([transfer = m_transfer] { transfer->cancel(); });
}

void ModelDownloader::transferProgress(std::uint64_t number, qint64 written, qint64 expected)
{
    const auto report = onProgress;  // It may replace itself.
    if (number != m_number || !report) {
        return;
    }
    const double fraction = expected < 1 ? 0 : static_cast<double>(written) / static_cast<double>(expected);
    report(fraction, written, expected);
}

void ModelDownloader::transferDone(std::uint64_t number, const Result<void>& result)
{
    if (number != m_number) {
        return;  // Its end stands in the log.
    }
    m_running = false;
    m_transfer.reset();
    m_thread.reset();
    if (const auto report = onDone) {
        report(result);
    }
}

}  // namespace tavlo
