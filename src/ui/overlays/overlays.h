#pragma once

#include <QString>

#include <optional>

namespace tavlo {

// The pill with the level meter that stands on the screen while the microphone records. Main thread.
class RecordingOverlay {
public:
    virtual ~RecordingOverlay() = default;

    virtual void show() = 0;  // with a zeroed meter
    virtual void hide() = 0;
    virtual void push(float level) = 0;  // 0...1
};

// The box with one short message in the middle of the screen. Main thread.
class MessageOverlay {
public:
    virtual ~MessageOverlay() = default;

    // Replaces the message and its hiding; with no `autoHideSeconds` it stays until hidden or replaced.
    virtual void show(const QString& text, std::optional<double> autoHideSeconds) = 0;
    virtual void hide() = 0;
};

}  // namespace tavlo
