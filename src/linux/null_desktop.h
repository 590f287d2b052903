#pragma once

#include "platform/desktop.h"
#include "platform/keyboard_monitor.h"
#include "platform/paste.h"
#include "platform/screens.h"

namespace tavlo {

// Keys that cannot be seen, with the reason.
class NullKeyboardMonitor : public KeyboardMonitor {
public:
    explicit NullKeyboardMonitor(Words reason) : m_reason(std::move(reason)) {}

    Registration onKeyDown(Handler) override { return {}; }
    Registration onFlagsChanged(Handler) override { return {}; }
    Words unavailableReason() const override { return m_reason; }

private:
    Words m_reason;
};

class NullPasteboard : public Pasteboard {
public:
    void setText(const QString&) override {}
    void offerPrimarySelection() override {}
};

class NullPasteKeystroke : public PasteKeystroke {
public:
    bool isTrusted() override { return false; }
    void sendPaste() override {}
};

class NullScreens : public Screens {
public:
    std::optional<QRect> mainVisibleFrame() override { return std::nullopt; }
    Compositing compositing() override { return Compositing::Absent; }
};

// A desktop of which nothing can be used, for the one reason given.
class NullDesktop : public Desktop {
public:
    explicit NullDesktop(const Words& reason) : m_reason(reason), m_keys(reason) {}

    KeyboardMonitor& keys() override { return m_keys; }
    Pasteboard& pasteboard() override { return m_pasteboard; }
    PasteKeystroke& keystroke() override { return m_keystroke; }
    Screens& screens() override { return m_screens; }
    DesktopService service(DesktopCapability) override { return {{}, m_reason}; }

private:
    Words m_reason;
    NullKeyboardMonitor m_keys;
    NullPasteboard m_pasteboard;
    NullPasteKeystroke m_keystroke;
    NullScreens m_screens;
};

}  // namespace tavlo
