#pragma once

#include <QString>

namespace tavlo {

// u"text"_s for a QString without an allocation, and "text"_L1 for a Latin-1 view, in all of the program.
using namespace Qt::Literals::StringLiterals;

}  // namespace tavlo
