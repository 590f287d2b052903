#include "engines/cloud/cloud_client.h"

#include "http/network_thread.h"
#include "http/proxy.h"
#include "platform/text_literals.h"
#include "posix/system_error.h"
#include "posix/utf8_text.h"

#include <QObject>
#include <QTextBoundaryFinder>
#include <QUuid>

#include <algorithm>
#include <list>
#include <utility>

namespace tavlo {

namespace {

constexpr int kLongestErrorBody = 200;  // characters as the user sees them

// The first `count` grapheme clusters.
QString firstCharacters(const QString& text, int count)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (int character = 0; character < count; ++character) {
        if (finder.toNextBoundary() < 0) {
            return text;
        }
    }
    return text.left(finder.position());
}

QString withoutKey(QString text, const QString& apiKey)
{
    // A server does not see the blanks around a header's value.
    const QString key = apiKey.trimmed();
    return key.isEmpty() ? text : text.replace(key, u"***"_s);
}

bool isUsableServer(const QUrl& url)
{
    if (!url.isValid() || url.host().isEmpty() || !url.userInfo().isEmpty() || url.hasQuery() || url.hasFragment()) {
        return false;
    }
    return url.scheme() == "https"_L1 || (url.scheme() == "http"_L1 && isLoopback(url));
}

void appendField(QByteArray& body, const QByteArray& boundary, const QByteArray& name, const QString& value)
{
    body +=
        "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + value.toUtf8() + "\r\n";
}

}  // namespace

Result<QUrl> endpointURL(const Config& config)
{
    const QString path = config.isGroq() ? u"/openai/v1/audio/transcriptions"_s : u"/v1/audio/transcriptions"_s;
    const QVariant& ownServer = config.isGroq() ? config.groqBaseUrl : config.openaiBaseUrl;
    if (!ownServer.isValid()) {
        QUrl url;
        url.setScheme(u"https"_s);
        url.setHost(config.isGroq() ? u"api.groq.com"_s : u"api.openai.com"_s);
        url.setPath(path);
        return url;
    }
    QUrl url;
    if (ownServer.typeId() == QMetaType::QString) {
        url = QUrl(ownServer.toString(), QUrl::StrictMode);
    }
    if (!isUsableServer(url)) {
        return failure(kNoCode, u"Ongeldig API-adres in de instellingen."_s);
    }
    QString prefix = url.path(QUrl::FullyEncoded);
    while (prefix.endsWith(QLatin1Char('/'))) {
        prefix.chop(1);
    }
    url.setPath(prefix + path, QUrl::TolerantMode);
    return url;
}

Result<QByteArray> authorizationValue(const Config& config)
{
    const bool hasControl = std::any_of(config.apiKey.begin(), config.apiKey.end(),
                                        [](QChar c) { return c.category() == QChar::Other_Control; });
    if (hasControl) {
        return failure(kNoCode, u"De API-sleutel bevat ongeldige tekens."_s);
    }
    return "Bearer " + config.apiKey.toUtf8();
}

QByteArray makeBoundary()
{
    return "Tavlo-" + QUuid::createUuid().toByteArray(QUuid::WithoutBraces).toUpper();
}

QByteArray multipartBody(const QByteArray& wav, const Config& config, const QByteArray& boundary)
{
    QByteArray fields;
    appendField(fields, boundary, "model", config.cloudModel());
    appendField(fields, boundary, "language", config.language);
    appendField(fields, boundary, "response_format", u"text"_s);
    if (!config.vocabulary.isEmpty()) {
        appendField(fields, boundary, "prompt", config.vocabulary);
    }
    fields += "--" + boundary +
              "\r\nContent-Disposition: form-data; name=\"file\"; filename=\"audio.wav\"\r\n"
              "Content-Type: audio/wav\r\n\r\n";
    const QByteArray ending = "\r\n--" + boundary + "--\r\n";

    QByteArray body;
    body.reserve(fields.size() + wav.size() + ending.size());  // The recording is copied once.
    body += fields;
    body += wav;
    body += ending;
    return body;
}

TranscriptionResult transcriptionAnswer(int status, const QByteArray& body, const Config& config)
{
    const QString text = utf8Text(body);
    if (status == 200) {
        return text.trimmed();
    }
    // Masked before it is cut, so that no first half of a key is left.
    return failure(status, config.providerName() + QLatin1Char(' ') + QString::number(status) + u": "_s +
                               firstCharacters(withoutKey(text, config.apiKey), kLongestErrorBody));
}

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
