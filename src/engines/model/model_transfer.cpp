#include "engines/model/model_transfer.h"

#include "platform/text_literals.h"
#include "posix/system_error.h"

#include <algorithm>
#include <array>
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

Error fileError(const QFile& file)
{
    return {u"QFileDevice"_s, file.error(), file.errorString()};
}

}  // namespace

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
        openFile();
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

void ModelTransfer::openFile()
{
    if (const Result<void> folder = m_files.createFolder(); !folder) {
        end(tl::unexpected<Error>(folder.error()));
        return;
    }
    if (const Result<void> room = m_files.checkRoom(m_expected); !room) {
        fail(room.error());
        return;
    }
    m_file.setFileName(m_files.temporaryPath());
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered,
                     QFileDevice::ReadOwner | QFileDevice::WriteOwner)) {
        fail(fileError(m_file));
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
    // A disk that fills takes the first part of a piece, and says what is wrong at the rest of it.
    for (qsizetype done = 0; done < m_buffer.size();) {
        const qint64 taken = m_file.write(m_buffer.constData() + done, m_buffer.size() - done);
        if (taken <= 0) {
            fail(fileError(m_file));
            return false;
        }
        done += static_cast<qsizetype>(taken);
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
    m_file.close();
    if (m_file.error() != QFileDevice::NoError) {  // Some disks tell only now.
        fail(fileError(m_file));
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
    m_file.close();
    m_files.removeLeftovers();
    // A timer cannot go from within its own signal.
    m_thread->post([self = shared_from_this(), result = std::move(result)] {
        self->m_clock.reset();
        self->m_heldBack.reset();
        self->m_reports.done(result);
    });
}

}  // namespace tavlo
