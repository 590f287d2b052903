#include "posix/descriptor.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
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

}  // namespace tavlo
