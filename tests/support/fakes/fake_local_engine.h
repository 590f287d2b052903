#pragma once

#include "engines/engines.h"
#include "platform/text_literals.h"

#include <QStringList>

#include <deque>
#include <mutex>
#include <utility>

namespace tavlo {

// A local engine with the results that a test has laid ready. Any thread.
class FakeLocalEngine : public LocalEngine {
public:
    bool localModelReady() const override
    {
        const std::lock_guard guard(m_mutex);
        return m_ready;
    }

    // A run for which no result was laid ready is a failure.
    TranscriptionResult transcribeLocal(const QString& wavPath, const Config& config) override
    {
        const std::lock_guard guard(m_mutex);
        m_wavPaths.append(wavPath);
        m_languages.append(config.language);
        if (m_results.empty()) {
            return failure(3, u"no result laid ready"_s);
        }
        TranscriptionResult result = std::move(m_results.front());
        m_results.pop_front();
        return result;
    }

    void setReady(bool ready)
    {
        const std::lock_guard guard(m_mutex);
        m_ready = ready;
    }

    // The result of the next run that has none yet.
    void layReady(TranscriptionResult result)
    {
        const std::lock_guard guard(m_mutex);
        m_results.push_back(std::move(result));
    }

    // Of the runs so far.
    QStringList wavPaths() const
    {
        const std::lock_guard guard(m_mutex);
        return m_wavPaths;
    }

    QStringList languages() const
    {
        const std::lock_guard guard(m_mutex);
        return m_languages;
    }

private:
    mutable std::mutex m_mutex;
    bool m_ready = true;
    std::deque<TranscriptionResult> m_results;
    QStringList m_wavPaths;
    QStringList m_languages;
};

}  // namespace tavlo
