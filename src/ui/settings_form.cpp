#include "ui/settings_form.h"

#include <QTextDocument>

#include <algorithm>
#include <cmath>

namespace tavlo {

namespace {

constexpr double kHighestFraction = 0.3;
constexpr double kInitialFraction = 0.08;
constexpr int kStepsPerUnit = 1000;

}  // namespace

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
    duckCheck.setText(QStringLiteral("Muziek dempen tijdens opname"));
    duckSlider.setFraction(kInitialFraction);
    duckPct.setText(QStringLiteral("8%"));
}

ReadyControls SettingsForm::controls()
{
    return {{QStringLiteral("langPopup"), &langPopup},   {QStringLiteral("providerPopup"), &providerPopup},
            {QStringLiteral("modelPopup"), &modelPopup}, {QStringLiteral("enginePopup"), &enginePopup},
            {QStringLiteral("apiField"), &apiField},     {QStringLiteral("vocabView"), &vocabView},
            {QStringLiteral("duckCheck"), &duckCheck},   {QStringLiteral("duckSlider"), &duckSlider},
            {QStringLiteral("duckPct"), &duckPct},       {QStringLiteral("costLabel"), &costLabel}};
}

void SettingsForm::showVocabulary(const QString& text)
{
    // A text that stands there untouched is not laid out once more.
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
