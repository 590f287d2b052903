#pragma once

#include "settings/app_log.h"

#include <QStringList>

#include <mutex>

namespace tavlo {

// Keeps the messages in memory.
class MemoryLog : public AppLog {
public:
    void appLog(const QString& message) override
    {
        const std::lock_guard guard(m_mutex);
        m_lines.append(message);
    }

    QStringList lines() const
    {
        const std::lock_guard guard(m_mutex);
        return m_lines;
    }

private:
    mutable std::mutex m_mutex;
    QStringList m_lines;
};

}  // namespace tavlo
