#pragma once

#include "ui/window_text.h"

#include <QFont>
#include <QLabel>

#include <optional>

namespace tavlo {

// A label that chooses the way its text is set so that it fits the label's frame. Main thread.
class FittedLabel : public QLabel {
public:
    explicit FittedLabel(QWidget* parent = nullptr);

    // Takes over size, weight, colour, alignment and wrapping; not the text.
    void restyle(const WindowElement& element);
    // Changes the text and fits it.
    void showText(const QString& text);
    void setColourRole(ColourRole role);
    // Fits the text again, after the font or the frame has changed.
    void refit();

    TextRequest request() const;
    const TextStyle& style() const { return m_style; }
    ColourRole colourRole() const { return m_colour; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    // What the style was last chosen for.
    struct Fit {
        TextRequest request;
        QFont applicationFont;

        bool operator==(const Fit&) const = default;
    };

    int m_pixelSize = 13;
    FontWeight m_weight = FontWeight::Regular;
    ColourRole m_colour = ColourRole::Label;
    TextAlignment m_alignment = TextAlignment::Left;
    Wrapping m_wrapping = Wrapping::SingleLine;
    TextStyle m_style;
    std::optional<Fit> m_fit;
};

// The application's icon, drawn sharp at every scale. Main thread.
class IconLabel : public QLabel {
public:
    IconLabel(const QSize& size, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace tavlo
