#pragma once

#include "app/app_delegate.h"
#include "settings/config.h"
#include "settings/keychain.h"
#include "settings/language.h"
#include "settings/locations.h"
#include "support/fakes/fake_app_windows.h"
#include "support/fakes/fake_audio_input.h"
#include "support/fakes/fake_background_queue.h"
#include "support/fakes/fake_cloud_engine.h"
#include "support/fakes/fake_desktop_notification.h"
#include "support/fakes/fake_keyboard_monitor.h"
#include "support/fakes/fake_local_engine.h"
#include "support/fakes/fake_login_item.h"
#include "support/fakes/fake_model_offer.h"
#include "support/fakes/fake_output_volume.h"
#include "support/fakes/fake_overlays.h"
#include "support/fakes/fake_paste_keystroke.h"
#include "support/fakes/fake_pasteboard.h"
#include "support/fakes/fake_remote_control.h"
#include "support/fakes/fake_secret_store.h"
#include "support/fakes/fake_sound_player.h"
#include "support/fakes/fake_status_item.h"
#include "support/fakes/fake_workspace.h"
#include "support/fakes/manual_main_queue.h"
#include "support/fakes/memory_log.h"

#include <QStringList>
#include <QTemporaryDir>

#include <optional>
#include <utility>

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
    // Chooses a row of the menu.
    void choose(MenuAction action, const QVariant& representedObject = {});
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
    // The volume of the default output, 0...1.
    float volume() { return output.volume(u"speakers"_s).value_or(-1); }
    // A key in the keyring; empty where there is none.
    void storeKey(const QString& account, const QByteArray& key);
    QByteArray storedKey(const QString& account);
    // The notice of a keyring that was opened or has come.
    void keyringChanged();
    // What another program of the session asks for.
    void command(RemoteCommand command);
    void writeSettings(const QByteArray& json);
    QByteArray settings() const;

    QTemporaryDir home;
    QStringList events;  // sounds, clipboard, paste chords, opened addresses and windows
    ManualMainQueue queue;
    MemoryLog log;
    FakeAudioInput input{{16000, 1}};
    FakeOutputVolume output;
    FakeSoundPlayer sounds;
    FakeSecretStore secrets{queue};
    FakeKeyboardMonitor keyboard;
    FakePasteboard pasteboard;
    FakePasteKeystroke keystroke;
    FakeLoginItem loginItem;
    FakeWorkspace workspace;
    FakeBackgroundQueue background;
    FakeCloudEngine cloud;
    FakeLocalEngine local;
    FakeModelOffer offer;
    FakeStatusItem statusItem;
    FakeRecordingOverlay hud;
    FakeMessageOverlay msgHud;
    FakeAppWindows windows;
    FakeDesktopNotification notification;
    FakeSession session;
    FakeRemoteControl control{queue, session};
    Locations locations;
    Keychain keychain{secrets};
    std::optional<ConfigFile> file;
    std::optional<AppDelegate> app;
};

}  // namespace tavlo
