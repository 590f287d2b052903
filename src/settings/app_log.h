#pragma once

#include <QString>

namespace tavlo {

// The plain log. Callable from any thread; returns at once and never fails to its caller.
class AppLog {
public:
    virtual ~AppLog() = default;
    virtual void appLog(const QString& message) = 0;
};

// A number as the log writes it: the shortest decimal that reads back as the same float, with at least one digit after
// the point. Any thread.
QString shortestDecimal(float value);

}  // namespace tavlo
