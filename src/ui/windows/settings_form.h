#pragma once

#include "platform/text_literals.h"
#include "settings/config.h"
#include "ui/windows/window_controls.h"
#include "ui/windows/window_frame.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSlider>
#include <QString>
#include <QStringList>

#include <array>

namespace tavlo {

// The names of the settings window's controls.
namespace control_name {
inline const QString kLangPopup = u"langPopup"_s;
inline const QString kProviderPopup = u"providerPopup"_s;
inline const QString kApiField = u"apiField"_s;
inline const QString kKeyPageButton = u"keyPageButton"_s;
inline const QString kModelPopup = u"modelPopup"_s;
inline const QString kCostLabel = u"costLabel"_s;
inline const QString kEnginePopup = u"enginePopup"_s;
inline const QString kVocabView = u"vocabView"_s;
inline const QString kDuckCheck = u"duckCheck"_s;
inline const QString kDuckSlider = u"duckSlider"_s;
inline const QString kDuckPct = u"duckPct"_s;
inline const QString kCancelButton = u"cancelButton"_s;
inline const QString kSaveButton = u"saveButton"_s;
}  // namespace control_name

// What the settings window's pop-ups store. The index of an entry is the index of the pop-up's item.
inline const std::array kLangValues{kDutch, kEnglish};
inline const std::array kProviderValues{kProviderOpenAI, kProviderGroq};
// The models of OpenAI.
inline const std::array kModelValues{kDefaultOpenAIModel, u"gpt-4o-mini-transcribe"_s, u"whisper-1"_s};
inline const std::array kGroqModels{kDefaultGroqModel};
inline const std::array kEngineValues{kEngineAuto, kEngineCloud, kEngineLocal};

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

// The entry that a pop-up has selected. An index outside the table is a programming error and stops the program.
template <std::size_t count>
const QString& selectedEntry(const std::array<QString, count>& table, int index)
{
    if (index < 0 || static_cast<std::size_t>(index) >= count) {
        qFatal("The selected index %d is outside a table of %zu entries.", index, count);
    }
    return table[static_cast<std::size_t>(index)];
}

// A slider from 0 to 0.3 that keeps the value it was given, however fine, until the user moves it.
class FractionSlider : public QSlider {
public:
    FractionSlider();

    void setFraction(double fraction);
    double fraction() const;

private:
    double m_given = 0;
    int m_givenPosition = 0;
};

// The settings window's long-lived controls. They live as long as the application; each new window takes them over from
// the one before. Main thread.
class SettingsForm {
public:
    SettingsForm();

    // By the names of their places in the layout.
    ReadyControls controls();

    // As setPlainText does: with the cursor at the beginning and nothing to undo.
    void showVocabulary(const QString& text);
    // The text of the vocabulary, character for character.
    QString vocabulary() const;

    QComboBox langPopup;
    QComboBox providerPopup;
    QComboBox modelPopup;
    QComboBox enginePopup;
    QLineEdit apiField;
    QPlainTextEdit vocabView;
    QCheckBox duckCheck;
    FractionSlider duckSlider;
    FittedLabel duckPct;
    FittedLabel costLabel;
};

}  // namespace tavlo
