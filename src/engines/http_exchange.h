#pragma once

#include "engines/http_response_parser.h"
#include "engines/transfer_clock.h"
#include "platform/result.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QSslCertificate>
#include <QUrl>

#include <functional>
#include <memory>
#include <utility>

class QTcpSocket;

namespace tavlo {

struct HttpRequest {
    QByteArray method;
    QUrl url;
    QList<std::pair<QByteArray, QByteArray>> headers;
    QByteArray body;
    QList<QSslCertificate> authorities;  // to trust in place of the system's, if any
    qint64 largestAnswer = 0;            // a longer body is a failure
};

// One request and its answer, over a connection of its own and over TLS where the address is https.
//
// QNetworkAccessManager is not used for three reasons. It sends a request again, up to three times, when the
// connection ends before an answer, and a recording is not uploaded and paid for twice without the user's knowing. It
// repeats our headers, the key among them, on a redirect. And its two threads for a transfer made the download half
// as fast as the same transfer here. A redirect is an answer like any other; what to do about it is for the caller.
//
// Belongs to the thread that makes it. Deletes itself after its end.
class HttpExchange : public QObject {
public:
    // Called on this object's thread, never within the constructor. Each may end the exchange.
    struct Handlers {
        std::function<void(const HttpHead&)> head;
        std::function<void(QByteArrayView)> body;  // one piece of it, valid within the call only
        // Exactly once, last, unless drop() came first: the status, 0 for an answer that is not HTTP.
        std::function<void(Result<int>)> done;
    };

    // `clock` is the caller's; it is told of every movement of data. It outlives the exchange's end.
    HttpExchange(HttpRequest request, TransferClock& clock, Handlers handlers);
    ~HttpExchange() override;

    // Ends it with `error`: `done` is called within this call.
    void fail(const Error& error);
    // Ends it without a call.
    void drop();

private:
    void connectToServer();
    void sendHead();
    void sendMore();
    void dataArrived();
    // Hands what is there to the parser; returns how many bytes that were.
    qint64 receive();
    void connectionEnded();
    void judge(HttpResponseParser::State state);
    void finish(Result<int> result);

    const HttpRequest m_request;
    TransferClock& m_clock;
    Handlers m_handlers;
    std::unique_ptr<QTcpSocket> m_socket;
    HttpResponseParser m_parser;
    QByteArray m_buffer;
    int m_status = 0;
    qint64 m_sent = 0;  // bytes of the body
    bool m_ended = false;
    bool m_receivePosted = false;
    bool m_endPosted = false;
};

}  // namespace tavlo
