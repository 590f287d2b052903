#include "engines/cloud_client.h"

#include "audio/wav.h"
#include "engines/platform_errors.h"
#include "server_process.h"
#include "support/held_thread.h"

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

QJsonObject scenario(const char* kind, const QJsonObject& more = {})
{
    QJsonObject object = more;
    object[QStringLiteral("kind")] = QLatin1String(kind);
    return object;
}

QJsonObject statusScenario(int status, const QString& body, const QJsonObject& headers = {})
{
    return scenario(
        "status",
        {{QStringLiteral("status"), status}, {QStringLiteral("body"), body}, {QStringLiteral("headers"), headers}});
}

QJsonObject textScenario(const char* kind, const QString& text, const QJsonObject& more = {})
{
    QJsonObject object = more;
    object[QStringLiteral("text")] = text;
    return scenario(kind, object);
}

class CloudClientTest : public testing::Test {
protected:
    void serve(const QJsonValue& scenarios)
    {
        if (!m_server) {
            m_server = std::make_unique<ServerProcess>(QStringLiteral("provider.py"), scenarios);
        } else {
            m_server->setScenario(scenarios);
        }
        m_config.openaiBaseUrl = m_server->baseUrl();
        m_config.groqBaseUrl = m_server->baseUrl();
        m_config.apiKey = QStringLiteral("sk-sleutel");
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
    QByteArray m_wav = makeWav(QByteArray(32000, '\1'));
};

TEST_F(CloudClientTest, sendsTheRequestByteForByte)
{
    const QJsonObject expect{{QStringLiteral("provider"), QStringLiteral("openai")},
                             {QStringLiteral("key"), QStringLiteral("sk-sleutel")},
                             {QStringLiteral("model"), QStringLiteral("gpt-4o-transcribe")},
                             {QStringLiteral("language"), QStringLiteral("nl")},
                             {QStringLiteral("prompt"), QStringLiteral("Zoë, Grafana")}};
    serve(textScenario("text", QStringLiteral("  Hallo.\n"), {{QStringLiteral("expect"), expect}}));
    m_config.vocabulary = QStringLiteral("Zoë, Grafana");
    EXPECT_EQ(transcribe().value(), QStringLiteral("Hallo."));
    const QJsonObject seen = record();
    EXPECT_TRUE(seen[QStringLiteral("valid")].toBool()) << seen[QStringLiteral("complaint")].toString().toStdString();
    EXPECT_EQ(seen[QStringLiteral("wav_bytes")].toInt(), 32044);
}

TEST_F(CloudClientTest, sendsGroqItsPathAndModelAndNoPromptWithoutVocabulary)
{
    const QJsonObject expect{{QStringLiteral("provider"), QStringLiteral("groq")},
                             {QStringLiteral("model"), QStringLiteral("whisper-large-v3-turbo")},
                             {QStringLiteral("prompt"), QJsonValue::Null}};
    serve(textScenario("text", QStringLiteral("Dag."), {{QStringLiteral("expect"), expect}}));
    m_config.provider = QStringLiteral("groq");
    EXPECT_EQ(transcribe().value(), QStringLiteral("Dag."));
    const QJsonObject seen = record();
    EXPECT_TRUE(seen[QStringLiteral("valid")].toBool()) << seen[QStringLiteral("complaint")].toString().toStdString();
}

TEST_F(CloudClientTest, sendsALongRecordingWhole)
{
    serve(textScenario("text", QStringLiteral("lang")));
    m_wav = makeWav(QByteArray(20'000'000, '\2'));
    EXPECT_EQ(transcribe().value(), QStringLiteral("lang"));
    EXPECT_TRUE(record()[QStringLiteral("valid")].toBool());
}

TEST_F(CloudClientTest, completesOnAThreadOfItsOwn)
{
    serve(textScenario("text", QStringLiteral("x")));
    std::promise<std::thread::id> thread;
    CloudClient client;
    client.warmUp();
    client.transcribeCloud(m_wav, m_config,
                           [&](const TranscriptionResult&) { thread.set_value(std::this_thread::get_id()); });
    EXPECT_NE(thread.get_future().get(), std::this_thread::get_id());
}

TEST_F(CloudClientTest, opensNoConnectionToWarmUp)
{
    serve(textScenario("text", QStringLiteral("x")));
    CloudClient client;
    client.warmUp();
    auto future = send(client, m_wav, m_config);
    EXPECT_TRUE(wait(future));
    EXPECT_EQ(record()[QStringLiteral("connection")].toInt(), 1);
}

TEST_F(CloudClientTest, twoRequestsAtOnceAreAnsweredEachWithABoundaryOfItsOwn)
{
    serve(textScenario("text", QStringLiteral("x")));
    CloudClient client;
    auto first = send(client, m_wav, m_config);
    auto second = send(client, m_wav, m_config);
    EXPECT_TRUE(wait(first));
    EXPECT_TRUE(wait(second));
    const QString boundary = QStringLiteral("boundary");
    EXPECT_NE(record()[boundary].toString(), record()[boundary].toString());
}

TEST_F(CloudClientTest, anAnswerOfStatus500With300CharactersIsCut)
{
    serve(statusScenario(500, QString(300, QLatin1Char('e'))));
    EXPECT_EQ(transcribe().error(),
              (Error{QStringLiteral("Tavlo"), 500, QStringLiteral("OpenAI 500: ") + QString(200, QLatin1Char('e'))}));
}

TEST_F(CloudClientTest, anAnswerOfStatus401TellsItsBody)
{
    for (const char* challenge :
         {"", "Bearer realm=\"x\"", "Basic realm=\"x\"", "Digest realm=\"x\", nonce=\"y\"", "Negotiate", "NTLM"}) {
        QJsonObject headers;
        if (*challenge) {
            headers[QStringLiteral("WWW-Authenticate")] = QLatin1String(challenge);
        }
        serve(statusScenario(401, QStringLiteral("bad key sk-sleutel"), headers));
        EXPECT_EQ(transcribe().error(),
                  (Error{QStringLiteral("Tavlo"), 401, QStringLiteral("OpenAI 401: bad key ***")}))
            << challenge;
    }
}

TEST_F(CloudClientTest, everyOtherStatusIsAFailureWithIt)
{
    for (const int status :
         {201, 204, 302, 304, 400, 403, 404, 407, 408, 409, 413, 418, 429, 499, 502, 503, 504, 529}) {
        serve(statusScenario(status, status == 204 || status == 304 ? QString() : QStringLiteral("body")));
        const TranscriptionResult result = transcribe();
        ASSERT_FALSE(result) << status;
        EXPECT_EQ(result.error().domain, QStringLiteral("Tavlo")) << status;
        EXPECT_EQ(result.error().code, status) << result.error().description.toStdString();
        EXPECT_EQ(result.error().description,
                  QStringLiteral("OpenAI %1: ").arg(status) +
                      (status == 204 || status == 304 ? QString() : QStringLiteral("body")));
    }
}

TEST_F(CloudClientTest, aRedirectIsNotFollowed)
{
    for (const int status : {301, 302, 303, 307, 308}) {
        ServerProcess other(QStringLiteral("provider.py"), textScenario("text", QStringLiteral("gestolen")));
        for (const QString& location : {other.baseUrl() + QStringLiteral("/v1/audio/transcriptions"), QString()}) {
            QJsonObject more{{QStringLiteral("status"), status}};
            if (!location.isEmpty()) {
                more[QStringLiteral("location")] = location;
            }
            serve(scenario("redirect", more));
            EXPECT_EQ(transcribe().error(),
                      (Error{QStringLiteral("Tavlo"), status, QStringLiteral("OpenAI %1: ").arg(status)}));
        }
    }
}

TEST_F(CloudClientTest, anAnswerThatIsNotHttpIsStatus0)
{
    serve(textScenario("nonsense", QStringLiteral("SSH-2.0-OpenSSH\r\n\r\n")));
    EXPECT_EQ(transcribe().error(), (Error{QStringLiteral("Tavlo"), 0, QStringLiteral("OpenAI 0: ")}));
}

TEST_F(CloudClientTest, aNoticeBeforeTheAnswerIsPassedOver)
{
    serve(textScenario("nonsense", QStringLiteral("HTTP/1.1 103 Early Hints\r\nLink: </x>\r\n\r\n"
                                                  "HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nHoi.")));
    EXPECT_EQ(transcribe().value(), QStringLiteral("Hoi."));
}

TEST_F(CloudClientTest, anAnswerInChunksIsJoined)
{
    serve(textScenario("nonsense", QStringLiteral("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                                                  "4\r\nHoi \r\n5\r\ndaar.\r\n0\r\nTrailer: x\r\n\r\n")));
    EXPECT_EQ(transcribe().value(), QStringLiteral("Hoi daar."));
}

TEST_F(CloudClientTest, anAnswerThatBreaksTheRulesOfHttpIsThePlatformsFailure)
{
    for (const char* rest : {"Content-Length: 4\r\nContent-Length: 5\r\n\r\nHoi.",
                             "Transfer-Encoding: chunked\r\n\r\nfour\r\nHoi.\r\n0\r\n\r\n"}) {
        serve(textScenario("nonsense", QStringLiteral("HTTP/1.1 200 OK\r\n") + QLatin1String(rest)));
        const TranscriptionResult result = transcribe();
        ASSERT_FALSE(result) << rest;
        EXPECT_EQ(result.error().domain, kNetworkErrorDomain) << rest;
    }
}

TEST_F(CloudClientTest, aRefusedConnectionIsThePlatformsFailure)
{
    serve(textScenario("text", QStringLiteral("x")));
    m_server.reset();
    const TranscriptionResult result = transcribe();
    EXPECT_EQ(result.error().domain, kNetworkErrorDomain);
    EXPECT_EQ(result.error().code, CURLE_COULDNT_CONNECT);
    EXPECT_FALSE(result.error().description.isEmpty());
}

TEST_F(CloudClientTest, aConnectionThatIsResetIsThePlatformsFailureAndSendsNothingTwice)
{
    int connections = 0;
    for (const char* at : {"accept", "request", "body"}) {
        serve(textScenario("reset", QStringLiteral("halve tekst"), {{QStringLiteral("at"), QLatin1String(at)}}));
        const TranscriptionResult result = transcribe();
        ASSERT_FALSE(result) << at;
        EXPECT_EQ(result.error().domain, kNetworkErrorDomain) << at;
        EXPECT_THAT(result.error().code, testing::AnyOf(CURLE_SEND_ERROR, CURLE_RECV_ERROR)) << at;
        EXPECT_EQ(record()[QStringLiteral("connection")].toInt(), ++connections);
        // No connection came in between.
        serve(textScenario("text", QStringLiteral("x")));
        EXPECT_TRUE(transcribe());
        EXPECT_EQ(record()[QStringLiteral("connection")].toInt(), ++connections) << at;
    }
}

TEST_F(CloudClientTest, aTruncatedAnswerIsThePlatformsFailure)
{
    serve(textScenario("truncated", QStringLiteral("halve tekst")));
    EXPECT_EQ(transcribe().error().domain, kNetworkErrorDomain);
}

TEST_F(CloudClientTest, aServerThatStallsEndsAtTheIdleLimit)
{
    for (const char* at : {"accept", "request", "body"}) {
        serve(textScenario("stall", QStringLiteral("halve tekst"), {{QStringLiteral("at"), QLatin1String(at)}}));
        const TranscriptionResult result = transcribe({200ms, 20s});
        ASSERT_FALSE(result) << at;
        EXPECT_EQ(result.error(), (Error{kSystemErrorDomain, ETIMEDOUT, QStringLiteral("Connection timed out")}));
    }
}

TEST_F(CloudClientTest, aSlowAnswerThatKeepsMovingIsWaitedFor)
{
    serve(textScenario("drip", QStringLiteral("langzaam aan"), {{QStringLiteral("interval"), 0.05}}));
    EXPECT_EQ(transcribe({10s, 30s}).value(), QStringLiteral("langzaam aan"));
}

TEST_F(CloudClientTest, aSlowUploadThatKeepsMovingIsWaitedFor)
{
    // Longer than the idle limit in all, although the answer comes only after the whole of it.
    serve(textScenario("text", QStringLiteral("traag"), {{QStringLiteral("read_rate"), 8'000'000}}));
    m_wav = makeWav(QByteArray(24'000'000, '\3'));
    EXPECT_EQ(transcribe({2s, 60s}).value(), QStringLiteral("traag"));
    EXPECT_TRUE(record()[QStringLiteral("valid")].toBool());
}

TEST_F(CloudClientTest, aSlowAnswerEndsAtTheLimitOfTheWholeTransfer)
{
    serve(textScenario("drip", QString(1000, QLatin1Char('x')), {{QStringLiteral("interval"), 0.02}}));
    EXPECT_EQ(transcribe({10s, 400ms}).error(), timeoutError());
}

TEST_F(CloudClientTest, anAnswerWithoutEndIsCutOff)
{
    serve(scenario("endless"));
    EXPECT_EQ(transcribe().error().code, CURLE_FILESIZE_EXCEEDED);
}

TEST_F(CloudClientTest, aConnectionThatTheServerClosedMeanwhileIsReplaced)
{
    serve(QJsonArray{textScenario("text", QStringLiteral("een"),
                                  {{QStringLiteral("headers"),
                                    QJsonObject{{QStringLiteral("Connection"), QStringLiteral("close")}}}}),
                     textScenario("text", QStringLiteral("twee"))});
    CloudClient client;
    auto first = send(client, m_wav, m_config);
    EXPECT_EQ(wait(first).value(), QStringLiteral("een"));
    auto second = send(client, m_wav, m_config);
    EXPECT_EQ(wait(second).value(), QStringLiteral("twee"));
}

TEST_F(CloudClientTest, anUnusableAddressOrKeySendsNothingAndFailsLater)
{
    serve(textScenario("text", QStringLiteral("x")));
    Config config = m_config;
    config.openaiBaseUrl = QStringLiteral("http://provider.example");
    CloudClient client;
    auto future = send(client, m_wav, config);
    EXPECT_EQ(wait(future).error().code, 5);
    config = m_config;
    config.apiKey = QStringLiteral("sk\r\nX-Injected: 1");
    future = send(client, m_wav, config);
    EXPECT_EQ(wait(future).error().code, 6);
    future = send(client, m_wav, m_config);
    EXPECT_TRUE(wait(future));
    EXPECT_EQ(record()[QStringLiteral("connection")].toInt(), 1);
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
    EXPECT_LT(std::chrono::steady_clock::now() - before, 3s);
    thread.letGo();
    EXPECT_FALSE(completed);
}

TEST_F(CloudClientTest, aProxyCarriesWhatGoesToOthersAndNothingThatGoesToThisMachine)
{
    serve(statusScenario(403, QString()));
    for (const char* name : {"http_proxy", "https_proxy"}) {
        qputenv(name, m_server->baseUrl().toUtf8());
    }
    m_config.openaiBaseUrl = QStringLiteral("https://api.invalid");
    EXPECT_FALSE(transcribe());
    const QJsonObject asked = record();
    EXPECT_EQ(asked[QStringLiteral("method")].toString(), QStringLiteral("CONNECT"));
    EXPECT_EQ(asked[QStringLiteral("path")].toString(), QStringLiteral("api.invalid:443"));

    for (const char* name : {"http_proxy", "https_proxy"}) {
        qputenv(name, "http://127.0.0.1:1");
    }
    serve(textScenario("text", QStringLiteral("x")));
    EXPECT_EQ(transcribe().value(), QStringLiteral("x"));
    for (const char* name : {"http_proxy", "https_proxy"}) {
        qunsetenv(name);
    }
}

TEST_F(CloudClientTest, aCertificateThatNobodyKnowsIsThePlatformsFailure)
{
    ServerProcess stranger(
        QStringLiteral("model_server.py"),
        QJsonObject{{QStringLiteral("kind"), QStringLiteral("status")}, {QStringLiteral("status"), 500}});
    m_config.openaiBaseUrl = stranger.baseUrl();
    EXPECT_EQ(transcribe().error().code, CURLE_PEER_FAILED_VERIFICATION);
    EXPECT_EQ(transcribe(kCloudLimits, stranger.authority()).error().code, 500);
}

}  // namespace
}  // namespace tavlo
