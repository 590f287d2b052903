#include "audio/volume_ducker.h"

#include "platform/text_literals.h"
#include "posix/file_access.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <utility>

namespace tavlo {

namespace {

constexpr qint64 kLargestFile = 65536;

const QString kDevice = u"device"_s;
const QString kOriginal = u"original"_s;
const QString kFrom = u"from"_s;
const QString kTo = u"to"_s;

// Sound servers keep volumes in 65,536 steps, some of them cubed: a tenth of a percent covers what that rounds off.
constexpr float kTolerance = 0.001F;

std::optional<float> number(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    return value.isDouble() ? std::optional(static_cast<float>(value.toDouble())) : std::nullopt;
}

}  // namespace

DuckJournalFile::DuckJournalFile(QString path) : m_path(std::move(path)) {}

void DuckJournalFile::began(const DuckedOutput& ducked)
{
    const QJsonObject object{{kDevice, ducked.device},
                             {kOriginal, static_cast<double>(ducked.original)},
                             {kFrom, static_cast<double>(ducked.from)},
                             {kTo, static_cast<double>(ducked.to)}};
    // A note that cannot be written costs the repair after a crash, nothing else.
    static_cast<void>(replaceFile(m_path, QJsonDocument(object).toJson()));
}

void DuckJournalFile::ended()
{
    QFile::remove(m_path);
}

std::optional<DuckedOutput> DuckJournalFile::left() const
{
    const std::optional<QByteArray> bytes = readFile(m_path, kLargestFile);
    if (!bytes) {
        return std::nullopt;
    }
    const QJsonObject object = QJsonDocument::fromJson(*bytes).object();
    const auto original = number(object, kOriginal);
    const auto from = number(object, kFrom);
    const auto to = number(object, kTo);
    const QString device = object.value(kDevice).toString();
    if (device.isEmpty() || !original || !from || !to) {
        return std::nullopt;
    }
    return DuckedOutput{device, *original, *from, *to};
}

bool standsWhereTheFadeLeftIt(const DuckedOutput& ducked, float current)
{
    for (int n = 0; n <= kFadeSteps; ++n) {
        if (std::abs(current - fadeStep(ducked.from, ducked.to, n)) <= kTolerance) {
            return true;
        }
    }
    return false;
}

DuckRepair::DuckRepair(DuckJournalFile& journal, OutputVolume& output)
    : m_journal(journal), m_output(output), m_left(journal.left())
{
}

void DuckRepair::start()
{
    if (m_left) {
        m_outputs = m_output.onChange([this] { tryRepair(); });
        tryRepair();
    }
}

void DuckRepair::tryRepair()
{
    const std::optional<float> current = m_output.volume(m_left->device);
    if (!current) {
        return;
    }
    const DuckedOutput ducked = *std::exchange(m_left, std::nullopt);
    if (standsWhereTheFadeLeftIt(ducked, *current)) {
        m_output.setVolume(ducked.device, ducked.original);
    }
    // A duck of another output that began meanwhile has an entry of its own, which stays.
    if (m_journal.left() == ducked) {
        m_journal.ended();
    }
    m_outputs = {};
}

namespace {

constexpr MainQueue::Duration kFadeInterval{30};

float onScale(float volume)
{
    return std::clamp(volume, 0.0F, 1.0F);
}

}  // namespace

float fadeStep(float from, float to, int n)
{
    const float share = static_cast<float>(n) / static_cast<float>(kFadeSteps);
    return onScale(n < kFadeSteps ? from + (to - from) * share : to);
}

VolumeDucker::VolumeDucker(OutputVolume& output, MainQueue& queue, DuckJournal* journal)
    : m_output(output), m_queue(queue), m_journal(journal)
{
}

void VolumeDucker::duckTo(float target)
{
    if (m_savedVolume) {
        return;
    }
    const std::optional<OutputDevice> device = m_output.defaultDevice();
    if (!device || !m_output.hasVolume(*device)) {
        return;
    }
    const std::optional<float> current = m_output.volume(*device);
    if (!current) {
        return;
    }
    const bool isComingBack = m_fade && m_fade->direction == Direction::Back && m_fade->ducked.device == *device;
    const float original = isComingBack ? m_fade->ducked.original : *current;
    if (!(original > target)) {
        return;
    }
    finishFadeBackOfOtherThan(*device);
    m_savedVolume = original;
    m_savedDevice = device;
    fade(Direction::Down, {*device, original, *current, target});
}

void VolumeDucker::restore()
{
    if (!m_savedDevice || !m_savedVolume) {
        return;
    }
    const OutputDevice device = *std::exchange(m_savedDevice, std::nullopt);
    const float original = *std::exchange(m_savedVolume, std::nullopt);
    const float current = m_output.hasVolume(device) ? m_output.volume(device).value_or(0.0F) : 0.0F;
    fade(Direction::Back, {device, original, current, original});
}

void VolumeDucker::restoreImmediately()
{
    const std::optional<Fade> stopped = m_fade;
    stopFade();
    if (m_savedDevice && m_savedVolume) {
        const OutputDevice device = *std::exchange(m_savedDevice, std::nullopt);
        bringBack(device, *std::exchange(m_savedVolume, std::nullopt));
        return;
    }
    if (stopped && stopped->direction == Direction::Back && m_journal != nullptr) {
        // The device stays between its lowered and its original volume: what puts it back later must know where.
        const DuckedOutput& ducked = stopped->ducked;
        if (const std::optional<float> current = m_output.volume(ducked.device)) {
            m_journal->began({ducked.device, ducked.original, *current, *current});
        }
    }
}

void VolumeDucker::fade(Direction direction, const DuckedOutput& ducked)
{
    stopFade();
    if (m_journal != nullptr) {
        m_journal->began(ducked);
    }
    m_fade = Fade{ducked, direction, m_queue.now()};
    scheduleStep(1);
}

void VolumeDucker::stopFade()
{
    m_fadeTimer.renew();
    m_fade.reset();
}

// A fade down on one device must not leave another one halfway.
void VolumeDucker::finishFadeBackOfOtherThan(const OutputDevice& device)
{
    if (m_fade && m_fade->direction == Direction::Back && m_fade->ducked.device != device) {
        bringBack(m_fade->ducked.device, m_fade->ducked.original);
    }
}

// The steps keep to the times set at the beginning, so that late ones do not add up.
void VolumeDucker::scheduleStep(int n)
{
    const auto due = m_fade->beginning + n * kFadeInterval;
    const auto delay = std::chrono::ceil<MainQueue::Duration>(due - m_queue.now());
    m_queue.postAfter(std::max(delay, MainQueue::Duration::zero()), m_fadeTimer.reference(), [this, n] { step(n); });
}

void VolumeDucker::step(int n)
{
    const DuckedOutput ducked = m_fade->ducked;
    if (n < kFadeSteps) {
        m_output.setVolume(ducked.device, fadeStep(ducked.from, ducked.to, n));
        scheduleStep(n + 1);
        return;
    }
    const Direction direction = m_fade->direction;
    stopFade();
    if (direction == Direction::Back) {
        bringBack(ducked.device, ducked.original);
    } else {
        m_output.setVolume(ducked.device, fadeStep(ducked.from, ducked.to, n));
    }
}

void VolumeDucker::bringBack(const OutputDevice& device, float original)
{
    const bool isBack = m_output.setVolume(device, onScale(original));
    if (isBack && m_journal != nullptr) {
        m_journal->ended();
    }
}

}  // namespace tavlo
