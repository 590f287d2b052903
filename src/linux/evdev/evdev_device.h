#pragma once

#include "linux/evdev/evdev_keys.h"
#include "linux/evdev/evdev_stream.h"
#include "posix/file_access.h"

#include <QSocketNotifier>
#include <QString>

#include <functional>
#include <memory>

namespace tavlo {

// The name of the keyboard on which Tavlo itself types, which is never listened to.
inline constexpr const char* kOwnKeyboardName = "Tavlo";

// A keyboard that is open for reading. Nothing is consumed: everybody else gets its keys as well. Main thread.
class EvdevDevice {
public:
    // Null where the node cannot be opened or is no keyboard: a keyboard has the letters and Return. `readable` is
    // called when there is something to `read`.
    static std::unique_ptr<EvdevDevice> open(const QString& path, std::function<void()> readable);

    // The kernel hands out these keys only from now on.
    void narrow(const EvdevKeySet& keys);
    // Which of the keys that it was narrowed to are down.
    EvdevKeySet keysDown() const;
    // Calls `handler` for all that has happened, and `keysLost` when some of it cannot be known any more. False when
    // the keyboard has gone.
    bool read(const std::function<void(const EvdevKey&)>& handler, const std::function<void()>& keysLost);

private:
    EvdevDevice(Descriptor file, std::function<void()> readable);

    Descriptor m_file;
    QSocketNotifier m_readable;
    EvdevStream m_stream;
    EvdevKeySet m_wanted;
};

}  // namespace tavlo
