#pragma once

#include "engines/engines.h"
#include "http/http_exchange.h"
#include "platform/queues.h"
#include "settings/locations.h"

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <memory>

namespace tavlo {

class AppLog;
class ModelTransfer;
class NetworkThread;

// How a download is made; a test gives its own server's authority, short limits and a small model.
struct DownloadTerms {
    TransferLimits limits{std::chrono::seconds(60), std::chrono::seconds(3600)};
    qint64 minimumBytes = kModelMinBytes;
    QByteArray authorities;  // certificates in PEM form to trust in place of the system's, if any
};

// Fetches the offline model over HTTPS and installs it; redirects are followed, to HTTPS only. The transfer runs on a
// thread of its own, which exists only as long as a download and leaves the processor to others. Main thread.
//
// A download that was cancelled ends with the cancellation as its failure. If another one has been started by then, the
// end of the older one is only logged.
class ModelDownloader : public ModelDownload {
public:
    // `log` and `queue` outlive this object. A `remoteURL` that is not a valid HTTPS address makes start() do nothing.
    ModelDownloader(Locations locations, AppLog& log, MainQueue& queue, QString remoteURL, DownloadTerms terms = {});
    // Cancels a running download, without a report, and leaves no file of it.
    ~ModelDownloader() override;

    void start() override;
    void cancel() override;
    bool isRunning() const override { return m_running; }

private:
    void transferProgress(std::uint64_t number, qint64 written, qint64 expected);
    void transferDone(std::uint64_t number, const Result<void>& result);

    const Locations m_locations;
    AppLog& m_log;
    MainQueue& m_queue;
    const QString m_remoteURL;
    const DownloadTerms m_terms;

    bool m_running = false;
    std::uint64_t m_number = 0;  // of the current download, counted from 1
    std::shared_ptr<ModelTransfer> m_transfer;
    std::unique_ptr<NetworkThread> m_thread;
    Lifetime m_lifetime;
};

}  // namespace tavlo
