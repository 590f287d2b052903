#include "linux/evdev/evdev_keyboard_monitor.h"

#include "platform/text_literals.h"

#include <QDir>
#include <QFileInfo>

#include <chrono>
#include <utility>
#include <vector>

namespace tavlo {

namespace {

std::uint32_t now()
{
    using namespace std::chrono;
    return static_cast<std::uint32_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

}  // namespace

EvdevKeyboardMonitor::EvdevKeyboardMonitor(const QString& folder, Words reason)
    : m_folder(folder),
      m_reason(std::move(reason)),
      m_keys(
          m_layout, [this](const KeyEvent& event) { m_keyDown.call(event); },
          [this](const KeyEvent& event) { m_flagsChanged.call(event); }),
      m_wanted(keysToRead(m_interest, m_layout))
{
    // Told of each node that comes, goes, or may be read by others than before.
    QObject::connect(&m_watcher, &QFileSystemWatcher::directoryChanged, &m_watcher, [this] { lookForDevices(); });
    // Where there is no device at all the folder is made with the first one.
    m_watcher.addPath(QFileInfo(folder).path());
    lookForDevices();
}

void EvdevKeyboardMonitor::lookForDevices()
{
    if (!m_watcher.directories().contains(m_folder) && m_watcher.addPath(m_folder)) {
        m_watcher.removePath(QFileInfo(m_folder).path());
    }
    const bool wasAvailable = !m_devices.empty();
    // An open device stays readable when its permission is taken away, so that is looked for.
    std::erase_if(m_devices, [this](const auto& entry) {
        const bool mayBeRead = QFileInfo(entry.first).isReadable();
        if (!mayBeRead) {
            m_keys.end(entry.second.number);
        }
        return !mayBeRead;
    });
    const QDir nodes(m_folder, u"event*"_s, QDir::NoSort, QDir::System | QDir::Files);
    for (const QString& name : nodes.entryList()) {
        const QString path = nodes.filePath(name);
        if (m_devices.contains(path)) {
            continue;
        }
        const int number = ++m_lastNumber;
        auto device = EvdevDevice::open(path, [this, path] { read(m_devices.at(path)); });
        if (device) {
            narrow(m_devices.try_emplace(path, Open{number, std::move(device)}).first->second);
        }
    }
    if (wasAvailable == m_devices.empty()) {
        m_availabilityChanged.call();
    }
}

void EvdevKeyboardMonitor::read(Open& open)
{
    const int number = open.number;
    const bool isThere = open.device->read([&](const EvdevKey& key) { m_keys.change(number, key); },
                                           [&] { m_keys.catchUp(number, open.device->keysDown(), now()); });
    if (!isThere) {
        // Its node goes as well, which is noticed by itself; what is down on it is let go now.
        m_keys.end(number);
    }
}

void EvdevKeyboardMonitor::catchUp()
{
    for (auto& [path, open] : m_devices) {
        read(open);
    }
}

void EvdevKeyboardMonitor::setInterest(const KeyInterest& interest)
{
    m_interest = interest;
    narrow();
}

void EvdevKeyboardMonitor::setKeymap(const std::string& text)
{
    m_layout.setKeymap(text);
    narrow();
}

void EvdevKeyboardMonitor::setListening(bool listens)
{
    m_listens = listens;
    narrow();
}

void EvdevKeyboardMonitor::narrow()
{
    const EvdevKeySet wanted = m_listens ? keysToRead(m_interest, m_layout) : EvdevKeySet();
    if (wanted != m_wanted) {
        catchUp();
        m_wanted = wanted;
        for (const auto& [path, open] : m_devices) {
            narrow(open);
        }
    }
}

void EvdevKeyboardMonitor::narrow(const Open& open)
{
    open.device->narrow(m_wanted);
    m_keys.begin(open.number, open.device->keysDown());
}

}  // namespace tavlo
