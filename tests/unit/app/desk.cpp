#include "desk.h"
#include "platform/text_literals.h"

#include <QDir>
#include <QFile>

namespace tavlo {

Desk::Desk() : locations(Locations::inFolders(home.path(), home.path()))
{
    gLang = u"nl"_s;
    output.userSets(u"speakers"_s, 0.8F);
    local.setResult(u"goede morgen"_s);
    sounds.onPlay = [this](const FakeSoundPlayer::Played& sound) {
        events.append(sound.name + QLatin1Char(' ') + QString::number(static_cast<double>(sound.volume)));
    };
    pasteboard.onSet = [this](const QString& text) { events.append(u"clipboard: "_s + text); };
    keystroke.onPaste = [this] { events.append(u"paste: "_s + pasteboard.text()); };
    workspace.onOpen = [this](const QUrl& url) { events.append(u"open "_s + url.toString()); };
    windows.onOpenSettings = [this] { events.append(u"settings window"_s); };
    windows.onOpenAbout = [this] { events.append(u"about window"_s); };
    file.emplace(locations.kConfigURL, keychain, log);
    app.emplace(AppParts{locations,  queue,     background, input,        output,  sounds, secrets, keyboard,
                         pasteboard, keystroke, loginItem,  workspace,    cloud,   local,  offer,   statusItem,
                         hud,        msgHud,    windows,    notification, control, *file,  log});
    if (control.claim() != ClaimResult::Claimed) {
        qFatal("the session has another instance");
    }
}

Desk::~Desk()
{
    gLang = u"nl"_s;
}

void Desk::speak(int milliseconds, float amplitude)
{
    const auto frames = static_cast<std::size_t>(milliseconds) * 16;
    std::vector<float> samples(frames);
    for (std::size_t i = 0; i < frames; ++i) {
        samples[i] = (i / 20) % 2 == 0 ? amplitude : -amplitude;
    }
    input.capture(samples);
    queue.runPending();
}

void Desk::pressHotkey()
{
    keyboard.sendFlagsChanged({KeyCode::RightCommand, ModifierFlags::Command, KeyRepeat::FirstPress, {}});
    keyboard.sendFlagsChanged({KeyCode::RightCommand, ModifierFlags::None, KeyRepeat::FirstPress, {}});
    queue.runPending();
}

void Desk::pressEscape()
{
    keyboard.sendKeyDown({KeyCode::Escape, ModifierFlags::None, KeyRepeat::FirstPress, {}});
    queue.runPending();
}

void Desk::choose(MenuAction action, const QVariant& representedObject)
{
    statusItem.handlers.chosen(action, representedObject);
}

void Desk::keyringChanged()
{
    secrets.setState(FakeSecretStore::State::Open);
    queue.runPending();
}

void Desk::runBackground()
{
    background.runAll();
    queue.runPending();
}

void Desk::storeKey(const QString& account, const QByteArray& key)
{
    secrets.deleteItems(Keychain::service, account);
    secrets.add(Keychain::service, account, key);
}

QByteArray Desk::storedKey(const QString& account)
{
    return secrets.find(Keychain::service, account).value_or(QByteArray());
}

void Desk::command(RemoteCommand command)
{
    if (!session.call(command)) {
        qFatal("nobody answers the other program");
    }
    queue.runPending();
}

QStringList Desk::menuTitles() const
{
    QStringList titles;
    for (const auto& item : statusItem.menu) {
        titles.append(item.separator ? u"-"_s : item.title);
    }
    return titles;
}

const MenuItemDescription* Desk::menuItem(const QString& title) const
{
    for (const auto& item : statusItem.menu) {
        if (item.title == title) {
            return &item;
        }
    }
    return nullptr;
}

void Desk::writeSettings(const QByteArray& json)
{
    QDir().mkpath(locations.kAppSupportDir);
    QFile settingsFile(locations.kConfigURL);
    if (!settingsFile.open(QIODevice::WriteOnly) || settingsFile.write(json) != json.size()) {
        qFatal("cannot write the test's settings file");
    }
}

QByteArray Desk::settings() const
{
    QFile settingsFile(locations.kConfigURL);
    return settingsFile.open(QIODevice::ReadOnly) ? settingsFile.readAll() : QByteArray();
}

}  // namespace tavlo
