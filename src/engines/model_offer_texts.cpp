#include "engines/model_offer_texts.h"

#include "settings/language.h"

#include <cmath>

namespace tavlo {

QString byteCountText(qint64 bytes, const QLocale& locale)
{
    struct Unit {
        double size;
        int digits;
        QString name;
    };
    const Unit units[] = {
        {1e3, 0, QStringLiteral(" kB")}, {1e6, 1, QStringLiteral(" MB")}, {1e9, 2, QStringLiteral(" GB")}};
    const Unit* unit = units;
    double amount = 0;
    for (const Unit& candidate : units) {
        const double scale = std::pow(10, candidate.digits);
        unit = &candidate;
        amount = std::round(static_cast<double>(bytes) / candidate.size * scale) / scale;
        // Judged after rounding: 999,960,000 bytes are 1,00 GB, not 1000,0 MB.
        if (amount < 1000) {
            break;
        }
    }
    return locale.toString(amount, 'f', unit->digits) + unit->name;
}

QString downloadProgressText(double fraction, qint64 written, qint64 expected, const QLocale& locale)
{
    const QString total = expected < 1 ? QStringLiteral("± 1,6 GB") : byteCountText(expected, locale);
    return byteCountText(written, locale) + QStringLiteral(" / ") + total + QStringLiteral("  (") +
           QString::number(static_cast<int>(fraction * 100)) + QStringLiteral("%)");
}

QString downloadFailureText(const QString& description)
{
    return t(QStringLiteral("Download mislukt: "), QStringLiteral("Download failed: ")) + description;
}

}  // namespace tavlo
