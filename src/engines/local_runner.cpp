#include "engines/local_runner.h"

#include "engines/child_process.h"
#include "engines/utf8_text.h"
#include "settings/app_log.h"

#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <utility>

namespace tavlo {

namespace {

bool isExecutable(const QString& path)
{
    const QFileInfo file(path);
    return file.isFile() && file.isExecutable();
}

// Without blanks and tabs at both ends; other line ends than the line feed stay.
QString withoutOuterBlanks(const QString& line)
{
    const auto isBlank = [](QChar c) { return c == QLatin1Char('\t') || c.category() == QChar::Separator_Space; };
    qsizetype start = 0;
    qsizetype end = line.size();
    while (start < end && isBlank(line[start])) {
        ++start;
    }
    while (end > start && isBlank(line[end - 1])) {
        --end;
    }
    return line.mid(start, end - start);
}

}  // namespace

QString cleanedTranscript(const QByteArray& output)
{
    QStringList lines;
    for (const QString& line : utf8Text(output).split(QLatin1Char('\n'))) {
        const QString trimmed = withoutOuterBlanks(line);
        if (!trimmed.isEmpty()) {
            lines.append(trimmed);
        }
    }
    return lines.join(QLatin1Char(' ')).trimmed();
}

LocalRunner::LocalRunner(Locations locations, AppLog& log, std::chrono::milliseconds limit)
    : m_locations(std::move(locations)), m_log(log), m_limit(limit)
{
}

std::optional<QString> LocalRunner::whisperBinaryURL() const
{
    const QString bundled = m_locations.kBundleResourceDir + QStringLiteral("/whisper-cli");
    if (!m_locations.kBundleResourceDir.isEmpty() && isExecutable(bundled)) {
        return bundled;
    }
    const QString own = m_locations.kAppSupportDir + QStringLiteral("/bin/whisper-cli");
    if (isExecutable(own)) {
        return own;
    }
    return std::nullopt;
}

bool LocalRunner::localModelReady() const
{
    const QFileInfo model(m_locations.kModelURL);
    return model.isFile() && model.size() >= kModelMinBytes;
}

TranscriptionResult LocalRunner::transcribeLocal(const QString& wavPath, const Config& config)
{
    const std::optional<QString> program = whisperBinaryURL();
    if (!program) {
        return failure(3, QStringLiteral("whisper-cli ontbreekt in de app."));
    }
    if (!localModelReady()) {
        return failure(3, QStringLiteral("Het offline taalmodel is nog niet gedownload."));
    }
    const QList<QByteArray> arguments{"-m",
                                      QFile::encodeName(m_locations.kModelURL),
                                      "-l",
                                      config.language.toUtf8(),
                                      "--no-timestamps",
                                      "-np",
                                      "-f",
                                      QFile::encodeName(wavPath)};
    const Result<ChildResult> child = runChild(
        *program, arguments, m_limit,
        [this] { m_log.appLog(QStringLiteral("whisper-cli geforceerd gestopt (timeout)")); }, m_running);
    if (!child) {
        return tl::unexpected<Error>(child.error());
    }
    if (child->status != 0) {
        return failure(child->status, QStringLiteral("whisper-cli stopte met code ") + QString::number(child->status) +
                                          QLatin1Char('.'));
    }
    return cleanedTranscript(child->output);
}

}  // namespace tavlo
