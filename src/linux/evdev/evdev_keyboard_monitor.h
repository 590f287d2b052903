#pragma once

#include "linux/evdev/evdev_device.h"
#include "linux/evdev/evdev_keys.h"
#include "linux/evdev/evdev_layout.h"
#include "platform/keyboard_monitor.h"

#include <QFileSystemWatcher>
#include <QString>

#include <map>
#include <memory>

namespace tavlo {

// The keys of the whole desktop, read from the kernel's input devices as far as this user may read them. Keyboards and
// permissions that come or go while the program runs are noticed at once. Main thread.
class EvdevKeyboardMonitor : public KeyboardMonitor {
public:
    // `folder` holds the devices, such as "/dev/input". `reason` is told while no keyboard can be read.
    EvdevKeyboardMonitor(const QString& folder, Words reason);

    Registration onKeyDown(Handler handler) override { return m_keyDown.add(std::move(handler)); }
    Registration onFlagsChanged(Handler handler) override { return m_flagsChanged.add(std::move(handler)); }
    Registration onAvailabilityChange(std::function<void()> changed) override
    {
        return m_availabilityChanged.add(std::move(changed));
    }
    void setInterest(const KeyInterest& interest) override;
    void catchUp() override;
    Words unavailableReason() const override { return m_devices.empty() ? m_reason : Words(); }

    // The layout of the desktop, in XKB's text format.
    void setKeymap(const std::string& text);
    // Whether keys are read at all. While not, the kernel hands out none.
    void setListening(bool listens);

private:
    struct Open {
        int number;
        std::unique_ptr<EvdevDevice> device;
    };

    void lookForDevices();
    void read(Open& open);
    // Reads of all keyboards what is wanted now, and knows what is down of it.
    void narrow();
    void narrow(const Open& open);

    const QString m_folder;
    const Words m_reason;
    EvdevLayout m_layout;
    EvdevKeys m_keys;
    KeyInterest m_interest;
    bool m_listens = true;
    EvdevKeySet m_wanted;
    int m_lastNumber = 0;
    std::map<QString, Open> m_devices;  // by path
    QFileSystemWatcher m_watcher;
    HandlerList<const KeyEvent&> m_keyDown;
    HandlerList<const KeyEvent&> m_flagsChanged;
    HandlerList<> m_availabilityChanged;
};

}  // namespace tavlo
