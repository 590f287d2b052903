#include "settings/language.h"

namespace tavlo {

QString gLang = QStringLiteral("nl");

QString t(const QString& nl, const QString& en)
{
    return gLang == QLatin1String("en") ? en : nl;
}

}  // namespace tavlo
