#pragma once

#include "engines/engines.h"
#include "platform/queues.h"

#include <QByteArray>
#include <QString>

#include <functional>

namespace tavlo {

class AppLog;
class BackgroundQueue;
class ConfigFile;
class SoundPlayer;
class StatusBoard;
class TextDelivery;
struct SessionState;

// What routing works with; all of it outlives the routing, and the local engine every task in the background.
struct RoutingParts {
    SessionState& state;
    MainQueue& queue;
    BackgroundQueue& background;
    CloudEngine& cloud;
    LocalEngine& local;
    ModelOffer& offer;
    TextDelivery& delivery;
    SoundPlayer& sounds;
    StatusBoard& board;
    const ConfigFile& file;
    AppLog& log;
    QString lastWavPath;
};

// Chooses the engine for a recording, falls back and cross-checks, judges the result and delivers it. Main thread.
class TranscriptionRouting {
public:
    explicit TranscriptionRouting(const RoutingParts& parts);

    // A recording has begun: readies the engine that it will go to.
    void prepare();
    // `wav` has been saved as the last recording; `config` was read afresh.
    void route(const QByteArray& wav, const Config& config, double durationSeconds);
    void handleLocal(const TranscriptionResult& result);
    // The end of every successful path. `engine` names what made the text, for the log and the status line.
    void deliver(const QString& text, const QString& engine);

private:
    void routeToCloud(const QByteArray& wav, const Config& config, double durationSeconds);
    void routeToLocal(const Config& config);
    void handleCloud(const TranscriptionResult& result, const Config& config, double durationSeconds);
    void crossCheck(const QString& cloudText, const Config& config, double durationSeconds);
    // Runs the local engine on the last recording in the background; `done` gets its result on the main thread.
    void runLocal(const Config& config, std::function<void(const TranscriptionResult&)> done);
    void setReady();

    RoutingParts m_parts;
    Lifetime m_lifetime;
};

}  // namespace tavlo
