#include "http/http_exchange.h"

#include "http/curl_library.h"
#include "http/proxy.h"
#include "platform/text_literals.h"
#include "posix/system_error.h"

#include <QSocketNotifier>

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>
#include <unordered_map>
#include <utility>

namespace tavlo {

namespace {

// What TLS decrypts at a time is smaller; without TLS this spares rounds.
constexpr long kReceiveBytes = 128L * 1024;

struct DeleteLater {
    // A notifier may go within its own signal.
    void operator()(QSocketNotifier* notifier) const
    {
        notifier->setEnabled(false);
        notifier->deleteLater();
    }
};

using Notifier = std::unique_ptr<QSocketNotifier, DeleteLater>;

}  // namespace

TransferClock::TransferClock(TransferLimits limits, std::function<void()> expired) : m_expired(std::move(expired))
{
    for (QTimer* timer : {&m_idle, &m_whole}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
        QObject::connect(timer, &QTimer::timeout, timer, [this] { expire(); });
    }
    m_idle.setInterval(limits.idle);
    m_whole.setInterval(limits.whole);
    m_idle.start();
    m_whole.start();
}

void TransferClock::stop()
{
    m_idle.stop();
    m_whole.stop();
}

void TransferClock::expire()
{
    stop();
    m_expired();
}

Error invalidAnswerError()
{
    return {kNetworkErrorDomain, CURLE_WEIRD_SERVER_REPLY, u"Het antwoord van de server is ongeldig."_s};
}

// The handles, and what the event loop watches for them.
struct HttpExchange::Transfer {
    Transfer(const CurlLibrary& library, HttpExchange& exchange);
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;
    ~Transfer();

    bool configure(const HttpRequest& request);
    void watch(curl_socket_t socket, int what);
    HttpHead head() const;
    QByteArray header(const char* name) const;
    QString describe(CURLcode code) const;

    template <typename Value>
    void set(CURLoption option, Value value)
    {
        isValid = isValid && curl.easySetopt(easy, option, value) == CURLE_OK;
    }

    const CurlLibrary& curl;
    HttpExchange& owner;
    CURLM* multi = nullptr;
    CURL* easy = nullptr;
    curl_slist* headers = nullptr;
    std::array<char, CURL_ERROR_SIZE> message{};
    std::unordered_map<curl_socket_t, std::pair<Notifier, Notifier>> notifiers;  // for reading, for writing
    bool isValid = true;
};

HttpExchange::Transfer::Transfer(const CurlLibrary& library, HttpExchange& exchange)
    : curl(library), owner(exchange), multi(curl.multiInit()), easy(curl.easyInit())
{
}

HttpExchange::Transfer::~Transfer()
{
    if (multi != nullptr && easy != nullptr) {
        curl.multiRemoveHandle(multi, easy);
    }
    if (easy != nullptr) {
        curl.easyCleanup(easy);
    }
    if (multi != nullptr) {
        curl.multiCleanup(multi);
    }
    curl.slistFreeAll(headers);
}

bool HttpExchange::Transfer::configure(const HttpRequest& request)
{
    if (multi == nullptr || easy == nullptr) {
        return false;
    }
    set(CURLOPT_ERRORBUFFER, message.data());
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_QUICK_EXIT, 1L);  // A name server that does not answer holds up nobody.
    set(CURLOPT_PROTOCOLS_STR, request.url.scheme() == "https"_L1 ? "https" : "http");
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_FOLLOWLOCATION, 0L);
    // A request over a connection that is used a second time may be sent twice.
    set(CURLOPT_FORBID_REUSE, 1L);
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    set(CURLOPT_URL, request.url.toEncoded().constData());
    set(CURLOPT_USERAGENT, "Tavlo");  // Some servers turn away a program that does not name itself.
    set(CURLOPT_BUFFERSIZE, kReceiveBytes);
    if (isLoopback(request.url)) {
        set(CURLOPT_NOPROXY, "*");
    } else if (const std::optional<QByteArray> proxy = proxyFor(request.url)) {
        set(CURLOPT_PROXY, proxy->constData());
    }
    if (!request.authorities.isEmpty()) {
        curl_blob blob{};
        blob.data = const_cast<char*>(request.authorities.constData());
        blob.len = static_cast<std::size_t>(request.authorities.size());
        blob.flags = CURL_BLOB_NOCOPY;
        set(CURLOPT_CAINFO_BLOB, &blob);
        set(CURLOPT_CAPATH, static_cast<char*>(nullptr));
    }
    if (request.method == "POST") {
        set(CURLOPT_POST, 1L);
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
        set(CURLOPT_POSTFIELDS, request.body.constData());
    }
    // No question beforehand whether the body is welcome, which costs a round trip.
    for (const QByteArray& line : {QByteArrayLiteral("Expect:"), QByteArrayLiteral("Connection: close")}) {
        headers = curl.slistAppend(headers, line.constData());
    }
    for (const auto& [name, value] : request.headers) {
        headers = curl.slistAppend(headers, (name + ": " + value).constData());
    }
    set(CURLOPT_HTTPHEADER, headers);

    set(CURLOPT_HEADERDATA, static_cast<void*>(&owner));
    set(
        CURLOPT_HEADERFUNCTION, +[](char* data, std::size_t, std::size_t size, void* self) -> std::size_t {
            static_cast<HttpExchange*>(self)->readHeader(QByteArrayView(data, static_cast<qsizetype>(size)));
            return static_cast<HttpExchange*>(self)->m_ended ? 0 : size;
        });
    set(CURLOPT_WRITEDATA, static_cast<void*>(&owner));
    set(
        CURLOPT_WRITEFUNCTION, +[](char* data, std::size_t, std::size_t size, void* self) -> std::size_t {
            static_cast<HttpExchange*>(self)->readBody(QByteArrayView(data, static_cast<qsizetype>(size)));
            return static_cast<HttpExchange*>(self)->m_ended ? 0 : size;
        });
    curl.multiSetopt(multi, CURLMOPT_SOCKETDATA, static_cast<void*>(this));
    curl.multiSetopt(
        multi, CURLMOPT_SOCKETFUNCTION, +[](CURL*, curl_socket_t socket, int what, void* self, void*) -> int {
            static_cast<Transfer*>(self)->watch(socket, what);
            return 0;
        });
    curl.multiSetopt(multi, CURLMOPT_TIMERDATA, static_cast<void*>(&owner));
    curl.multiSetopt(
        multi, CURLMOPT_TIMERFUNCTION, +[](CURLM*, long milliseconds, void* self) -> int {
            QTimer& timer = static_cast<HttpExchange*>(self)->m_timer;
            if (milliseconds < 0) {
                timer.stop();
            } else {
                timer.start(std::chrono::milliseconds(milliseconds));
            }
            return 0;
        });
    return isValid && curl.multiAddHandle(multi, easy) == CURLM_OK;
}

void HttpExchange::Transfer::watch(curl_socket_t socket, int what)
{
    auto& [reading, writing] = notifiers[socket];
    const auto turn = [&](Notifier& notifier, bool isOn, QSocketNotifier::Type type, int event) {
        if (!isOn) {
            notifier.reset();
        } else if (!notifier) {
            notifier.reset(new QSocketNotifier(socket, type));
            QObject::connect(notifier.get(), &QSocketNotifier::activated, &owner,
                             [this, socket, event] { owner.act(socket, event); });
        }
    };
    turn(reading, what == CURL_POLL_IN || what == CURL_POLL_INOUT, QSocketNotifier::Read, CURL_CSELECT_IN);
    turn(writing, what == CURL_POLL_OUT || what == CURL_POLL_INOUT, QSocketNotifier::Write, CURL_CSELECT_OUT);
    if (what == CURL_POLL_REMOVE) {
        notifiers.erase(socket);
    }
}

HttpHead HttpExchange::Transfer::head() const
{
    long status = 0;
    curl.easyGetinfo(easy, CURLINFO_RESPONSE_CODE, &status);
    HttpHead head;
    head.status = static_cast<int>(status);
    bool isNumber = false;
    const qint64 length = header("Content-Length").toLongLong(&isNumber);
    head.length = isNumber && header("Transfer-Encoding").isEmpty() ? length : -1;
    head.location = header("Location");
    return head;
}

// The value of a header of the answer; empty when there is none.
QByteArray HttpExchange::Transfer::header(const char* name) const
{
    curl_header* found = nullptr;
    const bool isThere = curl.easyHeader(easy, name, 0, CURLH_HEADER, -1, &found) == CURLHE_OK;
    return isThere ? QByteArray(found->value) : QByteArray();
}

QString HttpExchange::Transfer::describe(CURLcode code) const
{
    long systemCode = 0;
    if (code == CURLE_COULDNT_CONNECT && curl.easyGetinfo(easy, CURLINFO_OS_ERRNO, &systemCode) == CURLE_OK &&
        systemCode != 0) {
        return systemError(static_cast<int>(systemCode)).description;  // Shorter than libcurl's own sentence.
    }
    return QString::fromUtf8(message[0] != '\0' ? message.data() : curl.easyStrerror(code)).trimmed();
}

HttpExchange::HttpExchange(HttpRequest request, TransferClock& clock, Handlers handlers)
    : m_request(std::move(request)), m_clock(clock), m_handlers(std::move(handlers))
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] { act(CURL_SOCKET_TIMEOUT, 0); });
    QMetaObject::invokeMethod(
        this, [this] { connectToServer(); }, Qt::QueuedConnection);
}

HttpExchange::~HttpExchange() = default;

void HttpExchange::prepare()
{
    CurlLibrary::instance();
}

void HttpExchange::connectToServer()
{
    if (m_ended) {
        return;
    }
    const CurlLibrary* const curl = CurlLibrary::instance();
    if (curl == nullptr) {
        fail({kNetworkErrorDomain, CURLE_FAILED_INIT, u"De bibliotheek libcurl ontbreekt."_s});
        return;
    }
    m_transfer = std::make_unique<Transfer>(*curl, *this);
    if (!m_transfer->configure(m_request)) {
        fail({kNetworkErrorDomain, CURLE_FAILED_INIT, m_transfer->describe(CURLE_FAILED_INIT)});
    }
}

void HttpExchange::act(int socket, int events)
{
    if (m_ended) {
        return;
    }
    if (events != 0) {
        m_clock.touch();
    }
    int running = 0;
    m_transfer->curl.multiSocketAction(m_transfer->multi, socket, events, &running);
    if (!m_ended && events != 0) {
        m_clock.touch();  // Again: the disk may have held up whoever took the body.
    }
    int left = 0;
    while (!m_ended) {
        const CURLMsg* const message = m_transfer->curl.multiInfoRead(m_transfer->multi, &left);
        if (message == nullptr) {
            break;
        }
        if (message->msg == CURLMSG_DONE) {
            transferEnded(message->data.result);
        }
    }
}

// One line of a head, of a notice's before it, or of what follows a body in chunks.
void HttpExchange::readHeader(QByteArrayView line)
{
    if (m_ended || m_head || !line.trimmed().isEmpty()) {
        return;
    }
    const HttpHead head = m_transfer->head();
    if (head.status < 200) {
        return;  // A notice; the answer follows.
    }
    m_head = head;
    if (head.length > m_request.largestAnswer) {
        failTooLarge();
    } else {
        m_handlers.head(head);
    }
}

void HttpExchange::readBody(QByteArrayView bytes)
{
    if (m_ended) {
        return;
    }
    m_received += bytes.size();
    if (m_received > m_request.largestAnswer) {
        failTooLarge();
    } else {
        m_handlers.body(bytes);
    }
}

void HttpExchange::transferEnded(int code)
{
    const auto curlCode = static_cast<CURLcode>(code);
    const bool isNotHttp = !m_head && (curlCode == CURLE_UNSUPPORTED_PROTOCOL || curlCode == CURLE_WEIRD_SERVER_REPLY);
    if (curlCode == CURLE_OK || isNotHttp) {
        finish(m_head ? m_head->status : 0);
    } else {
        fail({kNetworkErrorDomain, code, m_transfer->describe(curlCode)});
    }
}

void HttpExchange::failTooLarge()
{
    fail({kNetworkErrorDomain, CURLE_FILESIZE_EXCEEDED, u"Het antwoord van de server is te groot."_s});
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
    if (!std::exchange(m_ended, true)) {
        deleteLater();  // Not here: libcurl may be calling.
    }
}

}  // namespace tavlo
