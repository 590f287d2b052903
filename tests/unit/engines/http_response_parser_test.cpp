#include "engines/http_response_parser.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

using State = HttpResponseParser::State;

struct Outcome {
    State state;
    int status;
    QByteArray body;

    bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* stream)
{
    *stream << static_cast<int>(outcome.state) << ' ' << outcome.status << ' ' << outcome.body.toStdString();
}

constexpr qint64 kLargest = 1000;

Outcome parsed(const QByteArray& bytes, qsizetype pieceSize)
{
    Outcome outcome{State::Incomplete, 0, {}};
    HttpResponseParser parser(kLargest, {[&](const HttpHead& head) { outcome.status = head.status; },
                                         [&](QByteArrayView piece) { outcome.body += piece; }});
    for (qsizetype start = 0; start < bytes.size() && outcome.state == State::Incomplete; start += pieceSize) {
        outcome.state = parser.feed(bytes.mid(start, pieceSize));
    }
    return outcome;
}

// What comes of the bytes, in one piece and in pieces of every small size, which must be the same.
Outcome parsed(const QByteArray& bytes)
{
    Outcome whole = parsed(bytes, bytes.size());
    for (const qsizetype size : {1, 2, 3, 7}) {
        EXPECT_EQ(parsed(bytes, size), whole) << "in pieces of " << size;
    }
    return whole;
}

State ended(const QByteArray& bytes)
{
    HttpResponseParser parser(kLargest, {[](const HttpHead&) {}, [](QByteArrayView) {}});
    parser.feed(bytes);
    return parser.finish();
}

TEST(HttpResponseParser, readsABodyOfAnnouncedLength)
{
    EXPECT_EQ(parsed("HTTP/1.1 200 OK\r\ncontent-length: 5\r\nX: y\r\n\r\nHallo"),
              (Outcome{State::Complete, 200, "Hallo"}));
    EXPECT_EQ(parsed("HTTP/1.0 500\r\nContent-Length: 0\r\n\r\n"), (Outcome{State::Complete, 500, {}}));
    EXPECT_EQ(parsed("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nHal"), (Outcome{State::Incomplete, 200, "Hal"}));
}

TEST(HttpResponseParser, readsABodyInChunks)
{
    EXPECT_EQ(parsed("HTTP/1.1 200 OK\r\nTransfer-Encoding: Chunked\r\nContent-Length: 3\r\n\r\n"
                     "5\r\nHallo\r\nA;name=value\r\n, wereld.\n\r\n0\r\nTrailer: x\r\n\r\n"),
              (Outcome{State::Complete, 200, "Hallo, wereld.\n"}));
    EXPECT_EQ(parsed("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nHallo\r\n"),
              (Outcome{State::Incomplete, 200, "Hallo"}));
}

TEST(HttpResponseParser, readsABodyUntilTheConnectionsEnd)
{
    EXPECT_EQ(parsed("HTTP/1.1 200 OK\r\n\r\nHallo"), (Outcome{State::Incomplete, 200, "Hallo"}));
    EXPECT_EQ(ended("HTTP/1.1 200 OK\r\n\r\nHallo"), State::Complete);
}

TEST(HttpResponseParser, tellsLengthAndLocationBeforeTheBody)
{
    HttpHead seen;
    HttpResponseParser parser(kLargest, {[&](const HttpHead& head) { seen = head; }, [](QByteArrayView) {}});
    parser.feed("HTTP/1.1 302 Found\r\nLOCATION:  /there \r\nContent-Length: 7\r\n\r\n");
    EXPECT_EQ(seen.status, 302);
    EXPECT_EQ(seen.length, 7);
    EXPECT_EQ(seen.location, "/there");
    HttpResponseParser other(kLargest, {[&](const HttpHead& head) { seen = head; }, [](QByteArrayView) {}});
    other.feed("HTTP/1.1 200 OK\r\n\r\n");
    EXPECT_LT(seen.length, 0);
    EXPECT_EQ(seen.location, QByteArray());
}

TEST(HttpResponseParser, passesOverNoticesBeforeTheAnswer)
{
    EXPECT_EQ(parsed("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early\r\nLink: x\r\n\r\n"
                     "HTTP/1.1 201 Made\r\nContent-Length: 1\r\n\r\nx"),
              (Outcome{State::Complete, 201, "x"}));
}

TEST(HttpResponseParser, readsNoBodyWhereTheStatusHasNone)
{
    EXPECT_EQ(parsed("HTTP/1.1 204 None\r\n\r\n"), (Outcome{State::Complete, 204, {}}));
    EXPECT_EQ(parsed("HTTP/1.1 304 Same\r\nContent-Length: 9\r\n\r\n"), (Outcome{State::Complete, 304, {}}));
}

TEST(HttpResponseParser, knowsWhatIsNotHttp)
{
    for (const char* bytes :
         {"SSH-2.0-OpenSSH\r\n", "x", "HTTP/2 200\r\n\r\n", "HTTP/1.1 OK\r\n\r\n", "HTTP/1.1 20 \r\n\r\n",
          "HTTP/1.1 2000\r\n\r\n", "HTTP/1.1 -20 x\r\n\r\n", "\x15\x03\x01\x00\x02\x02\x50"}) {
        EXPECT_EQ(parsed(bytes), (Outcome{State::NotHttp, 0, {}})) << bytes;
    }
}

TEST(HttpResponseParser, knowsAnswersThatBreakTheRules)
{
    const QByteArray chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    const QByteArray ok = "HTTP/1.1 200 OK\r\n";
    for (const QByteArray& bytes :
         {chunked + "x\r\n", chunked + "-1\r\n", chunked + "\r\n", chunked + "1\r\nabc",
          ok + "Transfer-Encoding: gzip, chunked\r\n\r\n", ok + "Content-Length: -1\r\n\r\n",
          ok + "Content-Length: 1\r\nContent-Length: 2\r\n\r\n", ok + "Content-Length: 99999999999999999999\r\n\r\n",
          ok + "Content-Length: \r\n\r\n"}) {
        EXPECT_EQ(parsed(bytes).state, State::Broken) << bytes.toStdString();
    }
    EXPECT_EQ(parsed(ok + "X: " + QByteArray(17000, 'x')).state, State::Broken);
    EXPECT_EQ(parsed(chunked + QByteArray(9000, '1')).state, State::Broken);
}

TEST(HttpResponseParser, boundsTheBody)
{
    const QByteArray tooMuch(kLargest + 1, 'x');
    EXPECT_EQ(parsed("HTTP/1.1 200 OK\r\nContent-Length: 1001\r\n\r\n").state, State::TooLarge);
    EXPECT_EQ(parsed("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3E9\r\n").state, State::TooLarge);
    EXPECT_EQ(parsed("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nx\r\n7fffffffffffffff\r\n").state,
              State::TooLarge);
    EXPECT_EQ(parsed("HTTP/1.1 200 OK\r\n\r\n" + tooMuch, 1).state, State::TooLarge);
    EXPECT_EQ(parsed("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n" + tooMuch.left(kLargest)).state,
              State::Complete);
}

TEST(HttpResponseParser, judgesAnEndThatComesTooSoon)
{
    EXPECT_EQ(ended({}), State::Broken);
    EXPECT_EQ(ended("HTT"), State::Broken);
    EXPECT_EQ(ended("HTTP/1.1 200 OK\r\n"), State::Broken);
    EXPECT_EQ(ended("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nHal"), State::Broken);
    EXPECT_EQ(ended("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nHallo\r\n"), State::Broken);
    EXPECT_EQ(ended("220 mail"), State::NotHttp);
}

}  // namespace
}  // namespace tavlo
