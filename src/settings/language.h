#pragma once

#include "platform/words.h"

#include <QString>

namespace tavlo {

// The interface language: "nl" at process start, then as set. Main thread.
extern QString gLang;

// The text in the interface language: `en` when that is exactly "en", `nl` otherwise. Main thread.
QString t(const QString& nl, const QString& en);
inline QString t(const Words& words)
{
    return t(words.nl, words.en);
}

}  // namespace tavlo
