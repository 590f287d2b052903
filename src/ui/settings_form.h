#pragma once

#include "ui/window_frame.h"
#include "ui/window_labels.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSlider>

namespace tavlo {

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

// The settings window's long-lived controls: they exist as long as the application does, and each new window takes
// them over. Main thread.
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
