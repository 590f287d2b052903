#include "engines/http_exchange.h"

#include "engines/network_access.h"
#include "engines/platform_errors.h"

#include <QSslConfiguration>
#include <QSslSocket>
#include <QTcpSocket>

#include <algorithm>
#include <utility>

namespace tavlo {

namespace {

// Enough that the network never waits for this thread.
constexpr qint64 kWaitingBytes = qint64{512} * 1024;
constexpr qint64 kPieceBytes = qint64{128} * 1024;
// With more, each piece is memory that the allocator takes from the system and gives back: measured, that costs more
// time than all the rest.
constexpr qint64 kReceiveBytes = qint64{64} * 1024;

QByteArray headOf(const HttpRequest& request)
{
    QByteArray target = request.url.path(QUrl::FullyEncoded).toLatin1();
    if (target.isEmpty()) {
        target = "/";
    }
    if (request.url.hasQuery()) {
        target += '?' + request.url.query(QUrl::FullyEncoded).toLatin1();
    }
    QByteArray host = request.url.host(QUrl::FullyEncoded).toLatin1();
    if (host.contains(':')) {
        host = '[' + host + ']';  // an IPv6 address
    }
    if (request.url.port() > 0) {
        host += ':' + QByteArray::number(request.url.port());
    }
    QByteArray head = request.method + ' ' + target + " HTTP/1.1\r\nHost: " + host + "\r\n";
    for (const auto& [name, value] : request.headers) {
        head += name + ": " + value + "\r\n";
    }
    if (!request.body.isEmpty()) {
        head += "Content-Length: " + QByteArray::number(request.body.size()) + "\r\n";
    }
    // Some servers turn away a program that does not name itself.
    return head + "User-Agent: Tavlo\r\nAccept: */*\r\nConnection: close\r\n\r\n";
}

std::unique_ptr<QTcpSocket> makeSocket(const HttpRequest& request)
{
    if (request.url.scheme() != QLatin1String("https")) {
        return std::make_unique<QTcpSocket>();
    }
    auto socket = std::make_unique<QSslSocket>();
    if (!request.authorities.isEmpty()) {
        QSslConfiguration security = socket->sslConfiguration();
        security.setCaCertificates(request.authorities);
        socket->setSslConfiguration(security);
    }
    return socket;
}

qint64 waitingToBeSent(const QTcpSocket& socket)
{
    const auto* secure = qobject_cast<const QSslSocket*>(&socket);
    return socket.bytesToWrite() + (secure ? secure->encryptedBytesToWrite() : 0);
}

}  // namespace

HttpExchange::HttpExchange(HttpRequest request, TransferClock& clock, Handlers handlers)
    : m_request(std::move(request)),
      m_clock(clock),
      m_handlers(std::move(handlers)),
      m_parser(m_request.largestAnswer, {[this](const HttpHead& head) {
                                             m_status = head.status;
                                             m_handlers.head(head);
                                         },
                                         [this](QByteArrayView bytes) {
                                             if (!m_ended) {
                                                 m_handlers.body(bytes);
                                             }
                                         }})
{
    QMetaObject::invokeMethod(
        this, [this] { connectToServer(); }, Qt::QueuedConnection);
}

HttpExchange::~HttpExchange() = default;

void HttpExchange::connectToServer()
{
    if (m_ended) {
        return;
    }
    m_buffer.resize(kReceiveBytes);
    m_socket = makeSocket(m_request);
    m_socket->setProxy(proxyFor(m_request.url));
    m_socket->setReadBufferSize(kReceiveBytes);
    connect(m_socket.get(), &QTcpSocket::readyRead, this, [this] { dataArrived(); });
    connect(m_socket.get(), &QTcpSocket::bytesWritten, this, [this] { sendMore(); });
    connect(m_socket.get(), &QTcpSocket::errorOccurred, this, [this] { connectionEnded(); });
    connect(m_socket.get(), &QTcpSocket::disconnected, this, [this] { connectionEnded(); });
    const QString host = m_request.url.host(QUrl::FullyEncoded);
    if (auto* secure = qobject_cast<QSslSocket*>(m_socket.get())) {
        connect(secure, &QSslSocket::connected, this, [this] { m_clock.touch(); });
        connect(secure, &QSslSocket::encrypted, this, [this] { sendHead(); });
        connect(secure, &QSslSocket::encryptedBytesWritten, this, [this] { sendMore(); });
        secure->connectToHostEncrypted(host, static_cast<quint16>(m_request.url.port(443)));
    } else {
        connect(m_socket.get(), &QTcpSocket::connected, this, [this] { sendHead(); });
        m_socket->connectToHost(host, static_cast<quint16>(m_request.url.port(80)));
    }
}

void HttpExchange::sendHead()
{
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_socket->write(headOf(m_request));
    sendMore();
}

void HttpExchange::sendMore()
{
    m_clock.touch();
    const auto* secure = qobject_cast<const QSslSocket*>(m_socket.get());
    if (secure && !secure->isEncrypted()) {
        return;  // The handshake also writes.
    }
    while (m_sent < m_request.body.size() && waitingToBeSent(*m_socket) < kWaitingBytes) {
        const qint64 count = std::min<qint64>(kPieceBytes, m_request.body.size() - m_sent);
        const qint64 taken = m_socket->write(m_request.body.constData() + m_sent, count);
        if (taken <= 0) {
            return;  // The connection is gone, which its own signal tells.
        }
        m_sent += taken;
    }
}

void HttpExchange::dataArrived()
{
    // TLS tells of every 4 KB; a round later there is a whole buffer to take.
    if (!std::exchange(m_receivePosted, true)) {
        QMetaObject::invokeMethod(
            this,
            [this] {
                m_receivePosted = false;
                receive();
            },
            Qt::QueuedConnection);
    }
}

qint64 HttpExchange::receive()
{
    qint64 total = 0;
    while (!m_ended) {
        const qint64 count = m_socket->isOpen() ? m_socket->read(m_buffer.data(), kReceiveBytes) : 0;
        if (count <= 0) {
            break;
        }
        total += count;
        m_clock.touch();
        const HttpResponseParser::State state = m_parser.feed(QByteArrayView(m_buffer.constData(), count));
        if (!m_ended) {
            m_clock.touch();  // Again: the disk may have held up whoever took the body.
            judge(state);
        }
    }
    return total;
}

void HttpExchange::connectionEnded()
{
    if (m_ended || std::exchange(m_endPosted, true)) {
        return;
    }
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_endPosted = false;
            // An answer that came before the end counts, also when the server did not wait for the whole upload. As
            // long as there is something to read, TLS may have more to decrypt.
            if (receive() > 0 && !m_ended) {
                connectionEnded();
                return;
            }
            if (!m_ended && m_socket->error() == QAbstractSocket::RemoteHostClosedError && m_parser.hasStarted()) {
                judge(m_parser.finish());
            }
            if (!m_ended) {
                fail(socketError(*m_socket));
            }
        },
        Qt::QueuedConnection);
}

void HttpExchange::judge(HttpResponseParser::State state)
{
    switch (state) {
        case HttpResponseParser::State::Complete:
            finish(m_status);
            break;
        case HttpResponseParser::State::NotHttp:
            finish(0);
            break;
        case HttpResponseParser::State::TooLarge:
            fail({kNetworkErrorDomain, QNetworkReply::UnknownContentError,
                  QStringLiteral("Het antwoord van de server is te groot.")});
            break;
        case HttpResponseParser::State::Broken:
            fail(m_socket->error() == QAbstractSocket::UnknownSocketError ? invalidAnswerError()
                                                                          : socketError(*m_socket));
            break;
        case HttpResponseParser::State::Incomplete:
            break;
    }
}

void HttpExchange::fail(const Error& error)
{
    finish(tl::unexpected<Error>(error));
}

void HttpExchange::finish(Result<int> result)
{
    if (m_ended) {
        return;
    }
    drop();
    m_handlers.done(std::move(result));
}

void HttpExchange::drop()
{
    if (std::exchange(m_ended, true)) {
        return;
    }
    if (m_socket) {
        m_socket->disconnect(this);
        m_socket->abort();
    }
    deleteLater();
}

}  // namespace tavlo
