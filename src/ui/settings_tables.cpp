#include "ui/settings_tables.h"

#include "settings/language.h"

#include <cmath>

namespace tavlo {

QStringList langTitles()
{
    return {QStringLiteral("Nederlands"), QStringLiteral("English")};
}

QStringList providerTitles()
{
    return {QStringLiteral("OpenAI"), t(QStringLiteral("Groq (voordeligste)"), QStringLiteral("Groq (cheapest)"))};
}

QStringList modelTitles()
{
    return {t(QStringLiteral("gpt-4o-transcribe (beste)"), QStringLiteral("gpt-4o-transcribe (best)")),
            t(QStringLiteral("gpt-4o-mini-transcribe (goedkoper)"), QStringLiteral("gpt-4o-mini-transcribe (cheaper)")),
            QStringLiteral("whisper-1")};
}

QStringList groqModelTitles()
{
    return {t(QStringLiteral("whisper-large-v3-turbo (snel & spotgoedkoop)"),
              QStringLiteral("whisper-large-v3-turbo (fast & dirt cheap)"))};
}

QStringList engineTitles()
{
    return {t(QStringLiteral("Automatisch (cloud, lokaal als reserve)"),
              QStringLiteral("Automatic (cloud, local as backup)")),
            t(QStringLiteral("Alleen cloud"), QStringLiteral("Cloud only")),
            t(QStringLiteral("Alleen lokaal (gratis)"), QStringLiteral("Local only (free)"))};
}

QString costText(const QString& provider, int modelIndex)
{
    constexpr int kMiniModelIndex = 1;
    QString cost = QStringLiteral("$0,36 (≈ €0,33)");
    if (provider == kProviderValues[1]) {
        cost = QStringLiteral("$0,04 (≈ €0,04)");
    } else if (modelIndex == kMiniModelIndex) {
        cost = QStringLiteral("$0,18 (≈ €0,17)");
    }
    return t(QStringLiteral("Kosten met eigen sleutel: ± "), QStringLiteral("Cost with your own key: ~ ")) + cost +
           t(QStringLiteral(" per uur spraak · lokale Whisper is altijd gratis"),
             QStringLiteral(" per hour of speech · local Whisper is always free"));
}

QString percentText(double fraction)
{
    return QString::number(std::lround(fraction * 100)) + QLatin1Char('%');
}

double storedVolume(double fraction)
{
    return std::round(fraction * 100) / 100;
}

}  // namespace tavlo
