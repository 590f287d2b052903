#pragma once

#include "platform/result.h"

#include <QString>

#include <system_error>

namespace tavlo {

// Failures of the platform, passed on unchanged. Their codes are those of libcurl's CURLcode, of
// QFileDevice::FileError and of errno.
inline const QString kNetworkErrorDomain = QStringLiteral("libcurl");
inline const QString kFileErrorDomain = QStringLiteral("QFileDevice");
inline const QString kSystemErrorDomain = QStringLiteral("errno");

Error cancellationError();

// The server's answer breaks the rules of HTTP, or is no HTTP at all.
Error invalidAnswerError();

// A limit of a TransferClock has passed.
Error timeoutError();

// `code` is an errno value.
Error systemError(int code);

inline Error systemError(const std::error_code& error)
{
    return systemError(error.value());
}

}  // namespace tavlo
