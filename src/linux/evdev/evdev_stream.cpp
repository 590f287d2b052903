#include "linux/evdev/evdev_stream.h"

#include <algorithm>
#include <cstring>

namespace tavlo {

bool EvdevStream::feed(std::span<const std::byte> bytes, const std::function<void(const EvdevKey&)>& handler)
{
    bool keysLost = false;
    while (!bytes.empty()) {
        const std::size_t size = std::min(bytes.size(), m_begun.size() - m_begunSize);
        std::memcpy(m_begun.data() + m_begunSize, bytes.data(), size);
        m_begunSize += size;
        bytes = bytes.subspan(size);
        if (m_begunSize == m_begun.size()) {
            m_begunSize = 0;
            input_event event{};
            std::memcpy(&event, m_begun.data(), sizeof event);
            keysLost = take(event, handler) || keysLost;
        }
    }
    return keysLost;
}

bool EvdevStream::take(const input_event& event, const std::function<void(const EvdevKey&)>& handler)
{
    if (event.type == EV_SYN) {
        if (event.code == SYN_DROPPED) {
            m_isDropping = true;
        } else if (event.code == SYN_REPORT && m_isDropping) {
            m_isDropping = false;
            return true;
        }
        return false;
    }
    constexpr std::int32_t kRepeat = 2;
    if (m_isDropping || event.type != EV_KEY || event.code >= KEY_CNT || event.value < 0 || event.value > kRepeat) {
        return false;
    }
    const auto milliseconds = static_cast<std::uint64_t>(event.input_event_sec) * 1000 +
                              static_cast<std::uint64_t>(event.input_event_usec) / 1000;
    handler({.code = event.code,
             .action = event.value == 0         ? EvdevAction::Release
                       : event.value == kRepeat ? EvdevAction::Repeat
                                                : EvdevAction::Press,
             .time = static_cast<std::uint32_t>(milliseconds)});
    return false;
}

}  // namespace tavlo
