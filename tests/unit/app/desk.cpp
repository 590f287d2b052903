#include "desk.h"
#include "platform/text_literals.h"

#include <QDir>
#include <QFile>

namespace tavlo {

Desk::Desk() : locations(Locations::inFolders(home.path(), home.path()))
{
    gLang = u"nl"_s;
    file.emplace(locations.kConfigURL, keychain, log);
    app.emplace(AppParts{locations,  queue,     background, input,        output,  sounds, secrets, keyboard,
                         pasteboard, keystroke, loginItem,  workspace,    cloud,   local,  offer,   statusItem,
                         hud,        msgHud,    windows,    notification, control, *file,  log});
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
    constexpr std::size_t kBlock = 4096;
    for (std::size_t at = 0; at < frames && input.handler; at += kBlock) {
        input.handler({input.format, samples.data() + at, std::min(kBlock, frames - at)});
    }
    queue.runPending();
}

void Desk::pressHotkey()
{
    keyboard.flagsChanged({54, kCommandFlag, KeyRepeat::FirstPress, {}});
    keyboard.flagsChanged({54, 0, KeyRepeat::FirstPress, {}});
    queue.runPending();
}

void Desk::pressEscape()
{
    keyboard.keyDown({kEscapeKeyCode, 0, KeyRepeat::FirstPress, {}});
    queue.runPending();
}

void Desk::runBackground()
{
    while (!background.tasks.empty()) {
        const auto task = std::move(background.tasks.front());
        background.tasks.pop_front();
        task();
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
