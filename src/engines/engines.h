#pragma once

#include "platform/result.h"
#include "settings/config.h"

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <functional>

namespace tavlo {

// A transcript, or the failure that took its place.
using TranscriptionResult = Result<QString>;

class CloudEngine {
public:
    virtual ~CloudEngine() = default;

    // A recording has begun: whatever takes time before a first request can be prepared now. Opens no connection.
    // Returns at once. Main thread.
    virtual void warmUp() = 0;
    // Sends one recording, a complete WAV image, to the provider of `config`. Returns at once; `completion` is called
    // exactly once, later, on a thread of the client's own. Main thread.
    virtual void transcribeCloud(const QByteArray& wav, const Config& config,
                                 std::function<void(TranscriptionResult)> completion) = 0;
};

class LocalEngine {
public:
    virtual ~LocalEngine() = default;

    // Whether the model file is there and complete. Any thread.
    virtual bool localModelReady() const = 0;
    // Transcribes a WAV file; of `config` only the spoken language is read. Blocks until the child process has
    // ended; never on the main thread.
    virtual TranscriptionResult transcribeLocal(const QString& wavPath, const Config& config) = 0;
};

enum class ModelOutcome { Installed, Declined };

class ModelOffer {
public:
    virtual ~ModelOffer() = default;

    // Offers the download of the model to the user. `completion` is called at most once, on the main thread.
    virtual void offerModelDownload(std::function<void(ModelOutcome)> completion) = 0;
};

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
