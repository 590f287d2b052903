#pragma once

#include "platform/result.h"
#include "platform/text_literals.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QObject>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace tavlo {

// How long a transfer may take.
struct TransferLimits {
    std::chrono::milliseconds idle;   // without a byte in either direction
    std::chrono::milliseconds whole;  // from start to end
};

// Watches one transfer and calls its handler once, when a limit has passed. Lives on one thread, whose event loop
// drives it.
class TransferClock {
public:
    TransferClock(TransferLimits limits, std::function<void()> expired);

    // Data moved: the idle time starts again.
    void touch() { m_idle.start(); }
    void stop();

private:
    void expire();

    QTimer m_idle;
    QTimer m_whole;
    std::function<void()> m_expired;
};

struct HttpRequest {
    QByteArray method;  // "GET", or "POST" with the body
    QUrl url;
    QList<std::pair<QByteArray, QByteArray>> headers;
    QByteArray body;
    QByteArray authorities;    // certificates in PEM form to trust in place of the system's, if any
    qint64 largestAnswer = 0;  // a longer body is a failure
};

struct HttpHead {
    int status = 0;
    qint64 length = -1;   // announced bytes of the body; below 0 when unknown
    QByteArray location;  // of the header of that name
};

// The domain of failures of a transfer; the code is a CURLcode of libcurl.
inline const QString kNetworkErrorDomain = u"libcurl"_s;

// The server's answer breaks the rules of HTTP, or is no HTTP at all.
Error invalidAnswerError();

// One request and its answer, over a connection of its own and over TLS where the address is https. A redirect is an
// answer like any other; what to do about it is for the caller. Nothing is ever sent twice.
//
// Belongs to the thread that makes it, whose event loop drives it. Deletes itself after its end.
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

    // Loads what exchanges need, which takes some milliseconds. Opens no connection.
    static void prepare();

    // Ends it with `error`: `done` is called within this call.
    void fail(const Error& error);
    // Ends it without a call.
    void drop();

private:
    struct Transfer;  // libcurl's side

    void connectToServer();
    void act(int socket, int events);
    void readHeader(QByteArrayView line);
    void readBody(QByteArrayView bytes);
    void transferEnded(int code);
    void failTooLarge();
    void finish(Result<int> result);

    const HttpRequest m_request;
    TransferClock& m_clock;
    Handlers m_handlers;
    QTimer m_timer;
    std::unique_ptr<Transfer> m_transfer;  // its end may still stop the timer
    std::optional<HttpHead> m_head;
    qint64 m_received = 0;  // bytes of the body
    bool m_ended = false;
};

}  // namespace tavlo
