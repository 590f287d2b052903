#pragma once

#include "engines/engines.h"

#include <utility>
#include <vector>

namespace tavlo {

// A provider that answers when the test says so.
class FakeCloudEngine : public CloudEngine {
public:
    void warmUp() override {}

    void transcribeCloud(const QByteArray& wav, const Config& config,
                         std::function<void(TranscriptionResult)> completion) override
    {
        requests.push_back({wav, config});
        m_completions.push_back(std::move(completion));
    }

    // Answers the oldest request that waits, on this thread. There must be one.
    void answer(TranscriptionResult result)
    {
        const auto completion = std::move(m_completions.at(0));
        m_completions.erase(m_completions.begin());
        completion(std::move(result));
    }

    std::size_t waitingCount() const { return m_completions.size(); }

    struct Request {
        QByteArray wav;
        Config config;
    };
    std::vector<Request> requests;  // all of them, oldest first

private:
    std::vector<std::function<void(TranscriptionResult)>> m_completions;
};

}  // namespace tavlo
