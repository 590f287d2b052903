#include "posix/file_access.h"

#include "platform/text_literals.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <utility>

namespace tavlo {

namespace {

// A larger file is not one of this program's texts: it is left alone.
constexpr qint64 kLargestReplaced = qint64{64} * 1024 * 1024;
constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

// An open file.
class Descriptor {
public:
    // Without O_NONBLOCK, opening a pipe would wait for its other end.
    Descriptor(const QString& path, int flags)
        : m_value(::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, kOwnerOnly))
    {
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    bool isOpen() const { return m_value >= 0; }
    int value() const { return m_value; }

    // The size, or none where it is no regular file.
    std::optional<qint64> regularSize() const
    {
        struct stat status = {};
        if (::fstat(m_value, &status) != 0 || !S_ISREG(status.st_mode)) {
            return std::nullopt;
        }
        return status.st_size;
    }

    // False when an error that was held back so far came to light.
    bool close()
    {
        const int value = std::exchange(m_value, -1);
        return value < 0 || ::close(value) == 0;
    }

private:
    int m_value;
};

bool writeAt(int file, const QByteArray& bytes, qint64 offset)
{
    qint64 done = 0;
    while (done < bytes.size()) {
        const ssize_t count =
            ::pwrite(file, bytes.constData() + done, static_cast<std::size_t>(bytes.size() - done), offset + done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        done += count;
    }
    return true;
}

std::optional<QByteArray> readAll(int file, qint64 size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    qint64 done = 0;
    while (done < size) {
        const ssize_t count = ::pread(file, bytes.data() + done, static_cast<std::size_t>(size - done), done);
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

bool cut(int file, qint64 size)
{
    return ::ftruncate(file, size) == 0;
}

// Makes sure that `size` bytes have their place on the disk.
bool reserve(int file, qint64 oldSize, qint64 size)
{
    if (size > oldSize && !writeAt(file, QByteArray(size - oldSize, ' '), oldSize)) {
        return false;
    }
    const int error = ::posix_fallocate(file, 0, size);
    // File systems that cannot reserve answer so; there the blanks must do.
    return error == 0 || (error != ENOSPC && error != EDQUOT && error != EFBIG && error != EIO);
}

bool writeOver(int file, qint64 oldSize, const QByteArray& text)
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
    Descriptor file(beside, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW);
    const bool isWritten = file.isOpen() && ::fchmod(file.value(), kOwnerOnly) == 0 &&
                           writeAt(file.value(), bytes, 0) && file.close() &&
                           ::rename(besideName.constData(), QFile::encodeName(path).constData()) == 0;
    if (isWritten) {
        return {};
    }
    const int error = errno;
    ::unlink(besideName.constData());
    return failure(error, QString::fromLocal8Bit(std::strerror(error)), u"errno"_s);
}

std::optional<QByteArray> readFile(const QString& path, qint64 largestSize)
{
    const Descriptor file(path, O_RDONLY);
    const std::optional<qint64> size = file.isOpen() ? file.regularSize() : std::nullopt;
    if (!size || *size > largestSize) {
        return std::nullopt;
    }
    return readAll(file.value(), *size);
}

bool writeTextInPlace(const QString& path, const QByteArray& text)
{
    const bool existed = QFileInfo::exists(path);
    Descriptor file(path, O_RDWR | O_CREAT);
    const std::optional<qint64> oldSize = file.isOpen() ? file.regularSize() : std::nullopt;
    if (!oldSize || *oldSize > kLargestReplaced) {
        return false;
    }
    static_cast<void>(::fchmod(file.value(), kOwnerOnly));  // Not our file: its owner's own business.
    const bool written = writeOver(file.value(), *oldSize, text);
    const bool closed = file.close();
    if (!written && !existed) {
        QFile::remove(QFileInfo(path).canonicalFilePath());
    }
    return written && closed;
}

}  // namespace tavlo
