#pragma once

#include "engines/model/model_files.h"
#include "http/http_exchange.h"
#include "http/network_thread.h"
#include "http/transfer_clock.h"
#include "platform/result.h"

#include <QByteArray>
#include <QFile>
#include <QTimer>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

namespace tavlo {

// How a download is made; a test gives its own server's authority, short limits and a small model.
struct DownloadTerms {
    TransferLimits limits{std::chrono::seconds(60), std::chrono::seconds(3600)};
    qint64 minimumBytes = kModelMinBytes;
    QByteArray authorities;  // certificates in PEM form to trust in place of the system's, if any
};

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
    void openFile();
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
    QFile m_file;
    QByteArray m_buffer;                 // not written yet
    std::unique_ptr<QTimer> m_heldBack;  // runs while the buffer waits for more
    qint64 m_written = 0;
    qint64 m_expected = -1;
    int m_redirects = 0;
};

}  // namespace tavlo
