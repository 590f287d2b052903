#pragma once

#include "platform/result.h"
#include "settings/locations.h"

#include <QString>

namespace tavlo {

// The files of a model on its way into the models folder. Any thread, one at a time; each call may block on the disk.
class ModelFiles {
public:
    // A file below `minimumBytes` is not a complete model.
    explicit ModelFiles(Locations locations, qint64 minimumBytes = kModelMinBytes);

    // What the transfer writes into; it stands in the models folder, so that it only needs renaming.
    QString temporaryPath() const;
    QString stagingPath() const;

    // Removes what a transfer that was cut off left behind.
    void removeLeftovers() const;
    // Makes the models folder and the folders above it, for their owner only.
    Result<void> createFolder() const;
    // Fails when the disk has no room for `expected` bytes, or for a model of the smallest size while that is unknown
    // (below 1). A disk that does not say how much is free counts as having room.
    Result<void> checkRoom(qint64 expected) const;
    // Makes the temporary file the model: staged, measured, and under the final name only when it is complete.
    // Returns its size. On failure no file of the transfer is left and an old model stays.
    Result<qint64> install() const;

private:
    const Locations m_locations;
    const qint64 m_minimumBytes;
};

}  // namespace tavlo
