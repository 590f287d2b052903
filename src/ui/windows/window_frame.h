#pragma once

#include "ui/window_description.h"

#include <QDialog>
#include <QHash>

#include <functional>
#include <optional>

namespace tavlo {

class FittedLabel;

// Controls that exist before the window, by the name of their place in it.
using ReadyControls = QHash<QString, QWidget*>;

// A window that mirrors a description: of fixed size, with a title and a close box only. Closing hides it, whatever
// closes it. Follows the desktop's palette and font while it is open. Main thread.
class WindowFrame : public QDialog {
public:
    // `ready` controls are moved into this window, which gives them the text, place and font of the description. Those
    // that must outlive it have to be moved out again before it is destroyed.
    explicit WindowFrame(const WindowDescription& description, const ReadyControls& ready = {});

    // The control of that name. A name or a type that the window does not have stops the program.
    template <class Widget>
    Widget& control(const QString& name) const
    {
        auto* const widget = dynamic_cast<Widget*>(m_controls.value(name));
        if (!widget) {
            qFatal("The window has no such control: %s", qUtf8Printable(name));
        }
        return *widget;
    }

    // Changes the title of a button, and fits it.
    void retitle(const QString& buttonName, const QString& title);
    // Fits the texts of a control again after they have changed.
    void refit(const QString& name);
    // Replaces the description of the element of that name, and applies its frame and style; not its text.
    void redescribe(const WindowElement& element);

    // Shows the window in the middle of `screen`, in front of all others and with the keyboard.
    void bringToFront(const std::optional<QRect>& screen);

    const WindowDescription& description() const { return m_description; }
    QWidget* widget(const QString& name) const { return m_controls.value(name); }

    // What Escape does; empty for hiding the window.
    std::function<void()> onEscape;

protected:
    void changeEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void place(const WindowElement& element, QWidget* control);
    void nameAfterLabel(const WindowElement& label);
    WindowElement& element(const QString& name);
    void refitAll();

    WindowDescription m_description;
    QHash<QString, QWidget*> m_controls;
};

}  // namespace tavlo
