// What one key event costs on its way through detection, against reading and parsing the settings file once.
//   bench_key_event SETTINGS-FILE ROUNDS
// Prints one JSON object: nanoseconds of each round, "event" and "read" in turn, and how often the keyring was asked.

#include "hotkeys/hotkey_capture.h"
#include "hotkeys/hotkey_catalogue.h"
#include "hotkeys/hotkey_detection.h"
#include "linux/null_desktop.h"
#include "platform/secret_store.h"
#include "platform/text_literals.h"
#include "settings/app_log.h"
#include "settings/config.h"
#include "settings/keychain.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <chrono>
#include <cstdio>

using namespace tavlo;

namespace {

constexpr int kRepeats = 400;  // of one round

// Counts what it is asked; holds nothing.
class CountingStore : public SecretStore {
public:
    void deleteItems(const QString&, const QString&) override { ++calls; }
    bool add(const QString&, const QString&, const QByteArray&) override { return ++calls, false; }
    void beginFind(const QString&, const QString&) override {}
    std::optional<QByteArray> find(const QString&, const QString&) override { return ++calls, std::nullopt; }
    void requestUnlock() override { ++calls; }
    Registration onAvailabilityChange(std::function<void()>) override { return {}; }

    int calls = 0;
};

class NoLog : public AppLog {
public:
    void appLog(const QString&) override {}
};

// Counts the commands; runs none.
class CountingQueue : public MainQueue {
public:
    void post(std::weak_ptr<void>, std::function<void()>) override { ++posted; }
    void postAfter(Duration, std::weak_ptr<void>, std::function<void()>) override { ++posted; }
    TimePoint now() const override { return {}; }

    int posted = 0;
};

class IdleDictation : public DictationControl {
public:
    bool isRecording() const override { return false; }
    void toggle() override {}
    void cancelRecording() override {}
};

class IdleDisplay : public HotkeyDisplay {
public:
    bool isRecording() const override { return false; }
    bool isBusy() const override { return false; }
    bool isCapturing() const override { return false; }
    void setCapturing(bool) override {}
    void setStatusLine(const QString&) override {}
    void showMessage(const QString&, std::optional<double>) override {}
    void hideMessage() override {}
    void showTypingKeyAlert(const TypingKeyAlert&, std::function<void(TypingKeyAnswer)>) override {}
};

template <class Task>
double nanosecondsOf(const Task& task)
{
    const auto started = std::chrono::steady_clock::now();
    for (int i = 0; i < kRepeats; ++i) {
        task();
    }
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - started).count() / kRepeats;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fputs("usage: bench_key_event SETTINGS-FILE ROUNDS\n", stderr);
        return 2;
    }
    const QString path = QFile::decodeName(argv[1]);
    CountingStore store;
    Keychain keychain(store);
    NoLog log;
    ConfigFile file(path, keychain, log);
    CountingQueue queue;
    IdleDictation dictation;
    IdleDisplay display;
    const NullKeyboardMonitor keyboard{Words{}};
    HotkeyCapture capture(queue, keyboard, file, log, display);
    HotkeyDetection detection(queue, file, capture, dictation);

    KeyEvent hotkey;
    hotkey.keyCode = KeyCode::RightCommand;
    hotkey.modifierFlags = ModifierFlags::Command;
    KeyEvent letter;
    letter.keyCode = KeyCode::A;
    letter.charactersIgnoringModifiers = u"a"_s;

    qsizetype keys = 0;
    QJsonArray events;
    QJsonArray modifiers;
    QJsonArray reads;
    const int rounds = QByteArray(argv[2]).toInt();
    for (int round = 0; round < rounds; ++round) {
        events.append(nanosecondsOf([&] { detection.handleKeyDown(letter); }));
        modifiers.append(nanosecondsOf([&] { detection.handleFlags(hotkey); }));
        reads.append(nanosecondsOf([&] {
            QFile plain(path);
            if (plain.open(QIODevice::ReadOnly)) {
                keys += QJsonDocument::fromJson(plain.readAll()).object().size();
            }
        }));
    }
    if (keys == 0 || queue.posted != rounds * kRepeats) {
        std::fputs("bench_key_event: the settings could not be read, or the hotkey was not recognised\n", stderr);
        return 1;
    }
    const QJsonObject result{
        {u"letter"_s, events}, {u"hotkey"_s, modifiers}, {u"read"_s, reads}, {u"keyring_calls"_s, store.calls}};
    std::puts(QJsonDocument(result).toJson(QJsonDocument::Compact).constData());
    return 0;
}
