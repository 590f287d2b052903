#pragma once

#include <pulse/simple.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace tavlo {

// A signal in which every frame tells which one it is: a rising line, exact in floating point, that begins again
// after 65536 frames.
struct KnownSignal {
    static constexpr std::uint32_t kPeriod = 65536;

    static float sample(std::uint64_t frame) { return static_cast<float>(frame % kPeriod + 1) / (2.0F * kPeriod); }
    static std::uint32_t position(float sample)
    {
        return static_cast<std::uint32_t>(std::lround(sample * 2 * kPeriod)) - 1;
    }

    // Whether somebody else who listens to the same source heard the second sample right after the first one.
    using HeardByOthers = std::function<bool(float before, float after)>;

    // The first places at which a frame is not the successor of the one before, in words; empty when there is none.
    // A place that others heard in the same way is the server's, whose player or graph ran dry, and not told: nothing
    // was lost or repeated on the way to this recording.
    static std::string describeBreaks(const std::vector<float>& recorded, const HeardByOthers& heardByOthers)
    {
        std::ostringstream text;
        for (const std::size_t at : breaks(recorded)) {
            if (!heardByOthers(recorded[at - 1], recorded[at])) {
                text << "at " << at << " of " << recorded.size() << ": " << place(recorded[at - 1]) << " then "
                     << place(recorded[at]) << "; ";
            }
        }
        return text.str();
    }

    // The places at which a frame is not the successor of the one before, after the silence at the beginning. A hole
    // of silence has two of them, its beginning and its end.
    static std::vector<std::size_t> breaks(const std::vector<float>& recorded)
    {
        std::vector<std::size_t> found;
        std::size_t first = 0;
        while (first < recorded.size() && recorded[first] == 0.0F) {
            ++first;
        }
        for (std::size_t i = first + 1; i < recorded.size(); ++i) {
            const bool isWithinHole = recorded[i] == 0.0F && recorded[i - 1] == 0.0F;
            if (!isWithinHole && recorded[i] != sample(position(recorded[i - 1]) + std::uint64_t{1})) {
                found.push_back(i);
            }
        }
        return found;
    }

private:
    static std::string place(float sample)
    {
        return sample == 0.0F ? "silence" : "frame " + std::to_string(position(sample));
    }
};

// Runs a loop on a thread of its own until it is destroyed.
class SignalThread {
public:
    template <class Step>
    explicit SignalThread(Step step)
        : m_thread([this, step]() mutable {
              while (!m_isEnding && step()) {
              }
          })
    {
    }
    ~SignalThread()
    {
        m_isEnding = true;
        m_thread.join();
    }
    SignalThread(const SignalThread&) = delete;
    SignalThread& operator=(const SignalThread&) = delete;

private:
    std::atomic<bool> m_isEnding{false};
    std::thread m_thread;
};

inline pa_sample_spec knownSignalFormat(std::uint8_t channels = 1)
{
    return {PA_SAMPLE_FLOAT32NE, 48000, channels};
}

// Plays the known signal into the sink "voice" as long as it lives.
class SignalPlayer {
public:
    SignalPlayer() : m_stream(open()), m_thread([this] { return writeSome(); }) {}
    ~SignalPlayer() { m_isEnding = true; }

    bool isOpen() const { return m_stream != nullptr; }

private:
    static constexpr std::uint32_t kUnset = static_cast<std::uint32_t>(-1);

    static std::shared_ptr<pa_simple> open()
    {
        const pa_sample_spec spec = knownSignalFormat();
        const pa_buffer_attr buffer{kUnset, 192000, kUnset, kUnset, kUnset};  // a second ahead, for a busy machine
        pa_simple* const stream = pa_simple_new(nullptr, "speaker", PA_STREAM_PLAYBACK, "voice", "known signal", &spec,
                                                nullptr, &buffer, nullptr);
        return {stream, [](pa_simple* each) {
                    if (each != nullptr) {
                        pa_simple_free(each);
                    }
                }};
    }

    bool writeSome()
    {
        std::array<float, 480> samples{};
        for (float& each : samples) {
            each = KnownSignal::sample(m_frame++);
        }
        return m_stream && !m_isEnding && pa_simple_write(m_stream.get(), samples.data(), sizeof samples, nullptr) == 0;
    }

    std::atomic<bool> m_isEnding{false};
    std::uint64_t m_frame = 0;
    std::shared_ptr<pa_simple> m_stream;
    SignalThread m_thread;
};

// Another program that records the same sound at a low latency and tells how far it has come.
class SignalListener {
public:
    explicit SignalListener(const char* source, std::uint8_t channels = 1)
        : m_stream(open(source, channels)), m_thread([this] { return readSome(); })
    {
    }
    ~SignalListener() { m_isEnding = true; }

    bool isOpen() const { return m_stream != nullptr; }
    // The last sample that this listener has; 0 while there was only silence.
    float last() const { return m_last; }
    // The loudest sample so far.
    float loudest() const { return m_loudest; }

    // Whether this listener has heard the second sample right after the first one.
    bool heard(float before, float after) const
    {
        const std::lock_guard guard(m_mutex);
        const std::array<float, 2> pair{before, after};
        return std::search(m_heard.begin(), m_heard.end(), pair.begin(), pair.end()) != m_heard.end();
    }

private:
    static constexpr std::uint32_t kUnset = static_cast<std::uint32_t>(-1);

    static std::shared_ptr<pa_simple> open(const char* source, std::uint8_t channels)
    {
        const pa_sample_spec spec = knownSignalFormat(channels);
        const pa_buffer_attr buffer{kUnset, kUnset, kUnset, kUnset, 1920};  // ten milliseconds of one channel
        pa_simple* const stream =
            pa_simple_new(nullptr, "listener", PA_STREAM_RECORD, source, "listening", &spec, nullptr, &buffer, nullptr);
        return {stream, [](pa_simple* each) {
                    if (each != nullptr) {
                        pa_simple_free(each);
                    }
                }};
    }

    bool readSome()
    {
        std::array<float, 48> samples{};
        if (!m_stream || m_isEnding || pa_simple_read(m_stream.get(), samples.data(), sizeof samples, nullptr) != 0) {
            return false;
        }
        for (const float sample : samples) {
            m_loudest = std::max(m_loudest.load(), std::abs(sample));
        }
        {
            const std::lock_guard guard(m_mutex);
            m_heard.insert(m_heard.end(), samples.begin(), samples.end());
        }
        m_last = samples.back();
        return true;
    }

    std::atomic<bool> m_isEnding{false};
    std::atomic<float> m_last{0};
    std::atomic<float> m_loudest{0};
    mutable std::mutex m_mutex;
    std::vector<float> m_heard;
    std::shared_ptr<pa_simple> m_stream;
    SignalThread m_thread;
};

}  // namespace tavlo
