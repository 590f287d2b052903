#include "engines/cloud/cloud_session.h"

#include "engines/cloud/cloud_request.h"
#include "http/http_exchange.h"
#include "posix/system_error.h"

#include <QObject>

#include <utility>

namespace tavlo {

namespace {

// A transcript is a few kilobytes. A server that never stops sending must not fill the memory.
constexpr qint64 kLargestAnswer = qint64{16} * 1024 * 1024;

}  // namespace

// An object of Qt's, so that it can go after the signal in which it ends has been handled.
struct CloudSession::Upload : public QObject {
    Upload(TransferLimits limits, Config settings, std::function<void(TranscriptionResult)> callback)
        : config(std::move(settings)),
          completion(std::move(callback)),
          clock(limits, [this] { exchange->fail(timeoutError()); })
    {
    }

    const Config config;
    const std::function<void(TranscriptionResult)> completion;
    TransferClock clock;
    HttpExchange* exchange = nullptr;  // deletes itself at the end
    QByteArray answer;
};

CloudSession::CloudSession(TransferLimits limits, QByteArray authorities)
    : m_limits(limits), m_authorities(std::move(authorities))
{
}

CloudSession::~CloudSession() = default;

void CloudSession::prepare()
{
    HttpExchange::prepare();
}

void CloudSession::send(const QByteArray& wav, const Config& config,
                        std::function<void(TranscriptionResult)> completion)
{
    const Result<QUrl> url = endpointURL(config);
    if (!url) {
        completion(tl::unexpected<Error>(url.error()));
        return;
    }
    const Result<QByteArray> authorization = authorizationValue(config);
    if (!authorization) {
        completion(tl::unexpected<Error>(authorization.error()));
        return;
    }
    const QByteArray boundary = makeBoundary();
    HttpRequest request;
    request.method = "POST";
    request.url = *url;
    request.headers = {{"Authorization", *authorization},
                       {"Content-Type", "multipart/form-data; boundary=" + boundary}};
    request.body = multipartBody(wav, config, boundary);
    request.authorities = m_authorities;
    request.largestAnswer = kLargestAnswer;

    auto* upload = new Upload(m_limits, config, std::move(completion));
    m_uploads.push_back(upload);
    upload->exchange =
        new HttpExchange(std::move(request), upload->clock,
                         {[](const HttpHead&) {}, [upload](QByteArrayView bytes) { upload->answer += bytes; },
                          [this, upload](const Result<int>& status) { finish(*upload, status); }});
}

void CloudSession::finish(Upload& upload, const Result<int>& status)
{
    m_uploads.remove(&upload);
    upload.clock.stop();
    upload.deleteLater();
    if (status) {
        upload.completion(transcriptionAnswer(*status, upload.answer, upload.config));
    } else {
        upload.completion(tl::unexpected<Error>(status.error()));
    }
}

void CloudSession::close()
{
    while (!m_uploads.empty()) {
        m_uploads.front()->exchange->fail(cancellationError());
    }
}

}  // namespace tavlo
