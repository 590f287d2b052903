#pragma once

#include "platform/keyboard_monitor.h"

#include <QObject>

#include <cstdint>
#include <functional>
#include <optional>

class QKeyEvent;

namespace tavlo {

// Keeps the keys of a running capture away from this program's own windows and menus. The capture gets its keys from
// the keyboard monitor, before or after the toolkit gets them: a key belongs to the capture if the capture ran when the
// monitor saw the key, even if that key has ended it since. Modifiers and releases pass. Main thread.
class LocalKeyFilter : public QObject {
public:
    // Filters the application's events from construction to destruction. `isCapturing` and the monitor outlive it.
    LocalKeyFilter(KeyboardMonitor& monitor, std::function<bool()> isCapturing);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool belongsToCapture(const QKeyEvent& event);

    KeyboardMonitor& m_monitor;
    std::function<bool()> m_isCapturing;
    std::optional<std::uint32_t> m_caughtUpTo;         // the time of the last key for which the monitor caught up
    std::optional<std::uint32_t> m_lastCaptured;       // when the monitor last saw a key of a capture
    std::optional<std::uint32_t> m_swallowedScanCode;  // its repeats are swallowed until it is released
    Registration m_registration;
};

}  // namespace tavlo
