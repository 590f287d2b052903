#include "linux/evdev/evdev_device.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace tavlo {

namespace {

using Bits = std::array<std::uint8_t, (KEY_CNT + 7) / 8>;

bool test(const Bits& bits, unsigned bit)
{
    return ((bits[bit / 8] >> (bit % 8)) & 1) != 0;
}

bool isKeyboard(const Descriptor& file)
{
    Bits keys{};
    if (ioctl(file.value(), EVIOCGBIT(EV_KEY, keys.size()), keys.data()) < 0) {
        return false;
    }
    std::array<char, 256> name{};
    if (ioctl(file.value(), EVIOCGNAME(name.size() - 1), name.data()) >= 0 &&
        std::strcmp(name.data(), kOwnKeyboardName) == 0) {
        return false;
    }
    for (const unsigned key : {KEY_ENTER, KEY_Q, KEY_P, KEY_A, KEY_L, KEY_Z, KEY_M}) {  // the ends of the letter rows
        if (!test(keys, key)) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::unique_ptr<EvdevDevice> EvdevDevice::open(const QString& path, std::function<void()> readable)
{
    Descriptor file = openFile(path, O_RDONLY | O_NONBLOCK);
    if (!file.isOpen() || !isKeyboard(file)) {
        return nullptr;
    }
    int clock = CLOCK_MONOTONIC;  // that of the events which windows get
    static_cast<void>(ioctl(file.value(), EVIOCSCLOCKID, &clock));
    return std::unique_ptr<EvdevDevice>(new EvdevDevice(std::move(file), std::move(readable)));
}

EvdevDevice::EvdevDevice(Descriptor file, std::function<void()> readable)
    : m_file(std::move(file)), m_readable(m_file.value(), QSocketNotifier::Read)
{
    QObject::connect(&m_readable, &QSocketNotifier::activated, &m_readable, std::move(readable));
}

void EvdevDevice::narrow(const EvdevKeySet& keys)
{
    m_wanted = keys;
    Bits bits{};
    for (unsigned key = 0; key < keys.size(); ++key) {
        if (keys.test(key)) {
            bits[key / 8] = static_cast<std::uint8_t>(bits[key / 8] | (1U << (key % 8)));
        }
    }
    input_mask mask{};
    mask.type = EV_KEY;
    mask.codes_size = bits.size();
    mask.codes_ptr = reinterpret_cast<std::uintptr_t>(bits.data());
    static_cast<void>(ioctl(m_file.value(), EVIOCSMASK, &mask));
}

EvdevKeySet EvdevDevice::keysDown() const
{
    Bits bits{};
    EvdevKeySet down;
    if (ioctl(m_file.value(), EVIOCGKEY(bits.size()), bits.data()) >= 0) {
        for (unsigned key = 0; key < down.size(); ++key) {
            down.set(key, test(bits, key));
        }
    }
    return down & m_wanted;
}

bool EvdevDevice::read(const std::function<void(const EvdevKey&)>& handler, const std::function<void()>& keysLost)
{
    std::array<std::byte, 64 * sizeof(input_event)> bytes{};
    while (true) {
        const ssize_t size = ::read(m_file.value(), bytes.data(), bytes.size());
        if (size > 0) {
            // The mask is set between two reads: what was queued before it came is left out here.
            const auto wanted = [&](const EvdevKey& key) {
                if (m_wanted.test(key.code)) {
                    handler(key);
                }
            };
            if (m_stream.feed(std::span(bytes).first(static_cast<std::size_t>(size)), wanted)) {
                keysLost();
            }
        } else if (size == 0 || errno != EINTR) {
            const bool isThere = size < 0 && errno == EAGAIN;
            m_readable.setEnabled(isThere);
            return isThere;
        }
    }
}

}  // namespace tavlo
