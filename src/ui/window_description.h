#pragma once

#include "ui/window_colours.h"

#include <QRect>
#include <QSize>
#include <QString>

#include <vector>

namespace tavlo {

enum class ElementKind {
    Label,          // one line
    WrappingLabel,  // lines are broken between words
    Icon,           // the application's own icon
    Button,
    DefaultButton,  // Return presses it, wherever the focus is
    SmallButton,
    PopUp,
    TextField,
    TextView,
    CheckBox,
    Slider,
    ProgressBar
};

enum class FontWeight { Regular, Semibold, Bold };

enum class TextAlignment { Left, Centre, Right };

enum class Visibility { Shown, Hidden };

// One control of a window, as a value. The order in a description is the order of the Tab key.
struct WindowElement {
    QString name;  // tells the control from the window's others
    ElementKind kind = ElementKind::Label;
    QRect frame;        // x, y, width, height, measured from the bottom-left corner of the content
    QString text = {};  // title, label or placeholder
    int pixelSize = 13;
    FontWeight weight = FontWeight::Regular;
    ColourRole colour = ColourRole::Label;
    TextAlignment alignment = TextAlignment::Left;
    Visibility visibility = Visibility::Shown;
    QString accessibleName = {};  // where neither the text nor a label names the control
    QString labelled = {};        // of a label: the name of the control that it names

    bool operator==(const WindowElement&) const = default;
};

// Frames are given from the bottom-left corner of their parent, while Qt counts from the top-left one. This is the one
// place that converts them.
inline QRect frameFromBottomLeft(const QRect& rect, int parentHeight)
{
    return {rect.x(), parentHeight - rect.y() - rect.height(), rect.width(), rect.height()};
}

inline QRectF frameFromBottomLeft(const QRectF& rect, double parentHeight)
{
    return {rect.x(), parentHeight - rect.y() - rect.height(), rect.width(), rect.height()};
}

// A window of fixed size, as a value.
struct WindowDescription {
    QString title;
    QSize size;  // of the content
    std::vector<WindowElement> elements;

    bool operator==(const WindowDescription&) const = default;
};

}  // namespace tavlo
