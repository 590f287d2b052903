#pragma once

#include <QColor>
#include <QPalette>

namespace tavlo {

enum class ColourRole { Label, SecondaryLabel, TertiaryLabel, SystemRed };

// The least contrast at which small text counts as readable.
inline constexpr double kReadableContrast = 4.5;

// The contrast of two opaque colours, 1 (none) to 21, by the WCAG's relative luminance.
double contrast(const QColor& first, const QColor& second);

// The colour of a label on that palette's windows. The less important the role, the weaker the colour, but the contrast
// stays readable as long as that of the palette's own text is.
QColor labelColour(ColourRole role, const QPalette& palette);

// The colour of the hint in an empty text field: weaker than the field's text, and readable.
QColor placeholderColour(const QPalette& palette);

// The changes to a menu's palette that make its disabled rows readable; the status line is one of them.
QPalette greyedRowColours(const QPalette& palette);

}  // namespace tavlo
