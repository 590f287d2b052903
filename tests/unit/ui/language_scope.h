#pragma once

#include "settings/language.h"

namespace tavlo {

// The interface language for the length of a test.
class LanguageScope {
public:
    explicit LanguageScope(const QString& language) : m_before(gLang) { gLang = language; }
    ~LanguageScope() { gLang = m_before; }
    LanguageScope(const LanguageScope&) = delete;
    LanguageScope& operator=(const LanguageScope&) = delete;

private:
    QString m_before;
};

}  // namespace tavlo
