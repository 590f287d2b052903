#include "ui/windows/closure_target.h"

#include <QAbstractButton>

namespace tavlo {

void ClosureTarget::fire()
{
    // A handler that closes its window drops the window's targets, so the function that runs must not be ours.
    const auto handler = run;
    if (handler) {
        handler();
    }
}

void ClosureTarget::bind(QAbstractButton* button)
{
    connect(button, &QAbstractButton::clicked, this, [this] { fire(); });
}

}  // namespace tavlo
