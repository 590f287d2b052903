#include "audio/duck_journal.h"

#include "platform/text_literals.h"
#include "posix/file_access.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

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

}  // namespace tavlo
