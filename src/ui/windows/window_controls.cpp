#include "ui/windows/window_controls.h"

#include "platform/text_literals.h"
#include "ui/application_icon.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPainter>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSlider>
#include <QStyle>
#include <QStyleOptionButton>
#include <QStyleOptionComboBox>
#include <QStyleOptionFrame>

namespace tavlo {

namespace {

// An ampersand would underline the next letter: our titles have no mnemonics.
QString verbatim(const QString& title)
{
    return QString(title).replace(QLatin1Char('&'), u"&&"_s);
}

QString withoutEscapes(const QString& title)
{
    return QString(title).replace(u"&&"_s, u"&"_s);
}

QPushButton* makeButton(const WindowElement& element, QWidget* parent)
{
    auto* button = new QPushButton(verbatim(element.text), parent);
    const bool isDefault = element.kind == ElementKind::DefaultButton;
    // Return presses the default button only; the others are pressed with the space bar.
    button->setAutoDefault(isDefault);
    button->setDefault(isDefault);
    return button;
}

QSizeF buttonRoom(const QAbstractButton& button)
{
    QStyleOptionButton option;
    option.initFrom(&button);
    option.text = button.text();
    const bool isCheckBox = qobject_cast<const QCheckBox*>(&button) != nullptr;
    const auto part = isCheckBox ? QStyle::SE_CheckBoxContents : QStyle::SE_PushButtonContents;
    return QSizeF(button.style()->subElementRect(part, &option, &button).size());
}

QSizeF popUpRoom(const QComboBox& popUp)
{
    QStyleOptionComboBox option;
    option.initFrom(&popUp);
    option.editable = false;
    option.subControls = QStyle::SC_All;
    QSizeF room(
        popUp.style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, &popUp).size());
    room.rwidth() -= 2;  // styles set the text off from the field's edge
    return room;
}

QSizeF fieldRoom(const QLineEdit& field)
{
    QStyleOptionFrame option;
    option.initFrom(&field);
    option.lineWidth = field.style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, &field);
    QSizeF room(field.style()->subElementRect(QStyle::SE_LineEditContents, &option, &field).size());
    room.rwidth() -= 4;  // the field's own margin, two on each side
    return room;
}

}  // namespace

FittedLabel::FittedLabel(QWidget* parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
}

void FittedLabel::restyle(const WindowElement& element)
{
    m_pixelSize = element.pixelSize;
    m_weight = element.weight;
    m_colour = element.colour;
    m_alignment = element.alignment;
    m_wrapping = element.kind == ElementKind::WrappingLabel ? Wrapping::BetweenWords : Wrapping::SingleLine;
    update();
}

void FittedLabel::showText(const QString& text)
{
    setText(text);
    update();
}

TextRequest FittedLabel::request() const
{
    return {text(), QSizeF(size()), m_pixelSize, m_weight, m_wrapping};
}

void FittedLabel::paintEvent(QPaintEvent*)
{
    const FittedText fitted = fittedText(request());
    // A text of unknown length, such as an error of the system, may not fit at all. The tooltip shows all of it.
    setToolTip(fitted.isWhole ? QString() : text());
    QPainter painter(this);
    painter.setPen(labelColour(m_colour, palette()));
    QRectF frame(rect());
    if (m_wrapping == Wrapping::SingleLine) {
        // At the bottom of the frame the label stands level with the control beside it.
        frame.translate(0, height() - fitted.block.size().height());
    }
    fitted.block.draw(painter, frame, m_alignment);
}

IconLabel::IconLabel(const QSize& size, QWidget* parent) : QLabel(parent)
{
    resize(size);
    // paintEvent() draws the icon; this pixmap tells assistive programs that the label is a picture.
    setPixmap(QPixmap(1, 1));
}

void IconLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    drawApplicationIcon(painter, QRectF(rect()));
}

QWidget* makeControl(const WindowElement& element, QWidget* parent)
{
    switch (element.kind) {
        case ElementKind::Icon:
            return new IconLabel(element.frame.size(), parent);
        case ElementKind::Button:
        case ElementKind::DefaultButton:
        case ElementKind::SmallButton:
            return makeButton(element, parent);
        case ElementKind::PopUp:
            return new QComboBox(parent);
        case ElementKind::TextField:
            return new QLineEdit(parent);
        case ElementKind::TextView:
            return new QPlainTextEdit(parent);
        case ElementKind::CheckBox:
            return new QCheckBox(verbatim(element.text), parent);
        case ElementKind::Slider:
            return new QSlider(Qt::Horizontal, parent);
        case ElementKind::ProgressBar: {
            auto* bar = new QProgressBar(parent);
            bar->setTextVisible(false);
            return bar;
        }
        case ElementKind::Label:
        case ElementKind::WrappingLabel:
            break;
    }
    auto* label = new FittedLabel(parent);
    label->setText(element.text);
    return label;
}

std::vector<TextRequest> textsOf(const QWidget* control, const WindowElement& element)
{
    std::vector<TextRequest> texts;
    if (const auto* label = qobject_cast<const QLabel*>(control)) {
        if (element.kind != ElementKind::Icon) {
            texts.push_back(static_cast<const FittedLabel*>(label)->request());
        }
    } else if (const auto* button = qobject_cast<const QAbstractButton*>(control)) {
        texts.push_back({withoutEscapes(button->text()), buttonRoom(*button), element.pixelSize, element.weight});
    } else if (const auto* popUp = qobject_cast<const QComboBox*>(control)) {
        for (int index = 0; index < popUp->count(); ++index) {
            texts.push_back({popUp->itemText(index), popUpRoom(*popUp), element.pixelSize, element.weight});
        }
    } else if (const auto* field = qobject_cast<const QLineEdit*>(control)) {
        texts.push_back({field->placeholderText(), fieldRoom(*field), element.pixelSize, element.weight});
    }
    return texts;
}

void colourControl(QWidget* control)
{
    if (qobject_cast<QLineEdit*>(control)) {
        QPalette changes;
        changes.setColor(QPalette::PlaceholderText, placeholderColour(QApplication::palette(control)));
        control->setPalette(changes);
    }
}

void fitControl(QWidget* control, const WindowElement& element)
{
    if (element.kind == ElementKind::Label || element.kind == ElementKind::WrappingLabel) {
        static_cast<FittedLabel*>(control)->restyle(element);
        return;
    }
    const std::vector<TextRequest> texts = textsOf(control, element);
    control->setFont(texts.empty() ? windowFont(element.pixelSize, element.weight) : fittedStyle(texts).font);
}

}  // namespace tavlo
