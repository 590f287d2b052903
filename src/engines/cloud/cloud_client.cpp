#include "engines/cloud/cloud_client.h"

#include "engines/cloud/cloud_request.h"
#include "http/network_thread.h"
#include "platform/text_literals.h"
#include "posix/system_error.h"

#include <QObject>

#include <list>
#include <utility>

namespace tavlo {

namespace {

// A transcript is a few kilobytes. A server that never stops sending must not fill the memory.
constexpr qint64 kLargestAnswer = qint64{16} * 1024 * 1024;

// The requests that run. Made anywhere, then used on the HTTP thread only.
class Requests {
public:
    Requests(TransferLimits limits, QByteArray authorities) : m_limits(limits), m_authorities(std::move(authorities)) {}

    // Loads what the first request needs.
    void prepare();
    void send(const QByteArray& wav, const Config& config, std::function<void(TranscriptionResult)> completion);
    // Cancels every request, whose completions are called within this call.
    void close();

private:
    struct Upload;

    void finish(Upload& upload, const Result<int>& status);

    const TransferLimits m_limits;
    const QByteArray m_authorities;
    std::list<Upload*> m_uploads;  // each deletes itself after its end
};

// An object of Qt's, so that it can go after the signal in which it ends has been handled.
struct Requests::Upload : public QObject {
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

void Requests::prepare()
{
    HttpExchange::prepare();
}

void Requests::send(const QByteArray& wav, const Config& config, std::function<void(TranscriptionResult)> completion)
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

void Requests::finish(Upload& upload, const Result<int>& status)
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

void Requests::close()
{
    while (!m_uploads.empty()) {
        m_uploads.front()->exchange->fail(cancellationError());
    }
}

}  // namespace

class CloudClient::Session {
public:
    Session(TransferLimits limits, const QByteArray& authorities)
        : m_requests(std::make_shared<Requests>(limits, authorities)), m_thread(u"tavlo-http"_s)
    {
    }

    ~Session()
    {
        post([](Requests& requests) { requests.close(); });
    }

    void post(std::function<void(Requests&)> task)
    {
        m_thread.post([requests = m_requests, task = std::move(task)] { task(*requests); });
    }

    // Calls `completion`, on the thread, as long as whoever waits for it can be there.
    std::function<void(TranscriptionResult)> guarded(std::function<void(TranscriptionResult)> completion) const
    {
        return [thread = m_thread.link(), completion = std::move(completion)](const TranscriptionResult& result) {
            thread->callOut([&] { completion(result); });
        };
    }

private:
    std::shared_ptr<Requests> m_requests;  // shared with the tasks, in case the thread outlives this object
    NetworkThread m_thread;
};

CloudClient::CloudClient(TransferLimits limits, QByteArray authorities)
    : m_limits(limits), m_authorities(std::move(authorities))
{
}

CloudClient::~CloudClient() = default;

CloudClient::Session& CloudClient::session()
{
    if (!m_session) {
        m_session = std::make_unique<Session>(m_limits, m_authorities);
    }
    return *m_session;
}

void CloudClient::warmUp()
{
    session().post([](Requests& requests) { requests.prepare(); });
}

void CloudClient::transcribeCloud(const QByteArray& wav, const Config& config,
                                  std::function<void(TranscriptionResult)> completion)
{
    session().post([wav, config, completion = session().guarded(std::move(completion))](Requests& requests) {
        requests.send(wav, config, completion);
    });
}

}  // namespace tavlo
