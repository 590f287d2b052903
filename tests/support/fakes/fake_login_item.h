#pragma once

#include "platform/login_item.h"
#include "platform/text_literals.h"

namespace tavlo {

// A login item in memory; with a `refusal` every change fails with that description.
class FakeLoginItem : public LoginItem {
public:
    bool isEnabled() override
    {
        ++questionCount;
        return enabled;
    }
    Result<void> enable() override { return change(true); }
    Result<void> disable() override { return change(false); }

    bool enabled = false;
    int questionCount = 0;
    QString refusal;

private:
    Result<void> change(bool to)
    {
        if (!refusal.isEmpty()) {
            return failure(13, refusal, u"fake"_s);
        }
        enabled = to;
        return {};
    }
};

}  // namespace tavlo
