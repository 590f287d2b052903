#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <functional>
#include <optional>

namespace tavlo {

struct HttpHead {
    int status = 0;
    qint64 length = -1;   // announced bytes of the body; below 0 when unknown
    QByteArray location;  // of the header of that name
};

// Reads one HTTP/1.x answer as its bytes come in, in whatever pieces, and hands on its body without keeping it.
class HttpResponseParser {
public:
    enum class State {
        Incomplete,
        Complete,
        NotHttp,   // what came does not begin as an HTTP answer
        Broken,    // it does, but breaks the rules later, or ended too soon
        TooLarge,  // the body passes the largest size
    };

    struct Handlers {
        std::function<void(const HttpHead&)> head;  // once, before the body
        std::function<void(QByteArrayView)> body;   // one piece of it, valid within the call only
    };

    HttpResponseParser(qint64 largestBody, Handlers handlers);

    // Takes more bytes. A state other than Incomplete is final; what is fed after it counts for nothing.
    State feed(QByteArrayView bytes);
    // The connection has ended: an answer whose body has no announced end is then complete.
    State finish();
    // Whether any byte came.
    bool hasStarted() const { return m_started; }

private:
    enum class Part { Head, FixedBody, BodyUntilEnd, ChunkSize, ChunkData, ChunkEnd, Trailer };

    // Each takes what it can from the front of `bytes`.
    State advance(QByteArrayView& bytes);
    State readHead(QByteArrayView& bytes);
    State judgeHead(const QByteArray& head);
    State chooseBody(const QByteArray& head);
    State readLine(QByteArrayView& bytes);
    State judgeLine(const QByteArray& line);
    State readBody(QByteArrayView& bytes);

    const qint64 m_largestBody;
    const Handlers m_handlers;
    bool m_started = false;
    State m_state = State::Incomplete;
    Part m_part = Part::Head;
    QByteArray m_pending;  // the beginning of a head or line
    HttpHead m_head;
    qint64 m_left = 0;   // of the fixed body or the chunk
    qint64 m_total = 0;  // of the body so far
};

}  // namespace tavlo
