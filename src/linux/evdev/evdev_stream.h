#pragma once

#include <linux/input.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace tavlo {

enum class EvdevAction { Release, Press, Repeat };

// One change of one key, as the kernel tells it.
struct EvdevKey {
    std::uint16_t code = 0;  // of linux/input-event-codes.h, below KEY_CNT
    EvdevAction action = EvdevAction::Press;
    std::uint32_t time = 0;  // the device's clock in milliseconds, which may wrap around

    bool operator==(const EvdevKey&) const = default;
};

// What the bytes that were read from an input device say about its keys. Holds no descriptor.
class EvdevStream {
public:
    // Takes the next bytes, which may begin and end anywhere within an event, and calls `handler` for each key in them.
    // True when the kernel had to drop events since the last call: what came with them is left out, and the state of
    // the keys is to be asked of the device.
    [[nodiscard]] bool feed(std::span<const std::byte> bytes, const std::function<void(const EvdevKey&)>& handler);

private:
    bool take(const input_event& event, const std::function<void(const EvdevKey&)>& handler);

    std::array<std::byte, sizeof(input_event)> m_begun{};
    std::size_t m_begunSize = 0;
    bool m_isDropping = false;  // until the end of the report in which events were dropped
};

}  // namespace tavlo
