#pragma once

#include "platform/audio_input.h"
#include "platform/text_literals.h"
#include "support/fakes/other_thread.h"

#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace tavlo {

// Microphones that a test plugs, unplugs and speaks into. Blocks are handed over at once, on a capture thread that has
// ended when the call returns.
class FakeAudioInput : public AudioInput {
public:
    static constexpr std::size_t kBlockFrames = 4096;

    // One microphone "microphone" is there from the beginning; `noMicrophone` takes it away.
    FakeAudioInput() { plug(u"microphone"_s, {48000, 1}); }
    explicit FakeAudioInput(const AudioFormat& format) { plug(u"microphone"_s, format); }

    // The first microphone that is plugged becomes the default one.
    void plug(const QString& name, const AudioFormat& format)
    {
        m_microphones[name] = format;
        if (!m_default) {
            setDefault(name);
        }
    }

    void unplug(const QString& name)
    {
        const bool wasInUse = m_inUse == name;
        m_microphones.erase(name);
        if (m_default == name) {
            m_default.reset();
            if (!m_microphones.empty()) {
                m_default = m_microphones.begin()->first;
            }
            changeConfiguration();
        } else if (wasInUse) {
            changeConfiguration();
        }
    }

    void setDefault(const QString& name)
    {
        const bool isChange = m_default != name;
        m_default = name;
        if (isChange) {
            changeConfiguration();
        }
    }

    void noMicrophone() { unplug(u"microphone"_s); }

    // The next starts fail with this error; none again lets them succeed.
    void failStarts(std::optional<Error> error) { m_startError = std::move(error); }

    // So does asking for the format.
    void failFormat(std::optional<Error> error) { m_formatError = std::move(error); }

    // Speaks into the microphone in use: whole blocks are handed over at once, the rest with the next or at the stop.
    void capture(const std::vector<float>& interleavedSamples)
    {
        if (!m_handler) {
            return;
        }
        m_waiting.insert(m_waiting.end(), interleavedSamples.begin(), interleavedSamples.end());
        const std::size_t blockSamples = kBlockFrames * channelCount();
        while (m_waiting.size() >= blockSamples) {
            deliver(blockSamples);
        }
    }

    // Hands over one block as it is.
    void deliver(const AudioBlock& block)
    {
        if (m_handler) {
            runOnAnotherThread([&] { m_handler(block); });
        }
    }

    // The notice of a change.
    void changeConfiguration() { m_changes.call(); }

    bool isRunning() const { return static_cast<bool>(m_handler); }
    int startCount() const { return m_startCount; }
    int stopCount() const { return m_stopCount; }

    Result<AudioFormat> inputFormat() override
    {
        if (m_formatError) {
            return tl::unexpected<Error>(*m_formatError);
        }
        return m_default ? m_microphones.at(*m_default) : AudioFormat{};
    }

    Result<void> start(BlockHandler handler) override
    {
        if (m_startError) {
            return tl::unexpected<Error>(*m_startError);
        }
        if (!m_default) {
            return failure(1, u"No microphone"_s, u"FakeAudioInput"_s);
        }
        ++m_startCount;
        m_format = m_microphones.at(*m_default);
        m_inUse = m_default;
        m_waiting.clear();
        m_handler = std::move(handler);
        return {};
    }

    void stop() override
    {
        if (!m_handler) {
            return;
        }
        ++m_stopCount;
        if (!m_waiting.empty()) {
            deliver(m_waiting.size());
        }
        m_handler = nullptr;
        m_inUse.reset();
    }

    Registration onConfigurationChange(std::function<void()> changed) override
    {
        return m_changes.add(std::move(changed));
    }

private:
    std::size_t channelCount() const { return static_cast<std::size_t>(m_format.channelCount); }

    void deliver(std::size_t sampleCount)
    {
        const std::vector<float> block(m_waiting.begin(), m_waiting.begin() + static_cast<std::ptrdiff_t>(sampleCount));
        m_waiting.erase(m_waiting.begin(), m_waiting.begin() + static_cast<std::ptrdiff_t>(sampleCount));
        deliver(AudioBlock{m_format, block.data(), sampleCount / channelCount()});
    }

    std::map<QString, AudioFormat> m_microphones;
    std::optional<QString> m_default;
    std::optional<QString> m_inUse;
    std::optional<Error> m_startError;
    std::optional<Error> m_formatError;
    AudioFormat m_format;
    BlockHandler m_handler;
    std::vector<float> m_waiting;
    int m_startCount = 0;
    int m_stopCount = 0;
    HandlerList<> m_changes;
};

}  // namespace tavlo
