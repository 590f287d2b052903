#include "app/text_rules.h"

#include "platform/text_literals.h"

#include <QTextBoundaryFinder>

namespace tavlo {

namespace {

enum class Trim { White, WhiteAndPunctuation };

// The character before `end`, as one code point.
char32_t codePointBefore(const QString& text, qsizetype end)
{
    const QChar last = text.at(end - 1);
    if (last.isLowSurrogate() && end >= 2 && text.at(end - 2).isHighSurrogate()) {
        return QChar::surrogateToUcs4(text.at(end - 2), last);
    }
    return last.unicode();
}

char32_t codePointAt(const QString& text, qsizetype begin)
{
    const QChar first = text.at(begin);
    if (first.isHighSurrogate() && begin + 1 < text.size() && text.at(begin + 1).isLowSurrogate()) {
        return QChar::surrogateToUcs4(first, text.at(begin + 1));
    }
    return first.unicode();
}

QString trimmed(const QString& text, Trim trim)
{
    const auto goes = [trim](char32_t c) {
        return QChar::isSpace(c) || (trim == Trim::WhiteAndPunctuation && QChar::isPunct(c));
    };
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && goes(codePointAt(text, begin))) {
        begin += QChar::requiresSurrogates(codePointAt(text, begin)) ? 2 : 1;
    }
    while (end > begin && goes(codePointBefore(text, end))) {
        end -= QChar::requiresSurrogates(codePointBefore(text, end)) ? 2 : 1;
    }
    return text.mid(begin, end - begin);
}

// Whether `text` holds `part` as a run of whole characters.
bool containsCharacters(const QString& text, const QString& part)
{
    QTextBoundaryFinder boundaries(QTextBoundaryFinder::Grapheme, text);
    const auto isBoundary = [&boundaries](qsizetype position) {
        boundaries.setPosition(position);
        return boundaries.isAtBoundary();
    };
    for (qsizetype at = text.indexOf(part); at >= 0; at = text.indexOf(part, at + 1)) {
        if (isBoundary(at) && isBoundary(at + part.size())) {
            return true;
        }
    }
    return false;
}

}  // namespace

int characterCount(const QString& text)
{
    QTextBoundaryFinder boundaries(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    while (boundaries.toNextBoundary() >= 0) {
        ++count;
    }
    return count;
}

bool isSuspiciouslyShort(int characters, double durationSeconds)
{
    constexpr double kLongRecordingSeconds = 10.0;
    constexpr double kFewestCharactersPerSecond = 3.0;
    return durationSeconds > kLongRecordingSeconds && characters / durationSeconds < kFewestCharactersPerSecond;
}

bool isVocabularyEcho(const QString& text, const QString& vocabulary)
{
    constexpr int kShortestEcho = 15;
    const QString v = trimmed(vocabulary.normalized(QString::NormalizationForm_C).toLower(), Trim::White);
    const QString s = trimmed(text.normalized(QString::NormalizationForm_C).toLower(), Trim::WhiteAndPunctuation);
    return !v.isEmpty() && characterCount(s) >= kShortestEcho && containsCharacters(v, s);
}

}  // namespace tavlo
