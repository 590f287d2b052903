#pragma once

#include <QString>
#include <QStringList>

#include <array>

namespace tavlo {

// What the settings window's pop-ups store: the index of an entry is the index of the pop-up's item.
inline const std::array kLangValues{QStringLiteral("nl"), QStringLiteral("en")};
inline const std::array kProviderValues{QStringLiteral("openai"), QStringLiteral("groq")};
// The models of OpenAI.
inline const std::array kModelValues{QStringLiteral("gpt-4o-transcribe"), QStringLiteral("gpt-4o-mini-transcribe"),
                                     QStringLiteral("whisper-1")};
inline const std::array kGroqModels{QStringLiteral("whisper-large-v3-turbo")};
// The second stands for the cloud only, whatever the provider.
inline const std::array kEngineValues{QStringLiteral("auto"), QStringLiteral("openai"), QStringLiteral("local")};

// The pop-ups' titles in the interface language, in the order of the tables above.
QStringList langTitles();
QStringList providerTitles();
QStringList modelTitles();
QStringList groqModelTitles();
QStringList engineTitles();

// The sentence under the model: what an hour of speech costs with the user's own key.
QString costText(const QString& provider, int modelIndex);

// "13%": the slider's value in whole percents, halves away from zero.
QString percentText(double fraction);
// The slider's value with two decimals, as it is stored.
double storedVolume(double fraction);

// The index of a stored value; the first entry's when the table has no such value.
template <std::size_t count>
int indexOf(const std::array<QString, count>& table, const QString& value)
{
    for (std::size_t index = 0; index < count; ++index) {
        if (table[index] == value) {
            return static_cast<int>(index);
        }
    }
    return 0;
}

// The entry that a pop-up has selected. An index outside the table is a mistake of the program, and stops it.
template <std::size_t count>
const QString& selectedEntry(const std::array<QString, count>& table, int index)
{
    if (index < 0 || static_cast<std::size_t>(index) >= count) {
        qFatal("The selected index %d is outside a table of %zu entries.", index, count);
    }
    return table[static_cast<std::size_t>(index)];
}

}  // namespace tavlo
