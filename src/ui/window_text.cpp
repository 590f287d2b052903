#include "ui/window_text.h"

#include "platform/text_literals.h"

#include <QCache>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QHash>
#include <QPainter>
#include <QTextLayout>

#include <algorithm>
#include <array>

namespace tavlo {

namespace {

constexpr int kSmallestReadableSize = 11;
// Widths of letters, in percents; narrower than this reads badly.
constexpr std::array kStretches{100, 96, 92, 88, 84, 80, 76, 72};
constexpr std::array kLineSpacings{1.0, 0.95, 0.9, 0.86};
constexpr std::array kParagraphGaps{6.0, 4.0, 2.0};

QFont::Weight fontWeight(FontWeight weight)
{
    switch (weight) {
        case FontWeight::Semibold:
            return QFont::DemiBold;
        case FontWeight::Bold:
            return QFont::Bold;
        case FontWeight::Regular:
            break;
    }
    return QFont::Normal;
}

bool hasRoom(const TextBlock& block, const QSizeF& room)
{
    return block.size().width() <= room.width() && block.size().height() <= room.height();
}

TextStyle closestFittingStyle(const std::vector<TextRequest>& requests)
{
    const TextRequest& wanted = requests.front();
    const int smallest = std::min(wanted.pixelSize, kSmallestReadableSize);
    const auto allFit = [&requests](const TextStyle& style) {
        return std::ranges::all_of(requests, [&style](const auto& request) { return fits(request, style); });
    };
    TextStyle style{windowFont(wanted.pixelSize, wanted.weight)};
    if (wanted.text.contains(QLatin1Char('\n'))) {
        for (const double gap : kParagraphGaps) {
            style.paragraphGap = gap;
            if (allFit(style)) {
                return style;
            }
        }
    }
    for (const int stretch : kStretches) {
        for (int size = wanted.pixelSize; size >= smallest; --size) {
            for (const double lineSpacing : kLineSpacings) {
                style = {windowFont(size, wanted.weight, stretch), lineSpacing};
                if (allFit(style)) {
                    return style;
                }
                if (wanted.wrapping == Wrapping::SingleLine) {
                    break;  // one line has no spacing
                }
            }
        }
    }
    return style;
}

FittedText laidOut(const TextRequest& request)
{
    const TextStyle style = closestFittingStyle({request});
    QString shown = request.text;
    if (request.wrapping == Wrapping::SingleLine) {
        shown = QFontMetricsF(style.font).elidedText(shown, Qt::ElideRight, request.room.width() + 0.5);
    }
    const TextBlock block(shown, style, request.wrapping, request.room.width());
    return {style, block, shown == request.text && hasRoom(block, request.room)};
}

// The key of the cache: what a style was chosen for.
struct Fit {
    std::vector<TextRequest> requests;
    QFont applicationFont;

    bool operator==(const Fit&) const = default;
};

std::size_t qHash(const Fit& fit, std::size_t seed = 0)
{
    for (const TextRequest& request : fit.requests) {
        seed = qHashMulti(seed, request.text, request.room.width(), request.pixelSize);
    }
    return seed;
}

// The latest fits: more than all windows need in one language. Never destroyed, because fonts must not be touched any
// more when static objects go.
template <class Result>
QCache<Fit, Result>& memory()
{
    static auto* const kept = new QCache<Fit, Result>(60);
    return *kept;
}

// The cached result for these requests, or else what `find` finds now.
template <class Result, class Find>
Result remembered(const std::vector<TextRequest>& requests, Find find)
{
    const Fit fit{requests, QGuiApplication::font()};
    auto& known = memory<Result>();
    if (const Result* const found = known.object(fit)) {
        return *found;
    }
    Result result = find(requests);
    known.insert(fit, new Result(result));
    return result;
}

}  // namespace

QFont windowFont(int pixelSize, FontWeight weight, int stretch)
{
    QFont font = QGuiApplication::font();
    font.setPixelSize(pixelSize);
    font.setWeight(fontWeight(weight));
    font.setItalic(false);
    font.setStretch(stretch);
    return font;
}

TextBlock::TextBlock(const QString& text, const TextStyle& style, Wrapping wrapping, double width) : m_font(style.font)
{
    const QFontMetricsF metrics(style.font);
    const QString bullet = u"•  "_s;
    QTextOption option;
    option.setWrapMode(QTextOption::WordWrap);
    double top = 0;
    double widest = 0;
    for (const QString& paragraph : text.split(QLatin1Char('\n'))) {
        const double indent = paragraph.startsWith(bullet) ? metrics.horizontalAdvance(bullet) : 0;
        QTextLayout layout(paragraph, style.font);
        layout.setTextOption(option);
        layout.beginLayout();
        bool first = true;
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            const double left = first ? 0 : indent;
            if (wrapping == Wrapping::SingleLine) {
                line.setNumColumns(static_cast<int>(paragraph.size()));
            } else {
                line.setLineWidth(width - left);
            }
            const QString part = paragraph.mid(line.textStart(), line.textLength());
            QStaticText drawn(part);
            drawn.setTextFormat(Qt::PlainText);
            m_lines.push_back({drawn, {left, top + metrics.ascent()}, line.ascent(), line.naturalTextWidth()});
            widest = std::max(widest, left + line.naturalTextWidth());
            top += metrics.height() * style.lineSpacing;
            first = false;
        }
        layout.endLayout();
        top += style.paragraphGap;
    }
    // The last line needs its full height, however close the lines stand.
    m_size = QSizeF(widest, top - style.paragraphGap + metrics.height() * (1 - style.lineSpacing));
}

std::vector<QRectF> TextBlock::lineFrames() const
{
    const QFontMetricsF metrics(m_font);
    std::vector<QRectF> frames;
    for (const Line& line : m_lines) {
        frames.emplace_back(line.position.x(), line.position.y() - metrics.ascent(), line.width, metrics.height());
    }
    return frames;
}

void TextBlock::draw(QPainter& painter, const QRectF& frame, TextAlignment alignment) const
{
    painter.setFont(m_font);
    for (const Line& line : m_lines) {
        double left = frame.left() + line.position.x();
        if (alignment == TextAlignment::Centre) {
            left += (frame.width() - line.width) / 2;
        } else if (alignment == TextAlignment::Right) {
            left += frame.width() - line.width;
        }
        painter.drawStaticText(QPointF(left, frame.top() + line.position.y() - line.ascent), line.text);
    }
}

bool fits(const TextRequest& request, const TextStyle& style)
{
    return hasRoom(TextBlock(request.text, style, request.wrapping, request.room.width()), request.room);
}

TextStyle fittedStyle(const TextRequest& request)
{
    return fittedStyle(std::vector<TextRequest>{request});
}

TextStyle fittedStyle(const std::vector<TextRequest>& requests)
{
    return remembered<TextStyle>(requests, &closestFittingStyle);
}

FittedText fittedText(const TextRequest& request)
{
    return remembered<FittedText>({request}, [](const auto& requests) { return laidOut(requests.front()); });
}

}  // namespace tavlo
