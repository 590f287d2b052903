#pragma once

#include "platform/result.h"

#include <QByteArray>
#include <QString>

namespace tavlo {

// Writes `wav` under `path`, readable by its owner only: beside it first, then renamed, so that the old file is whole
// until the new one is. When that fails the old file is removed as well, so that no engine transcribes an earlier
// recording's words, and the failure is returned.
Result<void> writeLastRecording(const QByteArray& wav, const QString& path);

}  // namespace tavlo
