#include "ui/windows/typing_key_alert.h"

#include "platform/text_literals.h"
#include "settings/language.h"
#include "ui/application_icon.h"

#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

namespace tavlo {

namespace {

// The captured key is still held when the alert comes up: a held Return key must not press the default button.
class RepeatedKeysFilter : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        const bool isKey = event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease;
        return (isKey && static_cast<QKeyEvent*>(event)->isAutoRepeat()) || QObject::eventFilter(watched, event);
    }
};

}  // namespace

TypingKeyAlertBox::~TypingKeyAlertBox()
{
    if (m_box) {
        QObject::disconnect(m_box, &QDialog::finished, nullptr, nullptr);
        delete m_box;
    }
}

void TypingKeyAlertBox::show(const TypingKeyAlert& alert, std::function<void(TypingKeyAnswer)> answered)
{
    if (m_box) {
        m_box->reject();
    }
    useApplicationIcon();
    auto* box = new QMessageBox(QMessageBox::Warning, u"Tavlo"_s, alert.title);
    m_box = box;
    box->setTextFormat(Qt::PlainText);
    box->setInformativeText(alert.text);
    if (auto* const title = box->findChild<QLabel*>(u"qt_msgbox_label"_s)) {
        QFont bold = title->font();
        bold.setBold(true);
        title->setFont(bold);
    }
    if (auto* const sign = box->findChild<QLabel*>(u"qt_msgboxex_icon_label"_s)) {
        sign->setAccessibleName(t(u"Waarschuwing"_s, u"Warning"_s));
    }
    auto* chooseAnother = box->addButton(alert.chooseAnother, QMessageBox::AcceptRole);
    auto* useAnyway = box->addButton(alert.useAnyway, QMessageBox::AcceptRole);
    auto* cancel = box->addButton(alert.cancel, QMessageBox::RejectRole);
    if (auto* const buttons = box->findChild<QDialogButtonBox*>()) {
        // The desktop's own arrangement could differ from the order in which the Tab key reaches the buttons.
        buttons->setStyleSheet(u"QDialogButtonBox { button-layout: %1 }"_s.arg(QDialogButtonBox::WinLayout));
    }
    box->setDefaultButton(chooseAnother);
    box->setEscapeButton(cancel);
    auto* filter = new RepeatedKeysFilter(box);
    for (QWidget* receiver : std::initializer_list<QWidget*>{box, chooseAnother, useAnyway, cancel}) {
        receiver->installEventFilter(filter);
    }
    QObject::connect(box, &QDialog::finished, box,
                     [this, box, chooseAnother, useAnyway, answered = std::move(answered)] {
                         auto answer = TypingKeyAnswer::Cancel;
                         if (box->clickedButton() == chooseAnother) {
                             answer = TypingKeyAnswer::ChooseAnother;
                         } else if (box->clickedButton() == useAnyway) {
                             answer = TypingKeyAnswer::UseAnyway;
                         }
                         m_box.clear();
                         box->deleteLater();
                         answered(answer);
                     });
    box->setWindowModality(Qt::ApplicationModal);
    box->show();
    box->raise();
    box->activateWindow();
}

}  // namespace tavlo
