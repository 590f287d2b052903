#pragma once

#include "platform/result.h"

namespace tavlo {

// Starting the program when the user logs in. Main thread.
class LoginItem {
public:
    virtual ~LoginItem() = default;

    virtual bool isEnabled() = 0;
    virtual Result<void> enable() = 0;
    virtual Result<void> disable() = 0;
};

}  // namespace tavlo
