#pragma once

#include "engines/engines.h"
#include "support/fakes/other_thread.h"

#include <QtGlobal>

#include <deque>
#include <utility>
#include <vector>

namespace tavlo {

// A provider that answers when the test says so, on a thread of its own that has ended by then.
class FakeCloudEngine : public CloudEngine {
public:
    struct Request {
        QByteArray wav;
        Config config;
    };

    void warmUp() override { ++warmUps; }

    void transcribeCloud(const QByteArray& wav, const Config& config,
                         std::function<void(TranscriptionResult)> completion) override
    {
        requests.push_back({wav, config});
        m_completions.push_back(std::move(completion));
    }

    // Answers the oldest request that waits. There must be one.
    void answer(TranscriptionResult result)
    {
        if (m_completions.empty()) {
            qFatal("No request waits for the provider's answer.");
        }
        const auto completion = std::move(m_completions.front());
        m_completions.pop_front();
        runOnAnotherThread([&] { completion(std::move(result)); });
    }

    std::size_t waitingCount() const { return m_completions.size(); }

    int warmUps = 0;
    std::vector<Request> requests;  // all of them, oldest first

private:
    std::deque<std::function<void(TranscriptionResult)>> m_completions;
};

}  // namespace tavlo
