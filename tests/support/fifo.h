#pragma once

#include <gtest/gtest.h>

#include <QByteArray>

#include <fcntl.h>
#include <unistd.h>

namespace tavlo {

// Read and write a named pipe once. Both wait for whoever has its other end.
inline QByteArray readFifo(const QByteArray& path)
{
    const int file = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    char buffer[100];
    const ssize_t count = ::read(file, buffer, sizeof buffer);
    ::close(file);
    return QByteArray(buffer, count);
}

inline void writeFifo(const QByteArray& path, const QByteArray& text)
{
    const int file = ::open(path.constData(), O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(::write(file, text.constData(), static_cast<std::size_t>(text.size())), text.size());
    ::close(file);
}

}  // namespace tavlo
