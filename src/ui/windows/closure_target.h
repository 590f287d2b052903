#pragma once

#include <QObject>

#include <functional>

class QAbstractButton;

namespace tavlo {

// Lets a button call an arbitrary handler. Whoever binds a button to a target keeps the target alive: the button does
// not own it, and does nothing once it is gone. Main thread.
class ClosureTarget : public QObject {
public:
    explicit ClosureTarget(std::function<void()> handler) : run(std::move(handler)) {}

    // Calls `run`, which may destroy this target.
    void fire();
    // A click of `button` fires this target from now on, for as long as both exist.
    void bind(QAbstractButton* button);

    const std::function<void()> run;
};

}  // namespace tavlo
