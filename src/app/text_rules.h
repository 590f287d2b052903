#pragma once

#include <QString>

namespace tavlo {

// User-perceived characters (extended grapheme clusters) in `text`.
int characterCount(const QString& text);

// Whether a cloud text of `characters` characters is too short for `durationSeconds` of audio to be believed: fewer
// than three characters a second, for recordings of more than ten seconds.
bool isSuspiciouslyShort(int characters, double durationSeconds);

// Whether `text` merely repeats a part of the user's word list, as the engines do when they hear nothing. Texts of
// fewer than 15 characters, apart from blanks and punctuation at their ends, never count as an echo.
bool isVocabularyEcho(const QString& text, const QString& vocabulary);

}  // namespace tavlo
