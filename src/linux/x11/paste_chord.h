#pragma once

#include <QByteArrayList>

namespace tavlo {

enum class PasteChord { ControlV, ControlShiftV, ShiftInsert };

// The chord that a window understands as paste, by the two names of its WM_CLASS property, in any letter case.
// Without names it is Control+V.
PasteChord pasteChordFor(const QByteArrayList& windowClass);

}  // namespace tavlo
