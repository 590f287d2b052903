#pragma once

#include "platform/output_volume.h"
#include "platform/text_literals.h"

#include <algorithm>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace tavlo {

// Output devices in memory. Keeps every volume that was set, in order.
class FakeOutputVolume : public OutputVolume {
public:
    struct Device {
        // Left and right, or one, or none for a device without a volume.
        std::vector<float> channels;
        bool canBeRead = true;
    };

    struct Setting {
        OutputDevice device;
        float scalar = 0;
    };

    // One device "speakers" at full volume is there from the beginning.
    FakeOutputVolume() { devices[u"speakers"_s] = {{1.0F, 1.0F}, true}; }

    // What the user does with the desktop's slider.
    void userSets(const OutputDevice& device, float scalar)
    {
        devices.at(device).channels = {scalar, scalar};
        notifyChange();
    }

    std::vector<float> scalarsSet() const
    {
        std::vector<float> scalars(settings.size());
        std::transform(settings.begin(), settings.end(), scalars.begin(),
                       [](const Setting& setting) { return setting.scalar; });
        return scalars;
    }

    std::optional<OutputDevice> defaultDevice() override { return currentDefault; }

    bool hasVolume(const OutputDevice& device) override
    {
        const auto found = devices.find(device);
        return found != devices.end() && !found->second.channels.empty();
    }

    std::optional<float> volume(const OutputDevice& device) override
    {
        const auto found = devices.find(device);
        if (found == devices.end() || found->second.channels.empty() || !found->second.canBeRead) {
            return std::nullopt;
        }
        return loudest(found->second);
    }

    bool setVolume(const OutputDevice& device, float scalar) override
    {
        settings.push_back({device, scalar});
        const auto found = devices.find(device);
        if (found == devices.end()) {
            return false;
        }
        const float before = loudest(found->second);
        auto& balance = m_balance[device];
        if (before > 0 || balance.empty()) {
            balance = found->second.channels;
        }
        const float reference = *std::max_element(balance.begin(), balance.end());
        std::transform(balance.begin(), balance.end(), found->second.channels.begin(),
                       [&](float channel) { return reference > 0 ? channel / reference * scalar : scalar; });
        return true;
    }

    void flush() override { ++flushCount; }

    Registration onChange(std::function<void()> changed) override
    {
        return m_changes.add([changed = std::move(changed), listener = m_listener] { changed(); });
    }
    // Registrations that are alive.
    long listenerCount() const { return m_listener.use_count() - 1; }

    // The notice of a change, for a test that changed `devices` or `currentDefault`.
    void notifyChange() { m_changes.call(); }

    std::map<OutputDevice, Device> devices;
    std::optional<OutputDevice> currentDefault = u"speakers"_s;
    std::vector<Setting> settings;
    int flushCount = 0;

private:
    static float loudest(const Device& device)
    {
        return device.channels.empty() ? 0 : *std::max_element(device.channels.begin(), device.channels.end());
    }

    std::map<OutputDevice, std::vector<float>> m_balance;
    std::shared_ptr<char> m_listener = std::make_shared<char>();  // shared by every handler
    HandlerList<> m_changes;
};

}  // namespace tavlo
