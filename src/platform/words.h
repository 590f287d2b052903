#pragma once

#include <QString>

namespace tavlo {

// A text in both interface languages, for those who cannot know which one is shown. Rooms above choose with t().
struct Words {
    QString nl;
    QString en;

    bool isEmpty() const { return nl.isEmpty() && en.isEmpty(); }
    bool operator==(const Words&) const = default;
};

}  // namespace tavlo
