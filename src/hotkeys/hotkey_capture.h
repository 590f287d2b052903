#pragma once

#include "platform/keyboard_monitor.h"
#include "platform/queues.h"

#include <QString>
#include <QVariant>

#include <cstdint>
#include <functional>
#include <optional>

namespace tavlo {

class AppLog;
class ConfigFile;

enum class TypingKeyAnswer { ChooseAnother, UseAnyway, Cancel };

struct TypingKeyAlert {
    QString title;
    QString text;
    QString chooseAnother;  // the default button
    QString useAnyway;
    QString cancel;
};

// What choosing a hotkey shows, and the part of the session's state that it shares. Main thread.
class HotkeyDisplay {
public:
    virtual ~HotkeyDisplay() = default;

    virtual bool isRecording() const = 0;
    virtual bool isBusy() const = 0;
    virtual bool isCapturing() const = 0;
    // Shows in the icon as well, at once.
    virtual void setCapturing(bool capturing) = 0;
    // Sets the status line and rebuilds the menu.
    virtual void setStatusLine(const QString& text) = 0;
    virtual void showMessage(const QString& text, std::optional<double> autoHideSeconds) = 0;
    virtual void hideMessage() = 0;
    // Shows a modal warning in front of all windows; `answered` runs once, later, on the main thread. Closing the
    // alert counts as Cancel.
    virtual void showTypingKeyAlert(const TypingKeyAlert& alert, std::function<void(TypingKeyAnswer)> answered) = 0;
};

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
