#pragma once

#include "app/app_delegate.h"
#include "app/app_windows.h"
#include "platform/desktop_notification.h"
#include "platform/keyboard_monitor.h"
#include "platform/login_item.h"
#include "platform/paste.h"
#include "platform/queues.h"
#include "platform/remote_control.h"
#include "platform/secret_store.h"
#include "platform/sound_player.h"
#include "platform/text_literals.h"
#include "platform/workspace.h"
#include "settings/config_file.h"
#include "settings/keychain.h"
#include "settings/language.h"
#include "settings/locations.h"
#include "support/fakes/manual_main_queue.h"
#include "support/fakes/memory_log.h"
#include "ui/overlays/overlays.h"
#include "ui/tray/status_item.h"

#include <QStringList>
#include <QTemporaryDir>

#include <deque>
#include <map>
#include <optional>
#include <vector>

namespace tavlo {

// A desk with everything that the application object works with, all of it fake but the rooms' own classes: a test
// speaks, presses keys and moves time, and reads what the desktop was told, in order, from `events`.
class Desk {
public:
    Desk();
    ~Desk();

    // Feeds the microphone with `milliseconds` of a square wave of that amplitude (0...1), which is its RMS too.
    void speak(int milliseconds, float amplitude = 0.5F);
    void pressHotkey();
    void pressEscape();
    // Runs the background's tasks on this thread, then what they posted.
    void runBackground();
    // The titles of the menu's rows, separators as "-".
    QStringList menuTitles() const;
    const MenuItemDescription* menuItem(const QString& title) const;
    template <class List>
    List take(List& list)
    {
        return std::exchange(list, {});
    }
    void writeSettings(const QByteArray& json);
    QByteArray settings() const;

    struct FakeInput : AudioInput {
        AudioFormat inputFormat() override { return format; }
        Result<void> start(BlockHandler blockHandler) override
        {
            if (startFailure) {
                return tl::unexpected<Error>(*startFailure);
            }
            handler = std::move(blockHandler);
            return {};
        }
        void stop() override { handler = nullptr; }
        Registration onConfigurationChange(std::function<void()> callback) override
        {
            changed = std::move(callback);
            return Registration([this] { changed = nullptr; });
        }

        AudioFormat format{16000, 1};
        std::optional<Error> startFailure;
        BlockHandler handler;
        std::function<void()> changed;
    };

    struct FakeOutput : OutputVolume {
        std::optional<OutputDevice> defaultDevice() override { return u"speakers"_s; }
        bool hasVolume(const OutputDevice&) override { return true; }
        std::optional<float> volume(const OutputDevice&) override { return current; }
        bool setVolume(const OutputDevice&, float scalar) override
        {
            current = scalar;
            return true;
        }
        void flush() override {}
        Registration onChange(std::function<void()> callback) override
        {
            changed = std::move(callback);
            return Registration([this] { changed = nullptr; });
        }

        std::function<void()> changed;
        float current = 0.8F;
    };

    struct FakeSounds : SoundPlayer {
        explicit FakeSounds(QStringList& list) : events(list) {}
        void playSound(const QString& name, float volume) override
        {
            events.append(name + QLatin1Char(' ') + QString::number(static_cast<double>(volume)));
        }
        QStringList& events;
    };

    struct FakeSecrets : SecretStore {
        void deleteItems(const QString&, const QString& account) override { items.erase(account); }
        bool add(const QString&, const QString& account, const QByteArray& data) override
        {
            items[account] = data;
            return true;
        }
        void beginFind(const QString&, const QString& account) override { begunFor.append(account); }
        std::optional<QByteArray> find(const QString&, const QString& account) override
        {
            const auto item = items.find(account);
            return item == items.end() ? std::nullopt : std::optional(item->second);
        }
        void requestUnlock() override { ++unlockRequests; }
        Registration onAvailabilityChange(std::function<void()> callback) override
        {
            changed = std::move(callback);
            return Registration([this] { changed = nullptr; });
        }

        std::map<QString, QByteArray> items;
        QStringList begunFor;
        int unlockRequests = 0;
        std::function<void()> changed;
    };

    struct FakeKeyboard : KeyboardMonitor {
        Registration monitor(Handler down, Handler flags) override
        {
            keyDown = std::move(down);
            flagsChanged = std::move(flags);
            return Registration([this] {
                keyDown = nullptr;
                flagsChanged = nullptr;
            });
        }
        QString unavailableReason() const override { return reason; }

        QString reason;
        Handler keyDown;
        Handler flagsChanged;
    };

    struct FakePasteboard : Pasteboard {
        explicit FakePasteboard(QStringList& list) : events(list) {}
        void setText(const QString& value) override
        {
            text = value;
            events.append(u"clipboard: "_s + value);
        }
        QStringList& events;
        QString text;
    };

    struct FakeKeystroke : PasteKeystroke {
        FakeKeystroke(QStringList& list, const FakePasteboard& board) : events(list), pasteboard(board) {}
        bool isTrusted() override
        {
            ++trustQuestions;
            return trusted;
        }
        void sendPaste() override { events.append(u"paste: "_s + pasteboard.text); }
        void openTrustSettings() override { events.append(u"trust settings"_s); }

        QStringList& events;
        const FakePasteboard& pasteboard;
        bool trusted = true;
        int trustQuestions = 0;
    };

    struct FakeLoginItem : LoginItem {
        bool isEnabled() override { return enabled; }
        Result<void> enable() override { return set(true); }
        Result<void> disable() override { return set(false); }
        Result<void> set(bool value)
        {
            if (refusal) {
                return tl::unexpected<Error>(*refusal);
            }
            enabled = value;
            return {};
        }

        bool enabled = false;
        std::optional<Error> refusal;
    };

    struct FakeWorkspace : Workspace {
        explicit FakeWorkspace(QStringList& list) : events(list) {}
        void open(const QUrl& url) override { events.append(u"open "_s + url.toString()); }
        QStringList& events;
    };

    struct FakeBackground : BackgroundQueue {
        void run(std::function<void()> task) override { tasks.push_back(std::move(task)); }
        std::deque<std::function<void()>> tasks;
    };

    struct FakeCloud : CloudEngine {
        void warmUp() override { ++warmUps; }
        int warmUps = 0;
        void transcribeCloud(const QByteArray& wav, const Config& config,
                             std::function<void(TranscriptionResult)> completion) override
        {
            wavs.push_back(wav);
            configs.push_back(config);
            completions.push_back(std::move(completion));
        }
        std::vector<QByteArray> wavs;
        std::vector<Config> configs;
        std::vector<std::function<void(TranscriptionResult)>> completions;
    };

    struct FakeLocal : LocalEngine {
        bool localModelReady() const override { return modelReady; }
        TranscriptionResult transcribeLocal(const QString& wavPath, const Config&) override
        {
            wavPaths.append(wavPath);
            return result;
        }
        bool modelReady = true;
        TranscriptionResult result{u"goede morgen"_s};
        QStringList wavPaths;
    };

    struct FakeOffer : ModelOffer {
        void offerModelDownload(std::function<void(ModelOutcome)> callback) override
        {
            completion = std::move(callback);
        }
        std::function<void(ModelOutcome)> completion;
    };

    struct FakeStatusItem : StatusItem {
        Registration appear(StatusItemHandlers newHandlers) override
        {
            handlers = std::move(newHandlers);
            return Registration([this] { handlers = {}; });
        }
        void setIcon(Activity activity) override { icon = activity; }
        void setMenu(const MenuDescription& description) override
        {
            menu = description;
            ++builds;
        }
        StatusItemHandlers handlers;
        std::optional<Activity> icon;
        MenuDescription menu;
        int builds = 0;
    };

    struct FakeHud : RecordingOverlay {
        void show() override { shown = true; }
        void hide() override { shown = false; }
        void push(float level) override { levels.push_back(level); }
        bool shown = false;
        std::vector<float> levels;
    };

    struct FakeMessage : MessageOverlay {
        void show(const QString& text, std::optional<double> autoHideSeconds) override
        {
            shown.append(text);
            autoHide = autoHideSeconds;
        }
        void hide() override { ++hides; }
        QStringList shown;
        std::optional<double> autoHide;
        int hides = 0;
    };

    struct FakeWindows : AppWindows {
        explicit FakeWindows(QStringList& list) : events(list) {}
        void openSettings() override { events.append(u"settings window"_s); }
        void openAbout() override { events.append(u"about window"_s); }
        void showTypingKeyAlert(const TypingKeyAlert& value, std::function<void(TypingKeyAnswer)> callback) override
        {
            alert = value;
            answered = std::move(callback);
        }
        QStringList& events;
        TypingKeyAlert alert;
        std::function<void(TypingKeyAnswer)> answered;
    };

    struct FakeNotification : DesktopNotification {
        void show(const QString&, const QString& text) override { shown.append(text); }
        QStringList shown;
    };

    struct FakeControl : RemoteControl {
        ClaimResult claim() override { return ClaimResult::Claimed; }
        Registration onCommand(std::function<void(RemoteCommand)> handler) override
        {
            return commands.add(std::move(handler));
        }
        void publish(Activity activity, const QString& statusLine) override
        {
            published.push_back({activity, statusLine});
        }
        HandlerList<RemoteCommand> commands;
        std::vector<std::pair<Activity, QString>> published;
    };

    QTemporaryDir home;
    QStringList events;  // sounds, clipboard, paste chords, opened addresses and windows
    ManualMainQueue queue;
    MemoryLog log;
    FakeInput input;
    FakeOutput output;
    FakeSounds sounds{events};
    FakeSecrets secrets;
    FakeKeyboard keyboard;
    FakePasteboard pasteboard{events};
    FakeKeystroke keystroke{events, pasteboard};
    FakeLoginItem loginItem;
    FakeWorkspace workspace{events};
    FakeBackground background;
    FakeCloud cloud;
    FakeLocal local;
    FakeOffer offer;
    FakeStatusItem statusItem;
    FakeHud hud;
    FakeMessage msgHud;
    FakeWindows windows{events};
    FakeNotification notification;
    FakeControl control;
    Locations locations;
    Keychain keychain{secrets};
    std::optional<ConfigFile> file;
    std::optional<AppDelegate> app;
};

}  // namespace tavlo
