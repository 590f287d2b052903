#include "engines/cloud/cloud_request.h"

#include "http/proxy.h"
#include "platform/text_literals.h"
#include "posix/utf8_text.h"

#include <QTextBoundaryFinder>
#include <QUuid>

#include <algorithm>

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

}  // namespace tavlo
