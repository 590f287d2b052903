#include "engines/platform_errors.h"

#include <QAbstractSocket>

#include <system_error>

namespace tavlo {

// A cancellation and a time limit are told in the words that the platform has for them.

Error cancellationError()
{
    return {kNetworkErrorDomain, QNetworkReply::OperationCanceledError, QNetworkReply::tr("Operation canceled")};
}

Error invalidAnswerError()
{
    return {kNetworkErrorDomain, QNetworkReply::ProtocolFailure,
            QStringLiteral("Het antwoord van de server is ongeldig.")};
}

Error timeoutError()
{
    return {kNetworkErrorDomain, QNetworkReply::TimeoutError, QAbstractSocket::tr("Socket operation timed out")};
}

Error systemError(int code)
{
    return {kSystemErrorDomain, code, QString::fromLocal8Bit(std::generic_category().message(code).c_str())};
}

}  // namespace tavlo
