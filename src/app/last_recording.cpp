#include "app/last_recording.h"

#include "settings/file_access.h"

#include <QFile>

namespace tavlo {

Result<void> writeLastRecording(const QByteArray& wav, const QString& path)
{
    Result<void> written = replaceFile(path, wav);
    if (!written && !QFile::remove(path) && QFile::exists(path)) {
        QFile::resize(path, 0);
    }
    return written;
}

}  // namespace tavlo
