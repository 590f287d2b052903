#pragma once

#include "ui/window_text.h"

class QWidget;

namespace tavlo {

// Makes the control that an element describes, without its place and font. The result belongs to `parent`.
// Main thread.
QWidget* makeControl(const WindowElement& element, QWidget* parent);

// Gives a control the element's font, made to fit the control's present size and texts.
void fitControl(QWidget* control, const WindowElement& element);

// Makes what a control shows readable on the palette of now, where the desktop leaves that open.
void colourControl(QWidget* control);

// The texts that a control shows at one time or another, each with the room that the style leaves for it.
std::vector<TextRequest> textsOf(const QWidget* control, const WindowElement& element);

}  // namespace tavlo
