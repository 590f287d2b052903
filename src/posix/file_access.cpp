#include "posix/file_access.h"

#include "platform/text_literals.h"
#include "posix/system_error.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

namespace tavlo {

Descriptor::Descriptor(Descriptor&& other) noexcept : m_value(std::exchange(other.m_value, -1)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept
{
    std::swap(m_value, other.m_value);
    return *this;
}

bool Descriptor::close()
{
    const int value = std::exchange(m_value, -1);
    return value < 0 || ::close(value) == 0;
}

std::optional<qint64> Descriptor::regularSize() const
{
    struct stat status = {};
    if (::fstat(m_value, &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return status.st_size;
}

Descriptor openFile(const QString& path, int flags)
{
    return Descriptor(
        ::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, S_IRUSR | S_IWUSR));
}

bool writeAll(const Descriptor& file, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t count = ::write(file.value(), bytes.data(), static_cast<std::size_t>(bytes.size()));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        bytes = bytes.sliced(count);
    }
    return true;
}

namespace {

// A larger file is not one of this program's texts: it is left alone.
constexpr qint64 kLargestReplaced = qint64{64} * 1024 * 1024;
constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

bool writeAt(const Descriptor& file, const QByteArray& bytes, qint64 offset)
{
    return ::lseek(file.value(), offset, SEEK_SET) == offset && writeAll(file, bytes);
}

std::optional<QByteArray> readAll(const Descriptor& file, qint64 size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    qint64 done = 0;
    while (done < size) {
        const ssize_t count = ::pread(file.value(), bytes.data() + done, static_cast<std::size_t>(size - done), done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return std::nullopt;
        }
        if (count == 0) {
            break;  // It was cut shorter meanwhile.
        }
        done += count;
    }
    bytes.truncate(done);
    return bytes;
}

bool cut(const Descriptor& file, qint64 size)
{
    return ::ftruncate(file.value(), size) == 0;
}

// Makes sure that `size` bytes have their place on the disk.
bool reserve(const Descriptor& file, qint64 oldSize, qint64 size)
{
    if (size > oldSize && !writeAt(file, QByteArray(size - oldSize, ' '), oldSize)) {
        return false;
    }
    const int error = ::posix_fallocate(file.value(), 0, size);
    // File systems that cannot reserve answer so; there the blanks must do.
    return error == 0 || (error != ENOSPC && error != EDQUOT && error != EFBIG && error != EIO);
}

bool writeOver(const Descriptor& file, qint64 oldSize, const QByteArray& text)
{
    if (!reserve(file, oldSize, text.size())) {
        cut(file, oldSize);
        return false;
    }
    const std::optional<QByteArray> oldText = readAll(file, oldSize);
    // Blanks up to the old end, so that the file is whole also if this process ends before the cut.
    if (!oldText || !writeAt(file, text.leftJustified(oldSize, ' '), 0)) {
        // File systems that never write in place can run full even so.
        if (oldText) {
            writeAt(file, *oldText, 0);
        }
        cut(file, oldSize);
        return false;
    }
    return cut(file, text.size());
}

}  // namespace

Result<void> replaceFile(const QString& path, const QByteArray& bytes)
{
    const QString beside = path + u".nieuw"_s;
    const QByteArray besideName = QFile::encodeName(beside);
    Descriptor file = openFile(beside, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW);
    const bool isWritten = file.isOpen() && ::fchmod(file.value(), kOwnerOnly) == 0 && writeAll(file, bytes) &&
                           file.close() && ::rename(besideName.constData(), QFile::encodeName(path).constData()) == 0;
    if (isWritten) {
        return {};
    }
    const int error = errno;
    ::unlink(besideName.constData());
    return systemFailure(error);
}

std::optional<QByteArray> readFile(const QString& path, qint64 largestSize)
{
    const Descriptor file = openFile(path, O_RDONLY);
    const std::optional<qint64> size = file.isOpen() ? file.regularSize() : std::nullopt;
    if (!size || *size > largestSize) {
        return std::nullopt;
    }
    return readAll(file, *size);
}

bool writeTextInPlace(const QString& path, const QByteArray& text)
{
    const bool existed = QFileInfo::exists(path);
    Descriptor file = openFile(path, O_RDWR | O_CREAT);
    const std::optional<qint64> oldSize = file.isOpen() ? file.regularSize() : std::nullopt;
    if (!oldSize || *oldSize > kLargestReplaced) {
        return false;
    }
    static_cast<void>(::fchmod(file.value(), kOwnerOnly));  // Not our file: its owner's own business.
    const bool written = writeOver(file, *oldSize, text);
    const bool closed = file.close();
    if (!written && !existed) {
        QFile::remove(QFileInfo(path).canonicalFilePath());
    }
    return written && closed;
}

bool appendToFile(const QString& path, const QByteArray& bytes)
{
    const Descriptor file = openFile(path, O_WRONLY | O_CREAT | O_APPEND);
    if (!file.isOpen()) {
        return false;
    }
    const std::optional<qint64> oldSize = file.regularSize();
    const bool written = writeAll(file, bytes);
    if (!written && oldSize) {
        cut(file, *oldSize);
    }
    return written;
}

Result<void> makeFolder(const QString& path)
{
    const std::filesystem::path folder = QFile::encodeName(path).toStdString();
    std::error_code error;
    const bool isNew = std::filesystem::create_directories(folder, error);
    if (error) {
        return systemFailure(error.value());
    }
    if (isNew) {
        // Where this fails, the files inside are closed to others all the same.
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
    }
    return {};
}

}  // namespace tavlo
