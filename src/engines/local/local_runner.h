#pragma once

#include "engines/engines.h"
#include "posix/child_process.h"
#include "settings/locations.h"

#include <chrono>
#include <optional>

namespace tavlo {

class AppLog;

// The text in what whisper-cli printed: its lines trimmed, empty ones dropped, joined by one blank. Output that is
// not UTF-8 counts as empty.
QString cleanedTranscript(const QByteArray& output);

// How long whisper-cli may run before it is asked to end.
inline constexpr std::chrono::seconds kLongestLocalRun{180};

// Runs whisper-cli as a child process.
class LocalRunner : public LocalEngine {
public:
    // whisper-cli is asked to end when it runs for longer than `limit`.
    LocalRunner(Locations locations, AppLog& log, std::chrono::milliseconds limit = kLongestLocalRun);

    // The program in the bundle's resource folder, else in the support folder's "bin"; none when neither is
    // executable.
    std::optional<QString> whisperBinaryURL() const;

    bool localModelReady() const override;
    TranscriptionResult transcribeLocal(const QString& wavPath, const Config& config) override;

    // Asks a running whisper-cli, and any that starts later, to end, because this process is about to end. Any thread;
    // returns at once.
    void stop() { m_running.terminate(); }

private:
    const Locations m_locations;
    AppLog& m_log;
    const std::chrono::milliseconds m_limit;
    RunningChildren m_running;
};

}  // namespace tavlo
