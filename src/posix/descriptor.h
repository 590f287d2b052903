#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>

namespace tavlo {

// Owns an open file descriptor, or none.
class Descriptor {
public:
    explicit Descriptor(int value = -1) : m_value(value) {}
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor() { static_cast<void>(close()); }

    int value() const { return m_value; }
    bool isOpen() const { return m_value >= 0; }

    // False, with errno set, when the disk tells only now that it did not take everything. Does nothing when closed.
    bool close();

    // The size in bytes; none where it is no regular file.
    std::optional<qint64> regularSize() const;

private:
    int m_value;
};

// Opens a file; a new one is for its owner only. Never waits for the other end of a pipe, is not inherited by children
// and never makes a terminal this process' own. Not open, with errno set, on failure.
[[nodiscard]] Descriptor openFile(const QString& path, int flags);

// Writes all of `bytes` at the file's position. False, with errno set, when only some of them, or none, were taken.
[[nodiscard]] bool writeAll(const Descriptor& file, QByteArrayView bytes);

}  // namespace tavlo
