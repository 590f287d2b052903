#pragma once

#include "platform/result.h"
#include "platform/text_literals.h"

#include <QString>

#include <cerrno>
#include <system_error>

namespace tavlo {

// The domain of the system's own failures; the code is an errno value, the description the system's own words.
inline const QString kSystemErrorDomain = u"errno"_s;

// `code` is an errno value. Any thread.
inline Error systemError(int code)
{
    return {kSystemErrorDomain, code, QString::fromLocal8Bit(std::generic_category().message(code).c_str())};
}

inline tl::unexpected<Error> systemFailure(int code)
{
    return tl::unexpected<Error>(systemError(code));
}

// A cancellation and a time limit are told in the words that the system has for them.
inline Error cancellationError()
{
    return systemError(ECANCELED);
}

inline Error timeoutError()
{
    return systemError(ETIMEDOUT);
}

}  // namespace tavlo
