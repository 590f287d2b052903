#pragma once

#include "platform/result.h"
#include "platform/text_literals.h"

#include <QString>

#include <system_error>

namespace tavlo {

// The domain of the system's own failures; the code is an errno value, the description the system's own words.
inline const QString kSystemErrorDomain = u"errno"_s;

// `code` is an errno value.
Error systemError(int code);

inline Error systemError(const std::error_code& error)
{
    return systemError(error.value());
}

// A cancellation and a time limit are told in the words that the system has for them.
Error cancellationError();
Error timeoutError();

}  // namespace tavlo
