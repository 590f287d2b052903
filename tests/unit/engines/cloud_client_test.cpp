#include "engines/cloud/cloud_client.h"

#include "audio/speech_converter.h"
#include "http/http_exchange.h"
#include "platform/text_literals.h"
#include "posix/system_error.h"
#include "support/held_thread.h"
#include "support/server_process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QJsonArray>

#include <curl/curl.h>

#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <thread>

namespace tavlo {
namespace {

using namespace std::chrono_literals;

QByteArray wavOf(const QByteArray& samples)
{
    QByteArray image = QByteArray(kWavHeaderSize, '\0') + samples;
    writeWavHeader(image);
    return image;
}

QJsonObject scenario(const char* kind, const QJsonObject& more = {})
{
    QJsonObject object = more;
    object[u"kind"_s] = QLatin1String(kind);
    return object;
}

QJsonObject statusScenario(int status, const QString& body, const QJsonObject& headers = {})
{
    return scenario("status", {{u"status"_s, status}, {u"body"_s, body}, {u"headers"_s, headers}});
}

QJsonObject textScenario(const char* kind, const QString& text, const QJsonObject& more = {})
{
    QJsonObject object = more;
    object[u"text"_s] = text;
    return scenario(kind, object);
}

class CloudClientTest : public testing::Test {
protected:
    void serve(const QJsonValue& scenarios)
    {
        if (!m_server) {
            m_server = std::make_unique<ServerProcess>(u"provider.py"_s, scenarios);
        } else {
            m_server->setScenario(scenarios);
        }
        m_config.openaiBaseUrl = m_server->baseUrl();
        m_config.groqBaseUrl = m_server->baseUrl();
        m_config.apiKey = u"sk-sleutel"_s;
    }

    static std::future<TranscriptionResult> send(CloudClient& client, const QByteArray& wav, const Config& config)
    {
        auto promise = std::make_shared<std::promise<TranscriptionResult>>();
        client.transcribeCloud(wav, config, [promise](TranscriptionResult result) {
            promise->set_value(std::move(result));  // Throws when it comes twice.
        });
        return promise->get_future();
    }

    static TranscriptionResult wait(std::future<TranscriptionResult>& future)
    {
        if (future.wait_for(30s) != std::future_status::ready) {
            ADD_FAILURE() << "no completion";
            return QString();
        }
        return future.get();
    }

    TranscriptionResult transcribe(TransferLimits limits = kCloudLimits, const QByteArray& authorities = {})
    {
        CloudClient client(limits, authorities);
        auto future = send(client, m_wav, m_config);
        return wait(future);
    }

    QJsonObject record() { return m_server->nextLine(); }

    std::unique_ptr<ServerProcess> m_server;
    Config m_config;
    QByteArray m_wav = wavOf(QByteArray(32000, '\1'));
};

TEST_F(CloudClientTest, sendsTheRequestByteForByte)
{
    const QJsonObject expect{{u"provider"_s, u"openai"_s},
                             {u"key"_s, u"sk-sleutel"_s},
                             {u"model"_s, u"gpt-4o-transcribe"_s},
                             {u"language"_s, u"nl"_s},
                             {u"prompt"_s, u"Zoë, Grafana"_s}};
    serve(textScenario("text", u"  Hallo.\n"_s, {{u"expect"_s, expect}}));
    m_config.vocabulary = u"Zoë, Grafana"_s;
    EXPECT_EQ(transcribe().value(), u"Hallo."_s);
    const QJsonObject seen = record();
    EXPECT_TRUE(seen[u"valid"_s].toBool()) << seen[u"complaint"_s].toString().toStdString();
    EXPECT_EQ(seen[u"wav_bytes"_s].toInt(), 32044);
}

TEST_F(CloudClientTest, sendsGroqItsPathAndModelAndNoPromptWithoutVocabulary)
{
    const QJsonObject expect{
        {u"provider"_s, u"groq"_s}, {u"model"_s, u"whisper-large-v3-turbo"_s}, {u"prompt"_s, QJsonValue::Null}};
    serve(textScenario("text", u"Dag."_s, {{u"expect"_s, expect}}));
    m_config.provider = u"groq"_s;
    EXPECT_EQ(transcribe().value(), u"Dag."_s);
    const QJsonObject seen = record();
    EXPECT_TRUE(seen[u"valid"_s].toBool()) << seen[u"complaint"_s].toString().toStdString();
}

TEST_F(CloudClientTest, sendsALongRecordingWhole)
{
    serve(textScenario("text", u"lang"_s));
    m_wav = wavOf(QByteArray(20'000'000, '\2'));
    EXPECT_EQ(transcribe().value(), u"lang"_s);
    EXPECT_TRUE(record()[u"valid"_s].toBool());
}

TEST_F(CloudClientTest, completesOnAThreadOfItsOwn)
{
    serve(textScenario("text", u"x"_s));
    std::promise<std::thread::id> thread;
    CloudClient client;
    client.warmUp();
    client.transcribeCloud(m_wav, m_config,
                           [&](const TranscriptionResult&) { thread.set_value(std::this_thread::get_id()); });
    EXPECT_NE(thread.get_future().get(), std::this_thread::get_id());
}

TEST_F(CloudClientTest, opensNoConnectionToWarmUp)
{
    serve(textScenario("text", u"x"_s));
    CloudClient client;
    client.warmUp();
    auto future = send(client, m_wav, m_config);
    EXPECT_TRUE(wait(future));
    EXPECT_EQ(record()[u"connection"_s].toInt(), 1);
}

TEST_F(CloudClientTest, twoRequestsAtOnceAreAnsweredEachWithABoundaryOfItsOwn)
{
    serve(textScenario("text", u"x"_s));
    CloudClient client;
    auto first = send(client, m_wav, m_config);
    auto second = send(client, m_wav, m_config);
    EXPECT_TRUE(wait(first));
    EXPECT_TRUE(wait(second));
    const QString boundary = u"boundary"_s;
    EXPECT_NE(record()[boundary].toString(), record()[boundary].toString());
}

TEST_F(CloudClientTest, anAnswerOfStatus500With300CharactersIsCut)
{
    serve(statusScenario(500, QString(300, QLatin1Char('e'))));
    EXPECT_EQ(transcribe().error(), (Error{u"Tavlo"_s, 500, u"OpenAI 500: "_s + QString(200, QLatin1Char('e'))}));
}

TEST_F(CloudClientTest, anAnswerOfStatus401TellsItsBody)
{
    for (const char* challenge :
         {"", "Bearer realm=\"x\"", "Basic realm=\"x\"", "Digest realm=\"x\", nonce=\"y\"", "Negotiate", "NTLM"}) {
        QJsonObject headers;
        if (*challenge) {
            headers[u"WWW-Authenticate"_s] = QLatin1String(challenge);
        }
        serve(statusScenario(401, u"bad key sk-sleutel"_s, headers));
        EXPECT_EQ(transcribe().error(), (Error{u"Tavlo"_s, 401, u"OpenAI 401: bad key ***"_s})) << challenge;
    }
}

TEST_F(CloudClientTest, everyOtherStatusIsAFailureWithIt)
{
    for (const int status :
         {201, 204, 302, 304, 400, 403, 404, 407, 408, 409, 413, 418, 429, 499, 502, 503, 504, 529}) {
        serve(statusScenario(status, status == 204 || status == 304 ? QString() : u"body"_s));
        const TranscriptionResult result = transcribe();
        ASSERT_FALSE(result) << status;
        EXPECT_EQ(result.error().domain, u"Tavlo"_s) << status;
        EXPECT_EQ(result.error().code, status) << result.error().description.toStdString();
        EXPECT_EQ(result.error().description,
                  u"OpenAI %1: "_s.arg(status) + (status == 204 || status == 304 ? QString() : u"body"_s));
    }
}

TEST_F(CloudClientTest, aRedirectIsNotFollowed)
{
    for (const int status : {301, 302, 303, 307, 308}) {
        ServerProcess other(u"provider.py"_s, textScenario("text", u"gestolen"_s));
        for (const QString& location : {other.baseUrl() + u"/v1/audio/transcriptions"_s, QString()}) {
            QJsonObject more{{u"status"_s, status}};
            if (!location.isEmpty()) {
                more[u"location"_s] = location;
            }
            serve(scenario("redirect", more));
            EXPECT_EQ(transcribe().error(), (Error{u"Tavlo"_s, status, u"OpenAI %1: "_s.arg(status)}));
        }
    }
}

TEST_F(CloudClientTest, anAnswerThatIsNotHttpIsStatus0)
{
    serve(textScenario("nonsense", u"SSH-2.0-OpenSSH\r\n\r\n"_s));
    EXPECT_EQ(transcribe().error(), (Error{u"Tavlo"_s, 0, u"OpenAI 0: "_s}));
}

TEST_F(CloudClientTest, aRefusedConnectionIsThePlatformsFailure)
{
    serve(textScenario("text", u"x"_s));
    m_server.reset();
    const TranscriptionResult result = transcribe();
    EXPECT_EQ(result.error().domain, kNetworkErrorDomain);
    EXPECT_EQ(result.error().code, CURLE_COULDNT_CONNECT);
    EXPECT_FALSE(result.error().description.isEmpty());
}

TEST_F(CloudClientTest, aServerThatStallsEndsAtTheIdleLimit)
{
    for (const char* at : {"accept", "request", "body"}) {
        serve(textScenario("stall", u"halve tekst"_s, {{u"at"_s, QLatin1String(at)}}));
        const TranscriptionResult result = transcribe({200ms, 20s});
        ASSERT_FALSE(result) << at;
        EXPECT_EQ(result.error(), (Error{kSystemErrorDomain, ETIMEDOUT, u"Connection timed out"_s}));
    }
}

TEST_F(CloudClientTest, aSlowAnswerThatKeepsMovingIsWaitedFor)
{
    serve(textScenario("drip", u"langzaam aan"_s, {{u"interval"_s, 0.05}}));
    EXPECT_EQ(transcribe({10s, 30s}).value(), u"langzaam aan"_s);
}

TEST_F(CloudClientTest, aSlowUploadThatKeepsMovingIsWaitedFor)
{
    // Longer than the idle limit in all, although the answer comes only after the whole of it.
    serve(textScenario("text", u"traag"_s, {{u"read_rate"_s, 8'000'000}}));
    m_wav = wavOf(QByteArray(24'000'000, '\3'));
    EXPECT_EQ(transcribe({2s, 60s}).value(), u"traag"_s);
    EXPECT_TRUE(record()[u"valid"_s].toBool());
}

TEST_F(CloudClientTest, aSlowAnswerEndsAtTheLimitOfTheWholeTransfer)
{
    serve(textScenario("drip", QString(1000, QLatin1Char('x')), {{u"interval"_s, 0.02}}));
    EXPECT_EQ(transcribe({10s, 400ms}).error(), timeoutError());
}

TEST_F(CloudClientTest, anAnswerWithoutEndIsCutOff)
{
    serve(scenario("endless"));
    EXPECT_EQ(transcribe().error().code, CURLE_FILESIZE_EXCEEDED);
}

TEST_F(CloudClientTest, anUnusableAddressOrKeySendsNothingAndFailsLater)
{
    serve(textScenario("text", u"x"_s));
    Config config = m_config;
    config.openaiBaseUrl = u"http://provider.example"_s;
    CloudClient client;
    auto future = send(client, m_wav, config);
    EXPECT_EQ(wait(future).error().description, u"Ongeldig API-adres in de instellingen."_s);
    config = m_config;
    config.apiKey = u"sk\r\nX-Injected: 1"_s;
    future = send(client, m_wav, config);
    EXPECT_EQ(wait(future).error().description, u"De API-sleutel bevat ongeldige tekens."_s);
    future = send(client, m_wav, m_config);
    EXPECT_TRUE(wait(future));
    EXPECT_EQ(record()[u"connection"_s].toInt(), 1);
}

TEST_F(CloudClientTest, destructionCancelsWhatRunsWithoutDelay)
{
    serve(scenario("stall"));
    std::future<TranscriptionResult> future;
    {
        CloudClient client;
        future = send(client, m_wav, m_config);
        record();
    }
    ASSERT_EQ(future.wait_for(0s), std::future_status::ready);
    EXPECT_EQ(future.get().error(), cancellationError());
}

// Whoever waits for the completion is gone when the thread goes on.
TEST_F(CloudClientTest, aRequestThatIsHeldUpAtTheDestructionIsNotCompleted)
{
    serve(scenario("stall"));
    std::atomic<bool> completed = false;
    std::optional<CloudClient> client(std::in_place);
    client->transcribeCloud(m_wav, m_config, [&completed](const TranscriptionResult&) { completed = true; });
    record();
    HeldThread thread("tavlo-http");
    const auto before = std::chrono::steady_clock::now();
    client.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 10s);
    thread.letGo();
    EXPECT_FALSE(completed);
}

TEST_F(CloudClientTest, aProxyCarriesWhatGoesToOthersAndNothingThatGoesToThisMachine)
{
    serve(statusScenario(403, QString()));
    for (const char* name : {"http_proxy", "https_proxy"}) {
        qputenv(name, m_server->baseUrl().toUtf8());
    }
    m_config.openaiBaseUrl = u"https://api.invalid"_s;
    EXPECT_FALSE(transcribe());
    const QJsonObject asked = record();
    EXPECT_EQ(asked[u"method"_s].toString(), u"CONNECT"_s);
    EXPECT_EQ(asked[u"path"_s].toString(), u"api.invalid:443"_s);

    for (const char* name : {"http_proxy", "https_proxy"}) {
        qputenv(name, "http://127.0.0.1:1");
    }
    serve(textScenario("text", u"x"_s));
    EXPECT_EQ(transcribe().value(), u"x"_s);
    for (const char* name : {"http_proxy", "https_proxy"}) {
        qunsetenv(name);
    }
}

TEST_F(CloudClientTest, aCertificateThatNobodyKnowsIsThePlatformsFailure)
{
    ServerProcess stranger(u"model_server.py"_s, QJsonObject{{u"kind"_s, u"status"_s}, {u"status"_s, 500}});
    m_config.openaiBaseUrl = stranger.baseUrl();
    EXPECT_EQ(transcribe().error().code, CURLE_PEER_FAILED_VERIFICATION);
    EXPECT_EQ(transcribe(kCloudLimits, stranger.authority()).error().code, 500);
}

}  // namespace
}  // namespace tavlo
