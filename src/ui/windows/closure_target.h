#pragma once

#include <QAbstractButton>
#include <QObject>

#include <functional>
#include <utility>

namespace tavlo {

// Lets a button call an arbitrary handler. Whoever binds a button to a target keeps the target alive: the button does
// not own it, and does nothing once it is gone. Main thread.
class ClosureTarget : public QObject {
public:
    explicit ClosureTarget(std::function<void()> handler) : run(std::move(handler)) {}

    // Calls `run`, which may destroy this target.
    void fire()
    {
        // A copy, because a handler that closes its window destroys the window's targets, this one among them.
        const auto handler = run;
        if (handler) {
            handler();
        }
    }

    // From now on a click of `button` fires this target, for as long as both exist.
    void bind(QAbstractButton* button)
    {
        connect(button, &QAbstractButton::clicked, this, [this] { fire(); });
    }

    const std::function<void()> run;
};

}  // namespace tavlo
