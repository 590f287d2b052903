#include "ui/windows/window_frame.h"

#include "ui/application_icon.h"
#include "ui/windows/window_controls.h"

#include <QAbstractButton>
#include <QCloseEvent>
#include <QKeyEvent>

#include <algorithm>

namespace tavlo {

namespace {

bool takesFocus(ElementKind kind)
{
    switch (kind) {
        case ElementKind::Label:
        case ElementKind::WrappingLabel:
        case ElementKind::Icon:
        case ElementKind::ProgressBar:
            return false;
        default:
            return true;
    }
}

}  // namespace

WindowFrame::WindowFrame(const WindowDescription& description, const ReadyControls& ready)
    : QDialog(nullptr, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                           Qt::WindowCloseButtonHint | Qt::MSWindowsFixedSizeDialogHint),
      m_description(description)
{
    setWindowTitle(description.title);
    useApplicationIcon();
    setFixedSize(description.size);
    QWidget* previous = nullptr;
    for (const WindowElement& element : description.elements) {
        QWidget* control = ready.value(element.name);
        if (control) {
            control->setParent(this);
            if (auto* button = qobject_cast<QAbstractButton*>(control)) {
                button->setText(element.text);
            }
        } else {
            control = makeControl(element, this);
        }
        m_controls.insert(element.name, control);
        place(element, control);
        if (takesFocus(element.kind)) {
            if (previous) {
                setTabOrder(previous, control);
            }
            previous = control;
        }
    }
    for (const WindowElement& element : description.elements) {
        if (!element.labelled.isEmpty()) {
            nameAfterLabel(element);
        }
    }
    create();  // the display server prepares the window while the caller fills in the controls
}

void WindowFrame::nameAfterLabel(const WindowElement& label)
{
    QWidget* const named = m_controls.value(label.labelled);
    control<FittedLabel>(label.name).setBuddy(named);
    QString name = label.text;
    if (name.endsWith(QLatin1Char(':'))) {
        name.chop(1);
    }
    named->setAccessibleName(name);
}

void WindowFrame::place(const WindowElement& element, QWidget* control)
{
    control->setObjectName(element.name);
    control->setGeometry(frameFromBottomLeft(element.frame, m_description.size.height()));
    if (!element.accessibleName.isEmpty()) {
        control->setAccessibleName(element.accessibleName);
    }
    fitControl(control, element);
    colourControl(control);
    control->setVisible(element.visibility == Visibility::Shown);
}

void WindowFrame::retitle(const QString& buttonName, const QString& title)
{
    control<QAbstractButton>(buttonName).setText(title);
    refit(buttonName);
}

void WindowFrame::refit(const QString& name)
{
    fitControl(m_controls.value(name), element(name));
}

void WindowFrame::redescribe(const WindowElement& changed)
{
    element(changed.name) = changed;
    place(changed, m_controls.value(changed.name));
}

WindowElement& WindowFrame::element(const QString& name)
{
    const auto found = std::ranges::find(m_description.elements, name, &WindowElement::name);
    if (found == m_description.elements.end()) {
        qFatal("The window has no such control: %s", qUtf8Printable(name));
    }
    return *found;
}

void WindowFrame::refitAll()
{
    for (const WindowElement& element : m_description.elements) {
        fitControl(m_controls.value(element.name), element);
    }
}

void WindowFrame::bringToFront(const std::optional<QRect>& screen)
{
    if (screen) {
        QRect place = rect();
        place.moveCenter(screen->center());
        setGeometry(place);
    }
    show();
    raise();
    activateWindow();
}

void WindowFrame::changeEvent(QEvent* event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        refitAll();
    }
    if (event->type() == QEvent::PaletteChange) {
        for (QWidget* const control : std::as_const(m_controls)) {
            colourControl(control);
        }
    }
}

void WindowFrame::hideEvent(QHideEvent* event)
{
    QDialog::hideEvent(event);
    // A hidden window frees its picture and its resources at the display server.
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (isHidden()) {
                destroy();
            }
        },
        Qt::QueuedConnection);
}

void WindowFrame::closeEvent(QCloseEvent* event)
{
    // Closing must not count as Escape, as it does in QDialog.
    event->accept();
}

void WindowFrame::keyPressEvent(QKeyEvent* event)
{
    if (!event->matches(QKeySequence::Cancel)) {
        QDialog::keyPressEvent(event);
    } else if (onEscape) {
        onEscape();
    } else {
        hide();
    }
}

}  // namespace tavlo
