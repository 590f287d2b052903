#pragma once

#include "engines/engines.h"

#include <utility>

namespace tavlo {

// A download that goes on only as the test says. Like the real one it ends before it tells how.
class FakeModelDownload : public ModelDownload {
public:
    void start() override
    {
        if (!m_running) {
            m_running = true;
            ++started;
        }
    }

    void cancel() override
    {
        m_running = false;
        ++cancelled;
    }

    bool isRunning() const override { return m_running; }

    void progress(double fraction, qint64 written, qint64 expected)
    {
        const auto callback = onProgress;
        if (callback) {
            callback(fraction, written, expected);
        }
    }

    void finish(Result<void> result)
    {
        m_running = false;
        const auto callback = onDone;
        if (callback) {
            callback(std::move(result));
        }
    }

    int started = 0;
    int cancelled = 0;

private:
    bool m_running = false;
};

}  // namespace tavlo
