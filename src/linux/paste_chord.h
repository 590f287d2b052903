#pragma once

#include <QByteArrayList>

namespace tavlo {

enum class PasteChord { ControlV, ControlShiftV, ShiftInsert };

// The chord that a window understands as paste, by the names in its WM_CLASS property or by its app id, in any letter
// case. Without names it is Control+V.
PasteChord pasteChordFor(const QByteArrayList& windowClass);

}  // namespace tavlo
