#include "engines/model/model_files.h"

#include "platform/text_literals.h"
#include "posix/file_access.h"
#include "posix/system_error.h"

#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <utility>

namespace tavlo {

namespace {

std::filesystem::path nativePath(const QString& path)
{
    return QFile::encodeName(path).toStdString();
}

// Takes the place of a file that is there.
Result<void> moveFile(const QString& from, const QString& to)
{
    std::error_code error;
    std::filesystem::rename(nativePath(from), nativePath(to), error);
    if (error) {
        return systemFailure(error.value());
    }
    return {};
}

}  // namespace

ModelFiles::ModelFiles(Locations locations, qint64 minimumBytes)
    : m_locations(std::move(locations)), m_minimumBytes(minimumBytes)
{
}

QString ModelFiles::temporaryPath() const
{
    return stagingPath() + u".download"_s;
}

QString ModelFiles::stagingPath() const
{
    return m_locations.kModelsDir + u"/ggml-large-v3-turbo.part"_s;
}

void ModelFiles::removeLeftovers() const
{
    // A file that cannot be removed shows itself when the new one is to be written.
    QFile::remove(temporaryPath());
    QFile::remove(stagingPath());
}

Result<void> ModelFiles::createFolder() const
{
    return makeFolder(m_locations.kModelsDir);
}

Result<void> ModelFiles::checkRoom(qint64 expected) const
{
    const qint64 needed = expected < 1 ? m_minimumBytes : expected;
    std::error_code error;
    const std::filesystem::space_info space = std::filesystem::space(nativePath(m_locations.kModelsDir), error);
    if (!error && space.available < static_cast<std::uintmax_t>(needed)) {
        return failure(kNoCode,
                       u"Te weinig schijfruimte voor het model ("_s + QString::number(needed) + u" bytes nodig)."_s);
    }
    return {};
}

Result<qint64> ModelFiles::install() const
{
    if (const Result<void> folder = createFolder(); !folder) {
        removeLeftovers();
        return tl::unexpected<Error>(folder.error());
    }
    if (const Result<void> staged = moveFile(temporaryPath(), stagingPath()); !staged) {
        removeLeftovers();
        return tl::unexpected<Error>(staged.error());
    }
    const qint64 size = QFileInfo(stagingPath()).size();
    if (size < m_minimumBytes) {
        removeLeftovers();
        return failure(kIncompleteDownload, u"Download onvolledig ("_s + QString::number(size) + u" bytes)."_s);
    }
    if (const Result<void> installed = moveFile(stagingPath(), m_locations.kModelURL); !installed) {
        removeLeftovers();
        return tl::unexpected<Error>(installed.error());
    }
    return size;
}

}  // namespace tavlo
