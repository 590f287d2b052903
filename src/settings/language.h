#pragma once

#include "platform/words.h"
#include "settings/config.h"

#include <QString>

namespace tavlo {

// The interface language: "nl" at process start, then as set. Main thread.
inline QString gLang = kDutch;

// The text in the interface language: `en` when that is exactly "en", `nl` otherwise. Main thread.
inline QString t(const QString& nl, const QString& en)
{
    return gLang == kEnglish ? en : nl;
}

inline QString t(const Words& words)
{
    return t(words.nl, words.en);
}

}  // namespace tavlo
