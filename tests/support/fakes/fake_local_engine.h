#pragma once

#include "engines/engines.h"
#include "platform/text_literals.h"

#include <QStringList>

#include <mutex>
#include <utility>

namespace tavlo {

// A local engine that gives the result which the test has set. Any thread.
class FakeLocalEngine : public LocalEngine {
public:
    bool localModelReady() const override
    {
        const std::lock_guard guard(m_mutex);
        return m_ready;
    }

    TranscriptionResult transcribeLocal(const QString& wavPath, const Config& config) override
    {
        const std::lock_guard guard(m_mutex);
        m_wavPaths.append(wavPath);
        m_languages.append(config.language);
        return m_result;
    }

    void setReady(bool ready)
    {
        const std::lock_guard guard(m_mutex);
        m_ready = ready;
    }

    // Of the runs from here on; a failure before the first call.
    void setResult(TranscriptionResult result)
    {
        const std::lock_guard guard(m_mutex);
        m_result = std::move(result);
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
    TranscriptionResult m_result = failure(kNoCode, u"The test has set no result."_s);
    QStringList m_wavPaths;
    QStringList m_languages;
};

}  // namespace tavlo
