#pragma once

#include "platform/result.h"

#include <QtGlobal>

#include <functional>

namespace tavlo {

// The download of the offline model, as the window that offers it sees it. Main thread.
class ModelDownload {
public:
    virtual ~ModelDownload() = default;

    // Starts the download; does nothing while one is running. Returns at once.
    virtual void start() = 0;
    // Ends a running download. `onDone` then comes later with the cancellation as its failure.
    virtual void cancel() = 0;
    virtual bool isRunning() const = 0;

    // Called on the main thread, never within start() or cancel(). Each may be replaced at any time, also while a
    // download runs and from within a call of itself; the next report goes to the new one.
    // `fraction` is 0...1, and 0 while `expected` is unknown (below 1); amounts in bytes.
    std::function<void(double fraction, qint64 written, qint64 expected)> onProgress;
    // The end of the download: installed, or the failure.
    std::function<void(Result<void>)> onDone;
};

}  // namespace tavlo
