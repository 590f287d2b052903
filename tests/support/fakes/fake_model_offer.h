#pragma once

#include "engines/engines.h"

#include <QtGlobal>

#include <utility>

namespace tavlo {

// An offer that the test answers for the user. A new offer takes the place of one that was not answered.
class FakeModelOffer : public ModelOffer {
public:
    void offerModelDownload(std::function<void(ModelOutcome)> completion) override
    {
        ++offers;
        m_completion = std::move(completion);
    }

    bool isOpen() const { return static_cast<bool>(m_completion); }

    // An offer must be open.
    void answer(ModelOutcome outcome)
    {
        const auto completion = std::exchange(m_completion, nullptr);
        if (!completion) {
            qFatal("No offer waits for the user's answer.");
        }
        completion(outcome);
    }

    int offers = 0;

private:
    std::function<void(ModelOutcome)> m_completion;
};

}  // namespace tavlo
