#include "engines/model/model_downloader.h"

#include "platform/text_literals.h"
#include "settings/app_log.h"

#include <utility>

namespace tavlo {

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
