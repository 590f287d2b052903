#pragma once

#include <QString>

namespace tavlo {

// The plain log. Callable from any thread; returns at once and never fails to its caller.
class AppLog {
public:
    virtual ~AppLog() = default;
    virtual void appLog(const QString& message) = 0;
};

}  // namespace tavlo
