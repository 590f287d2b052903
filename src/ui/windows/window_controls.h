#pragma once

#include "ui/window_text.h"

#include <QAbstractButton>
#include <QLabel>
#include <QObject>

#include <functional>
#include <utility>

class QWidget;

namespace tavlo {

// A label that chooses the way its text is set so that it fits the label's frame. Main thread.
class FittedLabel : public QLabel {
public:
    explicit FittedLabel(QWidget* parent = nullptr);

    // Takes over size, weight, colour, alignment and wrapping; not the text.
    void restyle(const WindowElement& element);
    // Changes the text. It is fitted when it is drawn, because a download's progress changes more often than that.
    void showText(const QString& text);

    TextRequest request() const;
    // Fitted to the text, the frame and the font as they are now.
    TextStyle style() const { return fittedText(request()).style; }
    ColourRole colourRole() const { return m_colour; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_pixelSize = 13;
    FontWeight m_weight = FontWeight::Regular;
    ColourRole m_colour = ColourRole::Label;
    TextAlignment m_alignment = TextAlignment::Left;
    Wrapping m_wrapping = Wrapping::SingleLine;
};

// The application's icon, drawn sharp at every scale. Main thread.
class IconLabel : public QLabel {
public:
    IconLabel(const QSize& size, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
};

// Makes the control that an element describes, without its place and font. The result belongs to `parent`.
// Main thread.
QWidget* makeControl(const WindowElement& element, QWidget* parent);

// Gives a control the element's font, made to fit the control's present size and texts.
void fitControl(QWidget* control, const WindowElement& element);

// Makes the hint of a text field readable on the present palette.
void colourControl(QWidget* control);

// All texts that a control can show, each with the room that the style leaves for it.
std::vector<TextRequest> textsOf(const QWidget* control, const WindowElement& element);

// Lets a button call an arbitrary handler. Whoever binds a button to a target keeps the target alive: the button does
// not own it, and does nothing once it is gone. Main thread.
class ClosureTarget : public QObject {
public:
    explicit ClosureTarget(std::function<void()> handler) : run(std::move(handler)) {}

    // Calls `run`, which may destroy this target.
    void fire()
    {
        // A copy, because a handler that closes its window destroys the window's targets, this one among them.
        const auto handler = run;
        if (handler) {
            handler();
        }
    }

    // From now on a click of `button` fires this target, for as long as both exist.
    void bind(QAbstractButton* button)
    {
        connect(button, &QAbstractButton::clicked, this, [this] { fire(); });
    }

    const std::function<void()> run;
};

}  // namespace tavlo
