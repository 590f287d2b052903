#pragma once

#include "platform/keyboard_monitor.h"
#include "platform/queues.h"

#include <QString>
#include <QVariant>

#include <cstdint>

namespace tavlo {

class AppLog;
class ConfigFile;
class HotkeyDisplay;
struct TypingKeyAlert;

// The warning about a key that is often typed, in the interface language.
TypingKeyAlert typingKeyAlert(const QString& keyName);

// Choosing the hotkey: a row of the catalogue, or any key by pressing it. Main thread.
class HotkeyCapture {
public:
    // All of it outlives the capture; `keyboard` is asked only whether it sees keys at all.
    HotkeyCapture(MainQueue& queue, const KeyboardMonitor& keyboard, ConfigFile& file, AppLog& log,
                  HotkeyDisplay& display);

    bool isCapturing() const;
    // Asks for a key and waits for it; does nothing while a recording or a transcription is under way. Where no key can
    // arrive it says why and waits for none: it would wait for ever, and nothing could be dictated meanwhile.
    void startCapture();
    // What happens to a modifier and to any other key while a capture waits; both do nothing when none waits.
    void captureModifier(const KeyEvent& event);
    void finishCapture(const KeyEvent& event);
    // `representedObject` is the menu item's value: the row's id, or anything else, which does nothing.
    void pickHotkey(const QVariant& representedObject);

private:
    void warnAboutTypingKey(KeyCode keyCode, const QString& name);
    void saveCustomHotkey(KeyCode keyCode, const QString& label, bool isModifier);

    MainQueue& m_queue;
    const KeyboardMonitor& m_keyboard;
    ConfigFile& m_file;
    AppLog& m_log;
    HotkeyDisplay& m_display;
    Lifetime m_lifetime;
};

}  // namespace tavlo
