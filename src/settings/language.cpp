#include "settings/language.h"

#include "settings/config.h"

namespace tavlo {

QString gLang = kDutch;

QString t(const QString& nl, const QString& en)
{
    return gLang == kEnglish ? en : nl;
}

}  // namespace tavlo
