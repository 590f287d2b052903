#include "http/http_exchange.h"

#include "platform/text_literals.h"
#include "posix/system_error.h"
#include "support/server_process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>

#include <curl/curl.h>

#include <chrono>
#include <optional>

namespace tavlo {
namespace {

using namespace std::chrono_literals;

constexpr TransferLimits kPatience{30s, 60s};

QJsonObject scenario(const char* kind, const QJsonObject& more = {})
{
    QJsonObject object = more;
    object[u"kind"_s] = QLatin1String(kind);
    return object;
}

QJsonObject answer(const QString& text)
{
    return scenario("nonsense", {{u"text"_s, text}});
}

class HttpExchangeTest : public testing::Test {
protected:
    struct Outcome {
        std::optional<HttpHead> head;
        QByteArray body;
        Result<int> status = 0;
    };

    void serve(const QJsonObject& object)
    {
        if (!m_server) {
            m_server = std::make_unique<ServerProcess>(u"provider.py"_s, object);
        } else {
            m_server->setScenario(object);
        }
        m_request.url = QUrl(m_server->baseUrl() + u"/v1/audio/transcriptions"_s);
    }

    Outcome exchange(TransferLimits limits = kPatience)
    {
        Outcome outcome;
        bool isDone = false;
        HttpExchange* running = nullptr;
        TransferClock clock(limits, [&running] { running->fail(timeoutError()); });
        running = new HttpExchange(
            m_request, clock,
            {[&](const HttpHead& head) { outcome.head = head; }, [&](QByteArrayView bytes) { outcome.body += bytes; },
             [&](const Result<int>& status) {
                 outcome.status = status;
                 isDone = true;
             }});
        while (!isDone) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        clock.stop();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return outcome;
    }

    std::unique_ptr<ServerProcess> m_server;
    HttpRequest m_request{"POST", {}, {}, "body", {}, 1'000'000};
};

TEST_F(HttpExchangeTest, aRedirectIsAnAnswerLikeAnyOther)
{
    serve(scenario("redirect", {{u"status"_s, 307}, {u"location"_s, u"/elsewhere"_s}}));
    const Outcome outcome = exchange();
    EXPECT_EQ(outcome.status, 307);
    EXPECT_EQ(outcome.head.value().location, "/elsewhere");
}

TEST_F(HttpExchangeTest, anAnswerThatIsNotHttpIsStatus0)
{
    serve(answer(u"SSH-2.0-OpenSSH\r\n\r\n"_s));
    EXPECT_EQ(exchange().status, 0);
}

TEST_F(HttpExchangeTest, aNoticeBeforeTheAnswerIsPassedOver)
{
    serve(
        answer(u"HTTP/1.1 103 Early Hints\r\nLink: </x>\r\n\r\n"
               "HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nHoi."_s));
    const Outcome outcome = exchange();
    EXPECT_EQ(outcome.status, 200);
    EXPECT_EQ(outcome.head.value().status, 200);
    EXPECT_EQ(outcome.head.value().length, 4);
    EXPECT_EQ(outcome.body, "Hoi.");
}

TEST_F(HttpExchangeTest, anAnswerInChunksIsJoinedAndItsLengthIsUnknown)
{
    serve(
        answer(u"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
               "4\r\nHoi \r\n5\r\ndaar.\r\n0\r\nTrailer: x\r\n\r\n"_s));
    const Outcome outcome = exchange();
    EXPECT_EQ(outcome.body, "Hoi daar.");
    EXPECT_LT(outcome.head.value().length, 0);
}

TEST_F(HttpExchangeTest, anAnswerThatBreaksTheRulesOfHttpIsAFailure)
{
    for (const char* rest : {"Content-Length: 4\r\nContent-Length: 5\r\n\r\nHoi.",
                             "Transfer-Encoding: chunked\r\n\r\nfour\r\nHoi.\r\n0\r\n\r\n"}) {
        serve(answer(u"HTTP/1.1 200 OK\r\n"_s + QLatin1String(rest)));
        const Outcome outcome = exchange();
        ASSERT_FALSE(outcome.status) << rest;
        EXPECT_EQ(outcome.status.error().domain, kNetworkErrorDomain) << rest;
    }
}

TEST_F(HttpExchangeTest, anAnswerThatComesBeforeTheBodyWasReadIsTheAnswer)
{
    // More than the buffers between the two hold.
    m_request.body = QByteArray(50'000'000, 'x');
    serve(scenario("early", {{u"status"_s, 413}, {u"body"_s, u"te groot"_s}}));
    const Outcome outcome = exchange();
    EXPECT_EQ(outcome.status, 413);
    EXPECT_EQ(outcome.body, "te groot");
}

TEST_F(HttpExchangeTest, aNameThatDoesNotResolveIsAFailure)
{
    m_request.url = QUrl(u"http://nobody.invalid/v1"_s);
    const Outcome outcome = exchange();
    ASSERT_FALSE(outcome.status);
    EXPECT_EQ(outcome.status.error().domain, kNetworkErrorDomain);
    EXPECT_EQ(outcome.status.error().code, CURLE_COULDNT_RESOLVE_HOST);
    EXPECT_FALSE(outcome.status.error().description.isEmpty());
}

TEST_F(HttpExchangeTest, aRefusedConnectionIsAFailureInTheSystemsWords)
{
    serve(answer(QString()));
    m_server.reset();
    const Error error = exchange().status.error();
    EXPECT_EQ(error, (Error{kNetworkErrorDomain, CURLE_COULDNT_CONNECT, systemError(ECONNREFUSED).description}));
}

TEST_F(HttpExchangeTest, aConnectionThatIsResetIsAFailureAndSendsNothingTwice)
{
    int connections = 0;
    for (const char* at : {"accept", "request", "body"}) {
        serve(scenario("reset", {{u"at"_s, QLatin1String(at)}, {u"text"_s, u"halve tekst"_s}}));
        const Outcome outcome = exchange();
        ASSERT_FALSE(outcome.status) << at;
        EXPECT_EQ(outcome.status.error().domain, kNetworkErrorDomain) << at;
        EXPECT_THAT(outcome.status.error().code, testing::AnyOf(CURLE_SEND_ERROR, CURLE_RECV_ERROR)) << at;
        EXPECT_EQ(m_server->nextLine()[u"connection"_s].toInt(), ++connections);
        // No connection came in between.
        serve(scenario("text", {{u"text"_s, u"x"_s}}));
        EXPECT_EQ(exchange().status, 200);
        EXPECT_EQ(m_server->nextLine()[u"connection"_s].toInt(), ++connections) << at;
    }
}

TEST_F(HttpExchangeTest, aTruncatedAnswerIsAFailure)
{
    serve(scenario("truncated", {{u"text"_s, u"halve tekst"_s}}));
    EXPECT_EQ(exchange().status.error().domain, kNetworkErrorDomain);
}

TEST_F(HttpExchangeTest, aBodyBeyondTheLargestOneIsCutOff)
{
    serve(scenario("endless"));
    const Outcome outcome = exchange();
    EXPECT_EQ(outcome.status.error().code, CURLE_FILESIZE_EXCEEDED);
    EXPECT_LE(outcome.body.size(), m_request.largestAnswer);
}

TEST_F(HttpExchangeTest, anAnnouncedBodyBeyondTheLargestOneIsNotWaitedFor)
{
    serve(answer(u"HTTP/1.1 200 OK\r\nContent-Length: 1000001\r\n\r\nHoi."_s));
    const Outcome outcome = exchange();
    EXPECT_EQ(outcome.status.error().code, CURLE_FILESIZE_EXCEEDED);
    EXPECT_EQ(outcome.body, "");
}

TEST_F(HttpExchangeTest, aServerThatFallsSilentEndsAtTheIdleLimit)
{
    serve(scenario("stall"));
    EXPECT_EQ(exchange({200ms, 60s}).status.error(), timeoutError());
}

}  // namespace
}  // namespace tavlo
