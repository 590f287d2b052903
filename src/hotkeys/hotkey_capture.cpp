#include "hotkeys/hotkey_capture.h"

#include "hotkeys/hotkey_catalogue.h"
#include "platform/text_literals.h"
#include "settings/app_log.h"
#include "settings/config.h"
#include "settings/language.h"

#include <QMetaType>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <array>
#include <chrono>

namespace tavlo {

namespace {

constexpr std::array<KeyCode, 4> kCommonTypingKeys = {KeyCode::Space, KeyCode::Return, KeyCode::Tab,
                                                      KeyCode::Backspace};
// The message waits until the menu from which the capture was started has closed.
constexpr std::chrono::milliseconds kPromptDelay{300};

QString selectionCancelled()
{
    return t(u"Toetskeuze geannuleerd"_s, u"Key selection cancelled"_s);
}

bool canNameAKey(char32_t character)
{
    return QChar::isLetter(character) || QChar::isDigit(character) || QChar::digitValue(character) >= 0 ||
           QChar::isPunct(character) || QChar::isSymbol(character);
}

QString keyName(const KeyEvent& event)
{
    if (event.keyCode == KeyCode::Space) {
        return t(u"Spatie"_s, u"Space"_s);
    }
    if (const auto known = kKeyNames.constFind(event.keyCode); known != kKeyNames.constEnd()) {
        return *known;
    }
    const QString& characters = event.charactersIgnoringModifiers;
    if (!characters.isEmpty() && canNameAKey(characters.toUcs4().constFirst())) {
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, characters);
        return characters.left(finder.toNextBoundary()).toUpper();
    }
    return numberedKeyLabel(event.keyCode);
}

}  // namespace

TypingKeyAlert typingKeyAlert(const QString& keyName)
{
    return {
        QLatin1Char('\'') + keyName + t(u"' is een veelgebruikte typtoets"_s, u"' is a commonly used typing key"_s),
        t(u"Als je deze toets als sneltoets instelt, start of stopt de opname élke keer dat je hem "
          "ergens typt. Een F-toets (of §) is meestal een betere keuze."_s,
          u"If you set this key as the hotkey, recording will start or stop every time you type it "
          "anywhere. An F-key (or §) is usually a better choice."_s),
        t(u"Andere toets kiezen"_s, u"Choose another key"_s),
        t(u"Toch gebruiken"_s, u"Use anyway"_s),
        t(u"Annuleer"_s, u"Cancel"_s),
    };
}

HotkeyCapture::HotkeyCapture(MainQueue& queue, const KeyboardMonitor& keyboard, ConfigFile& file, AppLog& log,
                             HotkeyDisplay& display)
    : m_queue(queue), m_keyboard(keyboard), m_file(file), m_log(log), m_display(display)
{
}

bool HotkeyCapture::isCapturing() const
{
    return m_display.isCapturing();
}

void HotkeyCapture::startCapture()
{
    if (m_display.isRecording() || m_display.isBusy()) {
        return;
    }
    if (const Words reason = m_keyboard.unavailableReason(); !reason.isEmpty()) {
        m_display.setStatusLine(u"⚠️ "_s + t(reason));
        return;
    }
    m_display.setCapturing(true);
    m_queue.postAfter(kPromptDelay, m_lifetime.reference(), [this] {
        if (m_display.isCapturing()) {
            m_display.showMessage(
                t(u"⌨️  Druk nu op de toets die je als sneltoets wilt gebruiken - Esc om te annuleren"_s,
                  u"⌨️  Now press the key you want to use as the hotkey - Esc to cancel"_s),
                std::nullopt);
        }
    });
    m_display.setStatusLine(
        t(u"Druk nu op de gewenste toets… (Esc = annuleren)"_s, u"Now press the key you want… (Esc = cancel)"_s));
}

void HotkeyCapture::captureModifier(const KeyEvent& event)
{
    if (!m_display.isCapturing()) {
        return;
    }
    if (event.keyCode == KeyCode::CapsLock) {
        m_display.showMessage(t(u"Caps Lock is niet geschikt - druk op een andere toets (Esc = annuleren)"_s,
                                u"Caps Lock is not suitable - press another key (Esc = cancel)"_s),
                              std::nullopt);
        m_display.setStatusLine(t(u"Caps Lock is niet geschikt - kies een andere toets"_s,
                                  u"Caps Lock is not suitable - choose another key"_s));
        return;
    }
    const ModifierFlags flag = modifierFlag(event.keyCode);
    // A key that is no modifier, or that was released.
    if (flag == ModifierFlags::None || !contains(event.modifierFlags, flag)) {
        return;
    }
    saveCustomHotkey(event.keyCode, modifierLabel(event.keyCode).value_or(numberedKeyLabel(event.keyCode)), true);
}

void HotkeyCapture::finishCapture(const KeyEvent& event)
{
    if (!m_display.isCapturing()) {
        return;
    }
    if (event.keyCode == KeyCode::Escape) {
        m_display.setCapturing(false);
        m_display.showMessage(selectionCancelled(), 1.5);
        m_display.setStatusLine(selectionCancelled());
        return;
    }
    const QString name = keyName(event);
    if (std::find(kCommonTypingKeys.begin(), kCommonTypingKeys.end(), event.keyCode) == kCommonTypingKeys.end()) {
        saveCustomHotkey(event.keyCode, name, false);
        return;
    }
    warnAboutTypingKey(event.keyCode, name);
}

void HotkeyCapture::warnAboutTypingKey(KeyCode keyCode, const QString& name)
{
    m_display.setCapturing(false);
    m_display.hideMessage();
    const TypingKeyAlert alert = typingKeyAlert(name);
    m_display.showTypingKeyAlert(alert, [this, alive = m_lifetime.reference(), keyCode, name](TypingKeyAnswer answer) {
        if (alive.expired()) {
            return;
        }
        switch (answer) {
            case TypingKeyAnswer::ChooseAnother:
                startCapture();
                break;
            case TypingKeyAnswer::UseAnyway:
                saveCustomHotkey(keyCode, name, false);
                break;
            case TypingKeyAnswer::Cancel:
                m_display.setStatusLine(selectionCancelled());
                break;
        }
    });
}

void HotkeyCapture::saveCustomHotkey(KeyCode keyCode, const QString& label, bool isModifier)
{
    m_display.setCapturing(false);
    m_file.update(setting::kHotkey, kHotkeyCustom);
    m_file.update(setting::kCustomKeycode, keyNumber(keyCode));
    m_file.update(setting::kCustomLabel, label);
    m_file.update(setting::kCustomIsModifier, isModifier);
    m_display.showMessage(t(u"✓ Sneltoets is nu: "_s, u"✓ Hotkey is now: "_s) + label, 2.5);
    m_log.appLog(u"Sneltoets gewijzigd naar "_s + label + u" (keycode "_s + QString::number(keyNumber(keyCode)) +
                 QLatin1Char(')'));
    m_display.setStatusLine(t(u"Sneltoets is nu: "_s, u"Hotkey is now: "_s) + label);
}

void HotkeyCapture::pickHotkey(const QVariant& representedObject)
{
    if (representedObject.typeId() != QMetaType::QString) {
        return;
    }
    const QString id = representedObject.toString();
    m_file.update(setting::kHotkey, id);
    QString text = t(u"Sneltoets is nu: "_s, u"Hotkey is now: "_s) + currentHotkey(m_file).label();
    if (id == kHotkeyFn) {
        text += t(u" - zet evt. Systeeminstellingen ▸ Toetsenbord ▸ 'Druk op 🌐' op 'Doe niets'"_s,
                  u" - you may want to set System Settings ▸ Keyboard ▸ 'Press 🌐' to 'Do Nothing'"_s);
    }
    m_display.setStatusLine(text);
}

}  // namespace tavlo
