#include "settings/language.h"

#include "platform/text_literals.h"

namespace tavlo {

QString gLang = u"nl"_s;

QString t(const QString& nl, const QString& en)
{
    return gLang == "en"_L1 ? en : nl;
}

}  // namespace tavlo
