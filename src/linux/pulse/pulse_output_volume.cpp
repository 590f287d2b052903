#include "linux/pulse/pulse_output_volume.h"

#include <mutex>
#include <utility>

namespace tavlo {

namespace {

constexpr std::chrono::milliseconds kLongestFlush{500};

}  // namespace

PulseOutputVolume::PulseOutputVolume(PulseConnection& connection, MainQueue& queue)
    : m_connection(connection), m_queue(queue)
{
}

PulseOutputVolume::~PulseOutputVolume()
{
    const std::lock_guard guard(m_connection);
    m_listening.reset();
}

std::optional<OutputDevice> PulseOutputVolume::defaultDevice()
{
    const std::lock_guard guard(m_connection);
    const std::optional<std::string> sink = m_connection.devices().defaultSink();
    return sink ? std::optional(QString::fromStdString(*sink)) : std::nullopt;
}

bool PulseOutputVolume::hasVolume(const OutputDevice& device)
{
    const std::lock_guard guard(m_connection);
    return m_connection.devices().hasVolume(device.toStdString());
}

std::optional<float> PulseOutputVolume::volume(const OutputDevice& device)
{
    const std::lock_guard guard(m_connection);
    return m_connection.devices().volume(device.toStdString());
}

bool PulseOutputVolume::setVolume(const OutputDevice& device, float scalar)
{
    const std::lock_guard guard(m_connection);
    return m_connection.devices().setVolume(device.toStdString(), scalar);
}

void PulseOutputVolume::flush()
{
    std::unique_lock held(m_connection);
    m_connection.waitUntil(held, PulseConnection::Clock::now() + kLongestFlush,
                           [this] { return m_connection.devices().unconfirmedCount() == 0; });
}

Registration PulseOutputVolume::onChange(std::function<void()> changed)
{
    const std::lock_guard guard(m_connection);
    if (!m_listening) {
        m_listening = m_connection.onChange([this] { devicesChanged(); });
    }
    return m_changed.add(std::move(changed));
}

// On the connection's thread, with its lock held.
void PulseOutputVolume::devicesChanged()
{
    if (!std::exchange(m_isChangePosted, true)) {
        m_queue.post(m_lifetime.reference(), [this] { deliverChange(); });
    }
}

void PulseOutputVolume::deliverChange()
{
    {
        const std::lock_guard guard(m_connection);
        m_isChangePosted = false;
        if (m_changed.isEmpty()) {
            m_listening.reset();
        }
    }
    m_changed.call();
}

}  // namespace tavlo
