#include "engines/local/local_runner.h"

#include "platform/text_literals.h"
#include "posix/child_process.h"
#include "posix/utf8_text.h"
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
    const QString bundled = m_locations.kBundleResourceDir + u"/whisper-cli"_s;
    if (!m_locations.kBundleResourceDir.isEmpty() && isExecutable(bundled)) {
        return bundled;
    }
    const QString own = m_locations.kAppSupportDir + u"/bin/whisper-cli"_s;
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
        return failure(kEngineMissing, u"whisper-cli ontbreekt in de app."_s);
    }
    if (!localModelReady()) {
        return failure(kEngineMissing, u"Het offline taalmodel is nog niet gedownload."_s);
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
        *program, arguments, m_limit, [this] { m_log.appLog(u"whisper-cli geforceerd gestopt (timeout)"_s); },
        m_running);
    if (!child) {
        return tl::unexpected<Error>(child.error());
    }
    if (child->status != 0) {
        return failure(child->status,
                       u"whisper-cli stopte met code "_s + QString::number(child->status) + QLatin1Char('.'));
    }
    return cleanedTranscript(child->output);
}

}  // namespace tavlo
