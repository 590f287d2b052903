#pragma once

#include <QColor>
#include <QPalette>

namespace tavlo {

enum class ColourRole { Label, SecondaryLabel, TertiaryLabel, SystemRed };

// The least contrast at which small text counts as readable.
inline constexpr double kReadableContrast = 4.5;

// The contrast of two opaque colours, 1 (none) to 21, by the WCAG's relative luminance.
double contrast(const QColor& first, const QColor& second);

// The colour of a label on that palette's window: weaker than the palette's text the less important the role is, but
// never below the readable contrast as long as the palette's own text reaches it.
QColor labelColour(ColourRole role, const QPalette& palette);

// The colour of the hint in an empty text field, weaker than the field's text and readable as well.
QColor placeholderColour(const QPalette& palette);

// What to change in a menu's palette so that its greyed rows, the status among them, can be read.
QPalette greyedRowColours(const QPalette& palette);

}  // namespace tavlo
