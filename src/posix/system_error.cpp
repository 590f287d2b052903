#include "posix/system_error.h"

#include <cerrno>

namespace tavlo {

Error systemError(int code)
{
    return {kSystemErrorDomain, code, QString::fromLocal8Bit(std::generic_category().message(code).c_str())};
}

Error cancellationError()
{
    return systemError(ECANCELED);
}

Error timeoutError()
{
    return systemError(ETIMEDOUT);
}

}  // namespace tavlo
