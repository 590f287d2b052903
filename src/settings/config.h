#pragma once

#include "platform/text_literals.h"

#include <QString>
#include <QVariant>

namespace tavlo {

// The user's settings, a plain value with the defaults of a missing key.
struct Config {
    QString engine = u"auto"_s;
    QString apiKey;  // of the selected provider; never in the file
    QString model = u"gpt-4o-transcribe"_s;
    QString language = u"nl"_s;  // spoken, passed to the engines
    QString vocabulary;
    QString appLanguage = u"nl"_s;  // of the interface
    QString provider = u"openai"_s;
    QString groqModel = u"whisper-large-v3-turbo"_s;
    QString hotkey = u"rechter-command"_s;
    qint64 customKeycode = -1;
    QString customLabel;
    bool customIsModifier = false;
    bool duckEnabled = true;
    double duckVolume = 0.08;
    // The user's own servers in place of the providers': the JSON value of `openai_base_url` and `groq_base_url` as
    // it stands in the file, of whatever type; invalid when the key is absent. The cloud client judges them.
    QVariant openaiBaseUrl;
    QVariant groqBaseUrl;

    bool isGroq() const { return provider == "groq"_L1; }
    QString cloudModel() const { return isGroq() ? groqModel : model; }
    QString providerName() const { return isGroq() ? u"Groq"_s : u"OpenAI"_s; }

    bool operator==(const Config&) const = default;
};

}  // namespace tavlo
