#include "engines/http_response_parser.h"

#include <QList>

#include <algorithm>
#include <utility>

namespace tavlo {

namespace {

using State = HttpResponseParser::State;

constexpr qsizetype kLargestHead = 16384;
constexpr qsizetype kLargestLine = 8192;

// The status in "HTTP/1.1 200 OK"; none when the line is not such a line.
std::optional<int> statusIn(const QByteArray& line)
{
    const bool hasForm =
        line.size() >= 12 && line.startsWith("HTTP/1.") && line[8] == ' ' && (line.size() == 12 || line[12] == ' ');
    bool isNumber = false;
    const int status = hasForm ? line.mid(9, 3).toInt(&isNumber) : 0;
    return isNumber && status >= 100 ? std::optional(status) : std::nullopt;
}

// The values of a header, in the order in which they stand.
QList<QByteArray> headerValues(const QList<QByteArray>& lines, const char* name)
{
    QList<QByteArray> values;
    for (const QByteArray& line : lines) {
        const qsizetype colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).compare(name, Qt::CaseInsensitive) == 0) {
            values.append(line.mid(colon + 1).trimmed());
        }
    }
    return values;
}

// Digits alone, so that no sign or blank passes; none for anything else.
std::optional<qint64> sizeIn(const QByteArray& text, int base)
{
    const bool isPlain = !text.isEmpty() && std::all_of(text.begin(), text.end(), [base](char c) {
        return (c >= '0' && c <= '9') || (base == 16 && ((c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F')));
    });
    bool isNumber = false;
    const qint64 size = isPlain ? text.toLongLong(&isNumber, base) : 0;
    return isNumber ? std::optional(size) : std::nullopt;
}

bool beginsAsHttp(const QByteArray& bytes)
{
    const QByteArray start = "HTTP/1.";
    return bytes.startsWith(start.left(std::min(bytes.size(), start.size())));
}

}  // namespace

HttpResponseParser::HttpResponseParser(qint64 largestBody, Handlers handlers)
    : m_largestBody(largestBody), m_handlers(std::move(handlers))
{
}

State HttpResponseParser::feed(QByteArrayView bytes)
{
    m_started = m_started || !bytes.isEmpty();
    while (m_state == State::Incomplete && !bytes.isEmpty()) {
        m_state = advance(bytes);
    }
    return m_state;
}

State HttpResponseParser::finish()
{
    if (m_state != State::Incomplete) {
        return m_state;
    }
    if (m_part == Part::BodyUntilEnd) {
        m_state = State::Complete;
    } else {
        m_state = m_part == Part::Head && !beginsAsHttp(m_pending) ? State::NotHttp : State::Broken;
    }
    return m_state;
}

State HttpResponseParser::advance(QByteArrayView& bytes)
{
    switch (m_part) {
        case Part::Head:
            return readHead(bytes);
        case Part::FixedBody:
        case Part::BodyUntilEnd:
        case Part::ChunkData:
            return readBody(bytes);
        case Part::ChunkSize:
        case Part::ChunkEnd:
        case Part::Trailer:
            return readLine(bytes);
    }
    return State::Broken;
}

State HttpResponseParser::readHead(QByteArrayView& bytes)
{
    // The empty line may be cut in two by the pieces.
    const qsizetype from = std::max<qsizetype>(0, m_pending.size() - 3);
    const qsizetype before = m_pending.size();
    m_pending += bytes.first(std::min(bytes.size(), kLargestHead));
    if (!beginsAsHttp(m_pending)) {
        return State::NotHttp;
    }
    const qsizetype end = m_pending.indexOf("\r\n\r\n", from);
    if (end < 0) {
        bytes = {};
        return m_pending.size() >= kLargestHead ? State::Broken : State::Incomplete;
    }
    bytes = bytes.sliced(end + 4 - before);
    return judgeHead(std::exchange(m_pending, {}).left(end));
}

State HttpResponseParser::judgeHead(const QByteArray& head)
{
    const std::optional<int> status = statusIn(head.split('\n').first().trimmed());
    if (!status) {
        return State::NotHttp;
    }
    if (*status < 200) {
        return State::Incomplete;  // A notice; the answer follows.
    }
    m_head.status = *status;
    const State state = chooseBody(head);
    if (state == State::Incomplete || state == State::Complete) {
        m_handlers.head(m_head);
    }
    return state;
}

State HttpResponseParser::chooseBody(const QByteArray& head)
{
    const QList<QByteArray> lines = head.split('\n').mid(1);
    const QList<QByteArray> codings = headerValues(lines, "Transfer-Encoding");
    const QList<QByteArray> lengths = headerValues(lines, "Content-Length");
    m_head.location = headerValues(lines, "Location").value(0);
    if (m_head.status == 204 || m_head.status == 304) {
        return State::Complete;
    }
    if (!codings.isEmpty()) {
        m_part = Part::ChunkSize;
        return codings.size() == 1 && codings.first().toLower() == "chunked" ? State::Incomplete : State::Broken;
    }
    if (lengths.isEmpty()) {
        m_part = Part::BodyUntilEnd;
        return State::Incomplete;
    }
    const std::optional<qint64> length = sizeIn(lengths.first(), 10);
    if (!length || lengths.count(lengths.first()) != lengths.size()) {
        return State::Broken;
    }
    m_part = Part::FixedBody;
    m_head.length = *length;
    m_left = *length;
    if (m_left > m_largestBody) {
        return State::TooLarge;
    }
    return m_left == 0 ? State::Complete : State::Incomplete;
}

State HttpResponseParser::readLine(QByteArrayView& bytes)
{
    const qsizetype end = std::find(bytes.begin(), bytes.end(), '\n') - bytes.begin();
    const bool isWhole = end < bytes.size();
    m_pending += bytes.first(std::min(end, kLargestLine));
    bytes = bytes.sliced(isWhole ? end + 1 : end);
    if (m_pending.size() >= kLargestLine) {
        return State::Broken;
    }
    if (!isWhole) {
        const bool mayBeEmpty = m_pending.isEmpty() || m_pending == "\r";
        return m_part == Part::ChunkEnd && !mayBeEmpty ? State::Broken : State::Incomplete;
    }
    QByteArray line = std::exchange(m_pending, {});
    if (line.endsWith('\r')) {
        line.chop(1);
    }
    return judgeLine(line);
}

State HttpResponseParser::judgeLine(const QByteArray& line)
{
    if (m_part == Part::Trailer) {
        return line.isEmpty() ? State::Complete : State::Incomplete;
    }
    if (m_part == Part::ChunkEnd) {
        m_part = Part::ChunkSize;
        return line.isEmpty() ? State::Incomplete : State::Broken;
    }
    const std::optional<qint64> size = sizeIn(line.split(';').first().trimmed(), 16);
    if (!size) {
        return State::Broken;
    }
    if (*size > m_largestBody - m_total) {
        return State::TooLarge;
    }
    m_left = *size;
    m_part = *size == 0 ? Part::Trailer : Part::ChunkData;
    return State::Incomplete;
}

State HttpResponseParser::readBody(QByteArrayView& bytes)
{
    const bool isBounded = m_part != Part::BodyUntilEnd;
    const qsizetype count = isBounded ? static_cast<qsizetype>(std::min<qint64>(m_left, bytes.size())) : bytes.size();
    if (count > m_largestBody - m_total) {
        return State::TooLarge;
    }
    m_total += count;
    m_handlers.body(bytes.first(count));
    bytes = bytes.sliced(count);
    if (!isBounded) {
        return State::Incomplete;
    }
    m_left -= count;
    if (m_left > 0) {
        return State::Incomplete;
    }
    if (m_part == Part::FixedBody) {
        return State::Complete;
    }
    m_part = Part::ChunkEnd;
    return State::Incomplete;
}

}  // namespace tavlo
