#include "hotkeys/hotkey_detection.h"

#include "hotkeys/hotkey_capture.h"
#include "hotkeys/hotkey_catalogue.h"

#include <functional>

namespace tavlo {

HotkeyDetection::HotkeyDetection(MainQueue& queue, const ConfigFile& file, HotkeyCapture& capture,
                                 DictationControl& dictation)
    : m_queue(queue), m_file(file), m_capture(capture), m_dictation(dictation)
{
}

void HotkeyDetection::handleFlags(const KeyEvent& event)
{
    if (m_capture.isCapturing()) {
        m_queue.post(m_lifetime.reference(), std::bind_front(&HotkeyCapture::captureModifier, &m_capture, event));
        return;
    }
    const HotkeyOption hotkey = currentHotkey(m_file);
    if (hotkey.flag == ModifierFlags::None || event.keyCode != hotkey.keyCode) {
        return;
    }
    // The left and the right key share the flag, so a release fires as well while the other one is held.
    if (contains(event.modifierFlags, hotkey.flag)) {
        m_queue.post(m_lifetime.reference(), std::bind_front(&DictationControl::toggle, &m_dictation));
    }
}

void HotkeyDetection::handleKeyDown(const KeyEvent& event)
{
    if (m_capture.isCapturing()) {
        m_queue.post(m_lifetime.reference(), std::bind_front(&HotkeyCapture::finishCapture, &m_capture, event));
        return;
    }
    if (event.keyCode == KeyCode::Escape && m_dictation.isRecording()) {
        m_queue.post(m_lifetime.reference(), std::bind_front(&DictationControl::cancelRecording, &m_dictation));
        return;
    }
    const HotkeyOption hotkey = currentHotkey(m_file);
    if (hotkey.flag != ModifierFlags::None || event.keyCode != hotkey.keyCode ||
        event.repeat == KeyRepeat::AutoRepeat) {
        return;
    }
    m_queue.post(m_lifetime.reference(), std::bind_front(&DictationControl::toggle, &m_dictation));
}

}  // namespace tavlo
