#pragma once

#include <QString>
#include <QVariant>

namespace tavlo {

// The user's settings, a plain value with the defaults of a missing key.
struct Config {
    QString engine = QStringLiteral("auto");
    QString apiKey;  // of the selected provider; never in the file
    QString model = QStringLiteral("gpt-4o-transcribe");
    QString language = QStringLiteral("nl");  // spoken, passed to the engines
    QString vocabulary;
    QString appLanguage = QStringLiteral("nl");  // of the interface
    QString provider = QStringLiteral("openai");
    QString groqModel = QStringLiteral("whisper-large-v3-turbo");
    QString hotkey = QStringLiteral("rechter-command");
    qint64 customKeycode = -1;
    QString customLabel;
    bool customIsModifier = false;
    bool duckEnabled = true;
    double duckVolume = 0.08;
    // The user's own servers in place of the providers': the JSON value of `openai_base_url` and `groq_base_url` as
    // it stands in the file, of whatever type; invalid when the key is absent. The cloud client judges them.
    QVariant openaiBaseUrl;
    QVariant groqBaseUrl;

    bool isGroq() const { return provider == QLatin1String("groq"); }
    QString cloudModel() const { return isGroq() ? groqModel : model; }
    QString providerName() const { return isGroq() ? QStringLiteral("Groq") : QStringLiteral("OpenAI"); }

    bool operator==(const Config&) const = default;
};

}  // namespace tavlo
