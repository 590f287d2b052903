#include "ui/windows/settings_form.h"

#include "platform/text_literals.h"
#include "settings/language.h"

#include <QTextDocument>

#include <algorithm>
#include <cmath>

namespace tavlo {

namespace {

constexpr double kHighestFraction = 0.3;
constexpr double kInitialFraction = 0.08;
constexpr int kStepsPerUnit = 1000;

}  // namespace

QStringList langTitles()
{
    return {u"Nederlands"_s, u"English"_s};
}

QStringList providerTitles()
{
    return {u"OpenAI"_s, t(u"Groq (voordeligste)"_s, u"Groq (cheapest)"_s)};
}

QStringList modelTitles()
{
    return {t(u"gpt-4o-transcribe (beste)"_s, u"gpt-4o-transcribe (best)"_s),
            t(u"gpt-4o-mini-transcribe (goedkoper)"_s, u"gpt-4o-mini-transcribe (cheaper)"_s), u"whisper-1"_s};
}

QStringList groqModelTitles()
{
    return {t(u"whisper-large-v3-turbo (snel & spotgoedkoop)"_s, u"whisper-large-v3-turbo (fast & dirt cheap)"_s)};
}

QStringList engineTitles()
{
    return {t(u"Automatisch (cloud, lokaal als reserve)"_s, u"Automatic (cloud, local as backup)"_s),
            t(u"Alleen cloud"_s, u"Cloud only"_s), t(u"Alleen lokaal (gratis)"_s, u"Local only (free)"_s)};
}

QString costText(const QString& provider, int modelIndex)
{
    constexpr int kMiniModelIndex = 1;
    QString cost = u"$0,36 (≈ €0,33)"_s;
    if (provider == kProviderGroq) {
        cost = u"$0,04 (≈ €0,04)"_s;
    } else if (modelIndex == kMiniModelIndex) {
        cost = u"$0,18 (≈ €0,17)"_s;
    }
    return t(u"Kosten met eigen sleutel: ± "_s, u"Cost with your own key: ~ "_s) + cost +
           t(u" per uur spraak · lokale Whisper is altijd gratis"_s,
             u" per hour of speech · local Whisper is always free"_s);
}

QString percentText(double fraction)
{
    return QString::number(std::lround(fraction * 100)) + QLatin1Char('%');
}

double storedVolume(double fraction)
{
    return std::round(fraction * 100) / 100;
}

FractionSlider::FractionSlider() : QSlider(Qt::Horizontal)
{
    setRange(0, static_cast<int>(kHighestFraction * kStepsPerUnit));
    setSingleStep(10);  // one percent
    setPageStep(50);
}

void FractionSlider::setFraction(double fraction)
{
    m_given = std::clamp(fraction, 0.0, kHighestFraction);
    m_givenPosition = static_cast<int>(std::lround(m_given * kStepsPerUnit));
    setValue(m_givenPosition);
}

double FractionSlider::fraction() const
{
    return value() == m_givenPosition ? m_given : static_cast<double>(value()) / kStepsPerUnit;
}

SettingsForm::SettingsForm()
{
    // The key is shown in clear text, so that the user sees what was pasted.
    apiField.setEchoMode(QLineEdit::Normal);
    vocabView.setTabChangesFocus(true);
    vocabView.setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    vocabView.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    duckCheck.setText(u"Muziek dempen tijdens opname"_s);
    duckSlider.setFraction(kInitialFraction);
    duckPct.setText(u"8%"_s);
}

ReadyControls SettingsForm::controls()
{
    return {{control_name::kLangPopup, &langPopup},   {control_name::kProviderPopup, &providerPopup},
            {control_name::kModelPopup, &modelPopup}, {control_name::kEnginePopup, &enginePopup},
            {control_name::kApiField, &apiField},     {control_name::kVocabView, &vocabView},
            {control_name::kDuckCheck, &duckCheck},   {control_name::kDuckSlider, &duckSlider},
            {control_name::kDuckPct, &duckPct},       {control_name::kCostLabel, &costLabel}};
}

void SettingsForm::showVocabulary(const QString& text)
{
    // Laying out a long text takes time, so the same text is not set again.
    if (text != vocabulary() || vocabView.document()->isUndoAvailable() || vocabView.document()->isRedoAvailable()) {
        vocabView.setPlainText(text);
    } else {
        vocabView.moveCursor(QTextCursor::Start);
    }
}

QString SettingsForm::vocabulary() const
{
    // toPlainText() would turn no-break spaces into plain ones.
    return vocabView.document()
        ->toRawText()
        .replace(QChar::ParagraphSeparator, QLatin1Char('\n'))
        .replace(QChar::LineSeparator, QLatin1Char('\n'));
}

}  // namespace tavlo
