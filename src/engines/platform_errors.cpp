#include "engines/platform_errors.h"

#include "engines/curl_library.h"

#include <cerrno>
#include <system_error>

namespace tavlo {

// A cancellation and a time limit are told in the words that the platform has for them.

Error cancellationError()
{
    return systemError(ECANCELED);
}

Error invalidAnswerError()
{
    return {kNetworkErrorDomain, CURLE_WEIRD_SERVER_REPLY, QStringLiteral("Het antwoord van de server is ongeldig.")};
}

Error timeoutError()
{
    return systemError(ETIMEDOUT);
}

Error systemError(int code)
{
    return {kSystemErrorDomain, code, QString::fromLocal8Bit(std::generic_category().message(code).c_str())};
}

}  // namespace tavlo
